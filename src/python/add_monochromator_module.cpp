#include "python/registration.hpp"

#include "monochromator/slit_function.hpp"
#include "python/docstring.hpp"

namespace vekanalysis::python {

using namespace py::literals;

void add_monochromator_module(py::module_& m) {
    constexpr const char* bandwidth = "Full width at half maximum in nm.";
    py::module_ slit_function = m.def_submodule("slit_function");
    slit_function.def(
        "uniform_fibres_value", &monochromator::slit_function::uniform_fibres_value,
        "central_wavelength"_a, "bandwidth"_a, "wavelength"_a,
        Docstring(R"doc(Slit function of a monochromator with round fibres, at one wavelength.

The round input fibre is imaged across an equal round exit fibre; the value is the
normalised overlap of two equal circles, (2/pi) (acos(x) - x sqrt(1 - x^2)), x being
the distance from the central wavelength in units of R = bandwidth / 0.80794550659902.
)doc")
            .parameter("central_wavelength", "float", "Wavelength in nm at which the value is 1.")
            .parameter("bandwidth", "float", bandwidth)
            .parameter("wavelength", "float", "Wavelength in nm.")
            .returns("float",
                     "0 at a distance of R and beyond. With a bandwidth of 0: NaN at the centre."));
    slit_function.def(
        "uniform_fibres", &monochromator::slit_function::uniform_fibres, "central_wavelength"_a,
        "bandwidth"_a, "points"_a,
        Docstring(R"doc(Slit function of a monochromator with round fibres, as a scan.

The function of ``uniform_fibres_value`` at equidistant wavelengths from
central_wavelength - R to central_wavelength + R, R = bandwidth / 0.80794550659902:
0 at both ends, symmetric, and 1 at the centre when ``points`` is odd.
)doc")
            .parameter("central_wavelength", "float", "Wavelength in nm of the centre.")
            .parameter("bandwidth", "float", bandwidth)
            .parameter("points", "int", "Number of points, 2 to 100000000.")
            .returns("Scan")
            .raises("ValueError",
                    "If there are fewer than 2 or too many points, or an argument is NaN or "
                    "infinite."));
}

}  // namespace vekanalysis::python
