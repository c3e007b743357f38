#include "lighting/colour_rendering.hpp"

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "core/text.hpp"
#include "lighting/chebyshev.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/visible_sums.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

using internal::Colours;
using internal::UV;

constexpr double max_distance = 0.0054;

bool is_planckian(double cct) noexcept {
    return std::round(cct) < 5000.0;
}

/// The functions c and d of the adaptation.
struct Adaptation {
    double c;
    double d;
};

Adaptation adaptation_of(const UV& colour) noexcept {
    return {(4.0 - colour.u - 10.0 * colour.v) / colour.v,
            (1.708 * colour.v + 0.404 - 1.481 * colour.u) / colour.v};
}

double lightness(double Y) noexcept {
    return 25.0 * std::cbrt(Y) - 17.0;
}

internal::RenderingReference reference_of(const Colours<15>& colours, std::size_t count) noexcept {
    internal::RenderingReference reference{};
    auto& values = reference.values;
    const UV white = internal::uv_of(colours.light);
    values[0] = white.u;
    values[1] = white.v;
    for (std::size_t i = 0; i < count; ++i) {
        const UV uv = internal::uv_of({colours.X[i], colours.Y[i], colours.Z[i]});
        values[3 * i + 2] = uv.u;
        values[3 * i + 3] = uv.v;
        values[3 * i + 4] = lightness(colours.Y[i]);
    }
    return reference;
}

/// References that are Planckian radiators, over m = 1e6 / T.
class PlanckianReferences {
public:
    explicit PlanckianReferences(int step) {
        std::array<double, internal::max_visible_points> values;
        const std::span<double> light(values.data(), internal::visible_points(step));
        std::array<std::array<double, terms>, numbers> at_points;
        for (std::size_t i = 0; i < intervals; ++i) {
            const double middle = lowest + half_width * (2.0 * static_cast<double>(i) + 1.0);
            for (std::size_t j = 0; j < terms; ++j) {
                const double mired = middle + half_width * internal::chebyshev_point<terms>(j);
                internal::planckian_on_grid(1e6 / mired, step, light);
                Colours<15> colours;
                internal::rendering_samples(step).under(light, &colours);
                const auto reference = reference_of(colours, 15);
                for (std::size_t k = 0; k < numbers; ++k) at_points[k][j] = reference.values[k];
            }
            for (std::size_t k = 0; k < numbers; ++k) {
                const auto powers = internal::powers_through(at_points[k]);
                for (std::size_t j = 0; j < terms; ++j) powers_[i][j][k] = powers[j];
            }
        }
    }

    /// @param samples  how many of the samples are wanted
    [[nodiscard]] internal::RenderingReference operator()(double T,
                                                          std::size_t samples) const noexcept {
        const std::size_t count = 2 + 3 * samples;
        const double place = (1e6 / T - lowest) / (2.0 * half_width);
        const std::size_t i = std::min(static_cast<std::size_t>(place), intervals - 1);
        const double t = 2.0 * (place - static_cast<double>(i)) - 1.0;
        internal::RenderingReference result{powers_[i][terms - 1]};
        for (std::size_t j = terms - 1; j-- > 0;) {
            const auto& powers = powers_[i][j];
            for (std::size_t k = 0; k < count; ++k) {
                result.values[k] = result.values[k] * t + powers[k];
            }
        }
        return result;
    }

private:
    static constexpr std::size_t intervals = 20;
    static constexpr std::size_t terms = 14;
    static constexpr std::size_t numbers = internal::RenderingReference::numbers;
    static constexpr double lowest = 199.0;  // mired; the 5000 K of the rule are 200
    static constexpr double half_width = 0.5 * (1001.0 - lowest) / intervals;

    std::array<std::array<std::array<double, numbers>, terms>, intervals> powers_;
};

const PlanckianReferences& planckian_references(int step) {
    static const auto in_5_nm = std::make_unique<PlanckianReferences>(5);
    if (step == 5) return *in_5_nm;
    static const auto in_1_nm = std::make_unique<PlanckianReferences>(1);
    return *in_1_nm;
}

}  // namespace

