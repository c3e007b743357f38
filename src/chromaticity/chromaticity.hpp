#pragma once

#include <string>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis {

/// A point of a CIE chromaticity diagram.
struct ChromaticityPoint {
    double x = 0.0;
    double y = 0.0;

    bool operator==(const ChromaticityPoint&) const = default;
};

/// "x:0.3127 y:0.329": each label and its number, six significant digits.
[[nodiscard]] std::string to_string(const ChromaticityPoint& point);

/// Chromaticity coordinates x = X / (X + Y + Z), y = Y / (X + Y + Z), for the CIE 1931 observer
/// unless a name says otherwise, from the integrals of `colorimetry::CIE_tristimulus_values`, whose
/// errors they throw.
///
/// A spectrum of which all three integrals are 0 gives NaN. No function judges its point: holding
/// it against the limits of a standard is the caller's business. Source: CIE 15:2004, section 7;
/// the lens functions ANSI Z80.3-2015.
namespace chromaticity {

/// Chromaticity of a spectrum (any unit, nm).
[[nodiscard]] ChromaticityPoint CIE_1931_chromaticity(const Scan& scan);

/// The same for the CIE 1964 observer: x10, y10.
[[nodiscard]] ChromaticityPoint CIE_1964_chromaticity(const Scan& scan);

/// Chromaticity of a lens of spectral transmittance `scan` (fraction) under D65.
///
/// Deliberate: D65, although `ANSI_Z80_3_tau_v` uses illuminant C.
[[nodiscard]] ChromaticityPoint ANSI_Z80_3_daylight_chromaticity(const Scan& scan);

/// Chromaticity of the yellow traffic-signal lens under illuminant A seen through such a lens.
[[nodiscard]] ChromaticityPoint ANSI_Z80_3_yellow_chromaticity(const Scan& scan);

/// The same with the green traffic-signal lens.
[[nodiscard]] ChromaticityPoint ANSI_Z80_3_green_chromaticity(const Scan& scan);

/// Whether a polygon encloses a point: the angles that its edges subtend there add up to more than
/// half a turn, in either direction.
///
/// The polygon is closed from the last vertex to the first. Points exactly on its boundary get no
/// special treatment; NaN coordinates are never inside.
[[nodiscard]] bool contains(const std::vector<ChromaticityPoint>& polygon,
                            const ChromaticityPoint& point) noexcept;

}  // namespace chromaticity

}  // namespace vekanalysis
