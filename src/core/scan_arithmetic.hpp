#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "float_comparator.hpp"
#include "scan.hpp"

namespace vekanalysis {

namespace internal {

// The element operations, as function objects so that the transforms inline them. Division by zero
// follows the floating-point rules: infinities and NaN, never an error.
inline constexpr auto add = [](const double& a, const double& b) noexcept { return a + b; };
inline constexpr auto subtract = [](const double& a, const double& b) noexcept { return a - b; };
inline constexpr auto multiply = [](const double& a, const double& b) noexcept { return a * b; };
inline constexpr auto divide = [](const double& a, const double& b) noexcept { return a / b; };

/// Grid of a binary operation of which a side interpolates, see `utils::wavelengths(a, b)`.
class CommonGrid {
public:
    CommonGrid(const Scan& a, const Scan& b);

    [[nodiscard]] double epsilon() const noexcept { return epsilon_; }

    /// Number of grid points, those counted that turn out equivalent.
    [[nodiscard]] std::size_t max_size() const noexcept { return a_.keys.size() + b_.keys.size(); }

    /// Calls at_a(wavelength, value of a) and at_b(wavelength, value of b) for the grid points
    /// taken from either scan, ascending over both.
    template <class AtA, class AtB>
    void walk(const AtA& at_a, const AtB& at_b) const {
        // b's wavelengths go in first, so of equivalent ones a's is dropped. Each side's own are
        // distinct under its epsilon and therefore under the smaller one.
        std::size_t j = 0;
        for (std::size_t i = 0; i < a_.keys.size(); ++i) {
            const double wl = a_.keys[i];
            for (; j < b_.keys.size() && b_.keys[j] + epsilon_ < wl; ++j) {
                at_b(b_.keys[j], b_.values[j]);
            }
            if (j == b_.keys.size() || wl + epsilon_ < b_.keys[j]) at_a(wl, a_.values[i]);
        }
        for (; j < b_.keys.size(); ++j) at_b(b_.keys[j], b_.values[j]);
    }

private:
    struct Points {
        std::span<const double> keys;
        std::span<const double> values;
    };
    [[nodiscard]] Points reachable(const Scan& points, const Scan& other) const;

    double epsilon_;
    Points a_;
    Points b_;
};

/// `utils::transform` of two scans, with a function for the value of an interval's polynomial (see
/// ScanCursor).
template <class F, class ValueOfPiece>
[[nodiscard]] Scan combine(const Scan& a, const Scan& b, const F& f, const ValueOfPiece& value_of);

/// New scan of the same wavelengths and settings with other values.
[[nodiscard]] inline Scan with_values(const Scan& scan, std::vector<double> values) {
    return {
        PointMap::adopt(scan.get_wavelengths(), std::move(values), scan.get_wavelength_epsilon()),
        scan.get_interpolation_type()};
}

}  // namespace internal

namespace utils {

/// Ascending wavelengths of which no two are equivalent under `key_comp()`.
class WavelengthSet {
public:
    /// @param wavelengths  ascending and distinct under epsilon
    WavelengthSet(std::vector<double> wavelengths, double epsilon) noexcept
        : wavelengths_(std::move(wavelengths)), before_{epsilon} {}

