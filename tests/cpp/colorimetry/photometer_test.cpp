#include "colorimetry/photometer.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::colorimetry {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double limit = 1.3962634015954636;

TEST(F1Prime, AgreesWithTheSumOver5nm) {
    const Scan& y = data::cie_1931_standard_observer_y();
    const Scan& a = data::cie_illuminant_a();
    EXPECT_EQ(f1_prime(y), 0.0);
    EXPECT_EQ(f1_prime(y * 2.0), 0.0);
    // Responsivity 1 + 0.1 (wl - 580) / 200 times y, so that it crosses y once; the sum of
    // |k s - y| over the table is independent of our interpolation.
    Scan scan;
    double reference = 0.0;
    double own = 0.0;
    for (const auto& [wl, value] : y) {
        scan.insert({wl, value * (1.0 + 0.1 * (wl - 580.0) / 200.0)});
        reference += a.at(wl) * value;
        own += a.at(wl) * scan.at(wl);
    }
    double deviation = 0.0;
    double sum = 0.0;
    for (const auto& [wl, value] : y) {
        deviation += std::abs(reference / own * scan.at(wl) - value);
        sum += value;
    }
    EXPECT_NEAR(f1_prime(scan), deviation / sum, 1e-4);
    EXPECT_NEAR(f1_prime(scan), 0.0166, 0.002);
}

TEST(F1Prime, NeedsDataInTheVisible) {
    EXPECT_THROW((void)f1_prime(Scan()), std::domain_error);
    EXPECT_THROW((void)f1_prime(Scan{{340, 1}, {350, 1}, {360, 1}, {370, 1}, {379.9, 1}}),
                 std::domain_error);
    EXPECT_THROW((void)f1_prime(Scan{{780.1, 1}, {790, 1}, {800, 1}, {810, 1}, {820, 1}}),
                 std::domain_error);
    EXPECT_THROW((void)f1_prime(Scan{{500, 1}}), std::runtime_error);  // too few points
}

/// response(angle) from -90 to 90 degrees; the limits of f2 are among the points if step allows.
template <class F>
Scan responses(int step, const F& response) {
    Scan scan;
    for (int degrees = -90; degrees <= 90; degrees += step) {
        const double angle = degrees == 80 ? limit : degrees == -80 ? -limit : degrees * pi / 180.0;
        scan.insert({angle, response(angle)});
    }
    return scan;
}

// A response that does not fall off at all: the integral of (1 / cos e - 1) sin 2e from 0 to L is
// 2 (1 - cos L) - sin^2 L. The tolerance is that of 5 degree steps.
TEST(F2, IsTheMeanDeviationFromTheCosineOverFourAzimuths) {
    const double one_azimuth = 2.0 * (1.0 - std::cos(limit)) - std::pow(std::sin(limit), 2.0);
    const auto cosine = [](double angle) { return 3.0 * std::cos(angle); };
    const auto flat = [](double) { return 3.0; };
    const auto half = [&](double angle) { return angle < 0 ? 3.0 : cosine(angle); };
    for (const int step : {5, 3}) {  // 80 degrees is a point, and interpolated
        const Scan ideal = responses(step, cosine);
        const Scan level = responses(step, flat);
        EXPECT_NEAR(f2(level, level), one_azimuth, 2e-3) << step;
        EXPECT_NEAR(f2(level, ideal), one_azimuth / 2.0, 2e-3) << step;
        EXPECT_NEAR(f2(ideal, level), one_azimuth / 2.0, 2e-3) << step;
        EXPECT_NEAR(f2(responses(step, half), ideal), one_azimuth / 4.0, 2e-3) << step;
    }
    Scan ideal = responses(5, cosine);
    EXPECT_NEAR(f2(ideal, ideal), 0.0, 1e-15);
    // The spline is built even when every point is stored.
    ideal.set_interpolation_type(spline::Type::NONE);
    EXPECT_THROW((void)f2(ideal, ideal), std::runtime_error);
}

}  // namespace

}  // namespace vekanalysis::colorimetry
