#include "quantities/evaluator.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "rows.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::quantities {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
using spline::Type;

std::vector<double> even(double from, double step, int count) {
    std::vector<double> grid;
    for (int i = 0; i < count; ++i) grid.push_back(from + step * i);
    return grid;
}

std::vector<double> uneven(double from, double to, double mean, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> step(0.3 * mean, 1.7 * mean);
    std::vector<double> grid;
    for (double wl = from; wl <= to; wl += step(random)) grid.push_back(wl);
    return grid;
}

struct Grid {
    std::string name;
    std::vector<double> wavelengths;
    Type type = Type::AKIMA;
    double epsilon = 1e-20;
};

std::vector<Grid> grids() {
    std::vector<double> seam = even(300, 1, 200);
    for (const double wl : even(500, 5, 61)) seam.push_back(wl);
    std::vector<double> near_twins = even(300, 5, 101);
    near_twins.insert(near_twins.begin() + 49, 544.9999999999);
    std::vector<Grid> all;
    for (const auto& [name, from, step, count] :
         rows<std::string, double, double, int>("even-grids")) {
        all.push_back({name, even(from, step, count)});
    }
    const std::vector<Grid> others{
        {"seam", seam},
        {"near twins", near_twins},
        {"uneven fine", uneven(280, 800, 1, 1)},
        {"uneven", uneven(280, 800, 4, 2)},
        {"uneven coarse", uneven(280, 800, 12, 3)},
        {"linear 1 nm", even(300, 1, 501), Type::LINEAR},
        {"linear 7 nm", even(300, 7, 72), Type::LINEAR},
        {"cubic 5 nm", even(300, 5, 101), Type::CUBIC},
        {"cubic uneven", uneven(290, 800, 6, 4), Type::CUBIC},
        {"points 1 nm", even(300, 1, 501), Type::NONE},
        {"points uneven", uneven(290, 800, 3, 5), Type::NONE},
        {"polynomial", even(380, 40, 11), Type::POLYNOMIAL},
        {"wide epsilon", even(300.2, 1, 501), Type::AKIMA, 0.3},
    };
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

/// Lenses of all sorts: smooth, noisy, rounded, flat, blocked, in straight runs with kinks.
std::vector<double> lens_on(const std::vector<double>& grid, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    const double edge = 320.0 + 200.0 * uniform(random);
    const double width = 3.0 + 40.0 * uniform(random);
    const double top = uniform(random);
    const unsigned sort = seed % 9;
    std::vector<double> values;
    for (const double wl : grid) {
        const double smooth = top / (1.0 + std::exp((edge - wl) / width));
        double value = smooth;
        if (sort == 1) value += 0.01 * (uniform(random) - 0.5);
        if (sort == 2) value = std::round(1000.0 * smooth) / 1000.0;
        if (sort == 3) value = top;
        if (sort == 4) value = wl < edge ? 0.0 : smooth;
        if (sort == 5) value = std::max(0.0, std::min(1.0, (wl - std::floor(edge)) / 64.0));
        if (sort == 6) value = uniform(random);
        if (sort == 7) value = static_cast<int>(wl / 25.0) % 2;
        if (sort == 8) value = std::abs(std::fmod(wl, 64.0) - 32.0) / 32.0;
        values.push_back(value);
    }
    return values;
}

std::vector<double> results_of(const Evaluator& evaluator, const std::vector<double>& values) {
    std::vector<double> results(values.size() / evaluator.wavelengths().size() *
                                evaluator.quantities().size());
    evaluator.evaluate(values, results);
    return results;
}

/// What the functions give, NaN where they refuse or where there are no data.
std::vector<double> one_by_one(std::span<const Quantity> quantities, const Scan& spectrum,
                               const Scan& white) {
    const std::vector<std::reference_wrapper<const Quantity>> all(quantities.begin(),
                                                                  quantities.end());
    std::vector<double> results;
    for (const Value& value : evaluate(spectrum, all, white, false)) {
        results.push_back(value.value.value_or(nan));
    }
    return results;
}

/// All catalogues, with what is had from functions alone.
std::vector<Quantity> everything() {
    std::vector<Quantity> all(lens().begin(), lens().end());
    for (const Quantity& quantity : derived()) all.push_back(quantity);
    for (const Quantity& quantity : light("A")) all.push_back(quantity);
    for (const Quantity& quantity : photometer()) all.push_back(quantity);
    return all;
}

class OnGrid : public testing::TestWithParam<std::size_t> {};

// 33 grids with 36 lenses each.
TEST_P(OnGrid, AnEvaluatorEqualsTheFunctions) {
    const auto [name, wavelengths, type, epsilon] = grids()[GetParam()];
    const Scan& white = colorimetry::data::cie_illuminant_a();
    const std::vector<Quantity> quantities = everything();
    const Evaluator evaluator(wavelengths, quantities, epsilon, type, white);
    std::vector<double> values;
    for (unsigned i = 0; i < 36; ++i) {
        const auto lens = lens_on(wavelengths, 1000 * static_cast<unsigned>(GetParam()) + i);
        values.insert(values.end(), lens.begin(), lens.end());
    }
    const std::vector<double> results = results_of(evaluator, values);
    const std::size_t n = wavelengths.size();
    const std::size_t q = quantities.size();
    for (std::size_t i = 0; i < 36; ++i) {
        const std::span<const double> lens(values.data() + i * n, n);
        const auto expected = one_by_one(quantities, {wavelengths, lens, epsilon, type}, white);
        for (std::size_t k = 0; k < q; ++k) {
            const double result = results[i * q + k];
            if (std::isnan(expected[k])) {
                EXPECT_FALSE(std::isfinite(result)) << name << " " << i << quantities[k].key;
                continue;
            }
            const double scale = std::max(1.0, std::abs(expected[k]));
            EXPECT_NEAR(result, expected[k], 1e-12 * scale)
                << name << " lens " << i << " " << quantities[k].key << " of "
                << quantities[k].standard;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, OnGrid, testing::Range(std::size_t{0}, grids().size()));

TEST(Evaluator, GivesASpectrumTheSameWhateverIsBesideIt) {
    const auto grid = even(300, 1, 501);
    const Evaluator evaluator(grid, lens(), 1e-20, Type::AKIMA, Scan());
    std::vector<double> values;
    for (unsigned i = 0; i < 9; ++i) {
        const auto more = lens_on(grid, i);
        values.insert(values.end(), more.begin(), more.end());
    }
    const auto together = results_of(evaluator, values);
    for (std::size_t i = 0; i < 9; ++i) {
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(i * grid.size());
        const auto alone = results_of(evaluator, {begin, begin + 501});
        for (std::size_t k = 0; k < lens().size(); ++k) {
            EXPECT_EQ(alone[k], together[i * lens().size() + k]) << i << lens()[k].key;
        }
    }
}

TEST(Evaluator, PassesNanOnToWhatDependsOnItAlone) {
    const auto grid = even(280, 1, 521);
    const Evaluator evaluator(grid, lens(), 1e-20, Type::AKIMA, Scan());
    auto values = lens_on(grid, 0);
    for (const double wl : {281.0, 316.0, 382.0, 384.0, 500.0, 640.0, 781.0}) {
        const auto place = static_cast<std::size_t>(wl - 280.0);
        const double value = std::exchange(values[place], nan);
        const auto results = results_of(evaluator, values);
        const auto expected = one_by_one(lens(), {grid, values}, Scan());
        for (std::size_t k = 0; k < lens().size(); ++k) {
            const bool smallest = lens()[k].key == "ANSI_Z80_3_tau_spectral_min";
            const bool depends = smallest ? 475.0 <= wl && wl <= 650.0 : std::isnan(expected[k]);
            EXPECT_EQ(std::isnan(results[k]), depends) << wl << " " << lens()[k].key;
        }
        values[place] = value;
    }
}

TEST(Evaluator, KnowsWhatIsLinearAndHowMuch) {
    const auto grid = even(315, 1, 486);
    const Evaluator evaluator(grid, lens(), 1e-20, Type::AKIMA, Scan());
    const auto values = lens_on(grid, 1);
    const std::size_t n = grid.size();
    const std::size_t q = lens().size();
    std::vector<double> sensitivities(q * n);
    evaluator.sensitivities(values, sensitivities);
    int linear = 0;
    const auto results = results_of(evaluator, values);
    for (std::size_t k = 0; k < q; ++k) {
        if (evaluator.coverage()[k].problem != "") continue;
        double sum = 0.0;
        for (std::size_t i = 0; i < n; ++i) sum += sensitivities[k * n + i] * values[i];
        if (evaluator.is_linear(k)) {
            ++linear;
            EXPECT_NEAR(sum, results[k], 1e-12 * std::max(1.0, results[k])) << lens()[k].key;
        }
        // Against what the quantity itself does.
        for (std::size_t place = 0; place < n; ++place) {
            auto changed = values;
            const double step = 1e-5;
            changed[place] += step;
            const double up = results_of(evaluator, changed)[k];
            changed[place] -= 2 * step;
            const double down = results_of(evaluator, changed)[k];
            const double expected = (up - down) / (2 * step);
            EXPECT_NEAR(sensitivities[k * n + place], expected,
                        1e-5 * (std::abs(expected) + 1e-4 * std::abs(results[k]) + 1e-4))
                << lens()[k].key << " " << grid[place];
        }
    }
    EXPECT_EQ(linear, 18);  // the integrals that end where the tables or the data end
    std::vector<double> none;
    EXPECT_EQ(
        thrown_text([&] { evaluator.sensitivities(none, sensitivities); }),
        "Evaluator::sensitivities: 'ISO8980_3_tau_uva' is not linear on this grid; the values "
        "of a spectrum are needed");
}

TEST(Evaluator, RefusesAGridThatDoesNotAscend) {
    for (const std::vector<double>& grid :
         {std::vector<double>{400, 400}, {400, 399}, {nan}, {400, HUGE_VAL}}) {
        EXPECT_EQ(thrown_text([&] { Evaluator(grid, lens(), 1e-20, Type::AKIMA, Scan()); }),
                  "Evaluator: wavelengths must be finite and ascend by more than epsilon");
    }
    const Evaluator empty(std::vector<double>{}, lens(), 1e-20, Type::AKIMA, Scan());
    EXPECT_EQ(empty.coverage()[0].problem, "No data within 315-380 nm");
}

}  // namespace

}  // namespace vekanalysis::quantities
