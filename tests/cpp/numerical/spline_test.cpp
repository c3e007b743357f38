#include "numerical/spline.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

using numerical::InterpolationType;
using numerical::Spline;

const std::vector<double> uneven_knots = {380.0, 384.0, 391.0, 395.5, 402.0, 410.0, 413.0, 420.0};

std::vector<double> apply(const std::function<double(double)>& f) {
    std::vector<double> values;
    for (const double x : uneven_knots) values.push_back(f(x));
    return values;
}

Spline built(const std::vector<double>& y, InterpolationType type) {
    Spline spline;
    EXPECT_TRUE(spline.reset(uneven_knots, y, type));
    return spline;
}

class EverySpline : public testing::TestWithParam<InterpolationType> {};

INSTANTIATE_TEST_SUITE_P(Types, EverySpline,
                         testing::Values(InterpolationType::LINEAR, InterpolationType::AKIMA,
                                         InterpolationType::CUBIC, InterpolationType::POLYNOMIAL));

TEST_P(EverySpline, ReproducesAStraightLine) {
    const auto line = [](double x) { return 0.25 * x - 80.0; };
    const Spline spline = built(apply(line), GetParam());
    for (double x = 380.0; x <= 420.0; x += 0.5) {
        EXPECT_NEAR(spline.eval(x), line(x), 1e-10) << x;
        EXPECT_NEAR(spline.deriv(x), 0.25, 1e-9) << x;
    }
    // The power basis of the polynomial cancels heavily at wavelengths of several hundred.
    const double tolerance = GetParam() == InterpolationType::POLYNOMIAL ? 0.05 : 1e-9;
    EXPECT_NEAR(spline.integ(381.0, 419.0), (line(381.0) + line(419.0)) / 2.0 * 38.0, tolerance);
}

TEST_P(EverySpline, MeetsItsKnotsAndNeverExtrapolates) {
    const std::vector<double> y = {0.1, 0.9, 0.4, 0.4, 0.8, 0.2, 0.3, 0.1};
    const Spline spline = built(y, GetParam());
    for (std::size_t i = 0; i < y.size(); ++i) {
        EXPECT_NEAR(spline.eval(uneven_knots[i]), y[i], 1e-12);
    }
    for (const double outside : {379.999, 420.001, -HUGE_VAL, HUGE_VAL}) {
        EXPECT_EQ(spline.eval(outside), 0.0);
        EXPECT_EQ(spline.deriv(outside), 0.0);
        EXPECT_EQ(spline.deriv2(outside), 0.0);
        EXPECT_FALSE(spline.contains(outside));
    }
    EXPECT_TRUE(std::isnan(spline.eval(NAN)));
}

TEST_P(EverySpline, DerivativesAndIntegralsAgreeWithTheValues) {
    const Spline spline = built({0.1, 0.9, 0.4, 0.4, 0.8, 0.2, 0.3, 0.1}, GetParam());
    const double h = 1e-4;
    for (double x = 380.31; x < 420.0; x += 0.7) {
        const double slope = (spline.eval(x + h) - spline.eval(x - h)) / (2.0 * h);
        EXPECT_NEAR(spline.deriv(x), slope, 1e-6 * (1.0 + std::abs(slope))) << x;
        const double curvature = (spline.deriv(x + h) - spline.deriv(x - h)) / (2.0 * h);
        EXPECT_NEAR(spline.deriv2(x), curvature, 1e-5 * (1.0 + std::abs(curvature))) << x;
    }
    if (GetParam() == InterpolationType::POLYNOMIAL) return;
    double sum = 0.0;
    for (int i = 0; i < 40000; ++i) sum += spline.eval(380.0005 + i * 0.001) * 0.001;
    EXPECT_NEAR(spline.integ(380.0, 420.0), sum, 1e-6);
    EXPECT_NEAR(spline.integ(383.0, 386.0) + spline.integ(386.0, 411.5), spline.integ(383.0, 411.5),
                1e-12);
    EXPECT_EQ(spline.integ(379.0, 400.0), 0.0);
    EXPECT_EQ(spline.integ(400.0, 421.0), 0.0);
    EXPECT_EQ(spline.integ(411.5, 383.0), -spline.integ(383.0, 411.5));
}

