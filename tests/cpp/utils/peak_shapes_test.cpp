#include "utils/peak_shapes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "sampled.hpp"
#include "thrown_text.hpp"

namespace {

using vekanalysis::Scan;
using vekanalysis::spline::Type;
namespace utils = vekanalysis::utils;
using utils::Baseline;

const double fwhm_of_sigma = 2.0 * std::sqrt(2.0 * std::log(2.0));
const double pi = std::acos(-1.0);

struct Gaussian {
    double centre;
    double height;
    double fwhm;

    [[nodiscard]] double operator()(double wl) const {
        return height * std::exp(-4.0 * std::log(2.0) * std::pow((wl - centre) / fwhm, 2.0));
    }
    [[nodiscard]] double area() const {
        return height * fwhm / fwhm_of_sigma * std::sqrt(2.0 * pi);
    }
};

/// What is true of a point of a list of values, by the definitions, without regard to speed.
struct Sampled {
    double prominence;
    double left;
    double right;
};

Sampled by_definition(const std::vector<double>& y, std::size_t peak) {
    std::size_t i = peak;
    double left_min = y[peak];
    for (; i-- > 0 && y[i] <= y[peak];) left_min = std::min(left_min, y[i]);
    double right_min = y[peak];
    for (i = peak + 1; i < y.size() && y[i] <= y[peak]; ++i) right_min = std::min(right_min, y[i]);
    Sampled found{y[peak] - std::max(left_min, right_min), 0.0, 0.0};
    const double level = y[peak] - 0.5 * found.prominence;
    for (i = peak; y[i] > level;) --i;
    found.left = static_cast<double>(i) + (level - y[i]) / (y[i + 1] - y[i]);
    for (i = peak; y[i] > level;) ++i;
    found.right = static_cast<double>(i) - (level - y[i]) / (y[i - 1] - y[i]);
    return found;
}

TEST(PeakShapes, AreThoseOfTheDefinitionsOnStraightLines) {
    std::mt19937 random(5);
    std::size_t count = 0;
    for (int round = 0; round < 400; ++round) {
        const std::size_t n = 2 + random() % 60;
        std::vector<double> x(n);
        std::vector<double> y(n);
        for (std::size_t i = 0; i < n; ++i) {
            x[i] = static_cast<double>(i);
            // Whole numbers make plateaus and peaks of equal height.
            const double noise = static_cast<double>(random() % 1000) / 100.0;
            y[i] = round % 2 == 0 ? std::floor(noise) : noise;
            if (round % 5 == 0) y[i] -= 0.2 * x[i];
        }
        const Scan scan(x, y, 1e-20, Type::LINEAR);
        std::size_t next = 0;
        for (const auto& peak : utils::peaks(scan, {.baseline = Baseline::PROMINENCE})) {
            const auto at = static_cast<std::size_t>(peak.wavelength);
            ASSERT_GE(at, next);
            const Sampled expected = by_definition(y, at);
            EXPECT_EQ(peak.height, y[at]);
            EXPECT_EQ(peak.prominence, expected.prominence);
            EXPECT_NEAR(*peak.left, expected.left, 1e-12 * static_cast<double>(n));
            EXPECT_NEAR(*peak.right, expected.right, 1e-12 * static_cast<double>(n));
            // None is left out between two of them.
            for (std::size_t i = std::max(next, std::size_t{1}); i < at; ++i) {
                EXPECT_FALSE(y[i - 1] < y[i] && y[i] > y[i + 1]);
            }
            next = at + 1;
            ++count;
        }
    }
    EXPECT_GT(count, 2000U);
}

TEST(PeakShapes, FindAGaussianOverASlopeWithItsWidthAndArea) {
    const Gaussian line{500.3, 2.0, 15.0};
    const auto background = [](double wl) { return 0.8 + 0.002 * (wl - 500.0); };
    const Scan scan = sampled([&](double wl) { return line(wl) + background(wl); }, 440, 560, 1);
    const auto found = utils::peaks(scan);
    ASSERT_EQ(found.size(), 1U);
    const auto& peak = found[0];
    // The top moves up the slope by slope / curvature.
    const double shift = 0.002 / (line.height * 8.0 * std::log(2.0) / (15.0 * 15.0));
    EXPECT_NEAR(peak.wavelength, line.centre + shift, 0.01);
    EXPECT_NEAR(peak.height, line.height + background(line.centre), 1e-3);
    // On the rising side the lowest point lies on the foot of the line, 0.0047 above the slope.
    EXPECT_NEAR(peak.baseline, background(peak.wavelength), 3e-3);
    EXPECT_NEAR(*peak.width, line.fwhm, 0.02);
    EXPECT_NEAR(0.5 * (*peak.left + *peak.right), line.centre, 0.01);
    EXPECT_NEAR(peak.area, line.area(), 0.005 * line.area());
    // Counted from 0 the same line is wider.
    const auto over_zero = utils::peaks(scan, {.baseline = Baseline::ZERO});
    EXPECT_GT(*over_zero[0].width, 18.0);
}

TEST(PeakShapes, GiveTheTwoLinesOfADoubletOnEveryCurve) {
    const Gaussian first{420.0, 1.0, 6.0};
    const Gaussian second{440.0, 3.0, 6.0};
    const auto both = [&](double wl) { return first(wl) + second(wl); };
    for (const Type type : {Type::AKIMA, Type::CUBIC, Type::LINEAR}) {
        SCOPED_TRACE(vekanalysis::spline::typeToString(type));
        const auto found = utils::peaks(sampled(both, 410, 450, 0.5, type), {.prominence = 0.5});
        ASSERT_EQ(found.size(), 2U);
        for (const auto& [peak, line] : {std::pair{found[0], first}, std::pair{found[1], second}}) {
            EXPECT_NEAR(peak.wavelength, line.centre, 0.02);
            EXPECT_NEAR(peak.height, line.height, 0.02);
            EXPECT_NEAR(peak.prominence, line.height, 0.02);
            EXPECT_NEAR(*peak.width, line.fwhm, 0.1);
            EXPECT_NEAR(peak.area, line.area(), 0.02 * line.area());
            EXPECT_EQ(*peak.width, *peak.right - *peak.left);
        }
    }
}

TEST(PeakShapes, OfNoisyLinesAreAsManyAsTheLines) {
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0.0, 0.01);
    const Scan scan = sampled(
        [&](double wl) {
            const double centre = 50.0 * std::round(wl / 50.0);
            return Gaussian{centre, 1.0, 15.0}(wl) + 0.3 + noise(random);
        },
        25, 20025, 0.5);
    EXPECT_GT(utils::peaks(scan).size(), 5000U);
    const auto found = utils::peaks(scan, {.prominence = 0.5});
    ASSERT_EQ(found.size(), 400U);
    double mean = 0.0;
    for (const auto& peak : found) mean += *peak.width / 400.0;
    // The lowest points of the noise are three standard deviations below the background.
    EXPECT_NEAR(mean, 15.0, 0.3);
}

