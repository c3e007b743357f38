#include "colorimetry/tristimulus.hpp"

#include <gtest/gtest.h>

#include "colorimetry/chromaticity.hpp"
#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::colorimetry {

namespace {

const Observer& observer_1931() {
    return observers::data::cie_1931_standard();
}

struct WhitePoint {
    const char* name;
    const Observer& (*observer)();
    const Scan& (*illuminant)();
    double x;
    double y;
};

// CIE 15:2004, Table T.3, and ASTM E308-18, Table 5. Our integral of the interpolant differs from
// their sum over 5 nm by a few 1e-5 in these ratios.
TEST(Tristimulus, WhitePointsAreThePublishedOnes) {
    const WhitePoint points[] = {
        {"A 1931", observers::data::cie_1931_standard, data::cie_illuminant_a, 0.44757, 0.40745},
        {"C 1931", observers::data::cie_1931_standard, data::cie_illuminant_c, 0.31006, 0.31616},
        {"D65 1931", observers::data::cie_1931_standard, data::cie_illuminant_d65, 0.31272,
         0.32903},
        {"A 1964", observers::data::cie_1964_standard, data::cie_illuminant_a, 0.45117, 0.40594},
        {"C 1964", observers::data::cie_1964_standard, data::cie_illuminant_c, 0.31039, 0.31905},
        {"D65 1964", observers::data::cie_1964_standard, data::cie_illuminant_d65, 0.31382,
         0.33100},
    };
    for (const WhitePoint& point : points) {
        const CIEXYZ xyz = CIE_tristimulus_values(point.illuminant(), point.observer());
        EXPECT_NEAR(xyz.X / (xyz.X + xyz.Y + xyz.Z), point.x, 1e-4) << point.name;
        EXPECT_NEAR(xyz.Y / (xyz.X + xyz.Y + xyz.Z), point.y, 1e-4) << point.name;
    }
}

TEST(Tristimulus, ValuesAreRawIntegrals) {
    // A spectrum of constant 1 over the visible: the integral of y(lambda) is 106.857 nm (the sum
    // of CIE 15:2004, Table T.4, times 5 nm).
    const Scan one{{360, 1}, {460, 1}, {560, 1}, {660, 1}, {830, 1}};
    EXPECT_NEAR(CIE_tristimulus_values(one, observer_1931()).Y, 106.857, 0.002);
}

TEST(Tristimulus, WeightsAreTheGivenObserversXYAndZ) {
    const auto band = [](double value) {
        return Scan{{380, value}, {480, value}, {580, value}, {680, value}, {780, value}};
    };
    const Scan x = band(1.0);
    const Scan y = band(2.0);
    const Scan z = band(3.0);
    const CIEXYZ xyz = CIE_tristimulus_values(band(0.5), Observer{x, y, z});
    EXPECT_DOUBLE_EQ(xyz.X, 200.0);
    EXPECT_DOUBLE_EQ(xyz.Y, 400.0);
    EXPECT_DOUBLE_EQ(xyz.Z, 600.0);
}

TEST(Lab, FunctionSwitchesStrictlyAboveItsThreshold) {
    constexpr double threshold = 0.008856451679035631;
    EXPECT_DOUBLE_EQ(CIELAB_f(threshold), 0.13793103448275862 + 0.06896551724137931);
    EXPECT_NEAR(CIELAB_f(0.0088564516790357), CIELAB_f(threshold), 1e-13);
    EXPECT_EQ(CIELAB_f(0.0), 0.13793103448275862);
    EXPECT_EQ(CIELAB_f(1.0), 1.0);
    EXPECT_DOUBLE_EQ(CIELAB_f(0.125), 0.5);
}

TEST(Lab, TheWhitePointItselfIsWhite) {
    const Scan& d65 = data::cie_illuminant_d65();
    const CIELAB lab = CIELAB_tristimulus_values(d65, d65, observer_1931());
    EXPECT_EQ(lab.L_star, 100.0);
    EXPECT_EQ(lab.a_star, 0.0);
    EXPECT_EQ(lab.b_star, 0.0);
}

// L* = 116 f(Y/Yn) - 16 in closed form: 50 at Y/Yn = (66/116)^3; 903.3 Y/Yn below 216/24389.
TEST(Lab, NeutralGreysLieOnTheAxis) {
    const Scan& d65 = data::cie_illuminant_d65();
    const CIELAB middle =
        CIELAB_tristimulus_values(d65 * 0.18418651851244414, d65, observer_1931());
    EXPECT_NEAR(middle.L_star, 50.0, 1e-12);
    EXPECT_NEAR(middle.a_star, 0.0, 1e-12);
    EXPECT_NEAR(middle.b_star, 0.0, 1e-12);
    const CIELAB dark = CIELAB_tristimulus_values(d65 * 0.001, d65, observer_1931());
    EXPECT_NEAR(dark.L_star, 0.9032962962962963, 1e-12);
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

TEST(Lab, TooFewCommonPointsAreAnError) {
    const Scan four{{400, 1}, {500, 1}, {600, 1}, {700, 1}};
    EXPECT_THROW((void)CIE_tristimulus_values(four, observer_1931()), std::runtime_error);
}

TEST(Records, AreWrittenInGeneralNotation) {
    EXPECT_EQ(to_string(CIEXYZ{1.5, 2.0, 0.25}), "X:1.5 Y:2 Z:0.25");
    EXPECT_EQ(to_string(CIELAB{100.0, -1e-7, 12.3456789}), "L*:100 a*:-1e-07 b*:12.3457");
    EXPECT_EQ(to_string(ChromaticityPoint{0.3127, 0.329}), "x:0.3127 y:0.329");
}

}  // namespace

}  // namespace vekanalysis::colorimetry
