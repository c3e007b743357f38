#include "radiometry/radiometry.hpp"

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::radiometry {

double illuminance(const Scan& spectral_irradiance) {
    constexpr double maximum_luminous_efficacy = 683.002;
    return maximum_luminous_efficacy *
           (spectral_irradiance * colorimetry::data::cie_1931_standard_observer_y())(380.0, 780.0);
}

}  // namespace vekanalysis::radiometry