TEST(PeakShapes, OptionsKeepWhatIsHighFarAndWideEnough) {
    const Scan scan{{1, 0}, {2, 5}, {3, 1},  {4, 4},  {5, 1},  {6, 5}, {7, 0},
                    {8, 2}, {9, 2}, {10, 2}, {11, 0}, {12, 3}, {13, 2}};
    Scan lines(scan);
    lines.set_interpolation_type(Type::LINEAR);
    const auto at = [&lines](const utils::PeakOptions& options) {
        std::vector<double> found;
        for (const auto& peak : utils::peaks(lines, options)) found.push_back(peak.wavelength);
        return found;
    };
    using Found = std::vector<double>;
    EXPECT_EQ(at({}), (Found{2, 4, 6, 9, 12}));
    EXPECT_EQ(at({.height = 4.0}), (Found{2, 4, 6}));
    EXPECT_EQ(at({.prominence = 3.0}), (Found{2, 4, 6}));
    EXPECT_EQ(at({.prominence = 3.5}), (Found{2, 6}));
    // Of two equal ones that at the longer wavelength stays, and takes its neighbours along first.
    EXPECT_EQ(at({.distance = 2.0}), (Found{2, 4, 6, 9, 12}));
    EXPECT_EQ(at({.distance = 2.5}), (Found{2, 6, 9, 12}));
    EXPECT_EQ(at({.distance = 4.5}), (Found{6, 12}));
    EXPECT_EQ(at({.width = 2.5}), (Found{9}));
    EXPECT_EQ(at({.height = 4.0, .prominence = 5.0, .distance = 3.0}), (Found{2, 6}));
    // A peak that was dropped is no neighbour any more: the lowest points lie farther apart.
    const auto wide = utils::peaks(lines, {.height = 5.0, .baseline = Baseline::VALLEYS});
    ASSERT_EQ(wide.size(), 2U);
    EXPECT_EQ(wide[0].baseline, 0.5);
    EXPECT_EQ(wide[1].baseline, 0.5);
}

