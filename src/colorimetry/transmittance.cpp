#include "colorimetry/transmittance.hpp"

#include <stdexcept>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"

namespace vekanalysis::colorimetry {

using vekanalysis::internal::general;

namespace {

double weighted_mean(const Scan& trans, const Scan& w1, const Scan& w2, double from, double to) {
    const double numerator = ((trans * w1) * w2)(from, to);
    return numerator / (w1 * w2)(from, to);
}

double solar_uv_mean(const Scan& trans, double from, double to) {
    return weighted_mean(trans, data::solar_spectral_irradiance(),
                         data::relative_spectral_effectiveness(), from, to);
}

double signal_mean(const Scan& trans, const Scan& signal) {
    const double numerator = (trans * signal)(380.0, 780.0);
    return numerator / signal(380.0, 780.0);
}

}  // namespace

std::string to_string(const RYG& colours) {
    return "red:" + general(colours.red) + " yellow:" + general(colours.yellow) +
           " green:" + general(colours.green);
}

std::string to_string(const RYGB& colours) {
    return "red:" + general(colours.red) + " yellow:" + general(colours.yellow) +
           " green:" + general(colours.green) + " blue:" + general(colours.blue);
}

double ISO8980_3_tau_uva(const Scan& trans) {
    return trans(315.0, 380.0) * 0.015384615384615385;  // 1/65
}

double ANSI_Z80_3_tau_uva(const Scan& trans) {
    return ISO8980_3_tau_uva(trans);
}

double ANSI_Z80_3_tau_uvb(const Scan& trans) {
    return trans(280.0, 315.0) * 0.02857142857142857;  // 1/35
}

double ISO8980_3_tau_suva(const Scan& trans) {
    return solar_uv_mean(trans, 315.0, 380.0);
}

double ASNZS1067_2016_tau_suva(const Scan& trans) {
    return solar_uv_mean(trans, 315.0, 400.0);
}

double ISO8980_3_tau_suvb(const Scan& trans) {
    return solar_uv_mean(trans, 280.0, 315.0);
}

double ISO8980_3_tau_v(const Scan& trans) {
    return weighted_mean(trans, data::cie_1931_standard_observer_y(), data::cie_illuminant_d65(),
                         380.0, 780.0);
}

double ANSI_Z80_3_tau_v(const Scan& trans) {
    return weighted_mean(trans, data::cie_1931_standard_observer_y(), data::cie_illuminant_c(),
                         380.0, 780.0);
}

RYGB ISO8980_3_tau_signal_incandescent(const Scan& trans) {
    return {signal_mean(trans, data::ISO8980_3_incandescent_red()),
            signal_mean(trans, data::ISO8980_3_incandescent_yellow()),
            signal_mean(trans, data::ISO8980_3_incandescent_green()),
            signal_mean(trans, data::ISO8980_3_incandescent_blue())};
}

RYGB ISO8980_3_tau_signal_led(const Scan& trans) {
    return {signal_mean(trans, data::ISO8980_3_led_red()),
            signal_mean(trans, data::ISO8980_3_led_yellow()),
            signal_mean(trans, data::ISO8980_3_led_green()),
            signal_mean(trans, data::ISO8980_3_led_blue())};
}

RYG ANSI_Z80_3_tau_signal(const Scan& trans) {
    const Scan w = data::cie_1931_standard_observer_y() * data::cie_illuminant_a();
    const Scan weighted = trans * w;
    const auto numerator = [&weighted](const Scan& lens) {
        return (weighted * lens)(380.0, 780.0);
    };
    const Scan& red_lens = data::ANSI_Z80_3_2015_red_signal_transmittance();
    const double red = numerator(red_lens);
    const double yellow = numerator(data::ANSI_Z80_3_2015_yellow_signal_transmittance());
    const double green = numerator(data::ANSI_Z80_3_2015_green_signal_transmittance());
    const double denominator = (w * red_lens)(380.0, 780.0);
    return {red / denominator, yellow / denominator, green / denominator};
}

double ANSI_Z80_3_tau_spectral_min(const Scan& trans) {
    const auto smallest = trans.min_element(475.0, 650.0);
    if (smallest == trans.end()) {
        throw std::domain_error(
            "colorimetry::ANSI_Z80_3_tau_spectral_min: no data in the range 475 to 650");
    }
    return smallest->second;
}

double ISO12311_tau_sb(const Scan& trans) {
    return weighted_mean(trans, data::solar_spectral_irradiance(), data::blue_light_hazard(), 380.0,
                         500.0);
}

}  // namespace vekanalysis::colorimetry
