#include "colorimetry/srgb.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::colorimetry {

namespace {

// IEC 61966-2-1:1999: white, the primaries and their tristimulus values.
constexpr CIEXYZ d65{0.9505, 1.0, 1.0890};

void expect_near(const SRGB& actual, const SRGB& expected, double tolerance) {
    EXPECT_NEAR(actual.red, expected.red, tolerance);
    EXPECT_NEAR(actual.green, expected.green, tolerance);
    EXPECT_NEAR(actual.blue, expected.blue, tolerance);
}

TEST(SRGBValues, PrimariesAndGreysAreThoseOfTheStandard) {
    expect_near(CIEXYZ_to_linear_sRGB({0.4124, 0.2126, 0.0193}, d65), {1, 0, 0}, 2e-7);
    expect_near(CIEXYZ_to_linear_sRGB({0.3576, 0.7152, 0.1192}, d65), {0, 1, 0}, 2e-7);
    expect_near(CIEXYZ_to_linear_sRGB({0.1805, 0.0722, 0.9505}, d65), {0, 0, 1}, 2e-7);
    // 0.5 is the encoding of ((0.5 + 0.055) / 1.055)^2.4, and 0.02 of 0.02 / 12.92.
    for (const auto& [Y, value] : {std::pair{0.21404114048223255, 0.5}, {0.02 / 12.92, 0.02}}) {
        expect_near(CIEXYZ_to_sRGB({Y * d65.X, Y, Y * d65.Z}, d65), {value, value, value}, 1e-7);
    }
}

// The red primary seen under D50 (B. Lindbloom, sRGB matrix adapted to D50 by Bradford). His D65 is
// 0.95047, 1, 1.08883.
TEST(SRGBValues, TheEyeAdaptsToTheWhite) {
    constexpr CIEXYZ d50{0.96422, 1.0, 0.82521};
    expect_near(CIEXYZ_to_linear_sRGB({0.4360747, 0.2225045, 0.0139322}, d50), {1, 0, 0}, 5e-4);
    expect_near(CIEXYZ_to_sRGB({96.422, 100, 82.521}, {96.422, 100, 82.521}), {1, 1, 1}, 1e-7);
    const Scan& a = data::cie_illuminant_a();
    expect_near(sRGB_values(a, a, observers::data::cie_1931_standard()), {1, 1, 1}, 1e-7);
}

TEST(SRGBValues, WhatAScreenCannotShowKeepsItsLuminance) {
    const SRGB linear = CIEXYZ_to_linear_sRGB({0.1, 0.2, 0.1}, d65);
    ASSERT_LT(linear.red, 0.0);
    const SRGB shown = CIEXYZ_to_sRGB({0.1, 0.2, 0.1}, d65);
    EXPECT_EQ(shown.red, 0.0);
    const auto decoded = [](double v) { return std::pow((v + 0.055) / 1.055, 2.4); };
    EXPECT_NEAR(0.7152 * decoded(shown.green) + 0.0722 * decoded(shown.blue), 0.2, 1e-4);
    expect_near(CIEXYZ_to_sRGB({5, 5, 5}, d65), {1, 1, 1}, 0.0);
    expect_near(CIEXYZ_to_sRGB({0, -1, 0}, d65), {0, 0, 0}, 0.0);
    constexpr double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(std::isnan(CIEXYZ_to_sRGB({1, inf, 1}, d65).red));
}

TEST(SRGBValues, WhiteMustBeALight) {
    // The last is monochromatic red.
    for (const CIEXYZ& white :
         {CIEXYZ{}, {1, std::nan(""), 1}, {1, 1, -1}, {0.7347, 0.2653, 1e-6}}) {
        EXPECT_EQ(thrown_text([&] { std::ignore = CIEXYZ_to_sRGB(d65, white); }),
                  "CIEXYZ_to_linear_sRGB: white must be finite and a light that the eye can adapt "
                  "to");
    }
}

TEST(SRGBValues, HexRoundsToTheNearestLevel) {
    EXPECT_EQ(to_hex({0, 0.5, 1}), "#0080ff");
    EXPECT_EQ(to_hex({1.49 / 255, 1.51 / 255, 171.0 / 255}), "#0102ab");
    for (const double bad : {-0.001, 1.001, std::nan("")}) {
        EXPECT_EQ(thrown_text([&] {
                      std::ignore = to_hex({0, bad, 0});
                  }),
                  "to_hex: values must be 0 to 1");
    }
}

}  // namespace

}  // namespace vekanalysis::colorimetry
