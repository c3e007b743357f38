#include "utils/element_wise.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "numerical/fused.hpp"

namespace vekanalysis::internal {

Scan with_keys(const Scan& scan, std::span<const double> wavelengths) {
    Scan extended(scan);
    // The copy has no interpolant: the first value is of that of the scan.
    const Scan* source = &scan;
    for (const double wl : wavelengths) {
        extended.insert({wl, (*source)(wl)});
        source = &extended;
    }
    return extended;
}

}  // namespace vekanalysis::internal

namespace vekanalysis::utils {

namespace {

std::vector<double> uniform_grid(double lo, double hi, double step) {
    const double quotient = (hi - lo) / step;
    if (!(quotient < 4294967296.0)) {
        throw std::invalid_argument("uniform_wavelength_range: too many points");
    }
    const auto last = quotient > 0.0 ? static_cast<std::uint32_t>(quotient) : 0U;
    std::vector<double> grid(std::size_t{last} + 1);
    for (std::size_t i = 0; i < grid.size(); ++i) {
        grid[i] = numerical::fused(static_cast<double>(i), step, lo);
    }
    return grid;
}

std::vector<double> values_at(const Scan& scan, const std::vector<double>& wavelengths) {
    std::vector<double> values(wavelengths.size());
    scan.evaluate(wavelengths, values);
    return values;
}

}  // namespace

Scan abs(const Scan& scan) {
    return transform(scan, [](double, double v) { return std::abs(v); });
}

void abs(Scan& scan) {
    scan.for_each(
        [](std::pair<const double, double>& point) { point.second = std::abs(point.second); });
}

Scan log(const Scan& scan) {
    return transform(scan, [](double, double v) { return std::log(v); });
}

Scan log10(const Scan& scan) {
    return transform(scan, [](double, double v) { return std::log10(v); });
}

Scan pow(const Scan& a, const Scan& b) {
    return transform(a, b, internal::pow<double>);
}

Scan pow(const Scan& scan, const double& e) {
    return transform(scan, e, internal::pow<double>);
}

Scan pow(const double& x, const Scan& scan) {
    return transform(x, scan, internal::pow<double>);
}

double sum_values(const Scan& scan) noexcept {
    const auto values = scan.data().values();
    return std::accumulate(values.begin(), values.end(), 0.0);
}

std::vector<std::pair<double, double>> to_vector(const Scan& scan) {
    return {scan.begin(), scan.end()};
}

Scan::const_iterator max_element(Scan::const_iterator first, Scan::const_iterator last) noexcept {
    Scan::const_iterator best = first;
    for (; first != last; ++first) {
        if (first->second > best->second) best = first;
    }
    return best;
}

Scan::const_iterator min_element(Scan::const_iterator first, Scan::const_iterator last) noexcept {
    Scan::const_iterator best = first;
    for (; first != last; ++first) {
        if (first->second < best->second) best = first;
    }
    return best;
}

void normalize_keys(Scan* a, Scan* b) {
    const std::vector<double> keys = key_union(*a, *b);
    // Both first: past this point no interpolant is missing and both scans change or none.
    a->ensure_spline();
    b->ensure_spline();
    Scan first = internal::with_keys(*a, keys);
    *b = internal::with_keys(*b, keys);
    *a = std::move(first);
}

Scan uniform_wavelength_range(const Scan& scan, double lo, double hi, double step) {
    std::vector<double> grid = uniform_grid(lo, hi, step);
    std::vector<double> values = values_at(scan, grid);
    return {std::move(grid), std::move(values), scan.get_wavelength_epsilon(),
            scan.get_interpolation_type()};
}

void uniform_wavelength_range(const Scan& scan, double lo, double hi, double step, Scan* out) {
    const std::vector<double> grid = uniform_grid(lo, hi, step);
    const std::vector<double> values = values_at(scan, grid);
    Scan filled(*out);
    for (std::size_t i = 0; i < grid.size(); ++i) filled.insert({grid[i], values[i]});
    *out = std::move(filled);
}

bool are_equal(double x, double y, double n) noexcept {
    const double unit = std::nextafter(x, std::numeric_limits<double>::infinity()) - x;
    return numerical::fused(-n, unit, x) <= y && y <= numerical::fused(n, unit, x);
}

bool compare(const Scan& a, const Scan& b, double tolerance) {
    ScanCursor b_at(b);
    for (const auto& [wl, value] : a) {
        if (std::abs(value - b_at(wl)) > tolerance) return false;
    }
    return true;
}

}  // namespace vekanalysis::utils
