#pragma once

#include "quantities/quantity.hpp"

/// The functions of `lighting` as the records of light sources need them: sums over the visible in
/// the step that suits the spectrum, `lighting::natural_step`; fidelity, alpha-opic quantities and
/// S/P in 1 nm. Where a function refuses a spectrum it throws what that throws.
namespace vekanalysis::quantities::internal {

extern const Function luminance;                      // of a spectral radiance, cd/m2
extern const Function total;                          // 380 to 780 nm
extern const Function correlated_colour_temperature;  // cct, duv
extern const Function chromaticity;                   // x, y, u, v, u', v'
extern const Function dominant_wavelength;            // dominant, complementary, purity; white E
extern const Function colour_rendering;               // Ra, R1 to R15, distance to the reference
extern const Function colour_fidelity;                // Rf, Rg, then Rf, Rcs, Rhs of each hue bin
extern const Function alpha_opic;                     // four of each of the five
extern const Function scotopic_photopic_ratio;
extern const Function photon_flux;          // 400 to 700 nm
extern const Function peak_wavelength;      // a stored point, not the first or the last
extern const Function centroid_wavelength;  // of a source with one peak
extern const Function bandwidth;            // width at half height, centre of that
extern const Function hazard_weighted;      // actinic UV, UV-A, blue light, retinal thermal

}  // namespace vekanalysis::quantities::internal
