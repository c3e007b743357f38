#include "colorimetry/transmittance.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"
#include "quantities/quantity.hpp"
#include "rows.hpp"
#include "sampled.hpp"

namespace vekanalysis::colorimetry {

namespace {

Scan neutral(double transmittance, double step) {
    return sampled([=](double) { return transmittance; }, 250.0, 830.0, step);
}

double ramp(double wl) {
    return (wl - 250.0) / 600.0;
}

/// What the function of a quantity gives.
double value_of(const std::string& key, const Scan& trans) {
    const quantities::Quantity& quantity = quantities::find(key);
    std::vector<double> fields(quantity.function->field_count);
    quantity.function->compute(trans, Scan(), fields);
    return fields[quantity.field];
}

// A neutral filter has its own transmittance: on the tables' own 5 nm grid numerator and
// denominator are integrated alike. A ramp tells bands and weights apart; the standards' own
// summation over 5 nm (trapezoid) is an independent route. The tolerance is what interpolation adds
// where the weights are steep.
TEST(Transmittance, WeightedMeansAgreeWithTheStandardsSummation) {
    for (const auto& [key, from, to, tolerance, weights] :
         rows<std::string, double, double, double, std::vector<std::string>>("weighted-means")) {
        EXPECT_NEAR(value_of(key, neutral(1.0, 5.0)), 1.0, 1e-13) << key;
        EXPECT_NEAR(value_of(key, neutral(0.5, 5.0)), 0.5, 1e-13) << key;
        double numerator = 0.0;
        double denominator = 0.0;
        for (double wl = from; wl <= to; wl += 5.0) {
            double weight = wl == from || wl == to ? 0.5 : 1.0;
            for (const auto& table : weights) weight *= data::find_table(table)->spectrum()(wl);
            numerator += ramp(wl) * weight;
            denominator += weight;
        }
        EXPECT_NEAR(value_of(key, sampled(ramp, 250.0, 830.0, 5.0)), numerator / denominator,
                    tolerance)
            << key;
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
