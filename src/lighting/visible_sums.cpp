#include "lighting/visible_sums.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "lighting/data/tables.hpp"
#include "numerical/lanes.hpp"

namespace vekanalysis::lighting::internal {

namespace {

using numerical::lane_count;
using numerical::Lanes;
using numerical::prefetch;
using numerical::read;
using numerical::smaller_of;
using numerical::splat;
using numerical::write;

constexpr std::size_t samples = 15;
constexpr std::size_t columns = 3 * samples;
/// Columns whose weights lie side by side.
constexpr std::size_t block = 2 * lane_count;
constexpr std::size_t blocks = (columns + block - 1) / block;

/// How many lights before it is read the memory of one is fetched.
constexpr std::size_t lights_ahead = 2;

/// Sums of the values of a light times the weights of each column.
using Sums = std::array<double, blocks * block>;

/// Sums of lights times some blocks of columns, each in the order of the wavelengths.
template <std::size_t lights, std::size_t width>
VEKANALYSIS_INLINE void add_columns(const std::array<const double*, lights_at_once>& values,
                                    const double* weights, std::size_t points, std::size_t first,
                                    std::array<Sums, lights_at_once>& sums) {
    constexpr std::size_t vectors = width * block / lane_count;
    Lanes part[lights][vectors];
    VEKANALYSIS_UNROLL
    for (std::size_t k = 0; k < lights; ++k) {
        VEKANALYSIS_UNROLL
        for (std::size_t j = 0; j < vectors; ++j) part[k][j] = splat(0.0);
    }
    for (std::size_t i = 0; i < points; ++i) {
        Lanes weight[vectors];
        VEKANALYSIS_UNROLL
        for (std::size_t j = 0; j < vectors; ++j) {
            constexpr std::size_t in_block = block / lane_count;
            weight[j] = read<double>(weights + (j / in_block * points + i) * block +
                                     j % in_block * lane_count);
        }
        VEKANALYSIS_UNROLL
        for (std::size_t k = 0; k < lights; ++k) {
            const Lanes value = splat(values[k][i]);
            VEKANALYSIS_UNROLL
            for (std::size_t j = 0; j < vectors; ++j) part[k][j] = part[k][j] + value * weight[j];
        }
    }
    VEKANALYSIS_UNROLL
    for (std::size_t k = 0; k < lights; ++k) {
        VEKANALYSIS_UNROLL
        for (std::size_t j = 0; j < vectors; ++j) {
            write(part[k][j], sums[k].data() + first + j * lane_count);
        }
    }
}

/// Either way the sums fill half the registers of AVX2, and come out the same.
VEKANALYSIS_INLINE void rendering_body(const std::array<const double*, lights_at_once>& values,
                                       std::size_t lights, const double* weights,
                                       std::size_t points, std::size_t count,
                                       std::array<Sums, lights_at_once>& sums) {
    constexpr std::size_t together = 3;
    if (lights == 1) {
        for (std::size_t first = 0; first < 3 * count; first += together * block) {
            add_columns<1, together>(values, weights + first * points, points, first, sums);
        }
        return;
    }
    for (std::size_t first = 0; first < 3 * count; first += block) {
        add_columns<lights_at_once, 1>(values, weights + first * points, points, first, sums);
    }
}

/// @param upcoming  memory that is read soon, of the same size
VEKANALYSIS_INLINE void add_tristimulus(const ColourMatching& matching, const double* values,
                                        const double* upcoming, VisibleSums& result) {
    const double* const x = matching.functions[0].data();
    const double* const y = matching.functions[1].data();
    const double* const z = matching.functions[2].data();
    Lanes X = splat(0.0);
    Lanes Y = splat(0.0);
    Lanes Z = splat(0.0);
    Lanes lowest = splat(std::numeric_limits<double>::infinity());
    std::size_t i = 0;
    for (; i + lane_count <= matching.points; i += lane_count) {
        const Lanes value = read<double>(values + i);
        prefetch(upcoming + i);
        X = X + read<double>(x + i) * value;
        Y = Y + read<double>(y + i) * value;
        Z = Z + read<double>(z + i) * value;
        // Keeps the lowest where the value is NaN.
        lowest = smaller_of(value, lowest);
    }
    double sums[3][lane_count];
    double low[lane_count];
    write(X, sums[0]);
    write(Y, sums[1]);
    write(Z, sums[2]);
    write(lowest, low);
    for (; i < matching.points; ++i) {
        sums[0][0] += x[i] * values[i];
        sums[1][0] += y[i] * values[i];
        sums[2][0] += z[i] * values[i];
        if (values[i] < low[0]) low[0] = values[i];
    }
    const auto total = [](const double* part) { return (part[0] + part[1]) + (part[2] + part[3]); };
    result = {{total(sums[0]), total(sums[1]), total(sums[2])},
              *std::min_element(low, low + lane_count)};
}

VEKANALYSIS_INLINE void tristimulus_body(const ColourMatching& matching,
                                         const double* const* values, std::size_t lights,
                                         VisibleSums* results) {
    for (std::size_t k = 0; k < lights; ++k) {
        add_tristimulus(matching, values[k], values[k + lights_ahead], results[k]);
    }
}

#define VEKANALYSIS_SUMS(name, attribute)                                                   \
    namespace name {                                                                        \
    attribute void rendering(const std::array<const double*, lights_at_once>& values,       \
                             std::size_t lights, const double* weights, std::size_t points, \
                             std::size_t count, std::array<Sums, lights_at_once>& sums) {   \
        rendering_body(values, lights, weights, points, count, sums);                       \
    }                                                                                       \
    attribute void tristimulus(const ColourMatching& matching, const double* const* values, \
                               std::size_t lights, VisibleSums* results) {                  \
        tristimulus_body(matching, values, lights, results);                                \
    }                                                                                       \
    }

VEKANALYSIS_SUMS(baseline, )
#if defined(__GNUC__) && defined(__x86_64__)
VEKANALYSIS_SUMS(avx2, __attribute__((target("avx2"))))
#endif

/// The functions for this machine; all give the same numbers.
struct Kernels {
    decltype(&baseline::rendering) rendering = baseline::rendering;
    decltype(&baseline::tristimulus) tristimulus = baseline::tristimulus;

