#include "lighting/correlated_colour_temperature.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "lighting/daylight.hpp"
#include "lighting/planckian.hpp"

namespace {

using namespace vekanalysis::lighting;
using internal::UV;

UV on_locus(double mired, int step) {
    const auto& matching = internal::colour_matching(1931, step);
    std::vector<double> values(matching.points);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = internal::planckian_value(380.0 + static_cast<double>(i) * step, 1e6 / mired);
    }
    return internal::uv_of(matching(values));
}

/// A colour at a distance from a place of the locus, along its normal.
UV beside_locus(double mired, double distance, int step) {
    const double h = 1e-3;
    const UV a = on_locus(mired - h, step);
    const UV b = on_locus(mired + h, step);
    const double length = internal::distance(a, b);
    const UV at = on_locus(mired, step);
    return {at.u - distance * (b.v - a.v) / length, at.v + distance * (b.u - a.u) / length};
}

TEST(CorrelatedColourTemperature, IsTheFootOfThePerpendicularAnywhereBesideTheLocus) {
    std::mt19937 random(12);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    for (int i = 0; i < 4000; ++i) {
        const int step = i % 2 == 0 ? 5 : 1;
        // Even over the temperatures and over their reciprocals.
        const double mired = i % 4 < 2 ? 1.001 + 998.9 * share(random)
                                       : std::pow(10.0, 2.9999 * share(random) + 5e-5);
        const double distance = 0.0999 * (share(random) - 0.5);
        const UV colour = beside_locus(mired, distance, step);
        const auto found = internal::nearest_temperature(colour, step);
        ASSERT_NEAR(1e6 / found.cct, mired, 2e-6) << distance;
        ASSERT_NEAR(found.duv, distance, 1e-9);
    }
}

TEST(CorrelatedColourTemperature, HasNoJumps) {
    // A walk past the ends of several of the intervals that the locus is kept in: the second
    // difference of 1/T is that of the curve, 1e-7 of its first, and no more.
    const UV start = beside_locus(100.0, 0.02, 5);
    const UV end = beside_locus(190.0, -0.01, 5);
    constexpr int steps = 20000;
    std::vector<double> mired(steps);
    for (std::size_t i = 0; i < steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const UV colour{start.u + t * (end.u - start.u), start.v + t * (end.v - start.v)};
        mired[i] = 1e6 / internal::nearest_temperature(colour, 5).cct;
    }
    for (std::size_t i = 1; i + 1 < steps; ++i) {
        ASSERT_NEAR(mired[i + 1] - 2.0 * mired[i] + mired[i - 1], 0.0, 1e-6) << i;
    }
}

TEST(Daylight, IsFoundAgainByItsTemperature) {
    for (const int step : {5, 1}) {
        for (double T = 4000.0; T <= 25000.0; T += 35.0) {
            const internal::VisibleSpectrum spectrum(vekanalysis::lighting::daylight(T), step);
            const UV colour =
                internal::uv_of(internal::colour_matching(1931, step)(spectrum.values()));
            double found = 0.0;
            ASSERT_TRUE(internal::daylight_of_temperature(
                internal::nearest_temperature(colour, step).cct, step, &found));
            // As close as the search for the temperature goes.
            ASSERT_NEAR(found, T, 1e-8 * T) << step;
        }
    }
    double untouched = 1.0;
    EXPECT_FALSE(internal::daylight_of_temperature(26000.0, 5, &untouched));
    EXPECT_EQ(untouched, 1.0);
}

}  // namespace
