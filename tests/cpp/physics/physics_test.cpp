#include "physics/physics.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "colorimetry/data/reference_spectra.hpp"
#include "radiometry/radiometry.hpp"

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
    EXPECT_DOUBLE_EQ(stefan_boltzmann_law(300.0, 2.0, -0.25), stefan_boltzmann_law(300.0) / -2.0);
}

TEST(BlackBody, OutOfRangeArgumentsGiveWhatTheArithmeticGives) {
    // x = 14388 / (wl T [um K]) below 2^-54: e^x - 1 is 0.
    EXPECT_TRUE(std::isinf(planks_law_sr(1e15, 1e3)));
    EXPECT_EQ(planks_law_sr(0.0, 1e-6), 0.0);
    EXPECT_TRUE(std::isnan(planks_law_sr(300.0, 0.0)));
    EXPECT_TRUE(std::isinf(wiens_displacement_law_wl(0.0)));
}

TEST(Illuminance, IsThatOfTheInterpolatedProductWithV) {
    // 1 W/m^2 in a narrow band at 555 nm; V falls to 0.9993 at its ends.
    const Scan line{{553, 0.25}, {554, 0.25}, {555, 0.25}, {556, 0.25}, {557, 0.25}};
    EXPECT_NEAR(radiometry::illuminance(line), 683.002, 0.3);
    // CIE 15:2004: the sum of D65 times y over 5 nm is 2113.37 (100 at 560 nm).
    const Scan& d65 = colorimetry::data::cie_illuminant_d65();
    EXPECT_NEAR(radiometry::illuminance(d65), 683.002 * 5.0 * 2113.37, 683.002 * 5.0);
    // No common wavelengths leave a product without a spline.
    EXPECT_EQ(radiometry::illuminance(Scan{{800, 1}, {810, 1}, {820, 1}}), 0.0);
}

}  // namespace

}  // namespace vekanalysis