TEST(PeakShapes, RefuseWhatHasNoPeaksAndNamesTheReason) {
    const auto text = [](const Scan& scan, const utils::PeakOptions& options) {
        return thrown_text([&] { (void)utils::peaks(scan, options); });
    };
    const Scan good{{1, 0}, {2, 1}, {3, 0}, {4, 0}, {5, 0}};
    const std::string not_finite = "utils::peaks: a point is not finite";
    const std::string negative =
        "utils::peaks: distance, prominence and width must not be negative";
    EXPECT_EQ(text(good, {}), "no exception");
    EXPECT_EQ(text(Scan{{1, 0}, {2, NAN}, {3, 0}, {4, 0}, {5, 0}}, {}), not_finite);
    EXPECT_EQ(text(Scan{{1, 0}, {2, 1}, {3, 0}, {4, 0}, {INFINITY, 0}}, {}), not_finite);
    const std::string too_large = "utils::peaks: the numbers are too large or too small";
    EXPECT_EQ(text(Scan({1, 2, 3, 4, 5}, {0, 1.7e308, -1.7e308, 1e308, 0}), {}), too_large);
    EXPECT_EQ(text(Scan({1e307, 2e307, 3e307, 4e307, 5e307}, {0, 1, 0, 3, 0}), {}), too_large);
    EXPECT_EQ(text(good, {.width = NAN}), "utils::peaks: an option is not a number");
    EXPECT_EQ(text(good, {.distance = -1.0}), negative);
    EXPECT_EQ(text(Scan{{1, 0}, {2, 1}}, {}), "Cannot initialize a spline, too few points");
    EXPECT_EQ(text(Scan(1e-20, Type::NONE), {}), "no exception");
    EXPECT_TRUE(utils::peaks(Scan()).empty());
    EXPECT_EQ(text(Scan({1, 2, 3}, {0, 1, 0}, 1e-20, Type::POLYNOMIAL), {}),
              "utils::peaks: a polynomial through all points is not taken");
    // A plateau at an end and a slope are no peaks.
    EXPECT_TRUE(utils::peaks(Scan{{1, 2}, {2, 2}, {3, 1}, {4, 3}, {5, 3}}).empty());
    // Below 0 there is no width over 0.
    const Scan below{{1, -5}, {2, -4}, {3, -1}, {4, -4}, {5, -5}};
    const auto shape = utils::peaks(below, {.baseline = Baseline::ZERO}).at(0);
    EXPECT_FALSE(shape.width.has_value());
    EXPECT_EQ(shape.area, 0.0);
}

/// Whether the curve falls to half of a peak's height over 0 at a stored point, before it rises
/// above the peak, on one side.
bool falls_to_half(const utils::PeakShape& peak,
                   const std::vector<std::pair<double, double>>& outwards) {
    for (const auto& [wl, value] : outwards) {
        if (value > peak.height) return false;
        if (value <= 0.5 * peak.height) return true;
    }
    return false;
}

TEST(PeakShapes, LieBetweenTheirEdgesWhichAreHalfAsHigh) {
    std::mt19937 random(11);
    const auto uniform = [&random] { return static_cast<double>(random() % 10001) / 1e4; };
    int with_width = 0;
    int without = 0;
    for (int round = 0; round < 300; ++round) {
        // Noise on a level, on a slope, below 0, in steps of a quarter.
        const double level = round % 3 == 0 ? 0.0 : uniform() * 4.0 - 2.0;
        const double slope = round % 2 == 0 ? 0.0 : uniform() * 0.2;
        Scan scan(1e-20, round % 4 == 0 ? Type::CUBIC : Type::AKIMA);
        const int n = 5 + static_cast<int>(random() % 70);
        for (int i = 0; i < n; ++i) {
            const double noise = round % 5 == 0 ? std::floor(4.0 * uniform()) / 4.0 : uniform();
            scan[400.0 + i] = level + slope * i + noise;
        }
        for (const auto& peak : utils::peaks(scan, {.baseline = Baseline::ZERO})) {
            std::vector<std::pair<double, double>> below;
            std::vector<std::pair<double, double>> above;
            for (const auto& point : scan) {
                if (point.first < peak.wavelength) below.insert(below.begin(), point);
                if (point.first > peak.wavelength) above.push_back(point);
            }
            const bool both =
                peak.height > 0.0 && falls_to_half(peak, below) && falls_to_half(peak, above);
            ASSERT_EQ(peak.width.has_value(), both);
            (both ? with_width : without) += 1;
            if (!both) continue;
            EXPECT_LT(*peak.left, peak.wavelength);
            EXPECT_GT(*peak.right, peak.wavelength);
            EXPECT_NEAR(scan(*peak.left), 0.5 * peak.height, 1e-12);
            EXPECT_NEAR(scan(*peak.right), 0.5 * peak.height, 1e-12);
        }
        for (const auto& peak : utils::peaks(scan)) {
            EXPECT_LE(*peak.left, peak.wavelength);
            EXPECT_GE(*peak.right, peak.wavelength);
        }
    }
    EXPECT_GT(with_width, 300);
    EXPECT_GT(without, 300);
    // Between two points of 0 the curve is highest, beside the middle of the plateau.
    const Scan dip({0, 1, 2, 3, 4, 5, 6}, {-6, -9, 0, 0, 0, -1, 0}, 1e-20, Type::CUBIC);
    const auto peak = utils::peaks(dip, {.baseline = Baseline::ZERO}).at(0);
    ASSERT_TRUE(peak.width.has_value());
    EXPECT_LT(*peak.left, peak.wavelength);
    EXPECT_GT(*peak.right, peak.wavelength);
}

TEST(PeakShapes, DoNotDependOnAWideTolerance) {
    const auto curve = [](double wl) { return Gaussian{505.0, 1.0, 8.0}(wl); };
    Scan scan = sampled(curve, 480, 530, 1);
    const auto exact = utils::peaks(scan);
    scan.set_wavelength_epsilon(0.4);
    EXPECT_EQ(utils::peaks(scan), exact);
}

}  // namespace
