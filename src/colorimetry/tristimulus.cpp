#include "colorimetry/tristimulus.hpp"

#include <cmath>
#include <stdexcept>

#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "numerical/fused.hpp"

namespace vekanalysis::colorimetry {

using vekanalysis::internal::general;

std::string to_string(const CIEXYZ& xyz) {
    return "X:" + general(xyz.X) + " Y:" + general(xyz.Y) + " Z:" + general(xyz.Z);
}

std::string to_string(const CIELAB& lab) {
    return "L*:" + general(lab.L_star) + " a*:" + general(lab.a_star) +
           " b*:" + general(lab.b_star);
}

CIEXYZ CIE_tristimulus_values(const Scan& scan, const Observer& observer) {
    constexpr double from = 380.0;
    constexpr double to = 780.0;
    const double X = (observer.x * scan)(from, to);
    const double Y = (observer.y * scan)(from, to);
    const double Z = (observer.z * scan)(from, to);
    return {X, Y, Z};
}

CIEXYZ CIE_relative_tristimulus_values(const Scan& scan, const Scan& white_point_reference,
                                       const Observer& observer) {
    const double white = CIE_tristimulus_values(white_point_reference, observer).Y;
    if (!(white > 0.0 && std::isfinite(white))) {
        throw std::invalid_argument(
            "CIE_relative_tristimulus_values: Y of the white point must be finite and above 0");
    }
    const double k = 100.0 / white;
    const CIEXYZ raw = CIE_tristimulus_values(scan, observer);
    return {k * raw.X, k * raw.Y, k * raw.Z};
}

double CIELAB_f(double t) noexcept {
    constexpr double threshold = 0.008856451679035631;  // 216/24389
    if (t > threshold) return std::pow(t, 0.3333333333333333);
    return numerical::fused(t, 7.787037037037037, 0.13793103448275862);  // 841/108, 4/29
}

CIELAB CIELAB_tristimulus_values(const Scan& scan, const Scan& white_point_reference,
                                 const Observer& observer) {
    const CIEXYZ sample = CIE_tristimulus_values(scan, observer);
    const CIEXYZ white = CIE_tristimulus_values(white_point_reference, observer);
    const double fx = CIELAB_f(sample.X / white.X);
    const double fy = CIELAB_f(sample.Y / white.Y);
    const double fz = CIELAB_f(sample.Z / white.Z);
    return {116.0 * fy - 16.0, 500.0 * (fx - fy), 200.0 * (fy - fz)};
}

}  // namespace vekanalysis::colorimetry
