#include "lighting/correlated_colour_temperature.hpp"

#include <array>
#include <cmath>
#include <stdexcept>

#include "core/text.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/planckian.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

constexpr double lowest_temperature = 1e3;
constexpr double highest_temperature = 1e6;
constexpr double max_duv = 0.05;
// A radiator of exactly 1000 or 1000000 K must not fall outside by rounding.
constexpr double slack = 1e-6;

CorrelatedColourTemperature temperature_of(const internal::PlanckianLocus::Foot& foot) noexcept {
    return {1e6 / foot.mired, foot.distance};
}

CorrelatedColourTemperature checked(const CorrelatedColourTemperature& temperature) {
    internal::require_defined(temperature);
    return temperature;
}

}  // namespace

std::string to_string(const CorrelatedColourTemperature& temperature) {
    return "cct:" + general(temperature.cct) + " duv:" + general(temperature.duv);
}

CorrelatedColourTemperature correlated_colour_temperature(const Scan& scan, int step) {
    const internal::VisibleSpectrum spectrum(scan, step);
    const auto xyz = internal::colour_matching(1931, step)(spectrum.values());
    return checked(internal::nearest_temperature(internal::uv_of(xyz), step));
}

CorrelatedColourTemperature correlated_colour_temperature(const ChromaticityPoint& xy) {
    internal::require_light(xy);
    const internal::UV colour = internal::uv_of({xy.x, xy.y, 1.0 - xy.x - xy.y});
    return checked(temperature_of(internal::full_planckian_locus().nearest(colour)));
}

namespace internal {

CorrelatedColourTemperature nearest_temperature(const UV& colour, int step) {
    return temperature_of(planckian_locus(step).nearest(colour));
}

void nearest_temperatures(std::span<const UV> colours, int step,
                          std::span<CorrelatedColourTemperature> temperatures) {
    std::array<PlanckianLocus::Foot, PlanckianLocus::at_once> feet;
    planckian_locus(step).nearest(colours, feet);
    for (std::size_t k = 0; k < colours.size(); ++k) temperatures[k] = temperature_of(feet[k]);
}

bool is_defined(const CorrelatedColourTemperature& temperature) noexcept {
    return std::abs(temperature.duv) <= max_duv &&
           temperature.cct >= lowest_temperature * (1.0 - slack) &&
           temperature.cct <= highest_temperature * (1.0 + slack);
}

void require_defined(const CorrelatedColourTemperature& temperature) {
    if (is_defined(temperature)) return;
    if (!(std::abs(temperature.duv) <= max_duv)) {
        throw std::invalid_argument("lighting::correlated_colour_temperature: Duv is " +
                                    general(temperature.duv) + ", beyond 0.05");
    }
    const bool cold = temperature.cct < lowest_temperature;
    throw std::invalid_argument("lighting::correlated_colour_temperature: " +
                                std::string(cold ? "below 1000 K" : "above 1000000 K"));
}

}  // namespace internal

}  // namespace vekanalysis::lighting
