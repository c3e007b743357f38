#include "python/records.hpp"

#include "core/text.hpp"

namespace vekanalysis::python {

std::string shown(double number) {
    return internal::general(number);
}

std::string shown(bool flag) {
    return flag ? "True" : "False";
}

std::string shown(const std::optional<double>& number) {
    return number.has_value() ? shown(*number) : "None";
}

std::string shown(const std::vector<double>& numbers) {
    return "[" + std::to_string(numbers.size()) + " numbers]";
}

std::string shown(const std::string& text) {
    constexpr std::size_t longest = 40;
    py::str decoded(text);
    if (py::len(decoded) > longest) {
        decoded = py::str(decoded[py::slice(0, longest, 1)]) + py::str("\u2026");
    }
    return std::string(py::str(py::repr(decoded)));
}

std::string shown(const Scan& scan) {
    return std::string(py::str(py::repr(py::cast(scan, py::return_value_policy::reference))));
}

}  // namespace vekanalysis::python
