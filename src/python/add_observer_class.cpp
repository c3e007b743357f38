#include "python/registration.hpp"

#include <string>

#include "colorimetry/observers.hpp"
#include "python/docstring.hpp"
#include "python/pickling.hpp"

namespace vekanalysis::python {

using namespace py::literals;

void add_observer_class(py::module_& m) {
    py::class_<Observer> observer(m, "Observer", "Observer struct");
    const auto scans_of = [](const py::tuple& state) {
        return Observer{state[0].cast<const Scan&>(), state[1].cast<const Scan&>(),
                        state[2].cast<const Scan&>()};
    };
    observer.def(
        py::init([](const Scan& x, const Scan& y, const Scan& z) {
            return Observer{x, y, z};
        }),
        "x"_a, "y"_a, "z"_a, py::keep_alive<1, 2>(), py::keep_alive<1, 3>(), py::keep_alive<1, 4>(),
        Docstring(R"doc(Make an observer of three colour-matching functions.

The observer refers to the given scans: changing one of them later changes what
the observer computes.)doc")
            .parameter("x, y, z", "Scan",
                       "Colour-matching functions, dimensionless, against wavelength in nm, such "
                       "as ``colorimetry.data.cie_1931_standard_observer_x()``."));
    const auto add_function = [&observer](const char* name, auto read, const char* doc) {
        observer.def_property_readonly(name, read, doc);
    };
    add_function(
        "x", [](const Observer& self) { return Scan(self.x); },
        "Copy of the colour-matching function x.");
    add_function(
        "y", [](const Observer& self) { return Scan(self.y); },
        "Copy of the colour-matching function y.");
    add_function(
        "z", [](const Observer& self) { return Scan(self.z); },
        "Copy of the colour-matching function z.");
    // A copy refers to scans of its own, which the state holds.
    add_pickling(
        observer,
        [](const py::object& self) {
            return py::make_tuple(self.attr("x"), self.attr("y"), self.attr("z"));
        },
        scans_of, py::keep_alive<1, 2>());
    // Deliberate: all points of the three functions, not their ranges, as `str` of scans has them.
    observer.def(
        "__repr__",
        [](const Observer& self) {
            const auto text = [](const Scan& scan) {
                return std::string(py::str(py::cast(scan, py::return_value_policy::reference)));
            };
            return "<Observer x: " + text(self.x) + ", y: " + text(self.y) +
                   ", z: " + text(self.z) + ">";
        },
        "The points of the three functions.");
}

}  // namespace vekanalysis::python
