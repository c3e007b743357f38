#pragma once

#include "python/registration.hpp"

#include <memory>

namespace vekanalysis::python {

struct ReleaseBuffer {
    void operator()(Py_buffer* view) const noexcept {
        PyBuffer_Release(view);
        delete view;
    }
};

/// Memory that a Python object lends through the buffer protocol. Destroy it with the interpreter
/// lock held.
using BufferView = std::unique_ptr<Py_buffer, ReleaseBuffer>;

/// The buffer of `source`; null, without a Python error set, when it lends none of that kind.
///
/// @param flags  PyBUF_FORMAT and the like
[[nodiscard]] inline BufferView acquire_buffer(py::handle source, int flags) {
    if (PyObject_CheckBuffer(source.ptr()) == 0) return nullptr;
    auto view = std::make_unique<Py_buffer>();
    if (PyObject_GetBuffer(source.ptr(), view.get(), flags) != 0) {
        clear_refusal();
        return nullptr;
    }
    return BufferView(view.release());
}

}  // namespace vekanalysis::python
