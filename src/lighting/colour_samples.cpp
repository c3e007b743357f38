#include "lighting/colour_samples.hpp"

#include <algorithm>

#include "lighting/data/tables.hpp"
#include "lighting/planckian.hpp"

namespace vekanalysis::lighting::internal {

namespace {

using OnPrintedGrid = std::array<double, printed_points>;

/// Weights of the six printed values around a place 1, 2, 3 or 4 fifths of the way between the
/// third and the fourth of them.
std::array<std::array<double, 6>, 4> sprague_weights() noexcept {
    constexpr std::array<std::array<double, 6>, 6> powers{{
        // p(-2), p(-1), p(0), p(1), p(2), p(3) in 24 times the coefficient of each power
        {0.0, 0.0, 24.0, 0.0, 0.0, 0.0},
        {2.0, -16.0, 0.0, 16.0, -2.0, 0.0},
        {-1.0, 16.0, -30.0, 16.0, -1.0, 0.0},
        {-9.0, 39.0, -70.0, 66.0, -33.0, 7.0},
        {13.0, -64.0, 126.0, -124.0, 61.0, -12.0},
        {-5.0, 25.0, -50.0, 50.0, -25.0, 5.0},
    }};
    std::array<std::array<double, 6>, 4> weights{};
    for (std::size_t k = 0; k < 4; ++k) {
        const double t = static_cast<double>(k + 1) / 5.0;
        for (std::size_t q = 0; q < 6; ++q) {
            double sum = 0.0;
            for (std::size_t power = 6; power-- > 0;) sum = sum * t + powers[power][q];
            weights[k][q] = sum / 24.0;
        }
    }
    return weights;
}

/// What the light times a colour-matching function weighs at the printed wavelengths: the
/// transpose of the interpolation.
OnPrintedGrid carried_to_5_nm(std::span<const double> light,
                              std::span<const double> function) noexcept {
    static const auto weights = sprague_weights();
    // Two places before the first printed value and three behind the last, which stand for these.
    constexpr std::size_t reach = 5;
    std::array<double, printed_points + reach> sums{};
    // Zeros on either side, so that every place has six neighbours.
    std::array<double, printed_points + 2 * reach> at_fifths{};
    for (std::size_t k = 0; k < 4; ++k) {
        for (std::size_t i = 0; i + 1 < printed_points; ++i) {
            at_fifths[i + reach] = light[5 * i + k + 1] * function[5 * i + k + 1];
        }
        const auto& w = weights[k];
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const double* const f = at_fifths.data() + i;
            sums[i] += ((w[5] * f[0] + w[4] * f[1]) + (w[3] * f[2] + w[2] * f[3])) +
                       (w[1] * f[4] + w[0] * f[5]);
        }
    }
    OnPrintedGrid result;
    for (std::size_t i = 0; i < printed_points; ++i) {
        result[i] = light[5 * i] * function[5 * i] + sums[i + 2];
    }
    result.front() += sums[0] + sums[1];
    for (std::size_t i = printed_points + 2; i < sums.size(); ++i) result.back() += sums[i];
    return result;
}

}  // namespace

template <std::size_t n>
ColourSamples<n>::ColourSamples(std::span<const double> factors, int observer, int step)
    : factors_(factors), matching_(colour_matching(observer, step)) {
    const DaylightComponents& components = daylight_components(step);
    for (std::size_t k = 0; k < 3; ++k) {
        sums({components[k].data(), matching_.points}, &under_components_[k]);
    }
}

