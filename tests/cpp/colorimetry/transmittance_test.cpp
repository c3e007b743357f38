#include "colorimetry/transmittance.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::colorimetry {

namespace {

/// value(wl) from 250 to 830 nm.
template <class F>
Scan sampled(double step, const F& value) {
    std::vector<double> wavelengths;
    std::vector<double> values;
    for (double i = 0; 250.0 + i * step <= 830.0; ++i) {
        wavelengths.push_back(250.0 + i * step);
        values.push_back(value(wavelengths.back()));
    }
    return {std::move(wavelengths), std::move(values)};
}

Scan neutral(double transmittance, double step) {
    return sampled(step, [transmittance](double) { return transmittance; });
}

struct Quantity {
    const char* name;
    double (*function)(const Scan&);
};

const Quantity quantities[] = {
    {"ISO8980_3_tau_uva", ISO8980_3_tau_uva},
    {"ANSI_Z80_3_tau_uva", ANSI_Z80_3_tau_uva},
    {"ANSI_Z80_3_tau_uvb", ANSI_Z80_3_tau_uvb},
    {"ISO8980_3_tau_suva", ISO8980_3_tau_suva},
    {"ASNZS1067_2016_tau_suva", ASNZS1067_2016_tau_suva},
    {"ISO8980_3_tau_suvb", ISO8980_3_tau_suvb},
    {"ISO8980_3_tau_v", ISO8980_3_tau_v},
    {"ANSI_Z80_3_tau_v", ANSI_Z80_3_tau_v},
    {"ANSI_Z80_3_tau_spectral_min", ANSI_Z80_3_tau_spectral_min},
    {"ISO12311_tau_sb", ISO12311_tau_sb},
    {"incandescent red", [](const Scan& s) { return ISO8980_3_tau_signal_incandescent(s).red; }},
    {"incandescent yellow",
     [](const Scan& s) { return ISO8980_3_tau_signal_incandescent(s).yellow; }},
    {"incandescent green",
     [](const Scan& s) { return ISO8980_3_tau_signal_incandescent(s).green; }},
    {"incandescent blue", [](const Scan& s) { return ISO8980_3_tau_signal_incandescent(s).blue; }},
    {"LED red", [](const Scan& s) { return ISO8980_3_tau_signal_led(s).red; }},
    {"LED yellow", [](const Scan& s) { return ISO8980_3_tau_signal_led(s).yellow; }},
    {"LED green", [](const Scan& s) { return ISO8980_3_tau_signal_led(s).green; }},
    {"LED blue", [](const Scan& s) { return ISO8980_3_tau_signal_led(s).blue; }},
    {"ANSI red", [](const Scan& s) { return ANSI_Z80_3_tau_signal(s).red; }},
};

// On the tables' own 5 nm grid numerator and denominator are integrated alike.
TEST(Transmittance, ANeutralFilterHasItsOwnTransmittance) {
    for (const Quantity& quantity : quantities) {
        EXPECT_NEAR(quantity.function(neutral(1.0, 5.0)), 1.0, 1e-13) << quantity.name;
        EXPECT_NEAR(quantity.function(neutral(0.5, 5.0)), 0.5, 1e-13) << quantity.name;
    }
}

// Deliberate: at 1 nm the numerator follows the fine grid and the denominator the tables' own, on
// which the steep start of the UV-B weighting is interpolated otherwise.
TEST(Transmittance, AFinelySampledClearFilterIsNotQuiteOne) {
    const double suvb = ISO8980_3_tau_suvb(neutral(1.0, 1.0));
    EXPECT_NE(suvb, 1.0);
    EXPECT_NEAR(suvb, 0.945, 0.001);
    EXPECT_NEAR(ISO8980_3_tau_v(neutral(1.0, 1.0)), 1.0, 1e-3);
}

/// Sum over 5 nm (trapezoid) of trans * w1 * w2, the way the standards tabulate it.
double tabulated(const std::function<double(double)>& trans, const Scan& w1, const Scan* w2,
                 double from, double to) {
    double numerator = 0.0;
    double denominator = 0.0;
    for (double wl = from; wl <= to; wl += 5.0) {
        const double weight =
            w1(wl) * (w2 == nullptr ? 1.0 : (*w2)(wl)) * (wl == from || wl == to ? 0.5 : 1.0);
        numerator += trans(wl) * weight;
        denominator += weight;
    }
    return numerator / denominator;
}

// A ramp tells bands and weights apart; the standards' own summation is an independent route. The
// tolerance is what interpolation adds to it where the weights are steep.
TEST(Transmittance, WeightedMeansAgreeWithTheStandardsSummation) {
    struct Case {
        const char* name;
        double (*function)(const Scan&);
        const Scan& (*w1)();
        const Scan& (*w2)();
        double from;
        double to;
        double tolerance;
    };
    const Case cases[] = {
        {"ISO8980_3_tau_suva", ISO8980_3_tau_suva, data::solar_spectral_irradiance,
         data::relative_spectral_effectiveness, 315, 380, 1e-3},
        {"ASNZS1067_2016_tau_suva", ASNZS1067_2016_tau_suva, data::solar_spectral_irradiance,
         data::relative_spectral_effectiveness, 315, 400, 1e-3},
        {"ISO8980_3_tau_suvb", ISO8980_3_tau_suvb, data::solar_spectral_irradiance,
         data::relative_spectral_effectiveness, 280, 315, 2e-3},
        {"ISO8980_3_tau_v", ISO8980_3_tau_v, data::cie_1931_standard_observer_y,
         data::cie_illuminant_d65, 380, 780, 1e-4},
        {"ANSI_Z80_3_tau_v", ANSI_Z80_3_tau_v, data::cie_1931_standard_observer_y,
         data::cie_illuminant_c, 380, 780, 1e-4},
        {"ISO12311_tau_sb", ISO12311_tau_sb, data::solar_spectral_irradiance,
         data::blue_light_hazard, 380, 500, 1e-3},
    };
    const auto ramp = [](double wl) { return (wl - 250.0) / 600.0; };
    const Scan trans = sampled(5.0, ramp);
    for (const Case& c : cases) {
        EXPECT_NEAR(c.function(trans), tabulated(ramp, c.w1(), &c.w2(), c.from, c.to), c.tolerance)
            << c.name;
    }
}

TEST(Transmittance, SignalColoursUseTheirOwnLights) {
    const auto ramp = [](double wl) { return (wl - 250.0) / 600.0; };
    const Scan trans = sampled(5.0, ramp);
    const auto expected = [&ramp](const Scan& light) {
        return tabulated(ramp, light, nullptr, 380.0, 780.0);
    };
    const RYGB incandescent = ISO8980_3_tau_signal_incandescent(trans);
    EXPECT_NEAR(incandescent.red, expected(data::ISO8980_3_incandescent_red()), 1e-4);
    EXPECT_NEAR(incandescent.yellow, expected(data::ISO8980_3_incandescent_yellow()), 1e-4);
    EXPECT_NEAR(incandescent.green, expected(data::ISO8980_3_incandescent_green()), 1e-4);
    EXPECT_NEAR(incandescent.blue, expected(data::ISO8980_3_incandescent_blue()), 1e-4);
    const RYGB led = ISO8980_3_tau_signal_led(trans);
    EXPECT_NEAR(led.red, expected(data::ISO8980_3_led_red()), 1e-4);
    EXPECT_NEAR(led.yellow, expected(data::ISO8980_3_led_yellow()), 1e-4);
    EXPECT_NEAR(led.green, expected(data::ISO8980_3_led_green()), 1e-4);
    EXPECT_NEAR(led.blue, expected(data::ISO8980_3_led_blue()), 1e-4);
}

// Deliberate: the red lens's denominator serves all colours. The luminous transmittances of the
// three reconstructed lenses under A are 0.125, 0.575 and 0.190.
TEST(Transmittance, AnsiSignalColoursShareTheRedDenominator) {
    const RYG clear = ANSI_Z80_3_tau_signal(neutral(1.0, 5.0));
    EXPECT_NEAR(clear.red, 1.0, 1e-13);
    EXPECT_NEAR(clear.yellow, 0.575 / 0.125, 0.03);
    EXPECT_NEAR(clear.green, 0.190 / 0.125, 0.02);
    const Scan w = data::cie_1931_standard_observer_y() * data::cie_illuminant_a();
    const double shared = (w * data::ANSI_Z80_3_2015_red_signal_transmittance())(380.0, 780.0);
    EXPECT_NEAR(clear.green,
                (w * data::ANSI_Z80_3_2015_green_signal_transmittance())(380.0, 780.0) / shared,
                1e-13);
}

TEST(Transmittance, PlainMeansCountMissingDataAsZero) {
    // Linear from 315 to 380 nm: the mean is the value in the middle, 347.5 nm.
    Scan ramp({300.0, 400.0}, {0.0, 1.0}, default_epsilon, spline::Type::LINEAR);
    EXPECT_NEAR(ISO8980_3_tau_uva(ramp), 0.475, 1e-14);
    EXPECT_NEAR(ANSI_Z80_3_tau_uva(ramp), 0.475, 1e-14);
    EXPECT_NEAR(ANSI_Z80_3_tau_uvb(ramp), 0.15 * 7.5 / 35.0, 1e-14);
    EXPECT_EQ(ANSI_Z80_3_tau_uvb(Scan()), 0.0);
}

TEST(Transmittance, SpectralMinimumLooksAtStoredPointsOnly) {
    Scan scan({474.0, 475.0, 500.0, 650.0, 651.0}, {0.01, 0.4, 0.3, 0.2, 0.1});
    EXPECT_EQ(ANSI_Z80_3_tau_spectral_min(scan), 0.2);
    scan.set_wavelength_epsilon(1.0);
    EXPECT_EQ(ANSI_Z80_3_tau_spectral_min(scan), 0.01);  // 474 + 1 reaches the band
    scan.trim(651.0, 700.0);
    scan.set_wavelength_epsilon(0.0);
    try {
        (void)ANSI_Z80_3_tau_spectral_min(scan);
        FAIL();
    } catch (const std::domain_error& error) {
        EXPECT_STREQ(error.what(),
                     "colorimetry::ANSI_Z80_3_tau_spectral_min: no data in the range 475 to 650");
    }
}

TEST(Transmittance, DataWithoutInterpolationAreRefused) {
    Scan scan = neutral(0.5, 5.0);
    scan.set_interpolation_type(spline::Type::NONE);
    EXPECT_THROW((void)ISO8980_3_tau_uva(scan), std::runtime_error);
    EXPECT_EQ(ANSI_Z80_3_tau_spectral_min(scan), 0.5);
    EXPECT_THROW((void)ISO8980_3_tau_v(Scan{{400, 1}, {500, 1}}), std::runtime_error);
}

TEST(SignalRecords, AreWrittenInGeneralNotation) {
    EXPECT_EQ(to_string(RYG{0.125, 1.0, 2e-9}), "red:0.125 yellow:1 green:2e-09");
    EXPECT_EQ(to_string(RYGB{1.0, 2.0, 3.0, 4.0}), "red:1 yellow:2 green:3 blue:4");
}

}  // namespace

}  // namespace vekanalysis::colorimetry
