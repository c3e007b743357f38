#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

namespace vekanalysis::python {

/// A docstring in the sections of NumPy's style, in the order in which they are given:
///
///     m.def("f", &f, "wl"_a,
///           Docstring("What f gives.")
///               .parameter("wl", "float", "Wavelength in nm.")
///               .returns("float", "In lux.")
///               .raises("ValueError", "If ``wl`` is NaN."));
///
/// The first text stays as it is; what is said of parameters, results and errors is broken into
/// lines.
class Docstring {
public:
    explicit Docstring(std::string_view text) : text_(text) {}

    /// @param type     what a caller may give, for example "array of any shape"
    /// @param meaning  with the unit; may be empty
    Docstring& parameter(std::string_view name, std::string_view type,
                         std::string_view meaning = {});
    Docstring& returns(std::string_view type, std::string_view meaning = {});
    Docstring& raises(std::string_view error, std::string_view when);
    /// A section with a heading of its own, "Notes" or "Examples", or a last paragraph without one.
    Docstring& section(std::string_view heading, std::string_view text);
    Docstring& paragraph(std::string_view text);
    /// The whole indented by so many blanks, between two line ends.
    Docstring& indented(std::size_t blanks);

    [[nodiscard]] const char* c_str() const noexcept { return text_.c_str(); }

private:
    void entry(std::string_view heading, std::string_view title, std::string_view text);
    void open(std::string_view heading);

    std::string text_;
    std::string_view heading_;
};

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct process_attribute<vekanalysis::python::Docstring>
    : process_attribute_default<vekanalysis::python::Docstring> {
    static void init(const vekanalysis::python::Docstring& doc, function_record* record) {
        process_attribute<const char*>::init(doc.c_str(), record);
    }
    static void init(const vekanalysis::python::Docstring& doc, type_record* record) {
        process_attribute<const char*>::init(doc.c_str(), record);
    }
};

}  // namespace pybind11::detail
