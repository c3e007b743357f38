#pragma once

#include "../core/scan.hpp"

namespace vekanalysis::radiometry {

/// Illuminance in lx of a spectral irradiance in W m-2 nm-1 (wavelengths in nm).
///
/// 683.002 lm/W times the integral of spectral_irradiance * V(lambda) from 380 to 780 nm, V being
/// CIE 1931 y. Source: CIE 18.2-1983; 683.002 is the efficacy 683 lm/W at 540 THz taken at the
/// peak of V, 555 nm.
/// @throws std::runtime_error  the errors of the product and the integral: a spectrum that cannot
///                             be interpolated, or too few points
[[nodiscard]] double illuminance(const Scan& spectral_irradiance);

}  // namespace vekanalysis::radiometry
