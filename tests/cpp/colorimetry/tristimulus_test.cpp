#include "colorimetry/tristimulus.hpp"

#include <gtest/gtest.h>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::colorimetry {

namespace {

const Observer& observer_1931() {
    return observers::data::cie_1931_standard();
}

// CIE 15:2004, Table T.3, and ASTM E308-18, Table 5. Our integral of the interpolant differs from
// their sum over 5 nm by a few 1e-5 in these ratios.
TEST(Tristimulus, WhitePointsAreThePublishedOnes) {
    struct WhitePoint {
        const char* name;
        const Scan& illuminant;
        const Observer& observer;
        double x;
        double y;
    };
    const Observer& observer_1964 = observers::data::cie_1964_standard();
    const WhitePoint points[] = {
        {"A 1931", data::cie_illuminant_a(), observer_1931(), 0.44757, 0.40745},
        {"C 1931", data::cie_illuminant_c(), observer_1931(), 0.31006, 0.31616},
        {"D65 1931", data::cie_illuminant_d65(), observer_1931(), 0.31272, 0.32903},
        {"A 1964", data::cie_illuminant_a(), observer_1964, 0.45117, 0.40594},
        {"C 1964", data::cie_illuminant_c(), observer_1964, 0.31039, 0.31905},
        {"D65 1964", data::cie_illuminant_d65(), observer_1964, 0.31382, 0.33100},
    };
    for (const WhitePoint& point : points) {
        const auto [X, Y, Z] = CIE_tristimulus_values(point.illuminant, point.observer);
        EXPECT_NEAR(X / (X + Y + Z), point.x, 1e-4) << point.name;
        EXPECT_NEAR(Y / (X + Y + Z), point.y, 1e-4) << point.name;
    }
}

TEST(Tristimulus, ValuesAreRawIntegrals) {
    // A spectrum of constant 1 over the visible: the integral of y(lambda) is 106.857 nm (the sum
    // of CIE 15:2004, Table T.4, times 5 nm).
    const Scan one{{360, 1}, {460, 1}, {560, 1}, {660, 1}, {830, 1}};
    EXPECT_NEAR(CIE_tristimulus_values(one, observer_1931()).Y, 106.857, 0.002);
}

// ASTM E308-18, Table 5; the white point of its 5 nm sums is within 1e-4 of our integrals.
TEST(Tristimulus, RelativeValuesHaveTheWhitePointAtHundred) {
    const Scan& d65 = data::cie_illuminant_d65();
    const auto [X, Y, Z] = CIE_relative_tristimulus_values(d65 * 0.5, d65, observer_1931());
    EXPECT_NEAR(X, 0.5 * 95.047, 0.01);
    EXPECT_DOUBLE_EQ(Y, 50.0);
    EXPECT_NEAR(Z, 0.5 * 108.883, 0.01);
    EXPECT_EQ(thrown_text([&] {
                  std::ignore = CIE_relative_tristimulus_values(d65, d65 * 0.0, observer_1931());
              }),
              "CIE_relative_tristimulus_values: Y of the white point must be finite and above 0");
}

TEST(Lab, FunctionSwitchesStrictlyAboveItsThreshold) {
    constexpr double threshold = 0.008856451679035631;
    EXPECT_DOUBLE_EQ(CIELAB_f(threshold), 0.13793103448275862 + 0.06896551724137931);
    EXPECT_NEAR(CIELAB_f(0.0088564516790357), CIELAB_f(threshold), 1e-13);
    EXPECT_EQ(CIELAB_f(0.0), 0.13793103448275862);
    EXPECT_EQ(CIELAB_f(0.0082), 0.20178473818646234);  // the exact value, rounded once
    EXPECT_EQ(CIELAB_f(1.0), 1.0);
    EXPECT_DOUBLE_EQ(CIELAB_f(0.125), 0.5);
}

// L* = 116 f(Y/Yn) - 16 in closed form: 50 at Y/Yn = (66/116)^3; 903.3 Y/Yn below 216/24389.
TEST(Lab, NeutralGreysLieOnTheAxis) {
    const Scan& d65 = data::cie_illuminant_d65();
    const double greys[][3] = {
        {1.0, 100.0, 0.0}, {0.18418651851244414, 50.0, 1e-12}, {0.001, 0.9032962962962963, 1e-12}};
    for (const auto& [reflectance, L_star, tolerance] : greys) {
        const CIELAB lab = CIELAB_tristimulus_values(d65 * reflectance, d65, observer_1931());
        EXPECT_NEAR(lab.L_star, L_star, tolerance);
        EXPECT_NEAR(lab.a_star, 0.0, tolerance);
        EXPECT_NEAR(lab.b_star, 0.0, tolerance);
    }
}

// ASTM E308-18, Table 5: XYZ of A (109.850, 100, 35.585) and of D65 (95.047, 100, 108.883).
TEST(Lab, IlluminantASeenAgainstD65IsOrange) {
    const Scan& a = data::cie_illuminant_a();
    const Scan& d65 = data::cie_illuminant_d65();
    const double scale = CIE_tristimulus_values(d65, observer_1931()).Y /
                         CIE_tristimulus_values(a, observer_1931()).Y;
    const CIELAB lab = CIELAB_tristimulus_values(a * scale, d65, observer_1931());
    EXPECT_NEAR(lab.L_star, 100.0, 1e-10);
    EXPECT_NEAR(lab.a_star, 24.71, 0.03);
    EXPECT_NEAR(lab.b_star, 62.23, 0.03);
}

}  // namespace

}  // namespace vekanalysis::colorimetry
