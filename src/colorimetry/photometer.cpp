#include "colorimetry/photometer.hpp"

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::colorimetry {

namespace {

constexpr double limit_angle = 1.3962634015954636;  // 4 pi/9

/// |f2(e)| of one scan at its angles within the limits, which are made points of it.
Scan directional_deviation(const Scan& response) {
    Scan deviation(response);
    const double normal = deviation(0.0);
    deviation.ensure_spline();
    for (const double angle : {-limit_angle, limit_angle}) {
        deviation.insert({angle, deviation(angle)});
    }
    deviation.trim(-limit_angle, limit_angle);
    deviation.for_each([normal](std::pair<const double, double>& point) {
        point.second = std::abs(point.second / (normal * std::cos(point.first)) - 1.0);
    });
    return deviation;
}

/// sin 2|e| at 201 angles, straight lines between them.
Scan angular_weight() {
    constexpr std::size_t steps = 100;
    std::vector<double> angles(2 * steps + 1);
    std::vector<double> weights(2 * steps + 1);
    for (std::size_t i = 0; i <= steps; ++i) {
        const double angle = static_cast<double>(i) / steps * limit_angle;
        const double weight = std::sin(2.0 * angle);
        angles[steps - i] = -angle;
        weights[steps - i] = weight;
        angles[steps + i] = angle;
        weights[steps + i] = weight;
    }
    return {std::move(angles), std::move(weights), default_epsilon, spline::Type::LINEAR};
}

}  // namespace

double f1_prime(const Scan& scan) {
    constexpr double from = 380.0;
    constexpr double to = 780.0;
    if (scan.empty() || scan.max_wavelength() < from || scan.min_wavelength() > to) {
        throw std::domain_error("Input has no data in the range 380 to 780");
    }
    const Scan& y = data::cie_1931_standard_observer_y();
    const Scan& a = data::cie_illuminant_a();
    Scan mismatch(scan);
    const double reference = (a * y)(from, to);
    mismatch *= reference / (a * mismatch)(from, to);
    mismatch -= y;
    utils::abs(mismatch);
    return mismatch(from, to) / y(from, to);
}

double f2(const Scan& Y_0, const Scan& Y_pi_2) {
    const Scan deviation_0 = directional_deviation(Y_0);
    const Scan deviation_pi_2 = directional_deviation(Y_pi_2);
    const Scan weight = angular_weight();
    const auto integral = [&weight](const Scan& deviation) {
        return (deviation * weight)(-limit_angle, limit_angle);
    };
    const double half_planes_0 = integral(deviation_0);
    return (half_planes_0 + integral(deviation_pi_2)) * 0.25;
}

}  // namespace vekanalysis::colorimetry