TEST_P(EverySpline, RefusesTooFewPointsUnequalLengthsAndUnorderedKnots) {
    const std::vector<double> x = {1.0, 2.0, 3.0, 4.0, 5.0};
    constexpr std::size_t minimum[] = {2, 5, 3, 3};
    const std::size_t enough = minimum[static_cast<std::size_t>(GetParam())];
    Spline spline;
    EXPECT_TRUE(spline.reset({x.data(), enough}, {x.data(), enough}, GetParam()));
    EXPECT_FALSE(spline.reset({x.data(), enough - 1}, {x.data(), enough - 1}, GetParam()));
    EXPECT_FALSE(spline.is_initialized());
    EXPECT_FALSE(spline.reset(x, {x.data(), 4}, GetParam()));
    EXPECT_FALSE(spline.reset(std::vector{1.0, 2.0, 2.0, 4.0, 5.0}, x, GetParam()));
    EXPECT_FALSE(spline.reset(std::vector<double>{1.0, 2.0, NAN, 4.0, 5.0}, x, GetParam()));
}

// Knots 0..5, values 0 0 1 0 0 0: slopes 0 1 -1 0 0 with two extrapolated on either side
// (-2 -1 and 0 0) give by hand the knot slopes -1/2, 1/3, 0, 0, 0.
TEST(AkimaSpline, MatchesSlopesWorkedOutByHand) {
    Spline spline;
    ASSERT_TRUE(spline.reset(std::vector{0.0, 1.0, 2.0, 3.0, 4.0, 5.0},
                             std::vector{0.0, 0.0, 1.0, 0.0, 0.0, 0.0}, InterpolationType::AKIMA));
    const std::vector<double> slopes = {-0.5, 1.0 / 3.0, 0.0, 0.0, 0.0};
    for (std::size_t i = 0; i < slopes.size(); ++i) {
        EXPECT_DOUBLE_EQ(spline.deriv(static_cast<double>(i)), slopes[i]) << i;
    }
    EXPECT_DOUBLE_EQ(spline.eval(1.5), 0.5 + 1.0 / 24.0);
}

// Natural spline through (0, 0), (1, 1), (2, 0): second derivatives 0, -3, 0 by hand.
TEST(CubicSpline, IsTheNaturalOne) {
    Spline spline;
    ASSERT_TRUE(spline.reset(std::vector{0.0, 1.0, 2.0}, std::vector{0.0, 1.0, 0.0},
                             InterpolationType::CUBIC));
    EXPECT_DOUBLE_EQ(spline.deriv2(0.0), 0.0);
    EXPECT_DOUBLE_EQ(spline.deriv2(1.0), -3.0);
    EXPECT_NEAR(spline.deriv2(2.0), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(spline.eval(0.5), 0.6875);
}

TEST(PolynomialSpline, RecoversAPolynomialAndItsIntegral) {
    const auto cubic = [](double x) { return 2.0 - x + 0.5 * x * x * x; };
    Spline spline;
    const std::vector<double> x = {-1.0, 0.0, 1.5, 2.0, 3.0};
    std::vector<double> y;
    for (const double knot : x) y.push_back(cubic(knot));
    ASSERT_TRUE(spline.reset(x, y, InterpolationType::POLYNOMIAL));
    EXPECT_NEAR(spline.eval(0.7), cubic(0.7), 1e-14);
    EXPECT_NEAR(spline.deriv(0.7), -1.0 + 1.5 * 0.49, 1e-13);
    EXPECT_NEAR(spline.deriv2(0.7), 2.1, 1e-13);
    EXPECT_NEAR(spline.integ(0.0, 2.0), 4.0 - 2.0 + 2.0, 1e-13);
}

}  // namespace
