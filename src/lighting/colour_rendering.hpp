#pragma once

#include <array>
#include <optional>
#include <string>

#include "../core/scan.hpp"
#include "colour_samples.hpp"

namespace vekanalysis::lighting {

/// Colour rendering indices after CIE 13.3.
struct ColourRendering {
    double Ra = 0.0;              ///< general index, the mean of the first eight of R
    std::array<double, 15> R{};   ///< special indices R1 to R15; R15: Japanese complexion
    double cct = 0.0;             ///< correlated colour temperature of the source, K
    double duv = 0.0;             ///< its distance from the Planckian locus
    std::string reference;        ///< "Planckian radiator" or "phase of daylight"
    double reference_cct = 0.0;   ///< correlated colour temperature of the reference, K
    double distance = 0.0;        ///< of source and reference in CIE 1960 uv
    double distance_limit = 0.0;  ///< 0.0054: beyond it the method is not meant to be used
    friend bool operator==(const ColourRendering&, const ColourRendering&) = default;
};

[[nodiscard]] std::string to_string(const ColourRendering& rendering);

/// Colour rendering indices of a light source, not rounded: R = 100 - 4.6 Delta E in CIE 1964
/// U*V*W* after the adaptation of von Kries, against a reference of the same correlated colour
/// temperature T.
///
/// The reference is a Planckian radiator where T, rounded to 1 K, is below 5000 K, and else the
/// phase of daylight of which T is the correlated colour temperature, so that a phase of daylight
/// has 100. Source: CIE 13.3-1995.
/// @param step           5 or 1 (nm), for all sums; samples between 5 nm after Sprague
/// @param reference_cct  K, in place of T
/// @throws std::invalid_argument  those of `correlated_colour_temperature`;
///     "lighting::colour_rendering: no phase of daylight has ... K", above some 25000 K;
///     "lighting::colour_rendering: reference_cct must be between 1000 and 1000000 K"
[[nodiscard]] ColourRendering colour_rendering(const Scan& scan, int step = 5,
                                               std::optional<double> reference_cct = std::nullopt);

namespace internal {

/// Coordinates of the samples under a reference: of its white and of each sample in CIE 1960 uv,
/// and W* of each.
struct RenderingReference {
    static constexpr std::size_t numbers = 2 + 3 * 15;
    /// u and v of the white, then u, v and W* sample by sample.
    std::array<double, numbers> values;

    [[nodiscard]] UV white() const noexcept { return {values[0], values[1]}; }
};

/// The reference of a temperature. Of Planckian radiators it is a polynomial of degree 13 over 20
/// intervals of 1/T, which meets the sums to 1e-12.
///
/// @param count  how many of the samples are wanted
/// @return false where there is none
[[nodiscard]] bool rendering_reference(double cct, int step, RenderingReference* reference,
                                       std::size_t count = 15);

/// R1 to R15 from the colours under the source; 0 beyond the first `count`.
[[nodiscard]] std::array<double, 15> rendering_indices(const Colours<15>& source,
                                                       const RenderingReference& reference,
                                                       std::size_t count = 15) noexcept;

/// Mean of the first eight.
[[nodiscard]] double general_index(const std::array<double, 15>& R) noexcept;

}  // namespace internal

}  // namespace vekanalysis::lighting
