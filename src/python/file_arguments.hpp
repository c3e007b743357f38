#pragma once

#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "python/buffer_view.hpp"

namespace vekanalysis::python {

/// Bytes of a Python argument: the memory of a one-dimensional buffer of unsigned bytes (bytes,
/// memoryview, a NumPy array of uint8, ...) or a copy of a sequence of integers from 0 to 255.
///
/// A buffer that may be written to is copied, so that the bytes stay as they are while the
/// interpreter lock is released. Make and destroy it with the lock held.
class ByteBuffer {
public:
    ByteBuffer() = default;
    explicit ByteBuffer(std::vector<unsigned char> bytes) noexcept
        : copied_(std::move(bytes)), bytes_(copied_) {}

    /// @return nothing, without a Python error set, when `source` is no such buffer
    static std::optional<ByteBuffer> from(py::handle source);

    [[nodiscard]] std::span<const unsigned char> bytes() const noexcept { return bytes_; }

private:
    BufferView view_;
    std::vector<unsigned char> copied_;
    std::span<const unsigned char> bytes_;
};

/// Path from a str or os.PathLike, in the encoding of the file system: UTF-8, but for names that
/// are not.
struct FilePath {
    std::string text;

    /// @return nothing, without a Python error set, when `source` is no path
    static std::optional<FilePath> from(py::handle source);
};

/// Raises a Python exception with this text and a note that names the file.
///
/// @param text  in the encoding of `path`
[[noreturn]] void raise_with_note(py::handle type, const char* text, const FilePath& path);

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct type_caster<vekanalysis::python::ByteBuffer> {
    using ListCaster = make_caster<std::vector<unsigned char>>;
    PYBIND11_TYPE_CASTER(vekanalysis::python::ByteBuffer,
                         const_name("collections.abc.Buffer | ") + ListCaster::name);

    bool load(handle source, bool convert) {
        if (auto buffer = vekanalysis::python::ByteBuffer::from(source)) {
            value = std::move(*buffer);
            return true;
        }
        ListCaster list;
        if (!list.load(source, convert)) return false;
        value =
            vekanalysis::python::ByteBuffer(cast_op<std::vector<unsigned char>&&>(std::move(list)));
        return true;
    }
};

template <>
struct type_caster<vekanalysis::python::FilePath> {
    PYBIND11_TYPE_CASTER(vekanalysis::python::FilePath, const_name("str | os.PathLike"));

    bool load(handle source, bool /*convert*/) {
        auto path = vekanalysis::python::FilePath::from(source);
        if (!path) return false;
        value = std::move(*path);
        return true;
    }
};

}  // namespace pybind11::detail
