#include "colorimetry/chromaticity.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vekanalysis::chromaticity {

namespace {

Scan constant(double value) {
    Scan scan;
    for (double wl = 380.0; wl <= 780.0; wl += 5.0) scan.insert({wl, value});
    return scan;
}

TEST(Chromaticity, OfEqualEnergyIsTheCentre) {
    // CIE 15:2004: x = y = 1/3 up to the rounding of the tabulated functions.
    const ChromaticityPoint point = CIE_1931_chromaticity(constant(1.0));
    EXPECT_NEAR(point.x, 1.0 / 3.0, 2e-5);
    EXPECT_NEAR(point.y, 1.0 / 3.0, 2e-5);
}

TEST(Chromaticity, OfNothingIsNaN) {
    const ChromaticityPoint point = CIE_1931_chromaticity(constant(0.0));
    EXPECT_TRUE(std::isnan(point.x));
    EXPECT_TRUE(std::isnan(point.y));
}

// A clear lens shows the light itself: D65 (0.3127, 0.3290, CIE 15:2004, Table T.3) and the yellow
// and green signal lens under A (design figures of the reconstructed tables).
TEST(Chromaticity, OfAClearLensIsThatOfTheLight) {
    const Scan clear = constant(1.0);
    const ChromaticityPoint daylight = ANSI_Z80_3_daylight_chromaticity(clear);
    EXPECT_NEAR(daylight.x, 0.31272, 1e-4);
    EXPECT_NEAR(daylight.y, 0.32903, 1e-4);
    const ChromaticityPoint yellow = ANSI_Z80_3_yellow_chromaticity(clear);
    EXPECT_NEAR(yellow.x, 0.585, 1e-3);
    EXPECT_NEAR(yellow.y, 0.414, 1e-3);
    const ChromaticityPoint green = ANSI_Z80_3_green_chromaticity(clear);
    EXPECT_NEAR(green.x, 0.203, 1e-3);
    EXPECT_NEAR(green.y, 0.412, 1e-3);
}

TEST(Contains, AsksWhetherThePolygonWindsRoundThePoint) {
    std::vector<ChromaticityPoint> square{{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    std::vector<ChromaticityPoint> notched{{0, 0}, {4, 0}, {4, 4}, {2, 1}, {0, 4}};
    for (int direction = 0; direction < 2; ++direction) {
        EXPECT_TRUE(contains(square, {0.5, 0.5}));
        EXPECT_TRUE(contains(square, {0.001, 0.999}));
        EXPECT_FALSE(contains(square, {1.5, 0.5}));
        EXPECT_FALSE(contains(square, {-0.001, 0.5}));
        EXPECT_TRUE(contains(notched, {0.5, 2.0}));
        EXPECT_FALSE(contains(notched, {2.0, 2.0}));
        std::reverse(square.begin(), square.end());
        std::reverse(notched.begin(), notched.end());
    }
}

TEST(Contains, DegeneratePolygonsAndNaNContainNothing) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(contains({}, {0, 0}));
    EXPECT_FALSE(contains({{0, 0}}, {1, 0}));
    EXPECT_FALSE(contains({{0, 0}, {1, 0}}, {0.5, 1}));
    EXPECT_FALSE(contains({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {nan, 0.5}));
}

}  // namespace

}  // namespace vekanalysis::chromaticity
