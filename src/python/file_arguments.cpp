#include "python/file_arguments.hpp"

#include <string_view>

namespace vekanalysis::python {

std::optional<ByteBuffer> ByteBuffer::from(py::handle source) {
    ByteBuffer result;
    result.view_ = acquire_buffer(source, PyBUF_FULL_RO);
    if (!result.view_) return std::nullopt;
    const Py_buffer& view = *result.view_;
    std::string_view format = view.format == nullptr ? "B" : view.format;
    // A byte order is given by ctypes, and means nothing for single bytes.
    if (format.find_first_of("@=<>!") == 0) format.remove_prefix(1);
    if (view.ndim != 1 || (format != "B" && format != "c")) return std::nullopt;
    const auto size = static_cast<std::size_t>(view.len);
    if (view.readonly != 0 && PyBuffer_IsContiguous(&view, 'C') != 0) {
        result.bytes_ = {static_cast<const unsigned char*>(view.buf), size};
        return result;
    }
    result.copied_.resize(size);
    if (PyBuffer_ToContiguous(result.copied_.data(), &view, view.len, 'C') != 0) {
        clear_refusal();
        return std::nullopt;
    }
    result.bytes_ = result.copied_;
    result.view_.reset();
    return result;
}

std::optional<FilePath> FilePath::from(py::handle source) {
    auto path = py::reinterpret_steal<py::object>(PyOS_FSPath(source.ptr()));
    if (path && PyUnicode_Check(path.ptr())) {
        path = py::reinterpret_steal<py::object>(PyUnicode_EncodeFSDefault(path.ptr()));
    }
    if (!path) {
        clear_refusal();
        return std::nullopt;
    }
    return FilePath{std::string(py::reinterpret_borrow<py::bytes>(path))};
}

void raise_with_note(py::handle type, const char* text, const FilePath& path) {
    const auto decode = [](std::string_view bytes) {
        auto decoded = py::reinterpret_steal<py::str>(
            PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<py::ssize_t>(bytes.size())));
        if (!decoded) throw py::error_already_set();
        return decoded;
    };
    const py::object error = type(decode(text));
    error.attr("add_note")(decode("File: " + path.text));
    PyErr_SetObject(type.ptr(), error.ptr());
    throw py::error_already_set();
}

}  // namespace vekanalysis::python
