#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

/// Polynomials through Chebyshev points, for smooth functions that are costly to sum.
namespace vekanalysis::lighting::internal {

template <std::size_t n>
[[nodiscard]] double chebyshev_angle(std::size_t j) noexcept {
    return std::numbers::pi * (static_cast<double>(j) + 0.5) / static_cast<double>(n);
}

/// The point cos(pi (j + 1/2) / n) of -1 .. 1, j = 0 .. n - 1.
template <std::size_t n>
[[nodiscard]] double chebyshev_point(std::size_t j) noexcept {
    return std::cos(chebyshev_angle<n>(j));
}

/// Coefficients of the powers of t of the polynomial through values at the Chebyshev points.
template <std::size_t n>
[[nodiscard]] std::array<double, n> powers_through(const std::array<double, n>& values) noexcept {
    std::array<double, n> result{};
    std::array<double, n> before{};   // powers of T_(k-1)
    std::array<double, n> current{};  // powers of T_k
    current[0] = 1.0;
    for (std::size_t k = 0; k < n; ++k) {
        double c = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            c += values[j] * std::cos(static_cast<double>(k) * chebyshev_angle<n>(j));
        }
        c *= (k == 0 ? 1.0 : 2.0) / static_cast<double>(n);
        for (std::size_t i = 0; i < n; ++i) result[i] += c * current[i];
        std::array<double, n> next{};
        for (std::size_t i = 0; i + 1 < n; ++i) next[i + 1] = (k == 0 ? 1.0 : 2.0) * current[i];
        if (k > 0) {
            for (std::size_t i = 0; i < n; ++i) next[i] -= before[i];
        }
        before = current;
        current = next;
    }
    return result;
}

/// Value at t of a polynomial given by the coefficients of its powers.
template <std::size_t n>
[[nodiscard]] double polynomial(const std::array<double, n>& powers, double t) noexcept {
    double value = powers[n - 1];
    for (std::size_t j = n - 1; j-- > 0;) value = value * t + powers[j];
    return value;
}

}  // namespace vekanalysis::lighting::internal
