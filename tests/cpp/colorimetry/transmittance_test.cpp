#include "colorimetry/transmittance.hpp"

#include <gtest/gtest.h>

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

double ramp(double wl) {
    return (wl - 250.0) / 600.0;
}

template <double RYGB::*colour>
double incandescent(const Scan& trans) {
    return ISO8980_3_tau_signal_incandescent(trans).*colour;
}

template <double RYGB::*colour>
double led(const Scan& trans) {
    return ISO8980_3_tau_signal_led(trans).*colour;
}

constexpr auto Es = data::solar_spectral_irradiance;
constexpr auto S = data::relative_spectral_effectiveness;
constexpr auto V = data::cie_1931_standard_observer_y;

const Scan& no_weight() {
    static const Scan one = neutral(1.0, 5.0);
    return one;
}

struct Case {
    const char* name;
    double (*function)(const Scan&);
    const Scan& (*w1)();
    const Scan& (*w2)() = no_weight;
    double from = 380.0;
    double to = 780.0;
    double tolerance = 1e-4;  // what interpolation adds where the weights are steep
};

const Case cases[] = {
    {"ISO8980_3_tau_suva", ISO8980_3_tau_suva, Es, S, 315, 380, 1e-3},
    {"ASNZS1067_2016_tau_suva", ASNZS1067_2016_tau_suva, Es, S, 315, 400, 1e-3},
    {"ISO8980_3_tau_suvb", ISO8980_3_tau_suvb, Es, S, 280, 315, 2e-3},
    {"ISO8980_3_tau_v", ISO8980_3_tau_v, V, data::cie_illuminant_d65},
    {"ANSI_Z80_3_tau_v", ANSI_Z80_3_tau_v, V, data::cie_illuminant_c},
    {"ISO12311_tau_sb", ISO12311_tau_sb, Es, data::blue_light_hazard, 380, 500, 1e-3},
    {"incandescent red", incandescent<&RYGB::red>, data::ISO8980_3_incandescent_red},
    {"incandescent yellow", incandescent<&RYGB::yellow>, data::ISO8980_3_incandescent_yellow},
    {"incandescent green", incandescent<&RYGB::green>, data::ISO8980_3_incandescent_green},
    {"incandescent blue", incandescent<&RYGB::blue>, data::ISO8980_3_incandescent_blue},
    {"LED red", led<&RYGB::red>, data::ISO8980_3_led_red},
    {"LED yellow", led<&RYGB::yellow>, data::ISO8980_3_led_yellow},
    {"LED green", led<&RYGB::green>, data::ISO8980_3_led_green},
    {"LED blue", led<&RYGB::blue>, data::ISO8980_3_led_blue},
};

// A neutral filter has its own transmittance: on the tables' own 5 nm grid numerator and
// denominator are integrated alike. A ramp tells bands and weights apart; the standards' own
// summation over 5 nm (trapezoid) is an independent route.
TEST(Transmittance, WeightedMeansAgreeWithTheStandardsSummation) {
    for (const Case& c : cases) {
        EXPECT_NEAR(c.function(neutral(1.0, 5.0)), 1.0, 1e-13) << c.name;
        EXPECT_NEAR(c.function(neutral(0.5, 5.0)), 0.5, 1e-13) << c.name;
        double numerator = 0.0;
        double denominator = 0.0;
        for (double wl = c.from; wl <= c.to; wl += 5.0) {
            const double share = wl == c.from || wl == c.to ? 0.5 : 1.0;
            const double weight = c.w1()(wl) * c.w2()(wl) * share;
            numerator += ramp(wl) * weight;
            denominator += weight;
        }
        EXPECT_NEAR(c.function(sampled(5.0, ramp)), numerator / denominator, c.tolerance) << c.name;
    }
}

// Deliberate: at 1 nm the numerator follows the fine grid and the denominator the tables' own, on
// which the steep start of the UV-B weighting is interpolated otherwise.
TEST(Transmittance, AFinelySampledClearFilterIsNotQuiteOne) {
    EXPECT_NEAR(ISO8980_3_tau_suvb(neutral(1.0, 1.0)), 0.945, 0.001);
    EXPECT_NEAR(ISO8980_3_tau_v(neutral(1.0, 1.0)), 1.0, 1e-3);
}

// Deliberate: the red lens's denominator serves all colours. The luminous transmittances of the
// three reconstructed lenses under A are 0.125, 0.575 and 0.190.
TEST(Transmittance, AnsiSignalColoursShareTheRedDenominator) {
    const RYG clear = ANSI_Z80_3_tau_signal(neutral(1.0, 5.0));
    EXPECT_NEAR(clear.red, 1.0, 1e-13);
    EXPECT_NEAR(clear.yellow, 0.575 / 0.125, 0.03);
    EXPECT_NEAR(clear.green, 0.190 / 0.125, 0.02);
    EXPECT_NEAR(ANSI_Z80_3_tau_signal(neutral(0.5, 5.0)).red, 0.5, 1e-13);
}

TEST(Transmittance, PlainMeansCountMissingDataAsZero) {
    // Linear from 315 to 380 nm: the mean is the value in the middle, 347.5 nm.
    const Scan line({300.0, 400.0}, {0.0, 1.0}, default_epsilon, spline::Type::LINEAR);
    EXPECT_NEAR(ISO8980_3_tau_uva(line), 0.475, 1e-14);
    EXPECT_NEAR(ANSI_Z80_3_tau_uva(line), 0.475, 1e-14);
    EXPECT_NEAR(ANSI_Z80_3_tau_uvb(line), 0.15 * 7.5 / 35.0, 1e-14);
    EXPECT_EQ(ANSI_Z80_3_tau_uvb(Scan()), 0.0);
}

TEST(Transmittance, SpectralMinimumLooksAtStoredPointsOnly) {
    Scan scan({474.0, 475.0, 500.0, 650.0, 651.0}, {0.01, 0.4, 0.3, 0.2, 0.1});
    EXPECT_EQ(ANSI_Z80_3_tau_spectral_min(scan), 0.2);
    scan.set_wavelength_epsilon(1.0);
    EXPECT_EQ(ANSI_Z80_3_tau_spectral_min(scan), 0.01);  // 474 + 1 reaches the band
    EXPECT_THROW((void)ANSI_Z80_3_tau_spectral_min(Scan{{651, 0.1}}), std::domain_error);
}

}  // namespace

}  // namespace vekanalysis::colorimetry
