#include "core/scan_arithmetic.hpp"

#include <cmath>
#include <span>

namespace vekanalysis::utils {

namespace {

/// The part of the ascending `keys` that lies inside the range of `other`, widened by epsilon.
std::span<const double> reachable(std::span<const double> keys, std::span<const double> other,
                                  double epsilon) {
    if (keys.empty() || other.empty()) return {};
    const auto first = std::partition_point(
        keys.begin(), keys.end(), [&](double key) { return !(key + epsilon >= other.front()); });
    const auto last = std::partition_point(
        first, keys.end(), [&](double key) { return key <= other.back() + epsilon; });
    return {first, last};
}

}  // namespace

std::vector<double> key_intersection(const Scan& a, const Scan& b) {
    const double tolerance = std::max(a.get_wavelength_epsilon(), b.get_wavelength_epsilon());
    const auto keys_a = a.data().keys();
    const auto keys_b = b.data().keys();
    std::vector<double> common;
    for (std::size_t i = 0, j = 0; i < keys_a.size() && j < keys_b.size();) {
        const double x = keys_a[i];
        const double y = keys_b[j];
        if (x == y || std::abs(x - y) <= tolerance) {
            common.push_back(x);
            ++i;
            ++j;
        } else if (x < y) {
            ++i;
        } else {
            ++j;
        }
    }
    return common;
}

std::vector<double> key_union(const Scan& a, const Scan& b) {
    const auto keys_a = a.data().keys();
    const auto keys_b = b.data().keys();
    std::vector<double> merged;
    for (std::size_t i = 0, j = 0; i < keys_a.size() && j < keys_b.size();) {
        const double x = keys_a[i];
        const double y = keys_b[j];
        if (x < y) {
            if (x > keys_b.front()) merged.push_back(x);
            ++i;
        } else if (y < x) {
            if (y > keys_a.front()) merged.push_back(y);
            ++j;
        } else {
            merged.push_back(x);
            ++i;
            ++j;
        }
    }
    return merged;
}

WavelengthSet wavelengths(const Scan& a, const Scan& b) {
    const double epsilon = std::min(a.get_wavelength_epsilon(), b.get_wavelength_epsilon());
    const auto keys_a = a.data().keys();
    const auto keys_b = b.data().keys();
    using Keys = std::span<const double>;
    const Keys from_b = a.is_interpolated() ? reachable(keys_b, keys_a, epsilon) : Keys();
    const Keys from_a = b.is_interpolated() ? reachable(keys_a, keys_b, epsilon) : Keys();

    // b's wavelengths go in first, so of equivalent ones a's is dropped. Each side's own are
    // distinct under its epsilon and therefore under the smaller one.
    std::vector<double> grid(from_a.size() + from_b.size());
    std::size_t count = 0;
    std::size_t j = 0;
    for (const double x : from_a) {
        while (j < from_b.size() && from_b[j] + epsilon < x) grid[count++] = from_b[j++];
        if (j == from_b.size() || x + epsilon < from_b[j]) grid[count++] = x;
    }
    while (j < from_b.size()) grid[count++] = from_b[j++];
    grid.resize(count);
    return {std::move(grid), epsilon};
}

WavelengthSet wavelengths(const Scan& scan) {
    return {scan.get_wavelengths(), scan.get_wavelength_epsilon()};
}

}  // namespace vekanalysis::utils
