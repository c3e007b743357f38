#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <stdexcept>
#include <string>

#include "io/csv.hpp"
#include "io/io.hpp"
#include "python/file_arguments.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// Runs work that touches no Python object, without the interpreter lock.
template <class F>
auto unlocked(const F& work) {
    const py::gil_scoped_release release;
    return work();
}

/// The same for work on a file: what it throws reaches Python as it would otherwise, with a note
/// that names the file.
template <class F>
auto unlocked_from_file(const FilePath& path, const F& work) {
    try {
        return unlocked(work);
    } catch (const std::invalid_argument& error) {
        raise_with_note(PyExc_ValueError, error.what(), path);
    } catch (const std::runtime_error& error) {
        raise_with_note(PyExc_RuntimeError, error.what(), path);
    }
}

/// Warns of the points that are not in the scans, naming the data sets, and returns the file.
///
/// @throws py::error_already_set  where warnings are errors
io::VekFile with_warning(io::VekFile file) {
    constexpr int most_named = 8;
    int concerned = 0;
    std::string text;
    for (const auto& data_set : file.data_sets) {
        if (data_set.left_out == 0 || ++concerned > most_named) continue;
        const auto name = py::repr(py::str(data_set.name)).cast<std::string>();
        text += text.empty() ? "points without a wavelength (NaN) left out: " : ", ";
        text += std::to_string(data_set.left_out) + " of data set " + name;
    }
    if (concerned > most_named) {
        text += " and those of " + std::to_string(concerned - most_named) + " more data sets";
    }
    if (concerned > 0 && PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 1) != 0) {
        throw py::error_already_set();
    }
    return file;
}

}  // namespace

void add_io_module(py::module_& m) {
    m.def(
        "vekfile_to_json_binary_data",
        [](const ByteBuffer& buffer, int indent, bool ensure_ascii) {
            return unlocked(
                [&] { return io::vekfile_to_json(buffer.bytes(), indent, ensure_ascii); });
        },
        "buffer"_a, "indent"_a, "ensure_ascii"_a, R"(
    Converts Dalvix+ .vek (or equivalent) binary data into a JSON string.

    :param buffer: A vector of bytes containing the .vek file data.
    :param indent: The number of spaces to use for indentation in the JSON output.
                   If 0 or a negative number, the JSON output is minified (no indentation).
    :param ensure_ascii: If True, all non-ASCII characters in the JSON output
                         are escaped into ASCII.
    :return: A JSON string representing the parsed content.
    :raises RuntimeError: If the buffer is empty.
    :raises RuntimeError: If the data are damaged or no measurement file.
    :raises ValueError: If ``indent`` is above 1024.
)");
    m.def(
        "vekfile_to_json",
        [](const FilePath& file_path, int indent, bool ensure_ascii) {
            return unlocked_from_file(file_path, [&] {
                return io::vekfile_to_json(file_path.text, indent, ensure_ascii);
            });
        },
        "file_path"_a, "indent"_a, "ensure_ascii"_a, R"(
    Loads a VekFile object from a file path.

    This function reads a Dalvix+ .vek file (or equivalent binary data)
    from the provided file path and returns a JSON string representing
    the parsed file contents.

    :param file_path: The path to the .vek file.
    :param indent: The number of spaces to use for indentation in the JSON output.
                   If 0 or a negative number, the JSON output is minified (no indentation).
    :param ensure_ascii: If True, all non-ASCII characters in the JSON output
                         are escaped into ASCII.
    :return: A JSON string representing the parsed file contents.
    :raises RuntimeError: If the file is empty or unreadable.
    :raises ValueError: If ``indent`` is above 1024.
)");
    m.def(
        "load_vekfile_binary_data",
        [](const ByteBuffer& buffer) {
            return with_warning(unlocked([&] { return io::load_vekfile(buffer.bytes()); }));
        },
        "buffer"_a, R"(
    Loads a VekFile object from a binary buffer.

    This function parses the content of a Dalvix+ .vek file (or equivalent
    binary data) that is already in memory.
    Points whose wavelength is NaN are left out, with a UserWarning that counts them.

    :param buffer: A vector of bytes containing the .vek file data.
    :return: A VekFile object parsed from the buffer.
    :raises RuntimeError: If the buffer is empty.
)");
    m.def(
        "load_vekfile",
        [](const FilePath& file_path) {
            return with_warning(
                unlocked_from_file(file_path, [&] { return io::load_vekfile(file_path.text); }));
        },
        "file_path"_a, R"(
    Loads a VekFile object from a file path.

    This function reads a Dalvix+ .vek file (or equivalent binary data)
    from the provided file path and parses its content.
    Points whose wavelength is NaN are left out, with a UserWarning that counts them.

    :param file_path: The path to the .vek file.
    :return: A VekFile object parsed from the file.
    :raises ReadError: If the file cannot be opened for reading.
    :raises RuntimeError: If the file data is empty.
)");
    m.def(
        "load_vek_scan_binary_data",
        [](const ByteBuffer& buffer) {
            return io::scans_by_name(
                with_warning(unlocked([&] { return io::load_vekfile(buffer.bytes()); })));
        },
        "buffer"_a, R"(
    Loads scan data from a binary buffer.

    This function parses the content of a Dalvix+ .vek file (or equivalent
    binary data) that is already in memory and returns
    a map associating spectrum names with their corresponding Scan data.
    Of data sets with the same name the last one stays.
    Points whose wavelength is NaN are left out, with a UserWarning that counts them.

    :param buffer: A vector of bytes containing the binary scan data.
    :return: A map from spectrum names to their corresponding Scan objects.
    :raises RuntimeError: If the buffer is empty.
)");
    m.def(
        "load_vek_scan_data",
        [](const FilePath& file_path) {
            return io::scans_by_name(with_warning(
                unlocked_from_file(file_path, [&] { return io::load_vekfile(file_path.text); })));
        },
        "file_path"_a, R"(
    Loads scan data from a .vek file.

    This function reads a Dalvix+ .vek file (or equivalent binary data)
    from the provided file path and returns
    a map associating spectrum names with their corresponding Scan data.
    Of data sets with the same name the last one stays.
    Points whose wavelength is NaN are left out, with a UserWarning that counts them.

    :param file_path: The path to the .vek file.
    :return: A map from spectrum names to their corresponding Scan objects.
    :raises ReadError: If the file cannot be opened for reading.
)");
    m.def(
        "load_csv",
        [](const FilePath& file_path) {
            return unlocked_from_file(file_path, [&] { return io::load_csv(file_path.text); });
        },
        "file_path"_a, R"(
    Loads scan data from a CSV file.

    The data is expected to be in key-value pairs, separated by
    a specific delimiter.

    A pair is a wavelength and a value; blanks, commas, tabs, semicolons and line
    ends separate. Reading stops at the first text that is not a number, without an
    error: a file with a header line gives an empty scan. Of equal wavelengths the
    last value stays.

    :param file_path: The path to the CSV file.
    :return: A Scan object containing the data read from the CSV file.
    :raises ReadError: If the file cannot be opened for reading.
)");
}

}  // namespace vekanalysis::python
