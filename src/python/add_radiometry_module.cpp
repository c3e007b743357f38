#include "python/registration.hpp"

#include "python/docstring.hpp"
#include "radiometry/radiometry.hpp"

namespace vekanalysis::python {

using namespace py::literals;

void add_radiometry_module(py::module_& m) {
    m.def("illuminance", &radiometry::illuminance, "spectral_irradiance"_a,
          Docstring(R"doc(Illuminance of a spectral irradiance (CIE 18.2-1983).

683.002 lm/W times the integral from 380 to 780 nm of spectral_irradiance times
V(λ), the CIE 1931 colour-matching function y.
)doc")
              .parameter("spectral_irradiance", "Scan",
                         "Spectral irradiance in W m-2 nm-1, wavelengths in nm. What it does not "
                         "cover counts as 0.")
              .returns("float", "Illuminance in lux.")
              .raises("RuntimeError",
                      "If ``spectral_irradiance`` cannot be interpolated or has too few points."));
}

}  // namespace vekanalysis::python
