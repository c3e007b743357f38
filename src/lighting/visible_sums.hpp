#pragma once

#include <cstddef>
#include <span>

#include "lighting/colour_samples.hpp"

namespace vekanalysis::lighting::internal {

/// How many lights are best taken at once.
inline constexpr std::size_t lights_at_once = 4;

/// Colours of the samples of CIE 13.3 under lights, as `rendering_samples(step).under` has them but
/// for rounding: of every wavelength the colour-matching functions times each sample are kept, so
/// that a sample takes three sums. What a light gives depends neither on those beside it nor on the
/// machine.
///
/// @param lights   values of each on the grid of `step`; shape (N), N <= lights_at_once
/// @param xyz      their tristimulus values, without a constant; shape (N)
/// @param count    how many of the samples, from the first on, are wanted: 8 or 15
/// @param colours  receives them; shape (N)
void rendering_colours(std::span<const double* const> lights,
                       std::span<const colorimetry::CIEXYZ> xyz, int step, std::size_t count,
                       std::span<Colours<15>> colours);

}  // namespace vekanalysis::lighting::internal
