#include "lighting/alpha_opic.hpp"

#include <array>
#include <span>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/text.hpp"
#include "lighting/data/tables.hpp"
#include "lighting/visible_spectrum.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

using internal::max_visible_points;
using Values = std::span<const double>;

constexpr double maximum_scotopic_efficacy = 1700.0;  // lm/W
constexpr std::size_t channels = 5;

double illuminance_of(Values values) {
    return maximum_luminous_efficacy * internal::colour_matching(1931, 1)(values).Y;
}

std::array<double, channels> irradiances(Values values) noexcept {
    const data::Table action = data::alpha_opic_action_spectra();
    std::array<double, channels> sums{};
    for (std::size_t i = 0; i < max_visible_points; ++i) {
        for (std::size_t k = 0; k < channels; ++k) sums[k] += values[i] * action(i, k);
    }
    return sums;
}

/// Alpha-opic efficacies of luminous radiation of D65, W/lm.
const std::array<double, channels>& efficacies_of_d65() {
    static const auto efficacies = [] {
        Scan d65 = colorimetry::data::cie_illuminant_d65();
        d65.set_interpolation_type(spline::Type::LINEAR);
        const internal::VisibleSpectrum spectrum(d65, 1);
        auto result = irradiances(spectrum.values());
        for (double& value : result) value /= illuminance_of(spectrum.values());
        return result;
    }();
    return efficacies;
}

}  // namespace

std::string to_string(const AlphaOpicQuantity& quantity) {
    return "irradiance:" + general(quantity.irradiance) + " elr:" + general(quantity.elr) +
           " edi:" + general(quantity.edi) + " der:" + general(quantity.der);
}

std::string to_string(const AlphaOpic& quantities) {
    return "s_cone:(" + to_string(quantities.s_cone) + ") m_cone:(" + to_string(quantities.m_cone) +
           ") l_cone:(" + to_string(quantities.l_cone) + ") rhodopic:(" +
           to_string(quantities.rhodopic) + ") melanopic:(" + to_string(quantities.melanopic) + ")";
}

AlphaOpic alpha_opic(const Scan& scan) {
    const internal::VisibleSpectrum spectrum(scan, 1);
    spectrum.require_amounts();
    return internal::alpha_opic(spectrum.values());
}

double scotopic_photopic_ratio(const Scan& scan) {
    return internal::scotopic_photopic_ratio(internal::VisibleSpectrum(scan, 1).values());
}

namespace internal {

AlphaOpic alpha_opic(std::span<const double> values) {
    const double illuminance = illuminance_of(values);
    const auto sums = irradiances(values);
    const auto& of_d65 = efficacies_of_d65();
    const auto quantity = [&](std::size_t k) {
        const double elr = sums[k] / illuminance;
        return AlphaOpicQuantity{sums[k], 1e3 * elr, sums[k] / of_d65[k], elr / of_d65[k]};
    };
    return {quantity(0), quantity(1), quantity(2), quantity(3), quantity(4)};
}

double scotopic_photopic_ratio(std::span<const double> values) {
    const data::Table efficiency = data::scotopic_luminous_efficiency();
    double sum = 0.0;
    for (std::size_t i = 0; i < max_visible_points; ++i) sum += values[i] * efficiency(i, 0);
    return maximum_scotopic_efficacy * sum / illuminance_of(values);
}

}  // namespace internal

}  // namespace vekanalysis::lighting
