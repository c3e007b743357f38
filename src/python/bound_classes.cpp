#include "python/registration.hpp"

#include <string>

namespace vekanalysis::python {

namespace {

extern "C" PyObject* guarded_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    try {
        if (!py::detail::all_type_info(type).empty()) {
            return py::detail::pybind11_object_new(type, args, kwargs);
        }
        const std::string text = "cannot create '" + std::string(type->tp_name) + "' instances";
        PyErr_SetString(PyExc_TypeError, text.c_str());
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return nullptr;
}

}  // namespace

void require_constructed(py::handle source, const py::detail::type_info* type) {
    if (!source || type == nullptr || PyObject_TypeCheck(source.ptr(), type->type) == 0) return;
    auto* const instance = reinterpret_cast<py::detail::instance*>(source.ptr());
    if (instance->get_value_and_holder(type).value_ptr() == nullptr) {
        throw py::type_error(std::string(type->type->tp_name) +
                             ".__init__() must be called before the object is used");
    }
}

void guard_base_class() {
    auto* const base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
    base->tp_new = guarded_new;
}

}  // namespace vekanalysis::python
