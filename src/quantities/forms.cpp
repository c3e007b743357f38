#include "quantities/forms.hpp"

#include <initializer_list>
#include <string>

#include "colorimetry/tristimulus.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::quantities {

Scan Factor::spectrum() const {
    const Scan& first = tables[0].spectrum();
    return tables.size() == 1 ? first : first * tables[1].spectrum();
}

namespace forms {

namespace {

namespace data = colorimetry::data;
using Finish = Form::Finish;

constexpr Range visible{380.0, 780.0};
constexpr Range uva{315.0, 380.0};

Weight weight(const char* name, const OwnTables& own) {
    const data::Table* const table = data::find_table(name);
    const auto found = own.find(table);
    return {table, found == own.end() ? nullptr : found->second};
}

Factor factor(const char* name, const OwnTables& own) {
    return {{weight(name, own)}};
}

/// Integrals of the spectrum times the factors times the functions of an observer.
Form coordinates(Finish finish, const std::vector<Factor>& factors, const OwnTables& own,
                 const char* year = "1931") {
    Form form{.finish = finish};
    for (const char* const function : {"x", "y", "z"}) {
        Integral& integral = form.integrals.emplace_back(Integral{factors, visible});
        Factor of_observer =
            factor((std::string("cie_") + year + "_standard_observer_" + function).c_str(), own);
        of_observer.on_left = true;
        integral.factors.push_back(of_observer);
    }
    return form;
}

Form mean(Range band, double scale) {
    return {.integrals = {{{}, band}}, .scales = {scale}, .divisors = {1.0}};
}

/// (trans * w1) * w2, divided by the integral of w1 * w2.
Form weighted_mean(const char* w1, const char* w2, Range band, const OwnTables& own) {
    const Factor first = factor(w1, own);
    const Factor second = factor(w2, own);
    const Scan weights = first.tables[0].spectrum() * second.tables[0].spectrum();
    return {.integrals = {{{first, second}, band}},
            .scales = {1.0},
            .divisors = {weights(band.from, band.to)}};
}

Form solar_uv(Range band, const OwnTables& own) {
    return weighted_mean("solar_spectral_irradiance", "relative_spectral_effectiveness", band, own);
}

Form signal(std::initializer_list<const char*> lights, const OwnTables& own) {
    Form form;
    for (const char* const light : lights) {
        const Factor of_light = factor(light, own);
        form.integrals.push_back({{of_light}, visible});
        form.scales.push_back(1.0);
        form.divisors.push_back(of_light.tables[0].spectrum()(visible.from, visible.to));
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

Form mean_uva(const Scan& /*white*/, const OwnTables& /*own*/) {
    return mean(uva, 0.015384615384615385);  // 1/65
}

Form mean_uvb(const Scan& /*white*/, const OwnTables& /*own*/) {
    return mean({280.0, 315.0}, 0.02857142857142857);  // 1/35
}

Form solar_uva(const Scan& /*white*/, const OwnTables& own) {
    return solar_uv(uva, own);
}

Form solar_uva_400(const Scan& /*white*/, const OwnTables& own) {
    return solar_uv({315.0, 400.0}, own);
}

Form solar_uvb(const Scan& /*white*/, const OwnTables& own) {
    return solar_uv({280.0, 315.0}, own);
}

Form luminous_d65(const Scan& /*white*/, const OwnTables& own) {
    return weighted_mean("cie_1931_standard_observer_y", "cie_illuminant_d65", visible, own);
}

Form luminous_c(const Scan& /*white*/, const OwnTables& own) {
    return weighted_mean("cie_1931_standard_observer_y", "cie_illuminant_c", visible, own);
}

Form signal_incandescent(const Scan& /*white*/, const OwnTables& own) {
    return signal({"ISO8980_3_incandescent_red", "ISO8980_3_incandescent_yellow",
                   "ISO8980_3_incandescent_green", "ISO8980_3_incandescent_blue"},
                  own);
}

Form signal_led(const Scan& /*white*/, const OwnTables& own) {
    return signal(
        {"ISO8980_3_led_red", "ISO8980_3_led_yellow", "ISO8980_3_led_green", "ISO8980_3_led_blue"},
        own);
}

Form traffic_signal(const Scan& /*white*/, const OwnTables& own) {
    const Factor w{{weight("cie_1931_standard_observer_y", own), weight("cie_illuminant_a", own)}};
    const Scan weights = w.spectrum();
    Form form;
    for (const char* const colour : {"red", "yellow", "green"}) {
        const Factor lens = factor(
            (std::string("ANSI_Z80_3_2015_") + colour + "_signal_transmittance").c_str(), own);
        form.integrals.push_back({{w, lens}, visible});
    }
    const Weight& red_lens = form.integrals[0].factors[1].tables[0];
    form.scales.assign(3, 1.0);
    form.divisors.assign(3, (weights * red_lens.spectrum())(visible.from, visible.to));
    form.divided_by = {red_lens};
    return form;
}

Form spectral_min(const Scan& /*white*/, const OwnTables& /*own*/) {
    return {.finish = Finish::SMALLEST, .band = {475.0, 650.0}};
}

Form solar_blue(const Scan& /*white*/, const OwnTables& own) {
    return weighted_mean("solar_spectral_irradiance", "blue_light_hazard", {380.0, 500.0}, own);
}

Form relative_signal(const Scan& white, const OwnTables& own) {
    Form form = traffic_signal(white, own);
    form.divided_by.clear();
    for (std::size_t i = 0; i < form.integrals.size(); ++i) {
        const auto& factors = form.integrals[i].factors;
        const Scan weights = factors[0].spectrum();
        form.divisors[i] = (weights * factors[1].tables[0].spectrum())(visible.from, visible.to);
    }
    return form;
}

Form attenuation_incandescent(const Scan& white, const OwnTables& own) {
    return over(signal_incandescent(white, own), luminous_d65(white, own));
}

Form attenuation_led(const Scan& white, const OwnTables& own) {
    return over(signal_led(white, own), luminous_d65(white, own));
}

Form attenuation_traffic(const Scan& white, const OwnTables& own) {
    return over(relative_signal(white, own), luminous_c(white, own));
}

Form spectral_min_quotient(const Scan& white, const OwnTables& own) {
    Form form = luminous_c(white, own);
    form.finish = Finish::SMALLEST_QUOTIENT;
    form.band = spectral_min(white, own).band;
    return form;
}

Form chromaticity_1931(const Scan& /*white*/, const OwnTables& own) {
    return coordinates(Finish::CHROMATICITY, {}, own);
}

Form chromaticity_1964(const Scan& /*white*/, const OwnTables& own) {
    return coordinates(Finish::CHROMATICITY, {}, own, "1964");
}

Form chromaticity_daylight(const Scan& /*white*/, const OwnTables& own) {
    return coordinates(Finish::CHROMATICITY, {factor("cie_illuminant_d65", own)}, own);
}

Form chromaticity_yellow(const Scan& /*white*/, const OwnTables& own) {
    return coordinates(Finish::CHROMATICITY,
                       {factor("ANSI_Z80_3_2015_yellow_signal_transmittance", own),
                        factor("cie_illuminant_a", own)},
                       own);
}

Form chromaticity_green(const Scan& /*white*/, const OwnTables& own) {
    return coordinates(Finish::CHROMATICITY,
                       {factor("ANSI_Z80_3_2015_green_signal_transmittance", own),
                        factor("cie_illuminant_a", own)},
                       own);
}

Form tristimulus(const Scan& /*white*/, const OwnTables& own) {
    return as_numbers(coordinates(Finish::NUMBERS, {}, own));
}

Form tristimulus_d65(const Scan& /*white*/, const OwnTables& own) {
    return as_numbers(coordinates(Finish::NUMBERS, {factor("cie_illuminant_d65", own)}, own));
}

Form cielab(const Scan& white, const OwnTables& own) {
    return with_white(coordinates(Finish::CIELAB, {}, own), white);
}

Form cielab_d65(const Scan& /*white*/, const OwnTables& own) {
    return with_white(coordinates(Finish::CIELAB, {factor("cie_illuminant_d65", own)}, own),
                      data::cie_illuminant_d65());
}

Form cielab_scaled(const Scan& white, const OwnTables& own) {
    return with_white(coordinates(Finish::CIELAB_AB, {}, own), white);
}

Form illuminance(const Scan& /*white*/, const OwnTables& own) {
    return {.integrals = {{{factor("cie_1931_standard_observer_y", own)}, visible}},
            .scales = {683.002},
            .divisors = {1.0}};
}

}  // namespace forms

}  // namespace vekanalysis::quantities
