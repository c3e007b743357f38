#include "utils/averaging.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

#include "core/scan_arithmetic.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::utils {
namespace {

using Points = std::initializer_list<std::pair<const double, double>>;

Scan make(Points points, spline::Type type, double epsilon = default_epsilon) {
    Scan scan(points);
    scan.set_interpolation_type(type);
    scan.set_wavelength_epsilon(epsilon);
    return scan;
}

const Scan linear = make({{400, 1}, {500, 2}, {600, 3}}, spline::Type::LINEAR);
const Scan shifted = make({{450, 10}, {650, 20}}, spline::Type::LINEAR);
const Scan stored = make({{450, 5}, {600, 6}, {650, 7}}, spline::Type::NONE);

TEST(SumOfScans, StandsOnTheCommonWavelengths) {
    struct Case {
        std::vector<const Scan*> scans;
        std::vector<double> wavelengths;
        std::vector<double> sum;
        spline::Type type;
    };
    for (const Case& given : std::vector<Case>{
             {{&linear}, {400, 500, 600}, {1, 2, 3}, spline::Type::LINEAR},
             {{&linear, &shifted}, {450, 500, 600}, {11.5, 14.5, 20.5}, spline::Type::LINEAR},
             {{&stored, &linear, &shifted}, {450, 600}, {16.5, 26.5}, spline::Type::LINEAR},
             {{&stored, &stored}, {450, 600, 650}, {10, 12, 14}, spline::Type::NONE}}) {
        const Scan total = sum(given.scans);
        EXPECT_EQ(total.get_wavelengths(), given.wavelengths);
        EXPECT_EQ(total.get_values(), given.sum);
        EXPECT_EQ(total.get_interpolation_type(), given.type);
    }
}

TEST(SumOfScans, OfTwoIsTheOperatorAndOfManyItsRepetition) {
    const Scan third = linear * 0.1 + 0.7;
    EXPECT_EQ(sum(std::vector{&linear, &shifted}), linear + shifted);
    EXPECT_EQ(sum(std::vector{&linear, &third, &linear}), linear + third + linear);
}

TEST(SumOfScans, JoinsWavelengthsThatTheSmallestEpsilonCallsEqual) {
    const Scan a = make({{400, 1}, {410, 2}}, spline::Type::LINEAR, 0.5);
    const Scan b = make({{400.25, 10}, {409.875, 20}}, spline::Type::LINEAR, 0.25);
    const Scan total = sum(std::vector{&a, &b});
    EXPECT_EQ(total.get_wavelengths(), (std::vector{400.0, 409.875}));
    EXPECT_EQ(total.get_values(), (std::vector{11.0, 22.0}));
    EXPECT_EQ(total.get_wavelength_epsilon(), 0.25);
}

// 2, 4, 4, 4, 5, 5, 7, 9: mean 5, sum of squares 32, textbook example.
TEST(MeanOfScans, HasTheExperimentalStandardDeviation) {
    std::vector<Scan> scans;
    for (const double value : {2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0}) {
        scans.push_back(make({{400, value}, {500, 1e9 + value}}, spline::Type::NONE));
    }
    std::vector<const Scan*> pointers;
    for (const Scan& scan : scans) pointers.push_back(&scan);
    const ScanMean result = mean(pointers);
    EXPECT_EQ(result.scan.get_values(), (std::vector{5.0, 1e9 + 5.0}));
    for (const double deviation : result.standard_deviation.get_values()) {
        EXPECT_DOUBLE_EQ(deviation, std::sqrt(32.0 / 7.0));
    }
    EXPECT_EQ(result.count, 8U);
}

TEST(MeanOfScans, OfOneScanHasNoSpread) {
    const ScanMean result = mean(std::vector{&linear});
    EXPECT_EQ(result.scan, linear);
    for (const double deviation : result.standard_deviation.get_values()) {
        EXPECT_TRUE(std::isnan(deviation));
    }
}

TEST(MeanOfScans, RefusesWhatHasNothingInCommon) {
    const Scan empty;
    const Scan far = make({{700, 1}, {800, 2}}, spline::Type::LINEAR);
    const Scan between = make({{425, 1}}, spline::Type::NONE);
    const auto text = [](const std::vector<const Scan*>& scans) {
        return thrown_text([&] { (void)mean(scans); });
    };
    EXPECT_EQ(text({}), "utils::common_wavelengths: no scans");
    EXPECT_EQ(text({&linear, &empty}), "utils::common_wavelengths: a scan without points");
    const std::string nothing = "utils::common_wavelengths: the scans have no wavelength in common";
    EXPECT_EQ(text({&linear, &far}), nothing);
    EXPECT_EQ(text({&between, &stored}), nothing);
}

}  // namespace
}  // namespace vekanalysis::utils
