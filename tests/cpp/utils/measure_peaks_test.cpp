#include "utils/measure_peaks.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "thrown_text.hpp"
#include "utils/peaks.hpp"

namespace {

using vekanalysis::Scan;
namespace utils = vekanalysis::utils;
using Points = std::vector<std::pair<double, double>>;

/// The rule, point by point from the peak outwards.
std::optional<double> edge(const Scan& scan, double peak, double height, const Points& outwards) {
    double inner = peak;
    for (auto [outer, value] : outwards) {
        if (value > height) return std::nullopt;
        if (value <= 0.5 * height) {
            for (int i = 0; i < 60; ++i) {
                const double middle = 0.5 * (inner + outer);
                (scan(middle) > 0.5 * height ? inner : outer) = middle;
            }
            return outer;
        }
        inner = outer;
    }
    return std::nullopt;
}

TEST(MeasurePeaks, FollowsTheRuleOnAnyCurve) {
    std::mt19937 random(11);
    const auto uniform = [&random] { return static_cast<double>(random() % 10001) / 1e4; };
    int with_width = 0;
    int without = 0;
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 5 + random() % 70;
        // Noise on a level, on a slope, below 0, in steps of a quarter.
        const double level = round % 3 == 0 ? 0.0 : uniform() * 4.0 - 2.0;
        const double slope = round % 2 == 0 ? 0.0 : uniform() * 0.2;
        Scan scan;
        for (std::size_t i = 0; i < n; ++i) {
            const double x = static_cast<double>(i);
            const double noise = round % 5 == 0 ? std::round(4.0 * uniform()) / 4.0 : uniform();
            scan[400.0 + x] = level + slope * x + noise;
        }
        if (round % 7 == 0) scan[400.0 + static_cast<double>(random() % n)] = NAN;
        const Scan expected = utils::find_peaks(scan);
        const std::vector<utils::Peak> peaks = utils::measure_peaks(scan);
        ASSERT_EQ(peaks.size(), expected.size());
        auto it = expected.begin();
        for (const utils::Peak& peak : peaks) {
            EXPECT_EQ(peak.wavelength, it->first);
            EXPECT_EQ(peak.height, it->second);
            ++it;
            Points below;
            Points above;
            for (const auto& point : scan) {
                if (point.first < peak.wavelength) below.insert(below.begin(), point);
                if (point.first > peak.wavelength) above.push_back(point);
            }
            const auto left = edge(scan, peak.wavelength, peak.height, below);
            const auto right = edge(scan, peak.wavelength, peak.height, above);
            const bool both = left && right;
            (both ? with_width : without) += 1;
            EXPECT_EQ(peak.width, both ? std::optional(*right - *left) : std::nullopt);
        }
    }
    EXPECT_GT(with_width, 300);
    EXPECT_GT(without, 300);
}

TEST(MeasurePeaks, GivesTheWidthOfAGaussianAndNoneAtACut) {
    const double sigma = 5.0;
    Scan line;
    Scan cut;
    for (int i = 0; i <= 400; ++i) {
        const double wl = 400.0 + 0.25 * i;
        line[wl] = std::exp(-0.5 * std::pow((wl - 440.1) / sigma, 2.0));
        if (wl >= 438.0) cut[wl] = line.at(wl);
    }
    const auto peaks = utils::measure_peaks(line);
    ASSERT_EQ(peaks.size(), 1U);
    EXPECT_NEAR(peaks[0].width.value(), 2.0 * std::sqrt(2.0 * std::log(2.0)) * sigma, 1e-4);
    ASSERT_EQ(utils::measure_peaks(cut).size(), 1U);
    EXPECT_FALSE(utils::measure_peaks(cut)[0].width.has_value());
    EXPECT_TRUE(utils::measure_peaks(Scan()).empty());
    EXPECT_EQ(thrown_text([] {
                  (void)utils::measure_peaks(Scan{{1, 0}, {2, 1}, {3, 0}});
              }),
              "Cannot initialize a spline, too few points");
}

}  // namespace
