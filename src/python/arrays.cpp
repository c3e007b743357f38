#include "python/arrays.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vekanalysis::python {

namespace {

template <class T>
void convert(const std::byte* bytes, std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        T item;
        std::memcpy(&item, bytes + i * sizeof(T), sizeof(T));
        values[i] = static_cast<double>(item);
    }
}

using Converter = void (*)(const std::byte*, std::vector<double>&);

/// Conversion from the items of a native buffer format; null when the format is not a real number
/// of this machine's byte order.
Converter converter_for(const char* format) noexcept {
    if (format == nullptr) return convert<unsigned char>;
    constexpr char native_order = std::endian::native == std::endian::little ? '<' : '>';
    const bool standard_size = *format == '=' || *format == native_order;
    if (standard_size || *format == '@') ++format;
    if (format[0] == '\0' || format[1] != '\0') return nullptr;
    switch (format[0]) {
        case 'd':
            return convert<double>;
        case 'f':
            return convert<float>;
        case '?':
            return convert<unsigned char>;
        case 'b':
            return convert<signed char>;
        case 'B':
            return convert<unsigned char>;
        case 'h':
            return convert<short>;
        case 'H':
            return convert<unsigned short>;
        case 'i':
            return convert<int>;
        case 'I':
            return convert<unsigned int>;
        case 'l':
            return standard_size ? convert<int> : convert<long>;
        case 'L':
            return standard_size ? convert<unsigned int> : convert<unsigned long>;
        case 'q':
            return convert<long long>;
        case 'Q':
            return convert<unsigned long long>;
        default:
            return nullptr;
    }
}

/// `source` as NumPy's own float64 array; empty where NumPy finds no safe conversion.
py::object as_float64_array(py::handle source) {
    // That there is no NumPy, or no memory for it, is no property of the source.
    const py::module_ numpy = py::module_::import("numpy");
    try {
        const py::object array = numpy.attr("asarray")(source);
        return array.attr("astype")("float64", py::arg("casting") = "same_kind",
                                    py::arg("copy") = false);
    } catch (py::error_already_set& error) {
        error.restore();
        clear_refusal();
        return {};
    }
}

/// Throws TypeError if some values of the array are masked.
void refuse_masked(py::handle source) {
    // Whoever has made a masked array has imported the module.
    const auto module =
        py::reinterpret_steal<py::object>(PyImport_GetModule(py::str("numpy.ma").ptr()));
    if (!module) {
        if (PyErr_Occurred() != nullptr) throw py::error_already_set();
        return;
    }
    if (py::isinstance(source, module.attr("MaskedArray")) &&
        py::cast<bool>(module.attr("is_masked")(source))) {
        throw py::type_error(
            "some values of the array are masked: leave these points out of wavelengths and "
            "values, or give array.filled(nan)");
    }
}

}  // namespace

bool is_list(py::handle source) noexcept {
    PyObject* const object = source.ptr();
    return PyList_Check(object) != 0 || PyTuple_Check(object) != 0 || PyRange_Check(object) != 0;
}

std::optional<FloatArray> FloatArray::from_list(py::handle source) {
    const py::object array = as_float64_array(source);
    return array ? from(array) : std::nullopt;
}

std::optional<FloatArray> FloatArray::from_buffer(BufferView view) {
    const Converter converter = converter_for(view->format);
    if (converter == nullptr) return std::nullopt;
    FloatArray array;
    array.shape_.assign(view->shape, view->shape + view->ndim);
    const auto count = static_cast<std::size_t>(view->len / view->itemsize);
    const bool contiguous = PyBuffer_IsContiguous(view.get(), 'C') != 0;
    const auto address = reinterpret_cast<std::uintptr_t>(view->buf);
    if (contiguous && converter == static_cast<Converter>(convert<double>) &&
        address % alignof(double) == 0) {
        array.values_ = {static_cast<const double*>(view->buf), count};
        array.view_ = std::move(view);
        return array;
    }
    array.converted_.resize(count);
    if (contiguous) {
        converter(static_cast<const std::byte*>(view->buf), array.converted_);
    } else {
        std::vector<std::byte> bytes(static_cast<std::size_t>(view->len));
        if (PyBuffer_ToContiguous(bytes.data(), view.get(), view->len, 'C') != 0) {
            throw py::error_already_set();
        }
        converter(bytes.data(), array.converted_);
    }
    array.values_ = array.converted_;
    return array;
}

std::optional<FloatArray> FloatArray::from(py::handle source) {
    PyObject* const object = source.ptr();
    if (PyFloat_Check(object) || PyLong_Check(object) || PyUnicode_Check(object) ||
        PyBytes_Check(object) || PyByteArray_Check(object) || py::isinstance<Scan>(source)) {
        return std::nullopt;
    }
    // numpy.ndarray itself, the commonest, has no mask.
    if (std::strcmp(Py_TYPE(object)->tp_name, "numpy.ndarray") != 0) refuse_masked(source);
    constexpr int flags = PyBUF_FORMAT | PyBUF_STRIDES;
    BufferView view = acquire_buffer(source, flags);
    const bool has_buffer = view != nullptr;
    if (has_buffer) {
        if (view->ndim == 0) return std::nullopt;
        if (auto array = from_buffer(std::move(view))) return array;
    }
    if (!has_buffer && !py::hasattr(source, "__array__")) return std::nullopt;
    const py::object array = as_float64_array(source);
    if (!array) return std::nullopt;
    view = acquire_buffer(array, flags);
    if (!view || view->ndim == 0) return std::nullopt;
    return from_buffer(std::move(view));
}

}  // namespace vekanalysis::python
