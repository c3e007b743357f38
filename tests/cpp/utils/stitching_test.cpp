#include "utils/stitching.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/scan_arithmetic.hpp"
#include "sampled.hpp"
#include "thrown_text.hpp"

namespace {

using vekanalysis::Scan;
using vekanalysis::spline::Type;
using vekanalysis::utils::stitch_scans;
using vekanalysis::utils::StitchResults;

Scan ramp(double from, double to, double offset, double slope) {
    return sampled([=](double wl) { return offset + slope * (wl - 400.0); }, from, to, 1.0,
                   Type::LINEAR);
}

TEST(StitchScans, JoinsAtTheCrossingOfTheScaledScans) {
    // Over 400 to 404 s1 = 10 10 10 10 10 and s2 = 4 4.5 5 5.5 6:
    // k = 250 / 127.5 = 100 / 51, error = 500 - k 250 = 500 / 51, sum of k s2 = 2500 / 51.
    const Scan scan_1 = ramp(390.0, 404.0, 10.0, 0.0);
    const Scan scan_2 = ramp(398.0, 420.0, 4.0, 0.5);
    const StitchResults joined = stitch_scans(scan_1, scan_2, 400.0, 404.0, 0.1);
    EXPECT_TRUE(joined.success);
    EXPECT_EQ(joined.n, 5U);
    EXPECT_NEAR(joined.k, 100.0 / 51.0, 1e-14);
    EXPECT_NEAR(joined.error, 500.0 / 51.0, 1e-12);
    const double average = (10.0 + 500.0 / 51.0) / 2.0;
    EXPECT_NEAR(joined.average, average, 1e-13);
    EXPECT_NEAR(joined.percent_error_rms, std::sqrt(500.0 / 51.0) / 5.0 / average, 1e-14);
    // k (4 + t / 2) = 10 at t = 2.2.
    EXPECT_NEAR(joined.stitch_point, 402.2, 1e-3);

    const Scan& spectrum = joined.stitch_scan;
    EXPECT_EQ(spectrum.size(), 13U + 1U + 18U);
    EXPECT_EQ(spectrum.get_interpolation_type(), Type::AKIMA);
    EXPECT_EQ(spectrum.min_wavelength(), 390.0);
    EXPECT_EQ(spectrum.max_wavelength(), 420.0);
    EXPECT_EQ(spectrum.at(402.0), 10.0);
    EXPECT_EQ(spectrum.at(joined.stitch_point), 10.0);
    EXPECT_EQ(spectrum.at(403.0), scan_2.at(403.0) * joined.k);

    const StitchResults refused =
        stitch_scans(scan_1, scan_2, 400.0, 404.0, joined.percent_error_rms);
    EXPECT_FALSE(refused.success) << "the error has to be below the target";
    EXPECT_EQ(refused.k, joined.k);
    EXPECT_EQ(refused.stitch_point, 0.0);
    EXPECT_TRUE(refused.stitch_scan.empty());
}

TEST(StitchScans, OfTheSameCurveMeetsAtTheFirstPointAndKeepsNoPointTwice) {
    const Scan scan_1 = ramp(390.0, 404.0, 10.0, 0.25);
    const StitchResults joined =
        stitch_scans(scan_1, ramp(398.0, 420.0, 5.0, 0.125), 400.0, 404.0, 1e-9);
    EXPECT_EQ(joined.k, 2.0);
    EXPECT_EQ(joined.error, 0.0);
    EXPECT_EQ(joined.stitch_point, 400.0);
    EXPECT_EQ(joined.stitch_scan.size(), 31U);

    const StitchResults point = stitch_scans(scan_1, scan_1 * 3.0, 402.0, 402.0, 1e-9);
    EXPECT_EQ(point.n, 1U);
    EXPECT_NEAR(point.k, 1.0 / 3.0, 1e-16);
    EXPECT_TRUE(point.success);
}

// Deliberate: an error relative to a negative average is below every target.
TEST(StitchScans, OfNegativeSpectraAlwaysSucceeds) {
    const StitchResults joined = stitch_scans(ramp(390.0, 404.0, -10.0, 0.0),
                                              ramp(398.0, 420.0, 4.0, 0.5), 400.0, 404.0, 0.0);
    EXPECT_LT(joined.percent_error_rms, 0.0);
    EXPECT_TRUE(joined.success);
}

TEST(StitchScans, SaysWhatIsMissingInItsOrder) {
    const Scan scan_1 = ramp(390.0, 404.0, 10.0, 0.0);
    const auto text = [&](const Scan& scan_2, double from, double to) {
        return thrown_text([&] { (void)stitch_scans(scan_1, scan_2, from, to, 0.1); });
    };
    const std::string keys = "scan_1 must contain keys min_wl and max_wl";
    const std::string domain = "scan_2 must be defined over the domain [min_wl, max_wl]";
    const Scan scan_2 = ramp(400.0, 403.0, 4.0, 0.5);
    EXPECT_EQ(text(scan_2, 500.0, 400.5), "domain error, max_wl < min_wl");
    EXPECT_EQ(text(scan_2, 400.5, 402.0), keys);
    EXPECT_EQ(text(scan_2, 400.0, 405.0), keys);
    EXPECT_EQ(text(scan_2, 399.0, 402.0), domain);
    EXPECT_EQ(text(scan_2, 400.0, 404.0), domain);
    EXPECT_EQ(text(Scan(), 400.0, 404.0), domain);
    EXPECT_EQ(text(scan_2 * 0.0, 400.0, 403.0),
              "Division by zero. scan_2(wl) is zero across [min_wl, max_wl]");
    // A match that is good enough without a crossing takes a scan_2 of both signs.
    const Scan above({{400.0, 2.0}, {401.0, 1.0}});
    const Scan both_signs({{400.0, 1.0}, {401.0, -1.0}});
    const auto stitch = [&] { (void)stitch_scans(above, both_signs, 400.0, 401.0, 10.0); };
    EXPECT_EQ(thrown_text(stitch), "failed to bracket the root");
}

}  // namespace
