#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "../chromaticity/chromaticity.hpp"
#include "../core/scan.hpp"
#include "visible_spectrum.hpp"

namespace vekanalysis::lighting {

/// Spectral distribution of a phase of daylight, S0 + M1 S1 + M2 S2, 100 at 560 nm. 300 to 830 nm,
/// step 5 nm; linear between, as CIE 15 has it.
///
/// M1 and M2 follow from the chromaticity that `daylight_chromaticity` gives. They are not rounded;
/// D50 to D75 as printed come from three decimals and 1.4388/1.4380 times their nominal
/// temperature (6504 K for D65). Source: CIE 15:2018.
/// @param T  correlated colour temperature, K, from 4000 to 25000
/// @throws std::invalid_argument  "lighting::daylight: T must be between 4000 and 25000 K"
[[nodiscard]] Scan daylight(double T);

/// Chromaticity that defines a phase of daylight: x_D by a polynomial of third order in 1/T, one
/// to 7000 K and another beyond (they differ by 5e-7 there), y_D = -3 x_D^2 + 2.87 x_D - 0.275.
///
/// Throws as `daylight`.
[[nodiscard]] ChromaticityPoint daylight_chromaticity(double T);

namespace internal {

/// Weights of S0, S1 and S2 in a phase of daylight; T not checked.
[[nodiscard]] std::array<double, 3> daylight_weights(double T) noexcept;

/// S0, S1, S2 at 380 nm, 380 nm + step, ..., 780 nm, shape (N) each; linear between the 5 nm.
using DaylightComponents = std::array<std::array<double, max_visible_points>, 3>;
/// @param step  1 or 5; checked before
[[nodiscard]] const DaylightComponents& daylight_components(int step);

/// The T for which `daylight(T)` has a given correlated colour temperature by the sums in `step`.
///
/// The formula's T is not quite that of its result: 0.1 K off at 5000 K, 1.6 K at 6500 K, 66 K at
/// 25000 K.
/// @return false where T would exceed 25000 K; `*T` is untouched then
[[nodiscard]] bool daylight_of_temperature(double cct, int step, double* T);

}  // namespace internal

}  // namespace vekanalysis::lighting
