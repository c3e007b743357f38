#include "quantities/forms.hpp"

#include <initializer_list>
#include <string>

#include "colorimetry/tristimulus.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::quantities::forms {

namespace {

namespace data = colorimetry::data;
using Finish = Form::Finish;

constexpr Range visible{380.0, 780.0};
constexpr Range uva{315.0, 380.0};

Factor table(const char* name) {
    return {{data::find_table(name)}};
}

/// Integrals of the spectrum times the factors times the functions of an observer.
Form coordinates(Finish finish, const std::vector<Factor>& factors, const char* year = "1931") {
    Form form{.finish = finish};
    for (const char* const function : {"x", "y", "z"}) {
        Integral& integral = form.integrals.emplace_back(Integral{factors, visible});
        Factor of_observer =
            table((std::string("cie_") + year + "_standard_observer_" + function).c_str());
        of_observer.on_left = true;
        integral.factors.push_back(of_observer);
    }
    return form;
}

Form mean(Range band, double scale) {
    return {.integrals = {{{}, band}}, .scales = {scale}, .divisors = {1.0}};
}

/// (trans * w1) * w2, divided by the integral of w1 * w2.
Form weighted_mean(const char* w1, const char* w2, Range band) {
    const Factor first = table(w1);
    const Factor second = table(w2);
    const Scan weights = first.tables[0]->spectrum() * second.tables[0]->spectrum();
    return {.integrals = {{{first, second}, band}},
            .scales = {1.0},
            .divisors = {weights(band.from, band.to)}};
}

Form solar_uv(Range band) {
    return weighted_mean("solar_spectral_irradiance", "relative_spectral_effectiveness", band);
}

Form signal(std::initializer_list<const char*> lights) {
    Form form;
    for (const char* const light : lights) {
        const Factor factor = table(light);
        form.integrals.push_back({{factor}, visible});
        form.scales.push_back(1.0);
        form.divisors.push_back(factor.tables[0]->spectrum()(visible.from, visible.to));
    }
    return form;
}

Form with_white(Form form, const Scan& white) {
    const auto [X, Y, Z] =
        colorimetry::CIE_tristimulus_values(white, observers::data::cie_1931_standard());
    form.scales = {X, Y, Z};
    return form;
}

Form as_numbers(Form form) {
    form.scales.assign(form.integrals.size(), 1.0);
    form.divisors = form.scales;
    return form;
}

/// Each number of a form over that of another, which has one.
Form over(Form form, const Form& denominator) {
    form.finish = Finish::QUOTIENTS;
    form.integrals.push_back(denominator.integrals.front());
    form.scales.push_back(denominator.scales.front());
    form.divisors.push_back(denominator.divisors.front());
    return form;
}

}  // namespace

Form mean_uva(const Scan& /*white*/) {
    return mean(uva, 0.015384615384615385);  // 1/65
}

Form mean_uvb(const Scan& /*white*/) {
    return mean({280.0, 315.0}, 0.02857142857142857);  // 1/35
}

Form solar_uva(const Scan& /*white*/) {
    return solar_uv(uva);
}

Form solar_uva_400(const Scan& /*white*/) {
    return solar_uv({315.0, 400.0});
}

Form solar_uvb(const Scan& /*white*/) {
    return solar_uv({280.0, 315.0});
}

Form luminous_d65(const Scan& /*white*/) {
    return weighted_mean("cie_1931_standard_observer_y", "cie_illuminant_d65", visible);
}

Form luminous_c(const Scan& /*white*/) {
    return weighted_mean("cie_1931_standard_observer_y", "cie_illuminant_c", visible);
}

Form signal_incandescent(const Scan& /*white*/) {
    return signal({"ISO8980_3_incandescent_red", "ISO8980_3_incandescent_yellow",
                   "ISO8980_3_incandescent_green", "ISO8980_3_incandescent_blue"});
}

Form signal_led(const Scan& /*white*/) {
    return signal(
        {"ISO8980_3_led_red", "ISO8980_3_led_yellow", "ISO8980_3_led_green", "ISO8980_3_led_blue"});
}