    Kernels() noexcept {
#if defined(__GNUC__) && defined(__x86_64__)
        if (static_cast<bool>(__builtin_cpu_supports("avx2"))) {
            rendering = avx2::rendering;
            tristimulus = avx2::tristimulus;
        }
#endif
    }
};

const Kernels& kernels() noexcept {
    static const Kernels here;
    return here;
}

/// The weights of X, Y and Z of each sample at each wavelength, block after block.
std::vector<double> make_panel(int step) {
    const std::size_t points = visible_points(step);
    std::vector<double> panel(blocks * block * points, 0.0);
    const ColourMatching& matching = colour_matching(1931, step);
    const auto factors = data::colour_rendering_samples().figures;
    for (std::size_t i = 0; i < points; ++i) {
        for (std::size_t j = 0; j < samples; ++j) {
            const double factor = step == 5 ? factors[i * samples + j]
                                            : factor_between(factors.data() + j, samples, i);
            for (std::size_t k = 0; k < 3; ++k) {
                const std::size_t column = 3 * j + k;
                panel[(column / block * points + i) * block + column % block] =
                    factor * matching.functions[k][i];
            }
        }
    }
    return panel;
}

const std::vector<double>& panel_of(int step) {
    static const std::vector<double> in_5_nm = make_panel(5);
    static const std::vector<double> in_1_nm = make_panel(1);
    return step == 5 ? in_5_nm : in_1_nm;
}

}  // namespace

VisibleSums ColourMatching::sums(std::span<const double> values) const noexcept {
    VisibleSums result{};
    // No other light comes up, so that its own memory is named.
    std::array<const double*, 1 + lights_ahead> lights;
    lights.fill(values.data());
    kernels().tristimulus(*this, lights.data(), 1, &result);
    return result;
}

void ColourMatching::sums(std::span<const double* const> lights,
                          std::span<const double* const> upcoming,
                          std::span<VisibleSums> results) const noexcept {
    if (lights.empty()) return;
    std::array<const double*, lights_at_once + lights_ahead> values;
    values.fill(lights.front());
    std::copy(lights.begin(), lights.end(), values.begin());
    std::copy_n(upcoming.begin(), std::min(lights_ahead, upcoming.size()),
                values.begin() + static_cast<std::ptrdiff_t>(lights.size()));
    kernels().tristimulus(*this, values.data(), lights.size(), results.data());
}

void rendering_colours(std::span<const double* const> lights,
                       std::span<const colorimetry::CIEXYZ> xyz, int step, std::size_t count,
                       std::span<Colours<15>> colours) {
    std::array<const double*, lights_at_once> values{};
    // A place without a light gets another's values, which are not looked at.
    values.fill(lights.front());
    std::copy(lights.begin(), lights.end(), values.begin());
    std::array<Sums, lights_at_once> sums;
    kernels().rendering(values, lights.size(), panel_of(step).data(), visible_points(step), count,
                        sums);
    for (std::size_t k = 0; k < lights.size(); ++k) {
        const double scale = 100.0 / xyz[k].Y;
        Colours<15>& result = colours[k];
        result.light = {scale * xyz[k].X, 100.0, scale * xyz[k].Z};
        for (std::size_t j = 0; j < count; ++j) {
            result.X[j] = scale * sums[k][3 * j];
            result.Y[j] = scale * sums[k][3 * j + 1];
            result.Z[j] = scale * sums[k][3 * j + 2];
        }
    }
}

}  // namespace vekanalysis::lighting::internal
