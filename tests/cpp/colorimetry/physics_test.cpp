#include "colorimetry/physics.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "colorimetry/curves.hpp"
#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/radiometry.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis {

namespace {

constexpr double pi = 3.141592653589793;
const double temperatures[] = {2.725, 300.0, 2856.0, 5778.0, 1e5};

TEST(BlackBody, PeaksWhereWienSays) {
    for (const double T : temperatures) {
        double low = 1e-3 / T;
        double high = 1e-2 / T;
        ASSERT_GT(planks_law_sr_deriv_wl(T, low), 0.0);
        ASSERT_LT(planks_law_sr_deriv_wl(T, high), 0.0);
        while (high - low > 1e-12 * high) {
            const double middle = low + (high - low) / 2.0;
            (planks_law_sr_deriv_wl(T, middle) > 0.0 ? low : high) = middle;
        }
        // CODATA 2006: 2.8977685(51) mm K from its k and hc.
        EXPECT_NEAR(low * T, 2.8977685e-3, 1e-10) << T;
        // The stored constant is that of CODATA 2010, 1.3e-6 above.
        EXPECT_NEAR(wiens_displacement_law_wl(T), low, 2e-6 * low) << T;
        EXPECT_NEAR(wiens_displacement_law_T(low), T, 2e-6 * T) << T;
    }
    EXPECT_NEAR(wiens_displacement_law_wl(5778.0), 5.015e-7, 1e-10);
}

TEST(BlackBody, RadiatesWhatStefanAndBoltzmannSay) {
    for (const double T : temperatures) {
        // In u = ln(wl T) the integrand is smooth and vanishes at both ends, so that the trapezoid
        // rule converges exponentially.
        constexpr double step = 0.01;
        double exitance = 0.0;
        for (double u = -10.0; u < 12.0; u += step) {
            const double wl = std::exp(u) / T;
            exitance += pi * planks_law_sr(T, wl) * wl * step;
        }
        // Rounding of e^x - 1 at long wavelengths.
        EXPECT_NEAR(exitance, stefan_boltzmann_law(T), 1e-8 * exitance) << T;
        // CODATA 2006.
        EXPECT_NEAR(exitance / std::pow(T, 4.0), 5.670400e-8, 1e-13) << T;
    }
    EXPECT_DOUBLE_EQ(stefan_boltzmann_law(300.0, 2.0, 0.25), stefan_boltzmann_law(300.0) / 2.0);
    EXPECT_LT(stefan_boltzmann_law(300.0, 1.0, -1.0), 0.0);
}

TEST(BlackBody, UnitsDifferByPowersOfTen) {
    EXPECT_DOUBLE_EQ(planks_law_sr_um(2856.0, 0.555), planks_law_sr(2856.0, 0.555e-6) * 1e-6);
    EXPECT_DOUBLE_EQ(planks_law_sr_nm(2856.0, 555.0), planks_law_sr(2856.0, 555e-9) * 1e-9);
}

TEST(BlackBody, ArraysHoldTheValuesOfTheScalarFunctions) {
    const std::vector<double> wl{0.0, 1e-9, 4.1e-7, 5.55e-7, 2.3e-6, 7.9e-5, 1e-3};
    std::vector<double> scaled(wl.size());
    std::vector<double> radiance(wl.size());
    const auto expect = [&](auto function, double unit) {
        for (const double T : temperatures) {
            for (std::size_t i = 0; i < wl.size(); ++i) scaled[i] = wl[i] / unit;
            function(T, scaled, radiance);
            EXPECT_TRUE(std::isnan(radiance[0]));
            for (std::size_t i = 1; i < wl.size(); ++i) {
                const double scalar = planks_law_sr(T, scaled[i] * unit) * unit;
                EXPECT_NEAR(radiance[i], scalar, 1e-15 * scalar) << T << ' ' << wl[i];
            }
        }
    };
    using Values = std::span<const double>;
    using Result = std::span<double>;
    expect([](double T, Values w, Result r) { planks_law_sr(T, w, r); }, 1.0);
    expect([](double T, Values w, Result r) { planks_law_sr_um(T, w, r); }, 1e-6);
    expect([](double T, Values w, Result r) { planks_law_sr_nm(T, w, r); }, 1e-9);
}

// The slope of a chord of +-1e-4, of relative error 1e-8 times the third derivative's share.
TEST(BlackBody, DerivativesAreTheSlopes) {
    for (const double T : temperatures) {
        for (const double peaks : {0.3, 0.7, 2.0, 30.0}) {
            const double wl = peaks * wiens_displacement_law_wl(T);
            const double h = 1e-4;
            const double by_T =
                (planks_law_sr(T * (1 + h), wl) - planks_law_sr(T * (1 - h), wl)) / (2 * h * T);
            EXPECT_NEAR(planks_law_sr_deriv_T(T, wl), by_T, 2e-6 * by_T) << T << ' ' << peaks;
            const double by_wl =
                (planks_law_sr(T, wl * (1 + h)) - planks_law_sr(T, wl * (1 - h))) / (2 * h * wl);
            EXPECT_NEAR(planks_law_sr_deriv_wl(T, wl), by_wl, 2e-6 * std::abs(by_wl))
                << T << ' ' << peaks;
        }
    }
}

TEST(BlackBody, OutOfRangeArgumentsGiveWhatTheArithmeticGives) {
    // x = 14388 / (wl T [um K]): e^x overflows above 709, its square above 354.
    EXPECT_EQ(planks_law_sr(1.0, 1e-6), 0.0);
    EXPECT_TRUE(std::isnan(planks_law_sr_deriv_T(1.0, 1e-6)));
    EXPECT_TRUE(std::isnan(planks_law_sr_deriv_wl(1.0, 1e-6)));
    EXPECT_GT(planks_law_sr(28.0, 1e-6), 0.0);
    EXPECT_EQ(planks_law_sr_deriv_T(28.0, 1e-6), 0.0);
    EXPECT_EQ(planks_law_sr_deriv_wl(28.0, 1e-6), 0.0);
    // x below 2^-54: e^x - 1 is 0.
    EXPECT_TRUE(std::isinf(planks_law_sr(1e15, 1e3)));
    EXPECT_EQ(planks_law_sr(0.0, 1e-6), 0.0);
    EXPECT_TRUE(std::isnan(planks_law_sr(300.0, 0.0)));
    EXPECT_TRUE(std::isinf(wiens_displacement_law_wl(0.0)));
}

// 1 W/m^2 in a narrow band at 555 nm; V falls to 0.9993 at its ends.
TEST(Illuminance, OfANarrowBandAtThePeakOfV) {
    Scan line;
    for (double wl = 553.0; wl <= 557.0; ++wl) line.insert({wl, 0.25});
    EXPECT_NEAR(radiometry::illuminance(line), 683.002, 0.3);
}

TEST(Illuminance, IsZeroOutsideTheVisibleAndLinear) {
    const Scan& d65 = colorimetry::data::cie_illuminant_d65();
    EXPECT_DOUBLE_EQ(radiometry::illuminance(d65 * 2.0), 2.0 * radiometry::illuminance(d65));
    // CIE 15:2004: the sum of D65 times y over 5 nm is 2113.37 (100 at 560 nm).
    EXPECT_NEAR(radiometry::illuminance(d65), 683.002 * 5.0 * 2113.37, 683.002 * 5.0);
    // No common wavelengths leave a product without a spline.
    EXPECT_EQ(radiometry::illuminance(Scan{{800, 1}, {810, 1}, {820, 1}}), 0.0);
}

}  // namespace

}  // namespace vekanalysis