Form traffic_signal(const Scan& /*white*/) {
    const Factor w{
        {data::find_table("cie_1931_standard_observer_y"), data::find_table("cie_illuminant_a")}};
    const Scan weights = w.tables[0]->spectrum() * w.tables[1]->spectrum();
    Form form;
    for (const char* const colour : {"red", "yellow", "green"}) {
        const Factor lens =
            table((std::string("ANSI_Z80_3_2015_") + colour + "_signal_transmittance").c_str());
        form.integrals.push_back({{w, lens}, visible});
    }
    const Scan& red_lens = form.integrals[0].factors[1].tables[0]->spectrum();
    form.scales.assign(3, 1.0);
    form.divisors.assign(3, (weights * red_lens)(visible.from, visible.to));
    return form;
}

Form spectral_min(const Scan& /*white*/) {
    return {.finish = Finish::SMALLEST, .band = {475.0, 650.0}};
}

Form solar_blue(const Scan& /*white*/) {
    return weighted_mean("solar_spectral_irradiance", "blue_light_hazard", {380.0, 500.0});
}

Form relative_signal(const Scan& white) {
    Form form = traffic_signal(white);
    for (std::size_t i = 0; i < form.integrals.size(); ++i) {
        const auto& factors = form.integrals[i].factors;
        const Scan weights = factors[0].tables[0]->spectrum() * factors[0].tables[1]->spectrum();
        form.divisors[i] = (weights * factors[1].tables[0]->spectrum())(visible.from, visible.to);
    }
    return form;
}

Form attenuation_incandescent(const Scan& white) {
    return over(signal_incandescent(white), luminous_d65(white));
}

Form attenuation_led(const Scan& white) {
    return over(signal_led(white), luminous_d65(white));
}

Form attenuation_traffic(const Scan& white) {
    return over(relative_signal(white), luminous_c(white));
}

Form spectral_min_quotient(const Scan& white) {
    Form form = luminous_c(white);
    form.finish = Finish::SMALLEST_QUOTIENT;
    form.band = spectral_min(white).band;
    return form;
}

Form chromaticity_1931(const Scan& /*white*/) {
    return coordinates(Finish::CHROMATICITY, {});
}

Form chromaticity_1964(const Scan& /*white*/) {
    return coordinates(Finish::CHROMATICITY, {}, "1964");
}

Form chromaticity_daylight(const Scan& /*white*/) {
    return coordinates(Finish::CHROMATICITY, {table("cie_illuminant_d65")});
}

Form chromaticity_yellow(const Scan& /*white*/) {
    return coordinates(Finish::CHROMATICITY, {table("ANSI_Z80_3_2015_yellow_signal_transmittance"),
                                              table("cie_illuminant_a")});
}

Form chromaticity_green(const Scan& /*white*/) {
    return coordinates(Finish::CHROMATICITY, {table("ANSI_Z80_3_2015_green_signal_transmittance"),
                                              table("cie_illuminant_a")});
}

Form tristimulus(const Scan& /*white*/) {
    return as_numbers(coordinates(Finish::NUMBERS, {}));
}

Form tristimulus_d65(const Scan& /*white*/) {
    return as_numbers(coordinates(Finish::NUMBERS, {table("cie_illuminant_d65")}));
}

Form cielab(const Scan& white) {
    return with_white(coordinates(Finish::CIELAB, {}), white);
}

Form cielab_d65(const Scan& /*white*/) {
    return with_white(coordinates(Finish::CIELAB, {table("cie_illuminant_d65")}),
                      data::cie_illuminant_d65());
}

Form cielab_scaled(const Scan& white) {
    return with_white(coordinates(Finish::CIELAB_AB, {}), white);
}

Form illuminance(const Scan& /*white*/) {
    return {.integrals = {{{table("cie_1931_standard_observer_y")}, visible}},
            .scales = {683.002},
            .divisors = {1.0}};
}

}  // namespace vekanalysis::quantities::forms
