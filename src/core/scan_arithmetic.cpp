#include "core/scan_arithmetic.hpp"

#include <cmath>

#include "numerical/cubic.hpp"

namespace vekanalysis {

namespace internal {

CommonGrid::CommonGrid(const Scan& a, const Scan& b)
    : epsilon_(std::min(a.get_wavelength_epsilon(), b.get_wavelength_epsilon())) {
    if (a.is_interpolated()) b_ = reachable(b, a);
    if (b.is_interpolated()) a_ = reachable(a, b);
}

/// The points whose wavelength lies inside the range of `other`, widened by epsilon.
CommonGrid::Points CommonGrid::reachable(const Scan& points, const Scan& other) const {
    if (points.empty() || other.empty()) return {};
    const auto keys = points.data().keys();
    const double low = other.data().keys().front();
    const double high = other.data().keys().back() + epsilon_;
    const auto first = std::partition_point(keys.begin(), keys.end(),
                                            [&](double key) { return key + epsilon_ < low; });
    const auto last =
        std::partition_point(first, keys.end(), [&](double key) { return key <= high; });
    const auto offset = static_cast<std::size_t>(first - keys.begin());
    const auto count = static_cast<std::size_t>(last - first);
    return {keys.subspan(offset, count), points.data().values().subspan(offset, count)};
}

}  // namespace internal

namespace utils {

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
    const internal::CommonGrid common(a, b);
    std::vector<double> grid;
    grid.reserve(common.max_size());
    const auto take = [&grid](double wl, double) { grid.push_back(wl); };
    common.walk(take, take);
    return {std::move(grid), common.epsilon()};
}

WavelengthSet wavelengths(const Scan& scan) {
    return {scan.get_wavelengths(), scan.get_wavelength_epsilon()};
}

}  // namespace utils

Scan operator+(const Scan& a, const Scan& b) {
    return internal::combine(a, b, internal::add, numerical::cubic);
}

Scan operator-(const Scan& a, const Scan& b) {
    return internal::combine(a, b, internal::subtract, numerical::cubic);
}

Scan operator*(const Scan& a, const Scan& b) {
    return internal::combine(a, b, internal::multiply, numerical::cubic);
}

Scan operator/(const Scan& a, const Scan& b) {
    return internal::combine(a, b, internal::divide, numerical::cubic);
}

Scan operator+(const Scan& scan, double k) {
    return utils::transform(scan, k, internal::add);
}

Scan operator-(const Scan& scan, double k) {
    return utils::transform(scan, k, internal::subtract);
}

Scan operator*(const Scan& scan, double k) {
    return utils::transform(scan, k, internal::multiply);
}

Scan operator/(const Scan& scan, double k) {
    return utils::transform(scan, k, internal::divide);
}

Scan operator+(double k, const Scan& scan) {
    return scan + k;
}

Scan operator-(double k, const Scan& scan) {
    return utils::transform(k, scan, internal::subtract);
}

Scan operator*(double k, const Scan& scan) {
    return scan * k;
}

Scan operator/(double k, const Scan& scan) {
    return utils::transform(k, scan, internal::divide);
}

}  // namespace vekanalysis
