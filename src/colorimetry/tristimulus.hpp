#pragma once

#include <string>

#include "../core/scan.hpp"
#include "observers.hpp"

namespace vekanalysis::colorimetry {

/// Tristimulus values, in the unit of the spectrum times nm.
struct CIEXYZ {
    double X = 0.0;
    double Y = 0.0;
    double Z = 0.0;

    bool operator==(const CIEXYZ&) const = default;
};

/// CIE 1976 L*a*b* coordinates, dimensionless; L* is 100 for the white point.
struct CIELAB {
    double L_star = 0.0;
    double a_star = 0.0;
    double b_star = 0.0;

    bool operator==(const CIELAB&) const = default;
};

/// "X:1.5 Y:2 Z:0.25": each label and its number, six significant digits.
[[nodiscard]] std::string to_string(const CIEXYZ& xyz);
/// "L*:100 a*:0 b*:0", likewise.
[[nodiscard]] std::string to_string(const CIELAB& lab);

/// Tristimulus values of a spectrum: the integrals from 380 to 780 nm of the observer's functions
/// times the spectrum.
///
/// Deliberate: no normalising constant (neither 100 / Y of the illuminant nor 683 lm/W), so only
/// ratios of the results mean anything. Where the spectrum has no data the product has none either.
/// Source: CIE 15:2004, section 7.
/// @throws std::runtime_error  the errors of the products and integrals: fewer than five common
///                             wavelengths, or a spectrum that cannot be interpolated
[[nodiscard]] CIEXYZ CIE_tristimulus_values(const Scan& scan, const Observer& observer);

/// Tristimulus values of a spectrum on the scale where the white point has Y = 100.
///
/// Those of `CIE_tristimulus_values` times k = 100 / Y of the white point, which is a spectrum in
/// the same unit: for a surface or a lens the illuminant. Source: CIE 15:2004, 7.1. Throws as that
/// and:
/// @throws std::invalid_argument  "CIE_relative_tristimulus_values: Y of the white point must be
///                                finite and above 0"
[[nodiscard]] CIEXYZ CIE_relative_tristimulus_values(const Scan& scan,
                                                     const Scan& white_point_reference,
                                                     const Observer& observer);

/// The non-linear function of L*a*b*: the cube root above 216/24389, below it the straight line
/// 841/108 t + 4/29 that meets it there.
///
/// Source: CIE 15:2004, 8.2.1.
[[nodiscard]] double CIELAB_f(double t) noexcept;

/// L*a*b* of a spectrum. The white point is a spectrum too, say an illuminant, and is integrated
/// with the same observer.
///
/// L* = 116 f(Y/Yn) - 16, a* = 500 (f(X/Xn) - f(Y/Yn)), b* = 200 (f(Y/Yn) - f(Z/Zn)).
/// Source: CIE 15:2004, 8.2.1. Throws as `CIE_tristimulus_values`.
[[nodiscard]] CIELAB CIELAB_tristimulus_values(const Scan& scan, const Scan& white_point_reference,
                                               const Observer& observer);

}  // namespace vekanalysis::colorimetry