std::string to_string(const ColourRendering& rendering) {
    return "Ra:" + general(rendering.Ra) + " R9:" + general(rendering.R[8]) +
           " cct:" + general(rendering.cct) + " duv:" + general(rendering.duv) +
           " reference:" + rendering.reference + " distance:" + general(rendering.distance);
}

namespace internal {

bool rendering_reference(double cct, int step, RenderingReference* reference, std::size_t count) {
    if (is_planckian(cct)) {
        *reference = planckian_references(step)(cct, count);
        return true;
    }
    double T = 0.0;
    if (!daylight_of_temperature(cct, step, &T)) return false;
    Colours<15> colours;
    rendering_samples(step).under_daylight(T, &colours, count);
    *reference = reference_of(colours, count);
    return true;
}

std::array<double, 15> rendering_indices(const Colours<15>& source,
                                         const RenderingReference& reference,
                                         std::size_t count) noexcept {
    const UV white = reference.white();
    const Adaptation to = adaptation_of(white);
    const Adaptation from = adaptation_of(uv_of(source.light));
    const double c_ratio = to.c / from.c;
    const double d_ratio = to.d / from.d;
    std::array<double, 15> R{};
    for (std::size_t i = 0; i < count; ++i) {
        const Adaptation sample = adaptation_of(uv_of({source.X[i], source.Y[i], source.Z[i]}));
        const double c = c_ratio * sample.c;
        const double d = d_ratio * sample.d;
        const double divisor = 16.518 + 1.481 * c - d;
        const double u = (10.872 + 0.404 * c - 4.0 * d) / divisor;
        const double v = 5.520 / divisor;
        const double W = lightness(source.Y[i]);
        const double* const r = &reference.values[3 * i + 2];
        const double dU = 13.0 * (W * (u - white.u) - r[2] * (r[0] - white.u));
        const double dV = 13.0 * (W * (v - white.v) - r[2] * (r[1] - white.v));
        const double dW = W - r[2];
        R[i] = 100.0 - 4.6 * std::sqrt(dU * dU + dV * dV + dW * dW);
    }
    return R;
}

double general_index(const std::array<double, 15>& R) noexcept {
    double sum = 0.0;
    for (std::size_t i = 0; i < 8; ++i) sum += R[i];
    return sum / 8.0;
}

}  // namespace internal

ColourRendering colour_rendering(const Scan& scan, int step, std::optional<double> reference_cct) {
    if (reference_cct && !(*reference_cct >= 1000.0 && *reference_cct <= 1e6)) {
        throw std::invalid_argument(
            "lighting::colour_rendering: reference_cct must be between 1000 and 1000000 K");
    }
    const internal::VisibleSpectrum spectrum(scan, step);
    Colours<15> source;
    const double* const light = spectrum.values().data();
    const colorimetry::CIEXYZ xyz = internal::colour_matching(1931, step)(spectrum.values());
    internal::rendering_colours({&light, 1}, {&xyz, 1}, step, 15, {&source, 1});
    const UV colour = internal::uv_of(source.light);
    const auto temperature = internal::nearest_temperature(colour, step);
    internal::require_defined(temperature);

    ColourRendering result;
    result.cct = temperature.cct;
    result.duv = temperature.duv;
    result.reference_cct = reference_cct.value_or(temperature.cct);
    result.reference =
        is_planckian(result.reference_cct) ? "Planckian radiator" : "phase of daylight";
    internal::RenderingReference reference{};
    if (!internal::rendering_reference(result.reference_cct, step, &reference)) {
        throw std::invalid_argument("lighting::colour_rendering: no phase of daylight has " +
                                    general(result.reference_cct) + " K");
    }
    result.distance = internal::distance(colour, reference.white());
    result.distance_limit = max_distance;
    result.R = internal::rendering_indices(source, reference);
    result.Ra = internal::general_index(result.R);
    return result;
}

}  // namespace vekanalysis::lighting
