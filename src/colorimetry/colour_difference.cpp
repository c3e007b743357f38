#include "colorimetry/colour_difference.hpp"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace vekanalysis::colorimetry {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

bool are_positive(const DifferenceFactors& factors) noexcept {
    return factors.k_L > 0.0 && factors.k_C > 0.0 && factors.k_H > 0.0;
}

double square(double x) noexcept {
    return x * x;
}

double seventh_power(double x) noexcept {
    const double cube = x * x * x;
    return cube * cube * x;
}

/// Hue angle in degrees, 0 to 360; 0 without chroma.
double hue_degrees(double a, double b) noexcept {
    const double angle = std::atan2(b, a) / degree;
    return angle < 0.0 ? angle + 360.0 : angle;
}

/// sqrt(C^7 / (C^7 + 25^7))
double chroma_saturation(double chroma) noexcept {
    constexpr double threshold = 6103515625.0;
    const double power = seventh_power(chroma);
    return std::sqrt(power / (power + threshold));
}

struct HueDifference {
    double difference;
    double mean;
};

/// The way round the circle that is not longer than half of it, and the hue in the middle of it,
/// in degrees.
HueDifference compare_hues(double first, double second, bool both_have_one) noexcept {
    if (!both_have_one) return {0.0, first + second};
    const double difference = second - first;
    if (!(std::abs(difference) > 180.0)) return {difference, (first + second) / 2.0};
    const double sum = first + second;
    return {difference > 0.0 ? difference - 360.0 : difference + 360.0,
            (sum < 360.0 ? sum + 360.0 : sum - 360.0) / 2.0};
}

}  // namespace

double delta_E_CIE1976(const CIELAB& reference, const CIELAB& sample) noexcept {
    return std::sqrt(square(sample.L_star - reference.L_star) +
                     square(sample.a_star - reference.a_star) +
                     square(sample.b_star - reference.b_star));
}

double delta_E_CIE94(const CIELAB& reference, const CIELAB& sample,
                     const DifferenceFactors& factors, const CIE94Slopes& slopes) {
    if (!are_positive(factors)) {
        throw std::invalid_argument("delta_E_CIE94: k_L, k_C and k_H must be above 0");
    }
    if (!(slopes.K_1 >= 0.0 && slopes.K_2 >= 0.0)) {
        throw std::invalid_argument("delta_E_CIE94: K_1 and K_2 must not be below 0");
    }
    const double chroma = std::hypot(reference.a_star, reference.b_star);
    const double dC = std::hypot(sample.a_star, sample.b_star) - chroma;
    // What of the distance in the plane of a* and b* is not chroma; rounding may leave less than 0.
    const double plane =
        square(sample.a_star - reference.a_star) + square(sample.b_star - reference.b_star);
    const double dH_squared = plane - square(dC) < 0.0 ? 0.0 : plane - square(dC);
    const double S_H = factors.k_H * (1.0 + slopes.K_2 * chroma);
    return std::sqrt(square((sample.L_star - reference.L_star) / factors.k_L) +
                     square(dC / (factors.k_C * (1.0 + slopes.K_1 * chroma))) +
                     dH_squared / square(S_H));
}

double delta_E_CIEDE2000(const CIELAB& reference, const CIELAB& sample,
                         const DifferenceFactors& factors) {
    if (!are_positive(factors)) {
        throw std::invalid_argument("delta_E_CIEDE2000: k_L, k_C and k_H must be above 0");
    }
    const double mean_chroma = (std::hypot(reference.a_star, reference.b_star) +
                                std::hypot(sample.a_star, sample.b_star)) /
                               2.0;
    const double stretch = 1.0 + 0.5 * (1.0 - chroma_saturation(mean_chroma));
    const double a1 = stretch * reference.a_star;
    const double a2 = stretch * sample.a_star;
    const double C1 = std::hypot(a1, reference.b_star);
    const double C2 = std::hypot(a2, sample.b_star);

    const double dL = sample.L_star - reference.L_star;
    const double dC = C2 - C1;
    const auto [dh, hue] = compare_hues(hue_degrees(a1, reference.b_star),
                                        hue_degrees(a2, sample.b_star), C1 * C2 != 0.0);
    const double dH = 2.0 * std::sqrt(C1 * C2) * std::sin(dh / 2.0 * degree);

    const double L = (reference.L_star + sample.L_star) / 2.0;
    const double C = (C1 + C2) / 2.0;
    const double T =
        1.0 - 0.17 * std::cos((hue - 30.0) * degree) + 0.24 * std::cos(2.0 * hue * degree) +
        0.32 * std::cos((3.0 * hue + 6.0) * degree) - 0.20 * std::cos((4.0 * hue - 63.0) * degree);
    const double turn = 30.0 * std::exp(-square((hue - 275.0) / 25.0));
    const double R_T = -std::sin(2.0 * turn * degree) * 2.0 * chroma_saturation(C);
    const double away = square(L - 50.0);
    const double S_L = 1.0 + 0.015 * away / std::sqrt(20.0 + away);
    const double S_C = 1.0 + 0.045 * C;
    const double S_H = 1.0 + 0.015 * C * T;

    const double lightness = dL / (factors.k_L * S_L);
    const double chroma = dC / (factors.k_C * S_C);
    const double tone = dH / (factors.k_H * S_H);
    return std::sqrt(square(lightness) + square(chroma) + square(tone) + R_T * chroma * tone);
}

}  // namespace vekanalysis::colorimetry
