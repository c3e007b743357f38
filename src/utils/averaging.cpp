#include "utils/averaging.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace vekanalysis::utils {

namespace {

double smallest_epsilon(std::span<const Scan* const> scans) {
    double epsilon = std::numeric_limits<double>::infinity();
    for (const Scan* scan : scans) epsilon = std::min(epsilon, scan->get_wavelength_epsilon());
    return epsilon;
}

spline::Type interpolation_of(std::span<const Scan* const> scans) {
    for (const Scan* scan : scans) {
        if (scan->is_interpolated()) return scan->get_interpolation_type();
    }
    return spline::Type::NONE;
}

/// Those of all scans, of equal ones the lowest.
std::vector<double> merged(std::span<const Scan* const> scans, double epsilon) {
    const auto first = scans.front()->data().keys();
    std::vector<double> wavelengths(first.begin(), first.end());
    for (const Scan* scan : scans.subspan(1)) {
        const auto keys = scan->data().keys();
        if (!std::ranges::equal(keys, first)) {
            wavelengths.insert(wavelengths.end(), keys.begin(), keys.end());
        }
    }
    if (wavelengths.size() > first.size()) std::ranges::sort(wavelengths);
    const auto equal = [epsilon](double a, double b) { return !(a + epsilon < b); };
    wavelengths.erase(std::unique(wavelengths.begin(), wavelengths.end(), equal),
                      wavelengths.end());
    return wavelengths;
}

/// Calls f(values) for each scan, first to last, with its values at the wavelengths.
template <class F>
void for_each_at(std::span<const Scan* const> scans, const std::vector<double>& wavelengths,
                 const F& f) {
    std::vector<double> values(wavelengths.size());
    for (const Scan* scan : scans) {
        scan->evaluate(wavelengths, values);
        f(values);
    }
}

std::vector<double> sum_at(std::span<const Scan* const> scans,
                           const std::vector<double>& wavelengths) {
    std::vector<double> total(wavelengths.size());
    for_each_at(scans, wavelengths, [&total](const std::vector<double>& values) {
        for (std::size_t i = 0; i < total.size(); ++i) total[i] += values[i];
    });
    return total;
}

}  // namespace

std::vector<double> common_wavelengths(std::span<const Scan* const> scans) {
    if (scans.empty()) throw std::invalid_argument("utils::common_wavelengths: no scans");
    double first = -std::numeric_limits<double>::infinity();
    double last = std::numeric_limits<double>::infinity();
    for (const Scan* scan : scans) {
        if (scan->empty()) {
            throw std::invalid_argument("utils::common_wavelengths: a scan without points");
        }
        first = std::max(first, scan->min_wavelength());
        last = std::min(last, scan->max_wavelength());
    }
    const double epsilon = smallest_epsilon(scans);
    std::vector<double> wavelengths = merged(scans, epsilon);
    std::erase_if(wavelengths, [&](double wl) {
        return wl + epsilon < first || last + epsilon < wl ||
               std::ranges::any_of(scans, [wl](const Scan* scan) {
                   return !scan->is_interpolated() && !scan->contains(wl);
               });
    });
    if (wavelengths.empty()) {
        throw std::invalid_argument(
            "utils::common_wavelengths: the scans have no wavelength in common");
    }
    return wavelengths;
}

Scan sum(std::span<const Scan* const> scans) {
    std::vector<double> wavelengths = common_wavelengths(scans);
    std::vector<double> total = sum_at(scans, wavelengths);
    return {std::move(wavelengths), std::move(total), smallest_epsilon(scans),
            interpolation_of(scans)};
}

ScanMean mean(std::span<const Scan* const> scans) {
    const std::vector<double> wavelengths = common_wavelengths(scans);
    const auto count = static_cast<double>(scans.size());
    std::vector<double> means = sum_at(scans, wavelengths);
    for (double& value : means) value /= count;

    std::vector<double> deviations(wavelengths.size());
    for_each_at(scans, wavelengths, [&](const std::vector<double>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double difference = values[i] - means[i];
            deviations[i] += difference * difference;
        }
    });
    for (double& value : deviations) value = std::sqrt(value / (count - 1.0));

    const double epsilon = smallest_epsilon(scans);
    const spline::Type type = interpolation_of(scans);
    return {Scan(wavelengths, std::move(means), epsilon, type),
            Scan(wavelengths, std::move(deviations), epsilon, type), scans.size()};
}

}  // namespace vekanalysis::utils
