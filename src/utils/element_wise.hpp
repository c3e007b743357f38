#pragma once

#include <cmath>
#include <concepts>
#include <span>
#include <utility>
#include <vector>

#include "../core/scan.hpp"
#include "../core/scan_arithmetic.hpp"

namespace vekanalysis {

namespace internal {

template <class T>
[[nodiscard]] T pow(const T& base, const T& exponent) {
    return std::pow(base, exponent);
}

/// What `Scan::add_keys` would make of the scan.
[[nodiscard]] Scan with_keys(const Scan& scan, std::span<const double> wavelengths);

}  // namespace internal

namespace utils {

/// New scan of the same grid and settings with the values f(point), point a (wavelength, value)
/// pair.
template <class F>
requires std::invocable < const F&, const std::pair<const double, double>
& > [[nodiscard]] Scan transform(const Scan& scan, const F& f) {
    std::vector<double> values;
    values.reserve(scan.size());
    for (const auto& [wl, value] : scan) {
        values.push_back(f(std::pair<const double, double>(wl, value)));
    }
    return internal::with_values(scan, std::move(values));
}

/// The same with the values f(wavelength, value).
template <class F>
requires std::invocable<const F&, double, double>
[[nodiscard]] Scan transform(const Scan& scan, const F& f) {
    return transform(scan, [&f](const std::pair<const double, double>& point) {
        return f(point.first, point.second);
    });
}

/// New scan with the wavelengths f(point) and the values kept. Points that map onto equivalent
/// wavelengths merge; the later one gives the value.
///
/// @throws std::invalid_argument  "Scan: wavelength must not be NaN"
template <class F>
[[nodiscard]] Scan transform_keys(const Scan& scan, const F& f) {
    std::vector<double> wavelengths;
    wavelengths.reserve(scan.size());
    for (const auto& [wl, value] : scan) {
        wavelengths.push_back(f(std::pair<const double, double>(wl, value)));
    }
    return {std::move(wavelengths), scan.get_values(), scan.get_wavelength_epsilon(),
            scan.get_interpolation_type()};
}

/// Absolute values: a new scan, or in place.
[[nodiscard]] Scan abs(const Scan& scan);
void abs(Scan& scan);

/// Natural and base-10 logarithms of the values; log of 0 is -infinity, of a negative value NaN.
[[nodiscard]] Scan log(const Scan& scan);
[[nodiscard]] Scan log10(const Scan& scan);

/// Powers a^b on the common grid of `transform`, v^e and x^v.
[[nodiscard]] Scan pow(const Scan& a, const Scan& b);
[[nodiscard]] Scan pow(const Scan& scan, const double& e);
[[nodiscard]] Scan pow(const double& x, const Scan& scan);

/// Sum of the stored values in order of wavelength; 0.0 when empty.
[[nodiscard]] double sum_values(const Scan& scan) noexcept;

/// The stored points, ascending.
[[nodiscard]] std::vector<std::pair<double, double>> to_vector(const Scan& scan);

/// Position of the first largest or smallest value in [first, last); `last` when that is empty.
[[nodiscard]] Scan::const_iterator max_element(Scan::const_iterator first,
                                               Scan::const_iterator last) noexcept;
[[nodiscard]] Scan::const_iterator min_element(Scan::const_iterator first,
                                               Scan::const_iterator last) noexcept;

/// Puts both scans on the union of their keys (`key_union`), each with its own values there, one
/// key after the other; each addition takes part in the interpolation of the next.
///
/// @throws std::runtime_error  a spline's errors, also when no value needs it; neither scan changes
void normalize_keys(Scan* a, Scan* b);

/// The scan's values at lo + i * step (one fused multiply-add each) for i = 0 .. N, N being
/// (hi - lo) / step cut to a whole number, 0 when negative. `hi` is a point only when the quotient
/// is whole. The result has the scan's settings.
///
/// @throws std::invalid_argument  "uniform_wavelength_range: too many points" when the quotient is
///                                NaN or does not fit 32 bits
[[nodiscard]] Scan uniform_wavelength_range(const Scan& scan, double lo, double hi, double step);

/// The same inserted into a given scan.
void uniform_wavelength_range(const Scan& scan, double lo, double hi, double step, Scan* out);

/// True when y lies within n units in the last place of x around x.
[[nodiscard]] bool are_equal(double x, double y, double n) noexcept;

/// True when every stored value of `a` is within `tolerance` of `b` there.
[[nodiscard]] bool compare(const Scan& a, const Scan& b, double tolerance);

}  // namespace utils

}  // namespace vekanalysis