    [[nodiscard]] auto begin() const noexcept { return wavelengths_.begin(); }
    [[nodiscard]] auto end() const noexcept { return wavelengths_.end(); }
    [[nodiscard]] std::size_t size() const noexcept { return wavelengths_.size(); }
    [[nodiscard]] bool empty() const noexcept { return wavelengths_.empty(); }
    [[nodiscard]] const internal::FloatComparator<double>& key_comp() const noexcept {
        return before_;
    }

private:
    std::vector<double> wavelengths_;
    internal::FloatComparator<double> before_;
};

/// Wavelengths of `a` that `b` stores too, ascending: the two differ by at most the larger epsilon.
[[nodiscard]] std::vector<double> key_intersection(const Scan& a, const Scan& b);

/// Merged wavelengths of both scans, compared exactly, inside the span where both have points.
///
/// Deliberate: points before the other scan's first wavelength or after its last are dropped.
[[nodiscard]] std::vector<double> key_union(const Scan& a, const Scan& b);

/// Grid of a binary operation of which a side interpolates: each side's wavelengths inside the
/// range of the other, as far as that other interpolates, widened by the smaller epsilon. Of
/// equivalent wavelengths b's stays.
[[nodiscard]] WavelengthSet wavelengths(const Scan& a, const Scan& b);

/// The wavelengths of one scan, under its own epsilon.
[[nodiscard]] WavelengthSet wavelengths(const Scan& scan);

/// New scan of the same grid and settings with the values f(v, k).
template <class F>
[[nodiscard]] Scan transform(const Scan& scan, double k, const F& f) {
    std::vector<double> values = scan.get_values();
    for (double& v : values) v = f(v, k);
    return internal::with_values(scan, std::move(values));
}

/// New scan of the same grid and settings with the values f(k, v).
template <class F>
[[nodiscard]] Scan transform(double k, const Scan& scan, const F& f) {
    return transform(scan, k, [&f](double v, double left) { return f(left, v); });
}

/// Combination of two scans on a common grid.
///
/// When either interpolates, the grid is `wavelengths(a, b)` and the values are f(a(w), b(w)); when
/// neither does, it is `key_intersection(a, b)` and the values are f(a[w], b[w]). The result has
/// the smaller epsilon and a's interpolation type if a interpolates, else b's.
///
/// @throws std::runtime_error  a spline's errors (see Scan), where a grid point lies between points
/// @throws std::out_of_range   "map::at:  key not found", when neither interpolates and a common
///                             wavelength is farther away than one scan's own epsilon
template <class F>
[[nodiscard]] Scan transform(const Scan& a, const Scan& b, const F& f) {
    return internal::combine(
        a, b, f,
        [](const numerical::Spline::Piece& piece, double wl) noexcept { return piece(wl); });
}

}  // namespace utils

template <class F, class ValueOfPiece>
Scan internal::combine(const Scan& a, const Scan& b, const F& f, const ValueOfPiece& value_of) {
    const double epsilon = std::min(a.get_wavelength_epsilon(), b.get_wavelength_epsilon());
    const spline::Type type =
        a.is_interpolated() ? a.get_interpolation_type() : b.get_interpolation_type();
    if (!a.is_interpolated() && !b.is_interpolated()) {
        Scan result(epsilon, type);
        for (const double wl : utils::key_intersection(a, b)) {
            result.insert({wl, f(a[wl], b[wl])});
        }
        return result;
    }
    const CommonGrid common(a, b);
    std::vector<double> grid(common.max_size());
    std::vector<double> values(common.max_size());
    std::size_t count = 0;
    ScanCursor a_at(a);
    ScanCursor b_at(b);
    common.walk(
        [&](double wl, double value_a) {
            grid[count] = wl;
            values[count++] = f(value_a, b_at.evaluate(wl, value_of));
        },
        [&](double wl, double value_b) {
            grid[count] = wl;
            values[count++] = f(a_at.evaluate(wl, value_of), value_b);
        });
    grid.resize(count);
    values.resize(count);
    return {PointMap::adopt(std::move(grid), std::move(values), epsilon), type};
}

// Scan with scan on the common grid of utils::transform; scan with number on the scan's own grid.

[[nodiscard]] Scan operator+(const Scan& a, const Scan& b);
[[nodiscard]] Scan operator-(const Scan& a, const Scan& b);
[[nodiscard]] Scan operator*(const Scan& a, const Scan& b);
[[nodiscard]] Scan operator/(const Scan& a, const Scan& b);

[[nodiscard]] Scan operator+(const Scan& scan, double k);
[[nodiscard]] Scan operator-(const Scan& scan, double k);
[[nodiscard]] Scan operator*(const Scan& scan, double k);
[[nodiscard]] Scan operator/(const Scan& scan, double k);

[[nodiscard]] Scan operator+(double k, const Scan& scan);
[[nodiscard]] Scan operator-(double k, const Scan& scan);
[[nodiscard]] Scan operator*(double k, const Scan& scan);
[[nodiscard]] Scan operator/(double k, const Scan& scan);

}  // namespace vekanalysis
