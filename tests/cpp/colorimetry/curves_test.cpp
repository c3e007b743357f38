#include "colorimetry/curves.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "colorimetry/slit_function.hpp"

namespace vekanalysis {

namespace {

using monochromator::slit_function::uniform_fibres;
using monochromator::slit_function::uniform_fibres_value;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(Filters, RiseFrom5To95PercentOverTheBandwidth) {
    const Scan edge = curves::longpass_filter(500, 20, 400, 600, 1);
    ASSERT_EQ(edge.size(), 201U);
    EXPECT_EQ(edge.min_wavelength(), 400.0);
    EXPECT_EQ(edge.max_wavelength(), 600.0);
    EXPECT_EQ(edge.get_wavelength_epsilon(), 1e-20);
    EXPECT_EQ(edge.get_interpolation_type(), spline::Type::AKIMA);
    EXPECT_EQ(edge.at(500), 0.5);
    EXPECT_NEAR(edge.at(490), 0.05, 1e-12);  // the constant has eleven decimals
    EXPECT_NEAR(edge.at(510), 0.95, 1e-12);
    const Scan falling = curves::shortpass_filter(500, 20, 400, 600, 1);
    ASSERT_EQ(falling.size(), 201U);
    for (const auto& [wl, value] : edge) EXPECT_EQ(falling.at(wl), 1.0 - value) << wl;
}

TEST(Filters, GridPointsAreFusedNotAccumulated) {
    const Scan edge = curves::longpass_filter(1, 1, 0, 1, 0.1);
    ASSERT_EQ(edge.size(), 11U);
    double i = 0.0;
    for (const auto& [wl, value] : edge) EXPECT_EQ(wl, std::fma(i++, 0.1, 0.0));
    // 0.3 does not divide 1; the last point is 0.9.
    EXPECT_EQ(curves::longpass_filter(1, 1, 0, 1, 0.3).max_wavelength(), std::fma(3, 0.3, 0.0));
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
}

TEST(Lognormal, WavelengthsNotAboveZeroGiveNaN) {
    const Scan band = curves::lognormal(5, 1, -1, 10, 1);
    EXPECT_TRUE(std::isnan(band.at(-1)));
    EXPECT_TRUE(std::isnan(band.at(0)));
    EXPECT_DOUBLE_EQ(band.at(5), 1.0);
}

TEST(Curves, RefuseBadGridsInTheirOrder) {
    struct Case {
        double min_wl;
        double max_wl;
        double step_wl;
        const char* text;
    };
    const Case cases[] = {
        {600, 400, 0, "min_wl >= max_wl"},
        {400, 400, -1, "min_wl >= max_wl"},
        {400, 400.5, 1, "step_wl > (max_wl - min_wl)"},
        {400, 600, infinity, "step_wl > (max_wl - min_wl)"},
        {400, 600, 0, "step_wl <= 0"},
        {400, 600, -1, "step_wl <= 0"},
        {400, infinity, 1, "curves: min_wl, max_wl and step_wl must be finite"},
        {-infinity, 600, 1, "curves: min_wl, max_wl and step_wl must be finite"},
        {nan, 600, 1, "curves: min_wl, max_wl and step_wl must be finite"},
        {400, nan, 1, "curves: min_wl, max_wl and step_wl must be finite"},
        {400, 600, nan, "curves: min_wl, max_wl and step_wl must be finite"},
        {400, 600, 1e-20, "curves: more than 100000000 points"},
        {400, 600, 5e-324, "curves: more than 100000000 points"},
        {-1e308, 1e308, 1e-10, "curves: more than 100000000 points"},
        {1e16, 1e16 + 100, 0.5, "curves: step_wl too small to advance"},
    };
    for (const Case& c : cases) {
        const auto expect_refused = [&c](const auto& make) {
            try {
                (void)make();
                ADD_FAILURE() << c.text;
            } catch (const std::invalid_argument& error) {
                EXPECT_STREQ(error.what(), c.text);
            }
        };
        expect_refused(
            [&c] { return curves::longpass_filter(500, 20, c.min_wl, c.max_wl, c.step_wl); });
        expect_refused(
            [&c] { return curves::shortpass_filter(500, 20, c.min_wl, c.max_wl, c.step_wl); });
        expect_refused([&c] { return curves::lognormal(500, 20, c.min_wl, c.max_wl, c.step_wl); });
    }
    for (const auto& [peak, fwhm] : {std::pair{0.0, 20.0}, {-1.0, 20.0}, {500.0, 0.0}}) {
        try {
            (void)curves::lognormal(peak, fwhm, 600, 400, 0);
            ADD_FAILURE();
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), "peak_wl <= 0 || fwhm <= 0");
        }
    }
    EXPECT_EQ(curves::longpass_filter(0, 1, -1e308, 1e308, 1e308).size(), 3U);
}

