#pragma once

#include <string>

#include "tristimulus.hpp"

/// Colours of spectra for screens and pictures: IEC 61966-2-1, sRGB.
namespace vekanalysis::colorimetry {

/// Encoded sRGB values, 0 to 1: what a file or a plotting library takes.
struct SRGB {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;

    bool operator==(const SRGB&) const = default;
};

/// "red:0.5 green:0.25 blue:1": each label and its number, six significant digits.
[[nodiscard]] std::string to_string(const SRGB& colour);

/// "#rrggbb", each value rounded to one of 256.
///
/// @throws std::invalid_argument  "to_hex: values must be 0 to 1" (NaN is not)
[[nodiscard]] std::string to_hex(const SRGB& colour);

/// Linear sRGB of tristimulus values, before the encoding: 1, 1, 1 for the white. Below 0 or above
/// 1 where a screen cannot show the colour.
///
/// The eye is taken to be adapted to `white`, which may be of any scale: the values are adapted
/// from there to the D65 of sRGB in the Bradford cone space, then multiplied by the inverse of the
/// standard's matrix. Sources: IEC 61966-2-1:1999 with Amendment 1:2003 (seven digits); K. M. Lam,
/// thesis, University of Bradford, 1985, as in ISO 15076-1:2010, Annex E.
/// @throws std::invalid_argument  "CIEXYZ_to_linear_sRGB: white must be finite and a light that
///                                the eye can adapt to": saturated colours are none
[[nodiscard]] SRGB CIEXYZ_to_linear_sRGB(const CIEXYZ& xyz, const CIEXYZ& white);

/// Encoded sRGB of tristimulus values, for pictures.
///
/// A colour that a screen cannot show is mixed with the grey of its own luminance until no value is
/// below 0, and then what is above 1 is cut. What is not finite gives NaN. Throws as
/// `CIEXYZ_to_linear_sRGB`.
[[nodiscard]] SRGB CIEXYZ_to_sRGB(const CIEXYZ& xyz, const CIEXYZ& white);

/// The same for a spectrum and the spectrum of the white, as `CIELAB_tristimulus_values` takes
/// them; meant for the 1931 observer, for which sRGB is defined. Throws as both do.
[[nodiscard]] SRGB sRGB_values(const Scan& scan, const Scan& white_point_reference,
                               const Observer& observer);

}  // namespace vekanalysis::colorimetry
