#pragma once

#include "tristimulus.hpp"

/// How different two colours look, from their CIE 1976 L*a*b* coordinates against the same white.
///
/// Differences are dimensionless; about 1 is what an observer just sees under good conditions. NaN
/// coordinates give NaN.
namespace vekanalysis::colorimetry {

/// Distance in L*a*b* space: sqrt(dL*^2 + da*^2 + db*^2).
///
/// Source: CIE 15:2004, 8.2.1.3.
[[nodiscard]] double delta_E_CIE1976(const CIELAB& reference, const CIELAB& sample) noexcept;

/// Parametric factors of the viewing conditions; all 1 under the reference conditions.
struct DifferenceFactors {
    double k_L = 1.0;
    double k_C = 1.0;
    double k_H = 1.0;
};

/// Slopes of the weights of chroma and hue in CIE94: those of CIE 116, for graphic arts. For
/// textiles they are 0.048 and 0.014, with k_L = 2.
struct CIE94Slopes {
    double K_1 = 0.045;
    double K_2 = 0.015;
};

/// sqrt((dL*/k_L)^2 + (dC*/(k_C S_C))^2 + (dH*/(k_H S_H))^2), S_C = 1 + K_1 C*, S_H = 1 + K_2 C*.
///
/// Deliberate: C* in the weights is the reference's, so that exchanging the two colours changes the
/// difference. Source: CIE 116-1995; the same in CIE 15:2004, Annex D.
/// @throws std::invalid_argument  "delta_E_CIE94: k_L, k_C and k_H must be above 0" or
///                                "delta_E_CIE94: K_1 and K_2 must not be below 0"
[[nodiscard]] double delta_E_CIE94(const CIELAB& reference, const CIELAB& sample,
                                   const DifferenceFactors& factors = {},
                                   const CIE94Slopes& slopes = {});

/// CIEDE2000; both colours count alike.
///
/// Where one colour has no chroma the mean hue is the other's. Source: ISO/CIE 11664-6:2014; the
/// order of operations is that of G. Sharma, W. Wu, E. N. Dalal, Color Res. Appl. 30 (2005) 21-30,
/// equations 2 to 22.
/// @throws std::invalid_argument  "delta_E_CIEDE2000: k_L, k_C and k_H must be above 0"
[[nodiscard]] double delta_E_CIEDE2000(const CIELAB& reference, const CIELAB& sample,
                                       const DifferenceFactors& factors = {});

}  // namespace vekanalysis::colorimetry
