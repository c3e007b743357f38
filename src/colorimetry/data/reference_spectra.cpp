#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

const std::array<const Scan*, 27>& dataset() {
    static const std::array<const Scan*, 27> scans{
        &AM0_ASTM_E490(),
        &AM15D_ASTM_G17303(),
        &AM15G_ASTM_G17303(),
        &ANSI_Z80_3_2015_green_signal_transmittance(),
        &ANSI_Z80_3_2015_red_signal_transmittance(),
        &ANSI_Z80_3_2015_yellow_signal_transmittance(),
        &ISO8980_3_incandescent_blue(),
        &ISO8980_3_incandescent_green(),
        &ISO8980_3_incandescent_red(),
        &ISO8980_3_incandescent_yellow(),
        &ISO8980_3_led_blue(),
        &ISO8980_3_led_green(),
        &ISO8980_3_led_red(),
        &ISO8980_3_led_yellow(),
        &aphake_hazard(),
        &blue_light_hazard(),
        &cie_1931_standard_observer_x(),
        &cie_1931_standard_observer_y(),
        &cie_1931_standard_observer_z(),
        &cie_1964_standard_observer_x(),
        &cie_1964_standard_observer_y(),
        &cie_1964_standard_observer_z(),
        &cie_illuminant_a(),
        &cie_illuminant_c(),
        &cie_illuminant_d65(),
        &relative_spectral_effectiveness(),
        &solar_spectral_irradiance(),
    };
    return scans;
}

}  // namespace vekanalysis::colorimetry::data