template <std::size_t n>
void ColourSamples<n>::sums(std::span<const double> light, Colours<n>* colours) const noexcept {
    std::array<OnPrintedGrid, 3> stimuli;
    for (std::size_t k = 0; k < 3; ++k) {
        const auto& function = matching_.functions[k];
        if (matching_.points == printed_points) {
            for (std::size_t i = 0; i < printed_points; ++i) stimuli[k][i] = function[i] * light[i];
        } else {
            stimuli[k] = carried_to_5_nm(light, function);
        }
    }
    colours->light = matching_(light);
    for (auto* const values : {&colours->X, &colours->Y, &colours->Z}) values->fill(0.0);
    for (std::size_t i = 0; i < printed_points; ++i) {
        const double* const row = factors_.data() + i * n;
        const double x = stimuli[0][i];
        const double y = stimuli[1][i];
        const double z = stimuli[2][i];
        for (std::size_t j = 0; j < n; ++j) colours->X[j] += x * row[j];
        for (std::size_t j = 0; j < n; ++j) colours->Y[j] += y * row[j];
        for (std::size_t j = 0; j < n; ++j) colours->Z[j] += z * row[j];
    }
}

namespace {

template <std::size_t n>
void scale_to_100(Colours<n>* colours, std::size_t count) noexcept {
    const double scale = 100.0 / colours->light.Y;
    colours->light = {scale * colours->light.X, 100.0, scale * colours->light.Z};
    for (std::size_t j = 0; j < count; ++j) {
        colours->X[j] *= scale;
        colours->Y[j] *= scale;
        colours->Z[j] *= scale;
    }
}

}  // namespace

template <std::size_t n>
void ColourSamples<n>::under(std::span<const double> light, Colours<n>* colours) const noexcept {
    sums(light, colours);
    scale_to_100(colours, n);
}

template <std::size_t n>
void ColourSamples<n>::under_daylight(double T, Colours<n>* colours,
                                      std::size_t count) const noexcept {
    const auto weights = daylight_weights(T);
    const auto mix = [&weights](double s0, double s1, double s2) {
        return s0 + weights[1] * s1 + weights[2] * s2;
    };
    const auto& [a, b, c] = under_components_;
    colours->light = {mix(a.light.X, b.light.X, c.light.X), mix(a.light.Y, b.light.Y, c.light.Y),
                      mix(a.light.Z, b.light.Z, c.light.Z)};
    for (std::size_t j = 0; j < count; ++j) {
        colours->X[j] = mix(a.X[j], b.X[j], c.X[j]);
        colours->Y[j] = mix(a.Y[j], b.Y[j], c.Y[j]);
        colours->Z[j] = mix(a.Z[j], b.Z[j], c.Z[j]);
    }
    scale_to_100(colours, count);
}

template class ColourSamples<15>;
template class ColourSamples<99>;

const RenderingSamples& rendering_samples(int step) {
    static const RenderingSamples in_5_nm(data::colour_rendering_samples().figures, 1931, 5);
    static const RenderingSamples in_1_nm(data::colour_rendering_samples().figures, 1931, 1);
    return step == 5 ? in_5_nm : in_1_nm;
}

const EvaluationSamples& evaluation_samples(int step) {
    static const EvaluationSamples in_5_nm(data::colour_evaluation_samples().figures, 1964, 5);
    static const EvaluationSamples in_1_nm(data::colour_evaluation_samples().figures, 1964, 1);
    return step == 5 ? in_5_nm : in_1_nm;
}

double factor_between(const double* printed, std::size_t stride, std::size_t i) noexcept {
    const auto at = [printed, stride](std::ptrdiff_t place) {
        constexpr auto last = static_cast<std::ptrdiff_t>(printed_points) - 1;
        return printed[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(place, 0, last)) *
                       stride];
    };
    const auto before = static_cast<std::ptrdiff_t>(i / 5);
    if (i % 5 == 0) return at(before);
    static const auto weights = sprague_weights();
    double sum = 0.0;
    for (std::ptrdiff_t q = 0; q < 6; ++q) {
        sum += weights[i % 5 - 1][static_cast<std::size_t>(q)] * at(before - 2 + q);
    }
    return sum;
}

void planckian_on_grid(double T, int step, std::span<double> values) noexcept {
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = planckian_value(visible_from + static_cast<double>(i) * step, T);
    }
}

}  // namespace vekanalysis::lighting::internal
