#include "python/registration.hpp"

#include <string>

#include "chromaticity/chromaticity.hpp"
#include "python/docstring.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

constexpr const char* light = "Spectrum of the light in any unit, wavelengths in nm.";
constexpr const char* lens = "Spectral transmittance (fraction) of the lens, wavelengths in nm.";

Docstring chromaticity_doc(const std::string& text, const char* scan,
                           const std::string& year = "1931") {
    return Docstring(text + R"doc(
x = X / (X + Y + Z) and y = Y / (X + Y + Z), X, Y and Z being the integrals from
380 to 780 nm of the CIE )doc" +
                     year + R"doc( colour-matching functions times the light. Where
``scan`` has no data the light counts as 0. The point is not judged: comparing it
with the limits of a standard is left to the caller.
)doc")
        .parameter("scan", "Scan", scan)
        .returns("CIExy", "NaN for both coordinates when X, Y and Z are all 0.")
        .raises("RuntimeError", "If ``scan`` cannot be interpolated or has too few points.");
}

/// Of a traffic signal seen through a lens.
Docstring signal_doc(const std::string& colour) {
    return chromaticity_doc("CIE 1931 chromaticity of the " + colour +
                                " traffic signal through a lens (ANSI Z80.3-2015).\n\n"
                                "The light is ``scan`` times the " +
                                colour +
                                " signal lens times CIE standard illuminant A. The table\n"
                                "of the lens is a reconstruction, not for conformity decisions.\n",
                            lens);
}

}  // namespace

void add_chromaticity_module(py::module_& m) {
    RecordClass(m, "CIExy", "A point of a CIE chromaticity diagram.",
                Field{"x", &ChromaticityPoint::x, "Chromaticity coordinate x."},
                Field{"y", &ChromaticityPoint::y, "Chromaticity coordinate y."})
        .of_numbers("Chromaticity");
    m.def("CIE_1931_chromaticity", &chromaticity::CIE_1931_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of a spectrum (CIE 15:2004).\n", light));
    m.def("CIE_1964_chromaticity", &chromaticity::CIE_1964_chromaticity, "scan"_a,
          chromaticity_doc("CIE 1964 (10 degrees) chromaticity of a spectrum (CIE 15:2004).\n",
                           light, "1964"));
    m.def("ANSI_Z80_3_daylight_chromaticity", &chromaticity::ANSI_Z80_3_daylight_chromaticity,
          "scan"_a,
          chromaticity_doc("CIE 1931 chromaticity of a lens in daylight (ANSI Z80.3-2015).\n\nThe "
                           "light is ``scan`` times CIE standard illuminant D65.\n",
                           lens));
    m.def("ANSI_Z80_3_yellow_chromaticity", &chromaticity::ANSI_Z80_3_yellow_chromaticity, "scan"_a,
          signal_doc("yellow"));
    m.def("ANSI_Z80_3_green_chromaticity", &chromaticity::ANSI_Z80_3_green_chromaticity, "scan"_a,
          signal_doc("green"));
}

}  // namespace vekanalysis::python
