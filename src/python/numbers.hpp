#pragma once

#include <pybind11/pybind11.h>

#include "core/scan.hpp"

// How a Python number becomes a double: as the binding layer does it, but for Interpolation, whose
// members are integers to Python. Included by registration.hpp, so that every binding has it.
namespace vekanalysis::python {

/// Throws TypeError if `source` is a member of Interpolation.
void refuse_interpolation(pybind11::handle source);

/// Clears the Python error that says that an argument is of another kind. Throws it where it says
/// that memory ran out, which is no property of the argument, or something as grave.
void clear_refusal();

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
class type_caster<double> {
public:
    PYBIND11_TYPE_CASTER(double, const_name("float"));

    bool load(handle source, bool convert) {
        if (!source) return false;
        if (PyFloat_Check(source.ptr()) == 0 && PyLong_Check(source.ptr()) == 0) {
            if (!convert) return false;
            vekanalysis::python::refuse_interpolation(source);
        }
        value = PyFloat_AsDouble(source.ptr());
        if (value == -1.0 && PyErr_Occurred() != nullptr) {
            vekanalysis::python::clear_refusal();
            return false;
        }
        return true;
    }

    static handle cast(double number, return_value_policy /*policy*/, handle /*parent*/) {
        PyObject* const result = PyFloat_FromDouble(number);
        if (result == nullptr) throw error_already_set();
        return result;
    }
};

}  // namespace pybind11::detail
