#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace numerical {

namespace internal {

/// A sum, and by how much rounding missed it.
struct ExactSum {
    double sum;
    double rest;
};

/// Source: D. E. Knuth, The Art of Computer Programming, vol. 2, 3rd ed., section 4.2.2, theorem B.
inline ExactSum exact_sum(double a, double b) noexcept {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

/// Source: T. J. Dekker, A floating-point technique for extending the available precision,
/// Numer. Math. 18 (1971) 224-242.
inline ExactSum exact_product(double a, double b) noexcept {
    constexpr double splitter = 134217729.0;  // 2^27 + 1
    const double a_high = splitter * a - (splitter * a - a);
    const double b_high = splitter * b - (splitter * b - b);
    const double a_low = a - a_high;
    const double b_low = b - b_high;
    const double product = a * b;
    return {product,
            ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low};
}

/// a + b; of its two neighbours the one with an odd last digit where it is not exact.
inline double sum_to_odd(double a, double b) noexcept {
    const auto [sum, rest] = exact_sum(a, b);
    const auto bits = std::bit_cast<std::uint64_t>(sum);
    if (rest == 0.0 || (bits & 1U) != 0) return sum;
    return std::bit_cast<double>((rest > 0.0) == (sum > 0.0) ? bits + 1 : bits - 1);
}

/// x * y + z, rounded once, by sums and products alone; twice where the result is subnormal.
///
/// Source: S. Boldo and G. Melquiond, Emulation of a FMA and correctly rounded sums: proved
/// algorithms using rounding to odd, IEEE Trans. Comput. 57 (2008) 462-471, algorithm Fmaemul.
/// Before it the product is scaled to 1/4..1, so that nothing overflows or underflows on the way.
inline double fused_by_parts(double x, double y, double z) noexcept {
    if (!std::isfinite(x) || !std::isfinite(y) || x == 0.0 || y == 0.0 || z == 0.0) {
        return x * y + z;
    }
    if (!std::isfinite(z)) return z;
    int x_exponent = 0;
    int y_exponent = 0;
    int z_exponent = 0;
    const double x_part = std::frexp(x, &x_exponent);
    const double y_part = std::frexp(y, &y_exponent);
    const double z_part = std::frexp(z, &z_exponent);
    const int scale = x_exponent + y_exponent;
    if (z_exponent - scale > 1000) return z;
    // Less than any digit of the product counts only as more than nothing.
    const int z_scaled = z_exponent - scale < -300 ? -300 : z_exponent - scale;
    const ExactSum product = exact_product(x_part, y_part);
    const ExactSum low = exact_sum(std::ldexp(z_part, z_scaled), product.rest);
    const ExactSum high = exact_sum(product.sum, low.sum);
    return std::ldexp(high.sum + sum_to_odd(low.rest, high.rest), scale);
}

}  // namespace internal

/// x * y + z, rounded once, as std::fma has to do it. That of MinGW's run-time library rounds the
/// product, too.
inline double fused(double x, double y, double z) noexcept {
#ifdef __MINGW32__
    return internal::fused_by_parts(x, y, z);
#else
    return std::fma(x, y, z);
#endif
}

}  // namespace numerical
