#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <vector>

#include "uncertainty/coverage.hpp"
#include "uncertainty/error_model.hpp"
#include "uncertainty/shifted_spectrum.hpp"

namespace {

using vekanalysis::Scan;
using vekanalysis::spline::Type;
using vekanalysis::uncertainty::coverage_factor;
using vekanalysis::uncertainty::Distribution;
using vekanalysis::uncertainty::ErrorModel;
using vekanalysis::uncertainty::Law;
using vekanalysis::uncertainty::ShiftedSpectrum;

constexpr double infinity = std::numeric_limits<double>::infinity();

// JCGM 100:2008, table G.2; the last from its example H.1.
TEST(CoverageFactor, IsThatOfTheTable) {
    struct Row {
        double coverage, dof, k, digit;
    };
    const Row rows[] = {{0.95, 1, 12.71, 0.01},         {0.95, 2, 4.30, 0.01},
                        {0.95, 5, 2.57, 0.01},          {0.95, 10, 2.23, 0.01},
                        {0.95, 50, 2.01, 0.01},         {0.95, infinity, 1.960, 0.001},
                        {0.9545, 1, 13.97, 0.01},       {0.9545, 4, 2.87, 0.01},
                        {0.9545, infinity, 2.0, 0.001}, {0.99, 16, 2.92, 0.01}};
    for (const auto& [coverage, dof, k, digit] : rows) {
        EXPECT_NEAR(coverage_factor(coverage, dof), k, 0.5 * digit) << coverage << ' ' << dof;
    }
    for (const double coverage : {0.0, 1.0, -0.5, std::nan("")}) {
        EXPECT_THROW((void)coverage_factor(coverage, 5.0), std::invalid_argument);
    }
    for (const double dof : {0.0, -1.0, std::nan("")}) {
        EXPECT_THROW((void)coverage_factor(0.95, dof), std::invalid_argument);
    }
}

TEST(ShiftedSpectrum, ReadsTheInterpolantBesideThePointsAndStopsAtTheEnds) {
    const std::vector<double> wavelengths{400, 402, 405, 411, 412, 420};
    const std::vector<double> values{0.1, 0.4, 0.3, 0.35, 0.9, 0.2};
    for (const Type type : {Type::AKIMA, Type::CUBIC, Type::LINEAR, Type::POLYNOMIAL}) {
        // The tolerance, wider than the shifts, must not snap them back to the points.
        const Scan scan(wavelengths, values, 0.9, type);
        const Scan exact(wavelengths, values, 0.0, type);
        for (const double shift : {-7.3, -0.4, 0.0, 0.4, 7.3}) {
            std::vector<double> got(6, shift);
            ShiftedSpectrum{scan}(got, got);
            for (std::size_t i = 0; i < 6; ++i) {
                const double wl = std::clamp(wavelengths[i] + shift, 400.0, 420.0);
                EXPECT_NEAR(got[i], exact(wl), 1e-12) << static_cast<int>(type) << ' ' << wl;
            }
        }
    }
    EXPECT_THROW(ShiftedSpectrum{Scan(wavelengths, values, 0.0, Type::NONE)}, std::runtime_error);
    EXPECT_THROW(ShiftedSpectrum{Scan({{400.0, 1.0}, {410.0, 2.0}})}, std::runtime_error);
}

constexpr std::size_t points = 6;
constexpr std::size_t trials = 200000;

/// 1 to 1.5 from 400 nm to 450 nm, 0.01 a nm.
Scan line() {
    return {{400.0, 1.0}, {410.0, 1.1}, {420.0, 1.2}, {430.0, 1.3}, {440.0, 1.4}, {450.0, 1.5}};
}

std::vector<double> draws_of(const ErrorModel& model, std::uint64_t seed = 1,
                             std::uint32_t block = 0, std::size_t portion = trials) {
    std::vector<double> spectra(trials * points);
    std::vector<double> figures(trials * model.figures());
    ErrorModel::Draws draws(model, seed, block);
    for (std::size_t i = 0; i < trials; i += portion) {
        const std::size_t count = std::min(portion, trials - i);
        draws(count, std::span(spectra).subspan(i * points, count * points),
              std::span(figures).subspan(i * model.figures(), count * model.figures()));
    }
    return spectra;
}

/// Covariance of the draws at points i and j of the line.
double covariance(const std::vector<double>& draws, std::size_t i, std::size_t j) {
    double sum = 0.0;
    for (std::size_t k = 0; k < draws.size(); k += points) {
        sum += (draws[k + i] - 1.0 - 0.1 * static_cast<double>(i)) *
               (draws[k + j] - 1.0 - 0.1 * static_cast<double>(j));
    }
    return sum / static_cast<double>(trials);
}

// Closed forms. 200,000 draws tell a variance to 0.3 % (one standard deviation, normal numbers).
TEST(ErrorModel, DrawsHaveTheCovarianceOfTheirComponent) {
    const std::vector<double> sizes{0.01, 0.02, 0.03, 0.04, 0.05, 0.06};
    const auto check = [](const char* name, const auto& add, const auto& expected) {
        ErrorModel model(line());
        add(model);
        const auto draws = draws_of(model);
        for (std::size_t i = 0; i < points; ++i) {
            for (std::size_t j = 0; j < points; ++j) {
                const double scale = std::sqrt(expected(i, i) * expected(j, j));
                EXPECT_NEAR(covariance(draws, i, j), expected(i, j), 0.015 * scale)
                    << name << ' ' << i << ' ' << j;
            }
        }
    };
    const auto full = [&](std::size_t i, std::size_t j) { return sizes[i] * sizes[j]; };
    const auto check_law = [&](const Law& law, double variance) {
        const auto add = [&](ErrorModel& m) { m.add_effects(sizes, law); };
        const auto add_independent = [&](ErrorModel& m) { m.add_independent(sizes, law); };
        check("full", add, [&](auto i, auto j) { return variance * full(i, j); });
        check("independent", add_independent,
              [&](auto i, auto j) { return i == j ? variance * full(i, j) : 0.0; });
    };
    for (const Distribution shape : {Distribution::NORMAL, Distribution::RECTANGULAR,
                                     Distribution::TRIANGULAR, Distribution::ARCSINE}) {
        check_law({shape}, 1.0);
    }
    // t with 12 degrees of freedom and the scale 1 has the variance 12/10.
    check_law({Distribution::T, 12.0}, 1.2);
    const std::vector<double> neighbours{0.9, 0.5, 0.0, 1.0, 0.2};
    check(
        "chain", [&](ErrorModel& m) { m.add_chain(sizes, neighbours, {}); },
        [&](std::size_t i, std::size_t j) {
            const auto [low, high] = std::minmax(i, j);
            double r = full(i, j);
            for (std::size_t k = low; k < high; ++k) r *= neighbours[k];
            return r;
        });
    std::vector<double> effects(points, 0.02);
    effects.insert(effects.end(), sizes.begin(), sizes.end());
    check(
        "two effects", [&](ErrorModel& m) { m.add_effects(effects, {}); },
        [&](std::size_t i, std::size_t j) { return 4e-4 + full(i, j); });
}

// On the line a shift inside the data acts like an offset; at the ends it is clipped.
TEST(ErrorModel, ShiftsTheWavelengths) {
    const std::vector<double> shifts(points, 0.5);
    ErrorModel common(line());
    common.add_shift(shifts, {});
    const auto draws = draws_of(common);
    ErrorModel jitter(line());
    jitter.add_jitter(shifts, {Distribution::RECTANGULAR});
    const auto jittered = draws_of(jitter);
    for (std::size_t i = 1; i + 1 < points; ++i) {
        EXPECT_NEAR(covariance(draws, i, i), 2.5e-5, 4e-7);
        EXPECT_NEAR(covariance(draws, 1, i), 2.5e-5, 4e-7);
        EXPECT_NEAR(covariance(jittered, i, i), 2.5e-5, 4e-7);
        EXPECT_NEAR(covariance(jittered, i - 1, i), 0.0, 4e-7);
    }
    EXPECT_NEAR(covariance(draws, 0, 0), 1.25e-5, 4e-7);
    for (std::size_t k = 0; k < draws.size(); k += points) ASSERT_GE(draws[k], 1.0);
}

TEST(ErrorModel, GivesTheSameDrawsForTheSameSeedAndBlockInAnyPortions) {
    ErrorModel model(line());
    const std::vector<double> sizes(points, 0.1);
    model.add_independent(sizes, {Distribution::T, 5.0});
    model.add_shift(sizes, {Distribution::ARCSINE});
    model.add_figure({});
    const auto once = draws_of(model, 7, 3);
    EXPECT_EQ(once, draws_of(model, 7, 3, 333));
    EXPECT_NE(once, draws_of(model, 7, 4));
    EXPECT_NE(once, draws_of(model, 8, 3));
    EXPECT_NE(once, draws_of(model, 7 + (1ULL << 32), 3));
}

TEST(ErrorModel, RefusesWhatDoesNotFit) {
    ErrorModel model(line());
    const std::vector<double> five(5, 0.1);
    const std::vector<double> six(6, 0.1);
    const std::vector<double> bad{0.1, 0.1, infinity, 0.1, 0.1, 0.1};
    EXPECT_THROW(model.add_independent(five, {}), std::invalid_argument);
    EXPECT_THROW(model.add_effects(std::vector<double>(13, 0.1), {}), std::invalid_argument);
    EXPECT_THROW(model.add_independent(bad, {}), std::invalid_argument);
    EXPECT_THROW(model.add_chain(six, six, {}), std::invalid_argument);
    EXPECT_THROW(model.add_chain(six, std::vector<double>(5, 1.1), {}), std::invalid_argument);
    EXPECT_THROW(model.add_independent(six, {Distribution::T, 0.0}), std::invalid_argument);
    EXPECT_THROW(ErrorModel(Scan(0.0, Type::NONE)).add_shift({}, {}), std::runtime_error);
    ErrorModel::Draws draws(model, 1, 0);
    std::vector<double> room(points);
    EXPECT_THROW(draws(2, room, {}), std::invalid_argument);
    draws(1, room, {});
    EXPECT_EQ(room, line().get_values());
}

}  // namespace
