#pragma once

#include <string>

#include "../chromaticity/chromaticity.hpp"

namespace vekanalysis::lighting {

/// Dominant or complementary wavelength of a colour, and its excitation purity.
struct DominantWavelength {
    double wavelength = 0.0;        ///< nm
    double purity = 0.0;            ///< 0 for the white, 1 on the spectrum locus or purple line
    bool is_complementary = false;  ///< whether the wavelength is that of the opposite hue (purple)
    friend bool operator==(const DominantWavelength&, const DominantWavelength&) = default;
};

[[nodiscard]] std::string to_string(const DominantWavelength& dominant);

/// Dominant wavelength: where the line from the white through the colour meets the spectrum locus;
/// where it meets the line of purples instead, the complementary one, opposite.
///
/// The locus is that of the CIE 1931 observer in steps of 1 nm, 360 to 830 nm, straight between.
/// Purity is the distance of the colour from the white over that of the boundary in x, y; up to
/// 1.01 for colours that noise puts outside. Source: CIE 15:2018.
/// @throws std::invalid_argument  "lighting: the chromaticity is not that of a light", or
///     "lighting::dominant_wavelength: ..." and "the white lies outside the spectrum locus", from
///     where a line may meet it twice or not at all; "the colour lies outside the spectrum locus",
///     which no light does; "the colour is that of the white", within 5e-5, where there is no hue;
///     "the line misses the spectrum locus", through its ends
[[nodiscard]] DominantWavelength dominant_wavelength(const ChromaticityPoint& xy,
                                                     const ChromaticityPoint& white);

}  // namespace vekanalysis::lighting
