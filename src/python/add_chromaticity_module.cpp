#include "python/registration.hpp"

#include <string>

#include "chromaticity/chromaticity.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

std::string chromaticity_doc(const char* text, const char* parameter, const char* year = "1931") {
    return std::string(text) +
           R"doc(
x = X / (X + Y + Z) and y = Y / (X + Y + Z), X, Y and Z being the integrals from
380 to 780 nm of the CIE )doc" +
           year +
           R"doc( colour-matching functions times the light. Where
``scan`` has no data the light counts as 0. The point is not judged: comparing it
with the limits of a standard is left to the caller.

Parameters
----------
scan : Scan
    )doc" + parameter +
           R"doc(

Returns
-------
CIExy
    NaN for both coordinates when X, Y and Z are all 0.

Raises
------
RuntimeError
    If ``scan`` cannot be interpolated or has too few points.
)doc";
}

}  // namespace

void add_chromaticity_module(py::module_& m) {
    RecordClass(m, "CIExy", "A point of a CIE chromaticity diagram.",
                Field{"x", &ChromaticityPoint::x, "Chromaticity coordinate x."},
                Field{"y", &ChromaticityPoint::y, "Chromaticity coordinate y."})
        .of_numbers("Chromaticity");
    constexpr const char* light = "Spectrum of the light in any unit, wavelengths in nm.";
    m.def("CIE_1931_chromaticity", &chromaticity::CIE_1931_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of a spectrum (CIE 15:2004).\n", light).c_str());
    m.def("CIE_1964_chromaticity", &chromaticity::CIE_1964_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1964 (10 degrees) chromaticity of a spectrum (CIE 15:2004).\n",
                           light, "1964")
              .c_str());
    constexpr const char* lens =
        "Spectral transmittance (fraction) of the lens, wavelengths in nm.";
    m.def("ANSI_Z80_3_daylight_chromaticity", &chromaticity::ANSI_Z80_3_daylight_chromaticity,
          "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of a lens in daylight (ANSI Z80.3-2015).\n\nThe "
                           "light is ``scan`` times CIE standard illuminant D65.\n",
                           lens)
              .c_str());
    m.def("ANSI_Z80_3_yellow_chromaticity", &chromaticity::ANSI_Z80_3_yellow_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of the yellow traffic signal through a lens "
                           "(ANSI Z80.3-2015).\n\nThe light is ``scan`` times the yellow signal "
                           "lens times CIE standard illuminant A. The table\nof the lens is a "
                           "reconstruction, not for conformity decisions.\n",
                           lens)
              .c_str());
    m.def("ANSI_Z80_3_green_chromaticity", &chromaticity::ANSI_Z80_3_green_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of the green traffic signal through a lens "
                           "(ANSI Z80.3-2015).\n\nThe light is ``scan`` times the green signal "
                           "lens times CIE standard illuminant A. The table\nof the lens is a "
                           "reconstruction, not for conformity decisions.\n",
                           lens)
              .c_str());
}

}  // namespace vekanalysis::python
