#include "chromaticity/chromaticity.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "sampled.hpp"

namespace vekanalysis::chromaticity {

namespace {

Scan constant(double value) {
    return sampled([=](double) { return value; }, 380.0, 780.0, 5.0);
}

// Equal energy is the centre up to the rounding of the tabulated functions (CIE 15:2004). A clear
// lens shows the light itself: D65 (Table T.3 there) and the yellow and green signal lens under A
// (design figures of the reconstructed tables).
TEST(Chromaticity, OfAClearLensIsThatOfTheLight) {
    struct Case {
        ChromaticityPoint (*function)(const Scan&);
        ChromaticityPoint expected;
        double tolerance;
    };
    for (const Case& c : {Case{CIE_1931_chromaticity, {1.0 / 3.0, 1.0 / 3.0}, 2e-5},
                          {ANSI_Z80_3_daylight_chromaticity, {0.31272, 0.32903}, 1e-4},
                          {ANSI_Z80_3_yellow_chromaticity, {0.585, 0.414}, 1e-3},
                          {ANSI_Z80_3_green_chromaticity, {0.203, 0.412}, 1e-3}}) {
        const ChromaticityPoint point = c.function(constant(1.0));
        EXPECT_NEAR(point.x, c.expected.x, c.tolerance);
        EXPECT_NEAR(point.y, c.expected.y, c.tolerance);
        EXPECT_TRUE(std::isnan(c.function(constant(0.0)).x));
    }
}

// CIE 15:2004, Table T.3.
TEST(Chromaticity, OfDaylightForTheWideField) {
    const ChromaticityPoint point = CIE_1964_chromaticity(colorimetry::data::cie_illuminant_d65());
    EXPECT_NEAR(point.x, 0.31381, 5e-5);
    EXPECT_NEAR(point.y, 0.33098, 5e-5);
}

TEST(Contains, AsksWhetherThePolygonWindsRoundThePoint) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<ChromaticityPoint> square{{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    std::vector<ChromaticityPoint> notched{{0, 0}, {4, 0}, {4, 4}, {2, 1}, {0, 4}};
    for (int direction = 0; direction < 2; ++direction) {
        EXPECT_TRUE(contains(square, {0.5, 0.5}));
        EXPECT_TRUE(contains(square, {0.001, 0.999}));
        EXPECT_FALSE(contains(square, {1.5, 0.5}));
        EXPECT_FALSE(contains(square, {-0.001, 0.5}));
        EXPECT_FALSE(contains(square, {nan, 0.5}));
        EXPECT_TRUE(contains(notched, {0.5, 2.0}));
        EXPECT_FALSE(contains(notched, {2.0, 2.0}));
        std::reverse(square.begin(), square.end());
        std::reverse(notched.begin(), notched.end());
    }
    EXPECT_FALSE(contains({}, {0, 0}));
    EXPECT_FALSE(contains({{0, 0}}, {1, 0}));
    EXPECT_FALSE(contains({{0, 0}, {1, 0}}, {0.5, 1}));
}

}  // namespace

}  // namespace vekanalysis::chromaticity
