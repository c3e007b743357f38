#include "python/scan_class.hpp"

#include "core/scan.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

constexpr const char* cannot =
    "If ``interpolation`` is ``NONE`` or there are too few points for it.";
constexpr const char* asked_for = "array of any shape, or list of float";
constexpr const char* same_shape = "array of float64 of the same shape";

void add_values(ScanClass& scan) {
    scan.def("__call__", py::overload_cast<double>(&Scan::operator(), py::const_), "wavelength"_a,
             Docstring(R"doc(Value at a wavelength.

The stored value where there is one, 0.0 outside the stored range (there is no
extrapolation), else the interpolated value.)doc")
                 .parameter("wavelength", "float")
                 .returns("float")
                 .raises("RuntimeError",
                         "Between stored points, if ``interpolation`` is ``NONE`` or there are too "
                         "few points for it."));
    scan.def("__call__", py::overload_cast<double, double>(&Scan::operator(), py::const_),
             "wavelength_from"_a, "wavelength_to"_a,
             Docstring(R"doc(Integral of the interpolated scan between two wavelengths.

The limits are clipped to the stored range; with ``wavelength_from`` above
``wavelength_to`` the result is 0.0.)doc")
                 .parameter("wavelength_from, wavelength_to", "float")
                 .returns("float",
                          "Integral in the unit of the values times nm. NaN where a limit is NaN, "
                          "but 0.0 for "
                          "an empty scan.")
                 .raises("RuntimeError",
                         "If the limits differ and ``interpolation`` is ``NONE`` or there are too "
                         "few points for it."));
    scan.def(
        "__call__",
        [](const Scan& self, const FloatArray& wavelength) {
            auto [result, values] = wavelength.make_result();
            self.evaluate(wavelength.values(), values);
            return result;
        },
        "wavelength"_a,
        Docstring("Values at an array of wavelengths, each as for one wavelength.")
            .parameter("wavelength", asked_for,
                       "Wavelengths in any order; ascending ones are fastest.")
            .returns(same_shape)
            .raises("RuntimeError", "As for one wavelength."));
}

void add_derivatives(ScanClass& scan) {
    scan.def("deriv", py::overload_cast<double>(&Scan::deriv, py::const_), "wavelength"_a,
             Docstring(R"doc(First derivative of the interpolated scan at a wavelength.

0.0 outside the stored range.)doc")
                 .parameter("wavelength", "float")
                 .returns("float", "Derivative in the unit of the values per nm.")
                 .raises("RuntimeError", cannot));
    scan.def(
        "deriv",
        [](const Scan& self, const FloatArray& wavelength) {
            auto [result, values] = wavelength.make_result();
            self.deriv(wavelength.values(), values);
            return result;
        },
        "wavelength"_a,
        Docstring("First derivatives at an array of wavelengths.")
            .parameter("wavelength", asked_for)
            .returns(same_shape)
            .raises("RuntimeError", "As for one wavelength."));
}

}  // namespace

void add_scan_evaluation(ScanClass& scan) {
    add_values(scan);
    scan.def("integral", &Scan::integral,
             Docstring(R"doc(Integral over the whole stored range.

Equivalent to ``scan(scan.min_wavelength(), scan.max_wavelength())``; 0.0 for an
empty scan.)doc")
                 .returns("float")
                 .raises("RuntimeError",
                         "For two or more points, if ``interpolation`` is ``NONE`` or there are "
                         "too few points for it."));
    add_derivatives(scan);
    scan.def(
        "x",
        [](const Scan& self) {
            return utils::transform(self, [](double wl, double) { return wl; });
        },
        Docstring("The wavelengths as a scan of their own.")
            .returns("Scan",
                     "A new scan over the same wavelengths whose value at each wavelength is that "
                     "wavelength."));
}

}  // namespace vekanalysis::python