TEST(SlitFunction, HasItsBandwidthAtHalfHeight) {
    for (const double bandwidth : {1e-3, 5.0, 123.4}) {
        EXPECT_NEAR(uniform_fibres_value(500, bandwidth, 500 - bandwidth / 2), 0.5, 1e-9);
        EXPECT_NEAR(uniform_fibres_value(500, bandwidth, 500 + bandwidth / 2), 0.5, 1e-9);
    }
    EXPECT_EQ(uniform_fibres_value(500, 10, 500), 1.0);
    EXPECT_EQ(uniform_fibres_value(500, 10, 512.4), 0.0);  // R is 12.377
    EXPECT_GT(uniform_fibres_value(500, 10, 512.3), 0.0);
    EXPECT_EQ(uniform_fibres_value(500, 0, 501), 0.0);
    EXPECT_TRUE(std::isnan(uniform_fibres_value(500, 0, 500)));
}

TEST(SlitFunction, CurveHasAllItsPointsAndIsSymmetric) {
    for (const double centre : {0.0, 550.0}) {
        for (const double bandwidth : {0.1, 3.0, 7.7}) {
            for (unsigned int points = 2; points < 200; ++points) {
                const Scan curve = uniform_fibres(centre, bandwidth, points);
                SCOPED_TRACE(testing::Message() << centre << ' ' << bandwidth << ' ' << points);
                ASSERT_EQ(curve.size(), points);
                const double R = bandwidth / 0.80794550659902;
                EXPECT_EQ(curve.min_wavelength(), centre - R);
                EXPECT_EQ(curve.max_wavelength(), centre + R);
                const auto values = curve.data().values();
                const auto keys = curve.data().keys();
                EXPECT_EQ(values.front(), 0.0);
                for (unsigned int i = 0; i < points; ++i) {
                    EXPECT_EQ(values[i], values[points - 1 - i]);
                    // Rounding of the wavelength itself moves the value by up to its slope.
                    EXPECT_NEAR(values[i], uniform_fibres_value(centre, bandwidth, keys[i]), 1e-11);
                    EXPECT_NEAR(keys[i] - centre, centre - keys[points - 1 - i], 3e-13);
                }
                if (points % 2 == 1) {
                    EXPECT_NEAR(keys[points / 2], centre, 1e-15);
                    EXPECT_DOUBLE_EQ(values[points / 2], 1.0);
                }
            }
        }
    }
}

// The integral of (2/pi)(acos x - x sqrt(1 - x^2)) over -1..1 is 8 / (3 pi).
TEST(SlitFunction, CurveHasTheClosedFormArea) {
    const double R = 10.0 / 0.80794550659902;
    EXPECT_NEAR(uniform_fibres(500, 10, 2001).integral(), R * 8.0 / (3.0 * 3.141592653589793),
                1e-5);
}

TEST(SlitFunction, RefusesCountsThatMakeNoCurve) {
    for (const auto& [points, text] :
         {std::pair{0U, "slit_function::uniform_fibres: fewer than 2 points"},
          {1U, "slit_function::uniform_fibres: fewer than 2 points"},
          {4294967295U, "slit_function::uniform_fibres: more than 100000000 points"}}) {
        try {
            (void)uniform_fibres(500, 10, points);
            ADD_FAILURE();
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), text);
        }
    }
    EXPECT_THROW((void)uniform_fibres(nan, 10, 5), std::invalid_argument);
    EXPECT_THROW((void)uniform_fibres(500, infinity, 5), std::invalid_argument);
    EXPECT_EQ(uniform_fibres(500, 0, 5).size(), 1U);
}

}  // namespace

}  // namespace vekanalysis
