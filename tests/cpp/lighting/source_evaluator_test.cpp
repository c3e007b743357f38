#include "lighting/source_evaluator.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include "lighting/alpha_opic.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "thrown_text.hpp"

namespace {

using namespace vekanalysis::lighting;
using vekanalysis::Scan;
namespace spline = vekanalysis::spline;

constexpr double none = std::numeric_limits<double>::quiet_NaN();
const std::vector<std::string> keys{"colour_fidelity.Rf",      "correlated_colour_temperature.cct",
                                    "chromaticity.v_prime",    "colour_rendering.Ra",
                                    "colour_rendering.R9",     "alpha_opic.melanopic.edi",
                                    "scotopic_photopic_ratio", "correlated_colour_temperature.duv"};

template <class F>
double or_none(const F& f) {
    try {
        return f();
    } catch (const std::exception&) {
        return none;
    }
}

std::vector<double> by_functions(const Scan& scan) {
    const int step = natural_step(scan.data().keys());
    return {or_none([&] { return colour_fidelity(scan).Rf; }),
            or_none([&] { return correlated_colour_temperature(scan, step).cct; }),
            or_none([&] { return chromaticity(scan, step).v_prime; }),
            or_none([&] { return colour_rendering(scan, step).Ra; }),
            or_none([&] { return colour_rendering(scan, step).R[8]; }),
            or_none([&] { return alpha_opic(scan).melanopic.edi; }),
            or_none([&] { return scotopic_photopic_ratio(scan); }),
            or_none([&] { return correlated_colour_temperature(scan, step).duv; })};
}

TEST(LightFunctions, SumInTheStepsThatTheirHeadersState) {
    Scan lamp;  // with a line that the steps see differently
    for (double wl = 380.0; wl <= 780.0; wl += 1.0) {
        lamp.insert({wl, 1.0 + 4.0 * std::exp(-std::abs(wl - 601.0))});
    }
    EXPECT_EQ(chromaticity(lamp), chromaticity(lamp, 5, 1931));
    EXPECT_NE(chromaticity(lamp), chromaticity(lamp, 1, 1931));
    EXPECT_EQ(correlated_colour_temperature(lamp), correlated_colour_temperature(lamp, 5));
    EXPECT_EQ(colour_rendering(lamp), colour_rendering(lamp, 5));
    EXPECT_EQ(colour_fidelity(lamp), colour_fidelity(lamp, 1));
}

TEST(SourceEvaluator, GivesWhatTheFunctionsGive) {
    const std::tuple<double, double, double, spline::Type> grids[]{
        {380, 780, 1, spline::Type::AKIMA},       {360, 830, 5, spline::Type::AKIMA},
        {379.7, 780.2, 1.5, spline::Type::AKIMA}, {390, 760, 10, spline::Type::LINEAR},
        {400.4, 700.5, 3, spline::Type::CUBIC},   {380.5, 780.5, 2, spline::Type::NONE},
        {410, 780, 1, spline::Type::AKIMA}};
    for (const auto& [from, to, step, type] : grids) {
        SCOPED_TRACE(testing::Message() << from << " to " << to << " by " << step);
        std::vector<double> wavelengths;
        for (int i = 0; from + i * step <= to; ++i) {
            wavelengths.push_back(from + i * step);
        }
        const SourceEvaluator evaluate(wavelengths, keys, type);
        SourceEvaluator::Scratch scratch;
        std::mt19937 random(7);
        std::uniform_real_distribution<double> share(0.0, 1.0);
        int answers = 0;
        for (int lamp = 0; lamp < 60; ++lamp) {
            const double mean = 420.0 + 250.0 * share(random);
            const double width = std::pow(10.0, 0.3 + 1.7 * share(random));
            const double floor = share(random) * 0.5;
            std::vector<double> values;
            for (const double wl : wavelengths) {
                const double z = (wl - mean) / width;
                values.push_back(floor + std::exp(-0.5 * z * z) - (lamp == 1 ? 0.5 : 0.0));
            }
            if (lamp == 0) values.assign(values.size(), 0.0);
            if (lamp == 2) values[values.size() / 2] = none;
            std::vector<double> found(keys.size());
            evaluate(values, found, &scratch);
            const auto expected = by_functions(Scan(wavelengths, values, 1e-20, type));
            for (std::size_t k = 0; k < keys.size(); ++k) {
                ASSERT_EQ(std::isnan(found[k]), std::isnan(expected[k])) << keys[k] << " " << lamp;
                if (std::isnan(found[k])) continue;
                ASSERT_NEAR(found[k], expected[k], 1e-12 * (100.0 + std::abs(expected[k])))
                    << keys[k];
                ++answers;
            }
            if (lamp < 3) {
                ASSERT_TRUE(std::isnan(found[1]));
            }
        }
        EXPECT_EQ(answers > 100, from < 405.0 && type != spline::Type::NONE);
    }
}

TEST(SourceEvaluator, GivesTheSameDigitsWhateverStandsBesideASpectrum) {
    std::vector<double> wavelengths;
    for (int i = 0; i <= 400; ++i) wavelengths.push_back(380.0 + i);
    const SourceEvaluator evaluate(wavelengths, keys);
    SourceEvaluator::Scratch scratch;
    std::vector<std::vector<double>> lamps(4);
    for (std::size_t lamp = 0; lamp < lamps.size(); ++lamp) {
        for (const double wl : wavelengths) {
            const double z = (wl - 560.0 - 10.0 * static_cast<double>(lamp)) / 70.0;
            // The second is dark, and has no place among the lights.
            lamps[lamp].push_back(lamp == 1 ? 0.0 : std::exp(-0.5 * z * z));
        }
    }
    const std::vector<const double*> first{lamps[0].data(), lamps[1].data(), lamps[2].data(),
                                           lamps[3].data()};
    for (std::size_t begin = 0; begin < first.size(); ++begin) {
        std::vector<double> together((first.size() - begin) * keys.size());
        evaluate(std::span(first).subspan(begin), together, &scratch);
        for (std::size_t lamp = begin; lamp < first.size(); ++lamp) {
            std::vector<double> alone(keys.size());
            evaluate(lamps[lamp], alone, &scratch);
            for (std::size_t k = 0; k < keys.size(); ++k) {
                const double found = together[(lamp - begin) * keys.size() + k];
                ASSERT_EQ(std::isnan(found), lamp == 1);
                ASSERT_TRUE(found == alone[k] || lamp == 1) << keys[k];
            }
        }
    }
}

TEST(SourceEvaluator, RefusesUnknownKeysAndUnorderedWavelengths) {
    const std::vector<double> descending{500.0, 400.0};
    EXPECT_EQ(thrown_text([&] { SourceEvaluator(descending, keys); }),
              "lighting::SourceEvaluator: wavelengths must ascend and be finite");
    const std::vector<double> ascending{400.0, 500.0};
    const std::vector<std::string> unknown{"Ra"};
    EXPECT_EQ(thrown_text([&] { SourceEvaluator(ascending, unknown); }),
              "lighting::SourceEvaluator: no quantity Ra");
}

}  // namespace
