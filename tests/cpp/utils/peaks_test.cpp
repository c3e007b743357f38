#include "utils/peaks.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "core/scan_arithmetic.hpp"
#include "sampled.hpp"
#include "thrown_text.hpp"

namespace {

using vekanalysis::Scan;
using vekanalysis::spline::Type;
namespace utils = vekanalysis::utils;

double band(double wl) {
    return std::exp(-std::pow((wl - 555.3) / 20.0, 2.0));
}

double wave(double wl) {
    return std::sin(2.0 * std::numbers::pi * wl / 50.0);
}

constexpr Type curves[] = {Type::AKIMA, Type::CUBIC};

TEST(EveryCurve, FindsABandsPeakTroughAndWidth) {
    for (const Type type : curves) {
        const Scan scan = sampled(band, 450.0, 650.0, 1.0, type);
        double x = 0.0;
        ASSERT_TRUE(utils::find_peak(scan, &x));
        EXPECT_NEAR(x, 555.3, 0.02);
        ASSERT_TRUE(utils::find_trough(-scan, &x));
        EXPECT_NEAR(x, 555.3, 0.02);
        EXPECT_FALSE(utils::find_trough(scan, &x)) << "the lowest points are the ends";

        double width = 0.0;
        ASSERT_TRUE(utils::peak_width(scan, 0.5, &width));
        EXPECT_NEAR(width, 40.0 * std::sqrt(std::numbers::ln2), 0.02);
        // Shifting the wavelengths shifts the peak, scaling the values does nothing.
        const Scan shifted =
            sampled([](double wl) { return 7.0 * band(wl - 100.0); }, 550.0, 750.0, 1.0, type);
        double shifted_x = 0.0;
        ASSERT_TRUE(utils::find_peak(shifted, &shifted_x));
        ASSERT_TRUE(utils::find_peak(scan, &x));
        EXPECT_NEAR(shifted_x - 100.0, x, 0.01);
    }
}

TEST(EveryCurve, FindsAllTurningPointsOfAWave) {
    for (const Type type : curves) {
        Scan scan = sampled(wave, 400.0, 600.0, 2.0, type);
        const Scan peaks = utils::find_peaks(scan);
        const Scan troughs = utils::find_troughs(scan);
        ASSERT_EQ(peaks.size(), 4U);
        ASSERT_EQ(troughs.size(), 4U);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(peaks.get_wavelengths()[i], 412.5 + 50.0 * static_cast<double>(i), 0.05);
            EXPECT_NEAR(peaks.get_values()[i], 1.0, 1e-3);
            EXPECT_NEAR(troughs.get_wavelengths()[i], 437.5 + 50.0 * static_cast<double>(i), 0.05);
        }
        double x = 0.0;
        ASSERT_TRUE(utils::find_peak(scan, 500.0, 530.0, &x));
        EXPECT_NEAR(x, peaks.get_wavelengths()[2], 0.05);
        ASSERT_TRUE(utils::find_trough(scan, 500.0, 550.0, &x));
        EXPECT_NEAR(x, troughs.get_wavelengths()[2], 0.05);

        // Into the scan that is searched, and into one with other settings.
        Scan self = scan;
        utils::find_peaks(self, &self);
        EXPECT_EQ(self.size(), scan.size() + 4);
        utils::add_turning_points(&scan);
        EXPECT_EQ(scan.size(), self.size() + 4);
        EXPECT_EQ(scan.at(peaks.min_wavelength()), peaks.get_values()[0]);
    }
}

TEST(TurningPoints, ArePassedOverRightAfterOneThatWasFound) {
    // Each stored point from 1 to 5 leads to the peak at 3 or none; it is reported once.
    const Scan one({{0.0, 0.0}, {1.0, 1.0}, {2.0, 3.0}, {3.0, 4.0}, {4.0, 3.0}, {5.0, 1.0}});
    EXPECT_EQ(utils::find_peaks(one).size(), 1U);
    // A zigzag has peaks at 1, 3 and 5; the points between them are the ones not looked at.
    const Scan zigzag({{0.0, 0.0}, {1.0, 2.0}, {2.0, 0.0}, {3.0, 2.0}, {4.0, 0.0}, {5.0, 2.0}});
    const Scan found = utils::find_peaks(zigzag);
    ASSERT_GE(found.size(), 2U);
    EXPECT_NEAR(found.get_wavelengths()[0], 1.0, 0.6);
    EXPECT_NEAR(found.get_wavelengths()[1], 3.0, 0.6);
}

TEST(TurningPoints, AreRefusedWhereThereIsNoBracket) {
    double x = 7.0;
    Scan empty;
    Scan one({{1.0, 1.0}});
    Scan rising = sampled([](double wl) { return wl; }, 0.0, 6.0, 1.0, Type::LINEAR);
    Scan plateau = sampled([](double) { return 2.0; }, 0.0, 6.0, 1.0);
    for (const Scan* scan : {&empty, &one, &rising, &plateau}) {
        EXPECT_FALSE(utils::find_peak(*scan, &x));
        EXPECT_FALSE(utils::find_trough(*scan, &x));
        EXPECT_TRUE(utils::find_peaks(*scan).empty());
        EXPECT_FALSE(utils::peak_width(*scan, 0.5, &x));
        for (auto it = scan->begin();; ++it) {
            EXPECT_FALSE(utils::find_turning_point(*scan, it, false, &x));
            if (it == scan->end()) break;
        }
    }
    EXPECT_FALSE(utils::find_peak(rising, 10.0, 20.0, &x)) << "no stored point in the range";
    EXPECT_FALSE(utils::find_peak(sampled(band, 450.0, 650.0, 1.0), nullptr));
    EXPECT_EQ(x, 7.0);
    utils::add_turning_points(&rising);
    EXPECT_EQ(rising.size(), 7U);
}

