#pragma once

#include <span>
#include <string>

#include "../chromaticity/chromaticity.hpp"
#include "../core/scan.hpp"
#include "visible_spectrum.hpp"

namespace vekanalysis::lighting {

/// Correlated colour temperature (K) and Duv, the signed distance from the Planckian locus in the
/// CIE 1960 diagram, positive above it (greenish), negative below (pinkish).
struct CorrelatedColourTemperature {
    double cct = 0.0;
    double duv = 0.0;
    friend bool operator==(const CorrelatedColourTemperature&,
                           const CorrelatedColourTemperature&) = default;
};

[[nodiscard]] std::string to_string(const CorrelatedColourTemperature& temperature);

/// Correlated colour temperature of a spectrum: the temperature of the Planckian radiator nearest
/// to it in the CIE 1960 diagram, CIE 1931 observer, c2 = 1.4388e-2 m K.
///
/// The distance itself is minimised, so the result is smooth and no table limits it. Sums from 380
/// to 780 nm in steps of `step` (nm), for the source and for the locus.
/// Source: CIE 15:2018; Duv: ANSI C78.377-2017.
/// @param step  5, with the 5 nm tables of CIE 15, or 1
/// @throws std::invalid_argument  those of `internal::VisibleSpectrum`;
///     "lighting::correlated_colour_temperature: Duv is ..., beyond 0.05", where the quantity is
///     not defined; "... below 1000 K" or "... above 1000000 K"
[[nodiscard]] CorrelatedColourTemperature correlated_colour_temperature(const Scan& scan,
                                                                        int step = 5);

/// The same of a chromaticity, with the locus of the 1 nm observer summed from 360 to 830 nm.
///
/// @throws std::invalid_argument  as above; "lighting: the chromaticity is not that of a light"
[[nodiscard]] CorrelatedColourTemperature correlated_colour_temperature(
    const ChromaticityPoint& xy);

namespace internal {

/// The same of a colour, by the locus of `step`, limits not held.
[[nodiscard]] CorrelatedColourTemperature nearest_temperature(const UV& colour, int step);

/// The same of several colours.
///
/// @param colours       shape (N), N <= PlanckianLocus::at_once
/// @param temperatures  shape (N)
void nearest_temperatures(std::span<const UV> colours, int step,
                          std::span<CorrelatedColourTemperature> temperatures);

/// Whether a temperature is within the limits of the quantity; false for NaN.
[[nodiscard]] bool is_defined(const CorrelatedColourTemperature& temperature) noexcept;

/// Throws as `correlated_colour_temperature` where it is not.
void require_defined(const CorrelatedColourTemperature& temperature);

}  // namespace internal

}  // namespace vekanalysis::lighting
