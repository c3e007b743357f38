#include "python/scan_class.hpp"

#include <pybind11/stl.h>
#include <pybind11/typing.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/scan.hpp"
#include "core/text.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// Walks a copy of the items taken when iteration began, so that changing the scan meanwhile is
/// harmless.
template <class Item>
class Iterator {
public:
    explicit Iterator(std::vector<Item> items) noexcept : items_(std::move(items)) {}

    Item next() {
        if (next_ == items_.size()) throw py::stop_iteration();
        return items_[next_++];
    }

private:
    std::vector<Item> items_;
    std::size_t next_ = 0;
};

}  // namespace

template <class Item>
inline constexpr bool is_bound_class<Iterator<Item>> = true;

namespace {

template <class Item>
void add_iterator() {
    py::class_<Iterator<Item>>(py::handle(), "iterator", py::module_local())
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", &Iterator<Item>::next);
}

auto insert(Scan& self, double wavelength, double value) {
    self.insert({wavelength, value});
}

double get_item(const Scan& self, double wavelength) {
    try {
        return self.at(wavelength);
    } catch (const std::out_of_range&) {
        throw py::key_error("key '" + internal::fixed(wavelength) + "' does not exist");
    }
}

void add_items(ScanClass& scan) {
    scan.def("__getitem__", &get_item, "wavelength"_a,
             Docstring("Value of a stored point; never interpolates.")
                 .parameter("wavelength", "float")
                 .returns("float")
                 .raises("KeyError",
                         "If no stored wavelength equals ``wavelength`` within ``epsilon``."));
    scan.def("__setitem__", &insert, "wavelength"_a, "value"_a,
             Docstring("Insert or update a stored point.")
                 .parameter("wavelength", "float",
                            "A stored wavelength that equals it within ``epsilon`` stays as the "
                            "key.")
                 .parameter("value", "float")
                 .raises("ValueError", "If ``wavelength`` is NaN."));
    scan.def("add", &insert, "wavelength"_a, "value"_a,
             Docstring(R"doc(Insert or update a stored point.

This is equivalent to ``scan[wavelength] = value``.)doc")
                 .parameter("wavelength", "float")
                 .parameter("value", "float")
                 .raises("ValueError", "If ``wavelength`` is NaN."));
}

void add_iteration(ScanClass& scan) {
    scan.def(
        "__iter__",
        [](const Scan& self) {
            return py::typing::Iterator<double>(py::cast(Iterator(self.get_wavelengths())));
        },
        "Iterate over the wavelengths in ascending order.");
    scan.def(
        "items",
        [](const Scan& self) {
            return py::typing::Iterator<py::typing::Tuple<double, double>>(
                py::cast(Iterator(utils::to_vector(self))));
        },
        "Iterate over the (wavelength, value) pairs in ascending order of wavelength.");
}

void add_lists(ScanClass& scan) {
    scan.def("wavelengths", &Scan::get_wavelengths,
             "The stored wavelengths in ascending order, as a list.");
    scan.def("values", &Scan::get_values,
             "The stored values in ascending order of wavelength, as a list.");
    scan.def(
        "to_lists",
        [](const Scan& self) { return std::pair(self.get_wavelengths(), self.get_values()); },
        Docstring("The points as two lists.")
            .returns("tuple of list of float",
                     "The wavelengths in ascending order, and the values in the same order."));
    scan.def("to_numpy", &to_numpy,
             Docstring("The points as a NumPy array.")
                 .returns("array of float64 of shape (2, N)",
                          "Row 0 holds the wavelengths in ascending order, row 1 the values. The "
                          "array is a copy."));
}

}  // namespace

py::array_t<double> to_numpy(const Scan& scan) {
    const auto n = static_cast<py::ssize_t>(scan.size());
    py::array_t<double> array({py::ssize_t{2}, n});
    const auto keys = scan.data().keys();
    const auto values = scan.data().values();
    double* const out = array.mutable_data();
    std::copy(keys.begin(), keys.end(), out);
    std::copy(values.begin(), values.end(), out + n);
    return array;
}

void add_scan_points(ScanClass& scan) {
    add_iterator<double>();
    add_iterator<std::pair<double, double>>();
    add_items(scan);
    add_iteration(scan);
    add_lists(scan);
}

}  // namespace vekanalysis::python