TEST(TurningPoints, AtAnEndLieInItsOnlyInterval) {
    // The parabola through three knots or more has its top at 0.4, beside the first point.
    const auto parabola = [](double wl) { return 4.0 - (wl - 0.4) * (wl - 0.4); };
    const Scan scan = sampled(parabola, 0.0, 5.0, 1.0, Type::POLYNOMIAL);
    double x = 0.0;
    ASSERT_TRUE(utils::find_peak(scan, &x));
    EXPECT_NEAR(x, 0.4, 1e-3);
}

TEST(Searches, PassTheInterpolantsErrorsOn) {
    Scan scan({{1.0, 0.0}, {2.0, 1.0}, {3.0, 0.0}});
    double x = 0.0;
    const auto find = [&] { (void)utils::find_peak(scan, &x); };
    EXPECT_EQ(thrown_text(find), "Cannot initialize a spline, too few points");
    scan.set_interpolation_type(Type::NONE);
    EXPECT_EQ(thrown_text(find), "Cannot initialize a spline with type None");
    EXPECT_FALSE(utils::peak_width(scan, 0.5, &x)) << "asked for before the peak";
}

TEST(FindKey, InvertsAMonotoneStretch) {
    const Scan line = sampled([](double wl) { return 2.0 * wl; }, 0.0, 10.0, 1.0, Type::LINEAR);
    double x = 7.0;
    EXPECT_FALSE(utils::find_key(Scan(), 0.0, 1.0, 0.0, &x));
    EXPECT_FALSE(utils::find_key(line, 0.0, 10.0, 30.0, &x));
    EXPECT_FALSE(utils::find_key(line, 10.0, 0.0, 5.0, &x));
    EXPECT_EQ(x, 7.0);
    ASSERT_TRUE(utils::find_key(line, 0.0, 10.0, 6.5, &x));
    EXPECT_NEAR(x, 3.25, 1e-3);
    ASSERT_TRUE(utils::find_key(line, 3.0, 10.0, 6.0, &x));
    EXPECT_EQ(x, 3.0);
}

TEST(FindCrossing, LiesOnTheDifferenceOfBoth) {
    const Scan rising = sampled([](double wl) { return wl; }, 0.0, 10.0, 1.0, Type::LINEAR);
    const Scan falling = sampled([](double wl) { return 8.5 - wl; }, 0.0, 10.0, 0.7, Type::LINEAR);
    EXPECT_NEAR(utils::find_crossing(rising, falling, 0.0, 9.0), 4.25, 1e-3);
    EXPECT_NEAR(utils::find_crossing(-rising, -falling, 0.0, 9.0), 4.25, 1e-3);

    // Equal within five units in the last place at a stored point: that point.
    const Scan close = sampled([](double wl) { return wl == 3.0 ? wl + 5.0 * 0x1p-51 : 20.0; }, 0.0,
                               10.0, 1.0, Type::LINEAR);
    EXPECT_EQ(utils::find_crossing(rising, close, 0.0, 10.0), 3.0);
    EXPECT_EQ(utils::find_crossing(rising, rising, 4.0, 4.0), 4.0);
}

TEST(FindCrossing, SaysWhatIsMissing) {
    const Scan low = sampled([](double) { return 1.0; }, 0.0, 10.0, 1.0);
    const Scan high = low + 1.0;
    const auto text = [&](const Scan& a, const Scan& b, double lo, double hi) {
        return thrown_text([&] { (void)utils::find_crossing(a, b, lo, hi); });
    };
    EXPECT_EQ(text(low, high, 0.5, 10.0), "scan_1 must contain keys lo and hi");
    EXPECT_EQ(text(low, high, 0.0, 11.0), "scan_1 must contain keys lo and hi");
    EXPECT_EQ(text(low, high, 0.0, 10.0), "failed to bracket the root");
    EXPECT_EQ(text(low, low * 0.0, 5.0, 4.0), "failed to bracket the root") << "no points";
    Scan gap = high;
    gap[5.0] = NAN;
    EXPECT_EQ(text(high, gap - 2.0, 0.0, 10.0), "root finding failed");
}

TEST(PeakWidth, NeedsBothFlanksAndUsesThePointsAsTheyAre) {
    double width = 7.0;
    const Scan cut = sampled(band, 550.0, 650.0, 1.0);
    EXPECT_FALSE(utils::peak_width(cut, 0.5, &width)) << "above half maximum at its lower end";
    EXPECT_EQ(width, 7.0);
    ASSERT_TRUE(utils::peak_width(cut, 0.97, &width));

    // An interpolant from before the epsilon was widened still serves the scan itself.
    Scan merged = sampled(band, 450.0, 650.0, 1.0);
    merged[555.5] = 5.0;
    EXPECT_GT(merged(555.4), 1.0);
    merged.set_wavelength_epsilon(0.6);
    double fresh = 0.0;
    ASSERT_TRUE(utils::peak_width(Scan(merged), 0.5, &fresh));
    ASSERT_TRUE(utils::peak_width(merged, 0.5, &width));
    EXPECT_EQ(width, fresh);
}

}  // namespace
