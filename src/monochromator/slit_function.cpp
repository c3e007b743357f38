#include "monochromator/slit_function.hpp"

#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include "numerical/fused.hpp"

namespace vekanalysis::monochromator::slit_function {

namespace {

constexpr unsigned int max_points = 100000000;

/// Distance from the centre at which the circles part.
double half_base(double bandwidth) noexcept {
    return bandwidth / 0.80794550659902;
}

double overlap(double x) noexcept {
    return (std::acos(x) - x * std::sqrt(1.0 - x * x)) * 0.6366197723675814;  // 2/pi
}

}  // namespace

double uniform_fibres_value(double central_wavelength, double bandwidth,
                            double wavelength) noexcept {
    const double R = half_base(bandwidth);
    const double d = std::abs(wavelength - central_wavelength);
    if (d > R) return 0.0;
    return overlap(d / R);
}

Scan uniform_fibres(double central_wavelength, double bandwidth, unsigned int points) {
    if (points < 2) {
        throw std::invalid_argument("slit_function::uniform_fibres: fewer than 2 points");
    }
    if (points > max_points) {
        throw std::invalid_argument("slit_function::uniform_fibres: more than 100000000 points");
    }
    const double R = half_base(bandwidth);
    if (!std::isfinite(std::abs(central_wavelength) + 2.0 * std::abs(R))) {
        throw std::invalid_argument("slit_function::uniform_fibres: wavelengths must be finite");
    }
    const unsigned int last = points - 1;
    const double step = 2.0 * R / last;
    const auto offset = [R, step](unsigned int i) {
        return numerical::fused(static_cast<double>(i), step, -R);
    };
    std::vector<double> wavelengths(points);
    std::vector<double> values(points);
    for (unsigned int i = 0; i <= last - i; ++i) {
        const unsigned int mirrored = last - i;
        // The last offset is R itself: rounding may step past it, where acos is NaN.
        const double o = i == 0 ? R : offset(mirrored);
        wavelengths[i] = central_wavelength + offset(i);
        wavelengths[mirrored] = central_wavelength + o;
        values[i] = values[mirrored] = overlap(o / R);
    }
    return {std::move(wavelengths), std::move(values)};
}

}  // namespace vekanalysis::monochromator::slit_function
