#include "colorimetry/colour_difference.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

#include "rows.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::colorimetry {

namespace {

// G. Sharma, W. Wu, E. N. Dalal, Color Res. Appl. 30 (2005) 21-30, Table 1.
TEST(ColourDifference, CIEDE2000GivesThePublishedPairsEitherWayRound) {
    const auto pairs = rows<double, double, double, double, double, double, double>("ciede2000");
    ASSERT_EQ(pairs.size(), 34U);
    for (const auto& [L1, a1, b1, L2, a2, b2, expected] : pairs) {
        EXPECT_NEAR(delta_E_CIEDE2000({L1, a1, b1}, {L2, a2, b2}), expected, 0.5e-4 + 1e-12);
        EXPECT_NEAR(delta_E_CIEDE2000({L2, a2, b2}, {L1, a1, b1}), expected, 0.5e-4 + 1e-12);
    }
}

// Where a* and b* are 0 only lightness is left: dL / (k_L S_L), S_L = 1 at the mean L* of 50.
TEST(ColourDifference, ParametricFactorsDivideTheirOwnTerm) {
    EXPECT_DOUBLE_EQ(delta_E_CIEDE2000({49, 0, 0}, {51, 0, 0}, {.k_L = 2}), 1.0);
    EXPECT_DOUBLE_EQ(delta_E_CIE94({49, 0, 0}, {51, 0, 0}, {.k_L = 2}), 1.0);
    // Equal hue, chroma 5 and 10: S_C = 1 + K_1 5. Equal chroma 5, dH^2 = 2: S_H = 1 + K_2 5.
    EXPECT_DOUBLE_EQ(delta_E_CIE94({50, 3, 4}, {50, 6, 8}), 5 / 1.225);
    EXPECT_DOUBLE_EQ(delta_E_CIE94({50, 6, 8}, {50, 3, 4}), 5 / 1.45);
    EXPECT_DOUBLE_EQ(delta_E_CIE94({50, 3, 4}, {52, 6, 8}, {.k_C = 2}), std::hypot(2, 2.5 / 1.225));
    EXPECT_DOUBLE_EQ(delta_E_CIE94({50, 3, 4}, {50, 4, 3}), std::sqrt(2) / 1.075);
    EXPECT_DOUBLE_EQ(delta_E_CIE94({50, 3, 4}, {50, 4, 3}, {.k_H = 2}, {0.048, 0.014}),
                     std::sqrt(2) / 2.14);
    EXPECT_DOUBLE_EQ(delta_E_CIE1976({50, 3, 4}, {52, 6, -2}), 7.0);
}

TEST(ColourDifference, FactorsMustBePositive) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {0.0, -1.0, nan}) {
        for (const DifferenceFactors& factors :
             {DifferenceFactors{bad, 1, 1}, {1, bad, 1}, {1, 1, bad}}) {
            EXPECT_EQ(thrown_text([&] { std::ignore = delta_E_CIE94({}, {}, factors); }),
                      "delta_E_CIE94: k_L, k_C and k_H must be above 0");
            EXPECT_EQ(thrown_text([&] { std::ignore = delta_E_CIEDE2000({}, {}, factors); }),
                      "delta_E_CIEDE2000: k_L, k_C and k_H must be above 0");
        }
    }
    EXPECT_EQ(thrown_text([] {
                  std::ignore = delta_E_CIE94({}, {}, {}, {-0.1, 0});
              }),
              "delta_E_CIE94: K_1 and K_2 must not be below 0");
    EXPECT_TRUE(std::isnan(delta_E_CIEDE2000({50, nan, 0}, {50, 1, 0})));
}

}  // namespace

}  // namespace vekanalysis::colorimetry
