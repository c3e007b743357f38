#include "colorimetry/photometer.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "core/scan_arithmetic.hpp"

namespace vekanalysis::colorimetry {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double limit = 1.3962634015954636;

TEST(F1Prime, APerfectPhotometerHasNone) {
    const Scan& y = data::cie_1931_standard_observer_y();
    EXPECT_EQ(f1_prime(y), 0.0);
    EXPECT_EQ(f1_prime(y * 2.0), 0.0);
}

TEST(F1Prime, AgreesWithTheSumOver5nm) {
    // Responsivity 1 + 0.1 (wl - 580) / 200 times y, so that it crosses y once; the sum of
    // |k s - y| over the table is independent of our interpolation.
    const Scan& y = data::cie_1931_standard_observer_y();
    const Scan& a = data::cie_illuminant_a();
    Scan scan(y);
    scan.for_each([](std::pair<const double, double>& point) {
        point.second *= 1.0 + 0.1 * (point.first - 580.0) / 200.0;
    });
    double reference = 0.0;
    double own = 0.0;
    for (const auto& [wl, value] : y) {
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
    const auto expect_refused = [](const Scan& scan) {
        try {
            (void)f1_prime(scan);
            FAIL();
        } catch (const std::domain_error& error) {
            EXPECT_STREQ(error.what(), "Input has no data in the range 380 to 780");
        }
    };
    expect_refused(Scan());
    expect_refused(Scan{{340, 1}, {350, 1}, {360, 1}, {370, 1}, {379.9, 1}});
    expect_refused(Scan{{780.1, 1}, {790, 1}, {800, 1}, {810, 1}, {820, 1}});
    EXPECT_THROW((void)f1_prime(Scan{{500, 1}}), std::runtime_error);  // too few points
}

/// response(angle) from -90 to 90 degrees in steps of 5, with the limits of f2 among the points.
template <class F>
Scan responses(const F& response) {
    Scan scan;
    for (int degrees = -90; degrees <= 90; degrees += 5) {
        const double angle = degrees == 80 ? limit : degrees == -80 ? -limit : degrees * pi / 180.0;
        scan.insert({angle, response(angle)});
    }
    return scan;
}

double cosine(double angle) {
    return 3.0 * std::cos(angle);
}

double flat(double) {
    return 3.0;
}

TEST(F2, APerfectCosineResponseHasNone) {
    EXPECT_NEAR(f2(responses(cosine), responses(cosine)), 0.0, 1e-15);
}

// A response that does not fall off at all: the integral of (1 / cos e - 1) sin 2e from 0 to L is
// 2 (1 - cos L) - sin^2 L. The tolerance is that of 5 degree steps.
TEST(F2, AFlatResponseHasTheClosedForm) {
    const double one_azimuth = 2.0 * (1.0 - std::cos(limit)) - std::pow(std::sin(limit), 2.0);
    const Scan level = responses(flat);
    const Scan ideal = responses(cosine);
    EXPECT_NEAR(f2(level, level), one_azimuth, 2e-3);
    EXPECT_NEAR(f2(level, ideal), one_azimuth / 2.0, 2e-3);
    EXPECT_NEAR(f2(ideal, level), one_azimuth / 2.0, 2e-3);
}

TEST(F2, NegativeAnglesAreTheOppositeAzimuth) {
    const double one_azimuth = 2.0 * (1.0 - std::cos(limit)) - std::pow(std::sin(limit), 2.0);
    const Scan one_sided = responses([](double angle) { return angle < 0 ? 3.0 : cosine(angle); });
    EXPECT_NEAR(f2(one_sided, responses(cosine)), one_azimuth / 4.0, 2e-3);
}

TEST(F2, CutsAtEightyDegreesAndInterpolatesThere) {
    const double with_limits = f2(responses(flat), responses(flat));
    Scan coarse;
    for (int degrees = -90; degrees <= 90; degrees += 3) {
        coarse.insert({degrees * pi / 180.0, 3.0});
    }
    ASSERT_FALSE(coarse.contains(limit));
    EXPECT_NEAR(f2(coarse, coarse), with_limits, 2e-3);
}

TEST(F2, BuildsTheSplineEvenWhenEveryPointIsStored) {
    Scan scan = responses(cosine);
    scan.set_interpolation_type(spline::Type::NONE);
    try {
        (void)f2(scan, scan);
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot initialize a spline with type None");
    }
}

}  // namespace

}  // namespace vekanalysis::colorimetry
