#include "curves/curves.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "monochromator/slit_function.hpp"
#include "numerical/fused.hpp"

namespace vekanalysis {

namespace {

using monochromator::slit_function::uniform_fibres;
using monochromator::slit_function::uniform_fibres_value;

TEST(Filters, RiseFrom5To95PercentOverTheBandwidth) {
    const Scan edge = curves::longpass_filter(500, 20, 400, 600, 1);
    ASSERT_EQ(edge.size(), 201U);
    EXPECT_EQ(edge.max_wavelength(), 600.0);
    EXPECT_EQ(edge.get_wavelength_epsilon(), 1e-20);
    EXPECT_EQ(edge.get_interpolation_type(), spline::Type::AKIMA);
    EXPECT_EQ(edge.at(500), 0.5);
    EXPECT_NEAR(edge.at(490), 0.05, 1e-12);  // the constant has eleven decimals
    EXPECT_NEAR(edge.at(510), 0.95, 1e-12);
    const Scan falling = curves::shortpass_filter(500, 20, 400, 600, 1);
    ASSERT_EQ(falling.size(), 201U);
    for (const auto& [wl, value] : edge) EXPECT_EQ(falling.at(wl), 1.0 - value) << wl;
    EXPECT_THROW((void)curves::longpass_filter(500, 20, 600, 400, 1), std::invalid_argument);
}

TEST(Filters, GridPointsAreFusedNotAccumulated) {
    const Scan edge = curves::longpass_filter(1, 1, 0.1, 7.5, 0.7);
    ASSERT_EQ(edge.size(), 11U);  // 0.7 does not divide 7.4; the last point is 7.1
    double i = 0.0;
    for (const auto& [wl, value] : edge) EXPECT_EQ(wl, numerical::fused(i++, 0.7, 0.1));
    EXPECT_EQ(curves::longpass_filter(0, 1, -1e308, 1e308, 1e308).size(), 3U);
    EXPECT_FALSE(std::signbit(curves::longpass_filter(5, 1, -0.0, 10, 1).min_wavelength()));
}

TEST(Lognormal, HasItsPeakAndItsHalfMaxima) {
    const Scan band = curves::lognormal(550, 40, 400, 700, 1);
    EXPECT_DOUBLE_EQ(band.at(550), 1.0);
    EXPECT_EQ(band.max_element()->first, 550.0);
    // ln of the half maxima lie sqrt(2 ln 2) s to either side of ln 550: 530.36 and 570.36 nm.
    const double s = std::sqrt(std::log(std::pow(20.0 / 550.0, 2.0) / (2 * std::log(2.0)) + 1));
    const double half = std::sqrt(2 * std::log(2.0)) * s;
    EXPECT_NEAR(band(550 * std::exp(-half)), 0.5, 1e-4);
    EXPECT_NEAR(band(550 * std::exp(half)), 0.5, 1e-4);
    EXPECT_NEAR(band.at(530), 0.487, 1e-3);
    EXPECT_NEAR(band.at(570), 0.512, 1e-3);
    const Scan below = curves::lognormal(5, 1, -1, 10, 1);
    EXPECT_TRUE(std::isnan(below.at(-1)));
    EXPECT_TRUE(std::isnan(below.at(0)));
    EXPECT_DOUBLE_EQ(below.at(5), 1.0);
}

TEST(SlitFunction, HasItsBandwidthAtHalfHeight) {
    for (const double bandwidth : {1e-3, 5.0, 123.4}) {
        EXPECT_NEAR(uniform_fibres_value(500, bandwidth, 500 - bandwidth / 2), 0.5, 1e-9);
        EXPECT_NEAR(uniform_fibres_value(500, bandwidth, 500 + bandwidth / 2), 0.5, 1e-9);
    }
    EXPECT_EQ(uniform_fibres_value(500, 10, 500), 1.0);
    EXPECT_EQ(uniform_fibres_value(500, 10, 512.4), 0.0);  // R is 12.377
    EXPECT_GT(uniform_fibres_value(500, 10, 512.3), 0.0);
    EXPECT_TRUE(std::isnan(uniform_fibres_value(500, 0, 500)));
    EXPECT_EQ(uniform_fibres(500, 0, 5).size(), 1U);
}

TEST(SlitFunction, CurveHasAllItsPointsAndIsSymmetric) {
    for (const double bandwidth : {0.1, 3.0, 7.7}) {
        for (unsigned int points = 2; points < 200; ++points) {
            const Scan curve = uniform_fibres(550, bandwidth, points);
            SCOPED_TRACE(testing::Message() << bandwidth << ' ' << points);
            ASSERT_EQ(curve.size(), points);
            const double R = bandwidth / 0.80794550659902;
            EXPECT_EQ(curve.min_wavelength(), 550 - R);
            EXPECT_EQ(curve.max_wavelength(), 550 + R);
            const auto values = curve.data().values();
            const auto keys = curve.data().keys();
            EXPECT_EQ(values.front(), 0.0);
            for (unsigned int i = 0; i < points; ++i) {
                EXPECT_EQ(values[i], values[points - 1 - i]);
                // Rounding of the wavelength itself moves the value by up to its slope.
                EXPECT_NEAR(values[i], uniform_fibres_value(550, bandwidth, keys[i]), 1e-11);
                EXPECT_NEAR(keys[i] - 550, 550 - keys[points - 1 - i], 3e-13);
            }
        }
    }
    // The integral of (2/pi)(acos x - x sqrt(1 - x^2)) over -1..1 is 8 / (3 pi).
    EXPECT_NEAR(uniform_fibres(500, 10, 2001).integral(),
                10.0 / 0.80794550659902 * 8.0 / (3.0 * 3.141592653589793), 1e-5);
}

}  // namespace

}  // namespace vekanalysis
