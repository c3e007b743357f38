#include "python/registration.hpp"

#include <string>

#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::python {

namespace {

std::string signal_lens_doc(const char* colour) {
    return std::string("\n  Transmittance of the ") + colour +
           " traffic signal lens specified in ANSI Z80.3-2015\n";
}

std::string signal_light_doc(const char* kind, const char* colour) {
    // Deliberate: the blank at the end of the second line.
    return std::string("\n  Relative spectral distribution of radiation emitted by ") + kind +
           " signal lights,\n"
           "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
           "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
           "  " +
           colour + " Signal\n";
}

std::string observer_doc(const char* year, const char* field, const char* function) {
    return std::string("\n  CIE ") + year + " standard colorimetric observer (CIE " + year + " " +
           field + " Standard Observer)\n  Color Matching Function " + function + "\n";
}

std::string illuminant_doc(const char* illuminant) {
    return std::string("\n  Relative spectral power distribution of CIE Standard Illuminant ") +
           illuminant + "\n";
}

}  // namespace

void add_colorimetry_data_module(py::module_& m) {
    namespace data = colorimetry::data;
    // By reference: Python sees, and may change, the one object that every calculation uses.
    const auto add = [&m](const char* name, const Scan& (*accessor)(), const std::string& doc) {
        m.def(name, accessor, py::return_value_policy::reference, doc.c_str());
    };
    add("AM0_ASTM_E490", &data::AM0_ASTM_E490, R"doc(
  The standard AM0 solar spectrum (W m-2 nm-1)
  It has an integrated power of 1366.1 W m-2
)doc");
    // Deliberate: the doubled word.
    add("AM15D_ASTM_G17303", &data::AM15D_ASTM_G17303, R"doc(
  The AM1.5 Direct (+circumsolar) (W m-2 nm-1) spectrum is defined for solar
  concentrator work. It includes the the direct beam from the sun plus the
  circumsolar component in a disk 2.5 degrees around the sun. The direct plus
  circumsolar spectrum has an integrated power density of 900 W m-2
)doc");
    add("AM15G_ASTM_G17303", &data::AM15G_ASTM_G17303, R"doc(
  The AM1.5 Global solar spectrum (W m-2 nm-1) is designed for flat
  plate modules and has an integrated power of 1000 W m-2
)doc");
    add("ANSI_Z80_3_2015_green_signal_transmittance",
        &data::ANSI_Z80_3_2015_green_signal_transmittance, signal_lens_doc("green"));
    add("ANSI_Z80_3_2015_red_signal_transmittance", &data::ANSI_Z80_3_2015_red_signal_transmittance,
        signal_lens_doc("red"));
    add("ANSI_Z80_3_2015_yellow_signal_transmittance",
        &data::ANSI_Z80_3_2015_yellow_signal_transmittance, signal_lens_doc("yellow"));
    add("ISO8980_3_incandescent_blue", &data::ISO8980_3_incandescent_blue,
        signal_light_doc("incandescent", "Blue"));
    add("ISO8980_3_incandescent_green", &data::ISO8980_3_incandescent_green,
        signal_light_doc("incandescent", "Green"));
    add("ISO8980_3_incandescent_red", &data::ISO8980_3_incandescent_red,
        signal_light_doc("incandescent", "Red"));
    add("ISO8980_3_incandescent_yellow", &data::ISO8980_3_incandescent_yellow,
        signal_light_doc("incandescent", "Yellow"));
    add("ISO8980_3_led_blue", &data::ISO8980_3_led_blue, signal_light_doc("LED", "Blue"));
    add("ISO8980_3_led_green", &data::ISO8980_3_led_green, signal_light_doc("LED", "Green"));
    add("ISO8980_3_led_red", &data::ISO8980_3_led_red, signal_light_doc("LED", "Red"));
    add("ISO8980_3_led_yellow", &data::ISO8980_3_led_yellow, signal_light_doc("LED", "Yellow"));
    add("aphake_hazard", &data::aphake_hazard, "\n  Aphake hazard function A(λ)\n");
    add("blue_light_hazard", &data::blue_light_hazard, R"doc(
  Blue-light hazard function B(λ)
  380nm to 500nm steps 5nm
)doc");
    add("cie_1931_standard_observer_x", &data::cie_1931_standard_observer_x,
        observer_doc("1931", "2°", "x"));
    add("cie_1931_standard_observer_y", &data::cie_1931_standard_observer_y,
        observer_doc("1931", "2°", "y"));
    add("cie_1931_standard_observer_z", &data::cie_1931_standard_observer_z,
        observer_doc("1931", "2°", "z"));
    add("cie_1964_standard_observer_x", &data::cie_1964_standard_observer_x,
        observer_doc("1964", "10°", "x"));
    add("cie_1964_standard_observer_y", &data::cie_1964_standard_observer_y,
        observer_doc("1964", "10°", "y"));
    add("cie_1964_standard_observer_z", &data::cie_1964_standard_observer_z,
        observer_doc("1964", "10°", "z"));
    add("cie_illuminant_a", &data::cie_illuminant_a, illuminant_doc("A"));
    add("cie_illuminant_c", &data::cie_illuminant_c, illuminant_doc("C"));
    add("cie_illuminant_d65", &data::cie_illuminant_d65, illuminant_doc("D65"));
    add("relative_spectral_effectiveness", &data::relative_spectral_effectiveness, R"doc(
  Relative spectral effectiveness function S(λ)
  280nm to 400nm steps 5nm
  ICNIRP, Guidelines on limits of exposure to ultraviolet radiation of wavelengths
  between 180 nm and 400 nm (incoherent optical radiation),
  Health Phys. 2004, 87 (2) pp. 171-186
)doc");
    // Deliberate: 250nm, although the table begins at 290 nm.
    add("solar_spectral_irradiance", &data::solar_spectral_irradiance, R"doc(
  Solar Spectral Irradiance (mW m-2 nm-1)
  250nm to 500nm steps 5nm
)doc");
}

}  // namespace vekanalysis::python
