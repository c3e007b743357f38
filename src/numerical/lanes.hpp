#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Vectors of four numbers as GCC and Clang have them on every machine (they take two registers of
// SSE2 or NEON, or one of AVX2), and as plain loops for other compilers. For files of kernels
// alone, in which all that takes or gives a vector is inlined.
namespace numerical {

inline constexpr std::size_t lane_count = 4;

#if defined(__GNUC__)

#define VEKANALYSIS_INLINE inline __attribute__((always_inline))
/// Before a loop over vectors that are to stay in registers.
#define VEKANALYSIS_UNROLL _Pragma("GCC unroll 16")

using Lanes [[gnu::vector_size(32), gnu::may_alias]] = double;
using Mask [[gnu::vector_size(32), gnu::may_alias]] = std::int64_t;

VEKANALYSIS_INLINE Lanes splat(double x) {
    // GCC broadcasts a shuffled number straight from memory, and a list of four in two steps.
    const Lanes first{x};
    return __builtin_shufflevector(first, first, 0, 0, 0, 0);
}
/// Has memory fetched that is read soon, the nearer the higher the level (0 to 3).
template <int level = 3>
VEKANALYSIS_INLINE void prefetch(const void* place) {
    __builtin_prefetch(place, 0, level);
}
VEKANALYSIS_INLINE void write(Lanes lanes, double* place) {
    __builtin_memcpy(place, &lanes, sizeof lanes);
}
VEKANALYSIS_INLINE Lanes abs_of(Lanes x) {
    return (Lanes)((Mask)x & (Mask{} + INT64_MAX));
}
VEKANALYSIS_INLINE Lanes select(Mask mask, Lanes yes, Lanes no) {
    return (Lanes)(((Mask)yes & mask) | ((Mask)no & ~mask));
}
/// b where either is NaN.
VEKANALYSIS_INLINE Lanes smaller_of(Lanes a, Lanes b) {
    return a < b ? a : b;
}
/// The same.
VEKANALYSIS_INLINE Lanes larger_of(Lanes a, Lanes b) {
    return a > b ? a : b;
}
template <class Number, class Place>
VEKANALYSIS_INLINE Lanes read(const Place* place) {
    using Numbers [[gnu::vector_size(lane_count * sizeof(Number))]] = Number;
    Numbers numbers;
    __builtin_memcpy(&numbers, place, sizeof numbers);
    return __builtin_convertvector(numbers, Lanes);
}
/// Magnitudes of two vectors for comparisons alone, from which they come as precise as the higher
/// halves of the numbers are; NaN is above all. They are integers, for which machines have more
/// units than for comparisons of floating-point numbers.
using Magnitudes [[gnu::vector_size(32)]] = std::int32_t;

VEKANALYSIS_INLINE Magnitudes magnitudes_of(Lanes a, Lanes b) {
    using Halves [[gnu::vector_size(32)]] = float;
    constexpr int high = std::endian::native == std::endian::little ? 1 : 0;
    const Halves halves =
        __builtin_shufflevector((Halves)a, (Halves)b, high, 2 + high, 8 + high, 10 + high, 4 + high,
                                6 + high, 12 + high, 14 + high);
    return (Magnitudes)halves & (Magnitudes{} + INT32_MAX);
}
VEKANALYSIS_INLINE Magnitudes smaller_of(Magnitudes a, Magnitudes b) {
    return a < b ? a : b;
}
/// Whether one of them is not above its limit, or but a little.
VEKANALYSIS_INLINE bool any_within(Magnitudes magnitudes, Magnitudes limits) {
    const Mask within = (Mask)(magnitudes <= limits);
    return (within[0] | within[1] | within[2] | within[3]) != 0;
}
struct Square {
    Lanes a;
    Lanes b;
    Lanes c;
    Lanes d;
};
VEKANALYSIS_INLINE Square transposed(const Square& rows) {
    const Lanes ab_even = __builtin_shufflevector(rows.a, rows.b, 0, 4, 2, 6);
    const Lanes ab_odd = __builtin_shufflevector(rows.a, rows.b, 1, 5, 3, 7);
    const Lanes cd_even = __builtin_shufflevector(rows.c, rows.d, 0, 4, 2, 6);
    const Lanes cd_odd = __builtin_shufflevector(rows.c, rows.d, 1, 5, 3, 7);
    return {__builtin_shufflevector(ab_even, cd_even, 0, 1, 4, 5),
            __builtin_shufflevector(ab_odd, cd_odd, 0, 1, 4, 5),
            __builtin_shufflevector(ab_even, cd_even, 2, 3, 6, 7),
            __builtin_shufflevector(ab_odd, cd_odd, 2, 3, 6, 7)};
}
VEKANALYSIS_INLINE unsigned bits_of(Mask mask) {
    return static_cast<unsigned>((mask[0] & 1) | (mask[1] & 2) | (mask[2] & 4) | (mask[3] & 8));
}

#else

#define VEKANALYSIS_INLINE inline
#define VEKANALYSIS_UNROLL

struct Mask {
    bool lanes[lane_count];
};
struct Lanes {
    double lanes[lane_count];
};

template <class Result, class F>
inline Result each(const F& f) {
    Result result;
    for (std::size_t i = 0; i < lane_count; ++i) result.lanes[i] = f(i);
    return result;
}

#define VEKANALYSIS_LANES(result, operation, type)                                           \
    inline result operator operation(const type& a, const type& b) {                         \
        return each<result>([&](std::size_t i) { return a.lanes[i] operation b.lanes[i]; }); \
    }
VEKANALYSIS_LANES(Lanes, +, Lanes)
VEKANALYSIS_LANES(Lanes, -, Lanes)
VEKANALYSIS_LANES(Lanes, *, Lanes)
VEKANALYSIS_LANES(Lanes, /, Lanes)
VEKANALYSIS_LANES(Mask, <=, Lanes)
VEKANALYSIS_LANES(Mask, ==, Lanes)
#undef VEKANALYSIS_LANES

inline Mask operator&(const Mask& a, const Mask& b) {
    return each<Mask>([&](std::size_t i) { return a.lanes[i] && b.lanes[i]; });
}
inline Mask operator|(const Mask& a, const Mask& b) {
    return each<Mask>([&](std::size_t i) { return a.lanes[i] || b.lanes[i]; });
}
inline Mask operator~(const Mask& a) {
    return each<Mask>([&](std::size_t i) { return !a.lanes[i]; });
}
inline Lanes splat(double x) {
    return {x, x, x, x};
}
template <int level = 3>
inline void prefetch(const void*) {}
inline void write(const Lanes& lanes, double* place) {
    std::memcpy(place, lanes.lanes, sizeof lanes.lanes);
}
inline Lanes abs_of(const Lanes& x) {
    return each<Lanes>([&](std::size_t i) { return x.lanes[i] < 0.0 ? -x.lanes[i] : x.lanes[i]; });
}
inline Lanes select(const Mask& mask, const Lanes& yes, const Lanes& no) {
    return each<Lanes>([&](std::size_t i) { return mask.lanes[i] ? yes.lanes[i] : no.lanes[i]; });
}
/// b where either is NaN.
inline Lanes smaller_of(const Lanes& a, const Lanes& b) {
    return each<Lanes>(
        [&](std::size_t i) { return a.lanes[i] < b.lanes[i] ? a.lanes[i] : b.lanes[i]; });
}
/// The same.
inline Lanes larger_of(const Lanes& a, const Lanes& b) {
    return each<Lanes>(
        [&](std::size_t i) { return a.lanes[i] > b.lanes[i] ? a.lanes[i] : b.lanes[i]; });
}
template <class Number, class Place>
inline Lanes read(const Place* place) {
    Number numbers[lane_count];
    std::memcpy(numbers, place, sizeof numbers);
    return each<Lanes>([&](std::size_t i) { return static_cast<double>(numbers[i]); });
}
struct Square {
    Lanes a;
    Lanes b;
    Lanes c;
    Lanes d;
};
inline Square transposed(const Square& rows) {
    const auto column = [&](std::size_t i) {
        return Lanes{{rows.a.lanes[i], rows.b.lanes[i], rows.c.lanes[i], rows.d.lanes[i]}};
    };
    return {column(0), column(1), column(2), column(3)};
}
inline unsigned bits_of(const Mask& mask) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < lane_count; ++i) bits |= mask.lanes[i] ? 1U << i : 0U;
    return bits;
}
/// Magnitudes of two vectors for comparisons alone; where there is NaN any answer is right.
struct Magnitudes {
    Lanes a;
    Lanes b;
};
inline Magnitudes magnitudes_of(const Lanes& a, const Lanes& b) {
    return {abs_of(a), abs_of(b)};
}
inline Magnitudes smaller_of(const Magnitudes& a, const Magnitudes& b) {
    return {smaller_of(a.a, b.a), smaller_of(a.b, b.b)};
}
/// Whether one of them is not above its limit.
inline bool any_within(const Magnitudes& magnitudes, const Magnitudes& limits) {
    return bits_of((magnitudes.a <= limits.a) | (magnitudes.b <= limits.b)) != 0;
}

#endif

}  // namespace numerical
