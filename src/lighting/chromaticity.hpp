#pragma once

#include <string>

#include "../chromaticity/chromaticity.hpp"
#include "../core/scan.hpp"

namespace vekanalysis::lighting {

/// Chromaticity of a light in three diagrams: x, y (CIE 1931), u, v (CIE 1960), u', v' (CIE 1976).
struct SourceChromaticity {
    double x = 0.0;
    double y = 0.0;
    double u = 0.0;
    double v = 0.0;
    double u_prime = 0.0;
    double v_prime = 0.0;
    friend bool operator==(const SourceChromaticity&, const SourceChromaticity&) = default;
};

[[nodiscard]] std::string to_string(const SourceChromaticity& chromaticity);

/// Chromaticity of a spectrum by sums from 380 to 780 nm, as CIE 15 prints those of its
/// illuminants; `chromaticity::CIE_1931_chromaticity` integrates the interpolant instead.
///
/// u = u' = 4x / (-2x + 12y + 3), v = 6y / (-2x + 12y + 3), v' = 1.5 v.
/// Source: CIE 15:2018.
/// @param step      5 or 1 (nm)
/// @param observer  1931 (2 degrees) or 1964 (10 degrees)
/// @throws std::invalid_argument  those of `internal::VisibleSpectrum`;
///                                "lighting: observer must be 1931 or 1964"
[[nodiscard]] SourceChromaticity chromaticity(const Scan& scan, int step = 5, int observer = 1931);

/// The same of a point x, y.
///
/// @throws std::invalid_argument  "lighting: the chromaticity is not that of a light", where x or
///     y is not finite, or y or x + 15 y + 3 z is not above 0
[[nodiscard]] SourceChromaticity chromaticity(const ChromaticityPoint& xy);

namespace internal {

/// Throws as above.
void require_light(const ChromaticityPoint& xy);

}  // namespace internal

}  // namespace vekanalysis::lighting
