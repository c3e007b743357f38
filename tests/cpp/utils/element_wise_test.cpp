#include "utils/element_wise.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "utils/statistics.hpp"

namespace {

using vekanalysis::Scan;
using vekanalysis::Stat_Result;
using vekanalysis::spline::Type;
namespace utils = vekanalysis::utils;
using Doubles = std::vector<double>;

Scan with_values(const Doubles& values) {
    Doubles wavelengths(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) wavelengths[i] = static_cast<double>(i);
    return {wavelengths, values, 0.25, Type::LINEAR};
}

// Values 2, 4, 4, 4, 5, 5, 7, 9: mean 5 and population variance 4 by hand; third central moment
// 42 / 8 = 5.25, fourth 356 / 8 = 44.5.
TEST(Statistics, MatchMomentsWorkedOutByHand) {
    const Stat_Result<double> result = utils::get_statistics(with_values({2, 4, 4, 4, 5, 5, 7, 9}));
    EXPECT_DOUBLE_EQ(result.mean, 5.0);
    EXPECT_EQ(result.min, 2.0);
    EXPECT_EQ(result.max, 9.0);
    EXPECT_DOUBLE_EQ(result.variance, 4.0);
    EXPECT_NEAR(result.skewness, 5.25 / 8.0, 1e-12);
    EXPECT_NEAR(result.kurtosis, 44.5 / 16.0 - 3.0, 1e-12);
}

// The twenty observations of Jain and Chlamtac's worked example (Commun. ACM 28, 1985, table I),
// whose P-square estimate of the median they give as 4.44.
TEST(Statistics, MedianIsThePSquareEstimate) {
    const Scan scan =
        with_values({0.02,  0.15,  0.74, 3.39, 0.83, 22.37, 10.15, 15.43, 38.62, 15.92,
                     34.60, 10.28, 1.47, 0.40, 0.05, 11.39, 0.27,  0.42,  0.09,  11.37});
    EXPECT_NEAR(utils::get_statistics(scan).median, 4.44, 0.005);
    EXPECT_EQ(utils::get_statistics(with_values({9, 1, 7, 3})).median, 7.0);
    EXPECT_EQ(utils::get_statistics(with_values({9, 1})).median, 0.0);
}

TEST(Statistics, OfNothingAndOfConstantsAreDefined) {
    for (const auto& result :
         {utils::get_statistics(Scan()), utils::get_statistics(with_values({1, 2, 3}), 2.0, 1.0)}) {
        EXPECT_TRUE(std::isnan(result.mean));
        EXPECT_EQ(result.min, 1.7976931348623157e308);
        EXPECT_EQ(result.max, -1.7976931348623157e308);
        EXPECT_EQ(result.variance, 0.0);
        EXPECT_TRUE(std::isnan(result.skewness));
        EXPECT_TRUE(std::isnan(result.kurtosis));
        EXPECT_EQ(result.median, 0.0);
    }
    const Stat_Result<double> constant = utils::get_statistics(with_values({0.5, 0.5, 0.5}));
    EXPECT_EQ(constant.variance, 0.0);
    EXPECT_TRUE(std::isnan(constant.skewness));
}

TEST(Statistics, TakeBothEndsOfTheRange) {
    const Scan scan = with_values({1, 2, 3, 4, 5});
    EXPECT_EQ(utils::get_statistics(scan, 1.0, 3.0).mean, 3.0);
    EXPECT_EQ(utils::get_statistics(scan, 0.5, 1.0).max, 2.0);
}

TEST(ElementWise, KeepsGridEpsilonAndType) {
    const Scan scan = with_values({-2, 0, 4});
    for (const Scan& result :
         {utils::abs(scan), utils::log(scan), utils::log10(scan), utils::pow(scan, 2.0),
          utils::pow(2.0, scan), utils::transform(scan, std::plus<>())}) {
        EXPECT_EQ(result.get_wavelengths(), scan.get_wavelengths());
        EXPECT_EQ(result.get_wavelength_epsilon(), 0.25);
        EXPECT_EQ(result.get_interpolation_type(), Type::LINEAR);
    }
    EXPECT_EQ(utils::abs(scan).get_values(), (Doubles{2, 0, 4}));
    EXPECT_TRUE(std::isnan(utils::log(scan).at(0.0)));
    EXPECT_EQ(utils::log10(scan).at(1.0), -INFINITY);
    EXPECT_EQ(utils::pow(scan, 2.0).get_values(), (Doubles{4, 0, 16}));
    EXPECT_EQ(utils::pow(2.0, scan).get_values(), (Doubles{0.25, 1, 16}));
    EXPECT_EQ(utils::transform(scan, std::plus<>()).get_values(), (Doubles{-2, 1, 6}));
    EXPECT_THROW((void)utils::transform(scan, std::function<double(double, double)>()),
                 std::bad_function_call);
}

TEST(ElementWise, TransformedKeysThatMeetMerge) {
    const Scan merged = utils::transform_keys(
        with_values({1, 2, 3, 4}), [](const auto& point) { return std::floor(point.first / 2); });
    EXPECT_EQ(merged.as_vectors(), (std::vector<Doubles>{{0, 1}, {2, 4}}));
}

TEST(UniformRange, IncludesTheUpperEndOnlyOnAWholeNumberOfSteps) {
    const Scan scan(Doubles{400, 700}, Doubles{4, 7}, 1e-20, Type::LINEAR);
    const auto grid = [&](double step) {
        return utils::uniform_wavelength_range(scan, 400, 700, step).get_wavelengths();
    };
    EXPECT_EQ(grid(100), (Doubles{400, 500, 600, 700}));
    EXPECT_EQ(grid(110), (Doubles{400, 510, 620}));
    EXPECT_EQ(grid(-10), (Doubles{400}));
    EXPECT_EQ(utils::uniform_wavelength_range(scan, 450, 800, 100).get_values(),
              (Doubles{4.5, 5.5, 6.5, 0.0}));
    for (const double endless : {0.0, 1e-300, static_cast<double>(NAN)}) {
        EXPECT_THROW((void)grid(endless), std::invalid_argument) << endless;
    }
    Scan out{{400.0, 9.0}, {455.0, 1.0}};
    utils::uniform_wavelength_range(scan, 400, 500, 50, &out);
    EXPECT_EQ(out.as_vectors(), (std::vector<Doubles>{{400, 450, 455, 500}, {4, 4.5, 1, 5}}));
}

TEST(NormalizeKeys, PutsBothScansOnTheUnionAndFailsAsAWhole) {
    Scan a(Doubles{1, 3, 5}, Doubles{1, 3, 5}, 1e-20, Type::LINEAR);
    Scan b(Doubles{2, 4}, Doubles{2, 4}, 1e-20, Type::LINEAR);
    utils::normalize_keys(&a, &b);
    EXPECT_EQ(a.as_vectors(), (std::vector<Doubles>{{1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}}));
    EXPECT_EQ(b.as_vectors(), (std::vector<Doubles>{{2, 3, 4}, {2, 3, 4}}));
    Scan none(Doubles{2.5}, Doubles{1}, 1e-20, Type::NONE);
    const Scan a_before = a;
    EXPECT_THROW(utils::normalize_keys(&a, &none), std::runtime_error);
    EXPECT_EQ(a, a_before);
}

TEST(Reductions, SumExtremesAndComparisons) {
    const Scan scan = with_values({1, 3, 3});
    EXPECT_EQ(utils::sum_values(scan), 7.0);
    EXPECT_EQ(utils::sum_values(Scan()), 0.0);
    EXPECT_EQ(utils::max_element(scan.begin(), scan.end())->first, 1.0);
    EXPECT_EQ(utils::min_element(scan.end(), scan.end()), scan.end());
    EXPECT_EQ(utils::to_vector(scan)[2], std::pair(2.0, 3.0));
    EXPECT_TRUE(utils::are_equal(1.0, 1.0 + 0x1p-52, 1.0));
    EXPECT_FALSE(utils::are_equal(1.0, 1.0 + 0x1p-51, 1.0));
    EXPECT_TRUE(utils::compare(scan, with_values({1, 3.5, 3}), 0.5));
    EXPECT_FALSE(utils::compare(scan, with_values({1, 3.5, 3}), 0.25));
    EXPECT_TRUE(utils::compare(Scan(), scan, 0.0));
}

}  // namespace
