#pragma once

#include "python/registration.hpp"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "python/buffer_view.hpp"

namespace vekanalysis::python {

/// Float64 values of a Python array in C order, with its shape: the array's own memory where that
/// is contiguous float64, a converted copy otherwise. NumPy is imported only for types that the
/// buffer protocol does not settle (half precision, foreign byte order, pandas objects).
///
/// The object stays alive and its memory fixed while this exists; hold the interpreter lock.
class FloatArray {
public:
    FloatArray() = default;

    /// @return nothing, without a Python error set, when `source` is no array of real numbers of at
    ///         least one dimension (bytes, bytearray, str and Scan are none)
    /// @throws py::type_error  if some of its values are masked
    static std::optional<FloatArray> from(py::handle source);
    /// The same of a list, tuple or range, nested or not, by way of NumPy.
    static std::optional<FloatArray> from_list(py::handle source);

    [[nodiscard]] std::span<const double> values() const noexcept { return values_; }
    [[nodiscard]] const std::vector<py::ssize_t>& shape() const noexcept { return shape_; }

    /// An uninitialised NumPy array of this shape, and its memory.
    [[nodiscard]] std::pair<py::array_t<double>, std::span<double>> make_result() const {
        py::array_t<double> result(shape_);
        return {result, std::span<double>(result.mutable_data(), values_.size())};
    }

private:
    static std::optional<FloatArray> from_buffer(BufferView view);

    BufferView view_;
    std::vector<double> converted_;
    std::span<const double> values_;
    std::vector<py::ssize_t> shape_;
};

[[nodiscard]] bool is_list(py::handle source) noexcept;

/// A list of numbers as the binding layer's own conversion gives it, or the values of a
/// one-dimensional array in one copy.
struct FloatList {
    std::vector<double> values;
};

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct type_caster<vekanalysis::python::FloatArray> {
    PYBIND11_TYPE_CASTER(vekanalysis::python::FloatArray,
                         const_name("numpy.ndarray | list[float]"));

    bool load(handle source, bool convert) {
        using vekanalysis::python::FloatArray;
        auto array = convert && vekanalysis::python::is_list(source) ? FloatArray::from_list(source)
                                                                     : FloatArray::from(source);
        if (!array) return false;
        value = std::move(*array);
        return true;
    }
};

template <>
struct type_caster<vekanalysis::python::FloatList> {
    using ListCaster = make_caster<std::vector<double>>;
    PYBIND11_TYPE_CASTER(vekanalysis::python::FloatList, ListCaster::name);

    bool load(handle source, bool convert) {
        if (!PyList_CheckExact(source.ptr()) && !PyTuple_CheckExact(source.ptr())) {
            if (isinstance<vekanalysis::Scan>(source)) return false;
            if (const auto array = vekanalysis::python::FloatArray::from(source)) {
                if (array->shape().size() != 1) return false;
                value.values.assign(array->values().begin(), array->values().end());
                return true;
            }
        }
        ListCaster list;
        if (!list.load(source, convert)) return false;
        value.values = cast_op<std::vector<double>&&>(std::move(list));
        return true;
    }
};

}  // namespace pybind11::detail
