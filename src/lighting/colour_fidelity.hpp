#pragma once

#include <array>
#include <string>

#include "../core/scan.hpp"
#include "colour_samples.hpp"

namespace vekanalysis::lighting {

/// What happens to the colours of one sixteenth of the hue circle.
struct HueBin {
    double Rf = 0.0;   ///< local colour fidelity
    double Rcs = 0.0;  ///< local chroma shift, per cent
    double Rhs = 0.0;  ///< local hue shift, rad
    friend bool operator==(const HueBin&, const HueBin&) = default;
};

/// Colour fidelity after CIE 224 and ANSI/IES TM-30.
struct ColourFidelity {
    double Rf = 0.0;                      ///< general colour fidelity index
    double Rg = 0.0;                      ///< gamut index
    std::array<double, 99> Rf_samples{};  ///< of each colour evaluation sample
    std::array<HueBin, 16> bins{};        ///< from 0 degrees of hue on, 22.5 degrees each
    double cct = 0.0;                     ///< correlated colour temperature of the source, K
    double duv = 0.0;                     ///< its distance from the Planckian locus
    friend bool operator==(const ColourFidelity&, const ColourFidelity&) = default;
};

[[nodiscard]] std::string to_string(const HueBin& bin);
[[nodiscard]] std::string to_string(const ColourFidelity& fidelity);

/// Colour fidelity and gamut of a light source, not rounded: 99 samples in CAM02-UCS, 1964
/// observer, against a reference of the same correlated colour temperature T (1931 observer).
///
/// The reference is a Planckian radiator up to 4000 K, the phase of daylight that the formula gives
/// for T from 5000 K on, and between them a mixture in proportion, both of equal luminance for the
/// 1964 observer. R = 10 ln(exp((100 - 6.73 Delta E) / 10) + 1), which is 100.0005 where nothing
/// differs. Source: CIE 224:2017 (Rf); ANSI/IES TM-30-18 and -20 (Rf, Rg, bins).
/// @param step  1 (nm), samples after Sprague, or 5
/// @throws std::invalid_argument  those of `correlated_colour_temperature`;
///     "lighting::colour_fidelity: no phase of daylight has ... K", above 25000 K;
///     "lighting::colour_fidelity: the colours lie outside CIECAM02"
[[nodiscard]] ColourFidelity colour_fidelity(const Scan& scan, int step = 1);

namespace internal {

/// The same of the colours of the samples under a source of temperature `cct`; the last two fields
/// stay 0.
///
/// @return false where there is no reference or the model has no answer
[[nodiscard]] bool fidelity_of(const Colours<99>& source, double cct, int step,
                               ColourFidelity* result);

}  // namespace internal

}  // namespace vekanalysis::lighting
