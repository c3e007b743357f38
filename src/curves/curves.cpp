#include "curves/curves.hpp"

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "numerical/fused.hpp"

namespace vekanalysis::curves {

namespace {

constexpr double max_points = 1e8;

void check_grid(double min_wl, double max_wl, double step_wl) {
    if (min_wl >= max_wl) throw std::invalid_argument("min_wl >= max_wl");
    if (max_wl - min_wl < step_wl) throw std::invalid_argument("step_wl > (max_wl - min_wl)");
    if (step_wl <= 0.0) throw std::invalid_argument("step_wl <= 0");
    if (!(std::isfinite(min_wl) && std::isfinite(max_wl) && std::isfinite(step_wl))) {
        throw std::invalid_argument("curves: min_wl, max_wl and step_wl must be finite");
    }
}

/// The scan of value(wl) over a grid that has passed `check_grid`.
template <class F>
Scan sample(double min_wl, double max_wl, double step_wl, const F& value) {
    // Not (max_wl - min_wl) / step_wl, whose numerator can overflow.
    const double steps = max_wl / step_wl - min_wl / step_wl;
    if (!(steps < max_points)) throw std::invalid_argument("curves: more than 100000000 points");
    std::vector<double> wavelengths;
    std::vector<double> values;
    wavelengths.reserve(static_cast<std::size_t>(steps) + 2);
    values.reserve(static_cast<std::size_t>(steps) + 2);
    double wl = numerical::fused(0.0, step_wl, min_wl);
    for (double i = 1.0; wl <= max_wl; ++i) {
        wavelengths.push_back(wl);
        values.push_back(value(wl));
        wl = numerical::fused(i, step_wl, min_wl);
        if (wl <= wavelengths.back()) {
            throw std::invalid_argument("curves: step_wl too small to advance");
        }
    }
    return {std::move(wavelengths), std::move(values)};
}

double logistic_edge(double center_wl, double bandwidth, double wl) noexcept {
    return 1.0 / (std::exp((wl - center_wl) * -5.88887795833 / bandwidth) + 1.0);
}

}  // namespace

Scan longpass_filter(double center_wl, double bandwidth, double min_wl, double max_wl,
                     double step_wl) {
    check_grid(min_wl, max_wl, step_wl);
    return sample(min_wl, max_wl, step_wl, [center_wl, bandwidth](double wl) {
        return logistic_edge(center_wl, bandwidth, wl);
    });
}

Scan shortpass_filter(double center_wl, double bandwidth, double min_wl, double max_wl,
                      double step_wl) {
    check_grid(min_wl, max_wl, step_wl);
    return sample(min_wl, max_wl, step_wl, [center_wl, bandwidth](double wl) {
        return 1.0 - logistic_edge(center_wl, bandwidth, wl);
    });
}

Scan lognormal(double peak_wl, double fwhm, double min_wl, double max_wl, double step_wl) {
    if (peak_wl <= 0.0 || fwhm <= 0.0) throw std::invalid_argument("peak_wl <= 0 || fwhm <= 0");
    check_grid(min_wl, max_wl, step_wl);
    const double h = fwhm * 0.5 / peak_wl;
    const double s = std::sqrt(std::log(h * h / 1.3862943611198906 + 1.0));  // 2 ln 2
    const double mu = s * s + std::log(peak_wl);
    const double n = s * 2.5066282746310002;  // sqrt(2 pi)
    const double q = -1.0 / (s * (2.0 * s));
    const auto density = [mu, n, q](double wl) {
        const double distance = std::log(wl) - mu;
        return 1.0 / (n * wl) * std::exp(q * (distance * distance));
    };
    const double peak = density(peak_wl);
    return sample(min_wl, max_wl, step_wl,
                  [&density, peak](double wl) { return density(wl) / peak; });
}

}  // namespace vekanalysis::curves
