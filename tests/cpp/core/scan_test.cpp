#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "thrown_text.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using vekanalysis::Scan;
using vekanalysis::ScanCursor;
using vekanalysis::spline::Type;
using Doubles = std::vector<double>;

constexpr const char* no_type = "Cannot initialize a spline with type None";
constexpr const char* too_few = "Cannot initialize a spline, too few points";
constexpr const char* nan_refused = "Scan: wavelength must not be NaN";

Scan five_points(Type type = Type::AKIMA) {
    return {Doubles{400, 450, 500, 600, 700}, Doubles{1, 3, 2, 5, 4}, 1e-20, type};
}

TEST(ScanConstruction, OfEqualWavelengthsArraysKeepTheLastValueAndListsTheFirst) {
    EXPECT_EQ(Scan(Doubles{1, 2, 2}, Doubles{10, 20, 30}).as_vectors(),
              (std::vector<Doubles>{{1, 2}, {10, 30}}));
    EXPECT_EQ((Scan{{2.0, 20.0}, {2.0, 30.0}}).as_vectors(), (std::vector<Doubles>{{2}, {20}}));
}

/// What inserting the points one by one into an ordered map gives.
std::vector<Doubles> inserted_one_by_one(const Doubles& x, const Doubles& y, double epsilon) {
    std::map<double, double, vekanalysis::internal::FloatComparator<double>> points({epsilon});
    for (std::size_t i = 0; i < x.size(); ++i) points.insert_or_assign(x[i], y[i]);
    std::vector<Doubles> result(2);
    for (const auto& [key, value] : points) {
        result[0].push_back(key);
        result[1].push_back(value);
    }
    return result;
}

TEST(ScanConstruction, InBulkEqualsInsertionPointByPoint) {
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        Doubles x(round == 0 ? 5000 : random() % 40);
        for (double& wl : x) {
            wl = round == 0 ? std::ldexp(static_cast<double>(random()) - 2e9,
                                         -static_cast<int>(random() % 60))
                            : 400.0 + static_cast<double>(random() % 80) / 4.0;
        }
        if (round == 0) x[17] = -0.0, x[4000] = x[4001] = 0.0;
        if (round % 4 == 1) std::sort(x.rbegin(), x.rend());
        if (round % 4 > 1) std::sort(x.begin(), x.end());
        if (round % 4 == 3 && x.size() > 2) std::swap(x[x.size() / 2], x.back());
        Doubles y(x.size());
        std::iota(y.begin(), y.end(), 1.0);
        for (const double epsilon : {1e-20, 1e-3, 0.4, 1.0, 3.0, 1000.0}) {
            const auto expected = inserted_one_by_one(x, y, epsilon);
            EXPECT_EQ(Scan(x, y, epsilon).as_vectors(), expected);
            Scan by_insert(epsilon, Type::AKIMA);
            for (std::size_t i = 0; i < x.size(); ++i) by_insert.insert({x[i], y[i]});
            EXPECT_EQ(by_insert.as_vectors(), expected);
        }
    }
}

TEST(ScanWavelengths, NanIsRefusedWithoutAChangeAndFoundNowhere) {
    Scan scan = five_points();
    const Scan before = scan;
    EXPECT_EQ(thrown_text([&] { scan.insert({NAN, 1.0}); }), nan_refused);
    EXPECT_EQ(thrown_text([] { Scan(Doubles{1, NAN}, Doubles{1, 2}); }), nan_refused);
    EXPECT_EQ(thrown_text([] { Scan{{NAN, 1.0}}; }), nan_refused);
    EXPECT_EQ(scan, before);
    EXPECT_FALSE(scan.contains(NAN));
    EXPECT_FALSE(scan.encompasses(NAN));
    EXPECT_TRUE(std::isnan(scan(NAN)));
}

TEST(ScanWavelengths, InfiniteOnesAreOrdinaryKeys) {
    Scan scan(Doubles{INFINITY, 400, -INFINITY, 500, 450}, Doubles{1, 2, 3, 4, 5}, 0.1);
    EXPECT_EQ(scan.get_wavelengths(), (Doubles{-INFINITY, 400, 450, 500, INFINITY}));
    EXPECT_EQ(scan(INFINITY), 1.0);
    scan.insert({INFINITY, 7.0});
    EXPECT_EQ(scan.at(INFINITY), 7.0);
    EXPECT_NO_THROW((void)scan(425.0));
}

TEST(ScanEpsilon, DecidesWhichWavelengthsAreOneKey) {
    Scan scan(0.5);
    scan.insert({400.0, 1.0});
    scan.insert({400.3, 2.0});
    EXPECT_EQ(scan.as_vectors(), (std::vector<Doubles>{{400.0}, {2.0}}));
    EXPECT_EQ(scan.at(400.5), 2.0);
    EXPECT_FALSE(scan.contains(400.6));
    EXPECT_TRUE(scan.contains(400.5) && !scan.encompasses(400.5));
    // The sums decide: 0.3 is not below 0.1 + 0.2, although 0.3 - 0.1 < 0.2.
    const Scan sums(Doubles{0.1}, Doubles{1.0}, 0.2);
    EXPECT_TRUE(sums.contains(0.3));
}

TEST(ScanEpsilon, MayBeInfiniteButNotNegativeOrNan) {
    Scan scan(Doubles{500, -INFINITY, 400}, Doubles{1, 2, 3}, INFINITY);
    EXPECT_EQ(scan.as_vectors(), (std::vector<Doubles>{{500}, {3}}));
    for (const double wl : Doubles{-INFINITY, 0.0, 500.0, INFINITY}) {
        EXPECT_TRUE(scan.contains(wl));
        EXPECT_EQ(scan(wl), 3.0);
        EXPECT_EQ(ScanCursor(scan)(wl), 3.0);
        scan[wl] = 3.0;
    }
    EXPECT_FALSE(scan.contains(NAN));
    EXPECT_EQ((scan * Scan{{400.0, 2.0}, {500.0, 4.0}, {600.0, 8.0}}).as_vectors(),
              (std::vector<Doubles>{{500}, {12}}));
    Scan points = five_points();
    points.set_wavelength_epsilon(INFINITY);
    EXPECT_EQ(points.as_vectors(), (std::vector<Doubles>{{400}, {1}}));
    for (const double epsilon : Doubles{-1.0, -INFINITY, NAN}) {
        EXPECT_EQ(thrown_text([=] { (void)Scan(epsilon); }),
                  "Scan: epsilon must not be negative or NaN");
    }
}

TEST(ScanEpsilon, WideningKeepsTheLowestOfEachRunAndTheOldSpline) {
    Scan wide(Doubles{1, 4, 4.5, 9}, Doubles{1, 2, 10, 3}, 1e-20, Type::LINEAR);
    (void)wide(4.25);
    wide.set_wavelength_epsilon(0.5);
    EXPECT_EQ(wide.as_vectors(), (std::vector<Doubles>{{1, 4, 9}, {1, 2, 3}}));
    EXPECT_EQ(wide(6.0), 10.0 + (6.0 - 4.5) * (3.0 - 10.0) / 4.5);
    EXPECT_EQ(wide(4.25), 2.0) << "now a tolerant hit";
    Doubles many = {6.0, 6.5, 7.0};
    wide.evaluate(many, many);
    EXPECT_EQ(many[0], wide(6.0));
    const Scan copy = wide;
    EXPECT_EQ(copy(6.0), 2.0 + 2.0 * (3.0 - 2.0) / 5.0) << "a copy starts without a spline";
}

TEST(ScanAccess, AnElementReferenceReadsAndAssigns) {
    Scan scan = five_points();
    scan[450.0] = 7.0;
    scan[455.0] = 8.0;
    const double read = scan[450.0];
    EXPECT_EQ(read, 7.0);
    EXPECT_EQ(scan.size(), 6U);
    EXPECT_EQ(scan.find(1.0), scan.end());
    const auto miss = [&] { (void)static_cast<double>(scan[1.0]); };
    EXPECT_EQ(thrown_text(miss), "map::at:  key not found");
    EXPECT_EQ(scan.size(), 6U);

    const Scan other = five_points();
    Scan changed = other;
    scan[400.0] = scan[455.0];
    scan[410.0] = changed[700.0];
    EXPECT_EQ(scan.at(400.0), 8.0);
    EXPECT_EQ(scan.at(410.0), 4.0);
    EXPECT_EQ(thrown_text([&] { scan[400.0] = scan[1.0]; }), "map::at:  key not found");
    EXPECT_EQ(scan.at(400.0), 8.0);
}

TEST(ScanExtremes, TheLowestWavelengthWinsAndEmptyRangesGiveEnd) {
    const Scan scan(Doubles{1, 2, 3, 4}, Doubles{1, 5, 5, 1}, 0.25);
    EXPECT_EQ(scan.max_element()->first, 2.0);
    EXPECT_EQ(scan.min_element()->first, 1.0);
    EXPECT_EQ(scan.max_element(2.5, 9.0)->first, 3.0);
    EXPECT_EQ(scan.min_element(1.25, 3.75)->first, 1.0) << "bounds are widened by epsilon";
    EXPECT_EQ(scan.min_element(1.26, 3.74)->first, 2.0);
    for (const auto& [from, to] : {std::pair(5.0, 9.0), {-3.0, 0.5}, {3.5, 1.5}}) {
        EXPECT_EQ(scan.min_element(from, to), scan.end());
        EXPECT_EQ(scan.max_element(from, to), scan.end());
    }
    EXPECT_EQ(Scan().max_element(), Scan().end());
}

TEST(ScanForEach, ChangesValuesOrNothing) {
    Scan scan = five_points();
    const double before = scan(425.0);
    scan.for_each([](auto& point) { point.second *= 2.0; });
    EXPECT_DOUBLE_EQ(scan(425.0), 2.0 * before);
    const Scan kept = scan;
    const auto fail_half_way = [](auto& point) {
        point.second = 0.0;
        if (point.first > 450.0) throw std::runtime_error("stop");
    };
    EXPECT_THROW(scan.for_each(fail_half_way), std::runtime_error);
    EXPECT_EQ(scan, kept);
}

TEST(ScanEquality, ComparesEpsilonKeysAndValuesButNotTheType) {
    EXPECT_EQ(five_points(Type::AKIMA), five_points(Type::NONE));
    EXPECT_FALSE(Scan(1e-20) == Scan(1e-9));
    EXPECT_EQ(Scan(Doubles{1.0}, Doubles{2.0}, 0.5), Scan(Doubles{1.5}, Doubles{2.0}, 0.5));
    EXPECT_FALSE(Scan(Doubles{1.0}, Doubles{2.0}, 0.5) == Scan(Doubles{1.6}, Doubles{2.0}, 0.5));
    EXPECT_FALSE(Scan(Doubles{1.0}, Doubles{NAN}) == Scan(Doubles{1.0}, Doubles{NAN}));
}

TEST(ScanEvaluation, HitsNeedNoSplineAndOutsideIsZero) {
    const Scan four(Doubles{400, 500, 600, 700}, Doubles{1, 2, 3, 4});
    EXPECT_EQ(four(500.0), 2.0);
    EXPECT_EQ(four(399.9), 0.0);
    EXPECT_EQ(four(700.1), 0.0);
    EXPECT_EQ(thrown_text([&] { (void)four(450.0); }), too_few);
    EXPECT_EQ(thrown_text([&] { (void)four(450.0); }), too_few);
    const Scan none = five_points(Type::NONE);
    EXPECT_EQ(none(450.0), 3.0);
    EXPECT_EQ(thrown_text([&] { (void)none(425.0); }), no_type);
    EXPECT_EQ(thrown_text([&] { (void)none.integral(); }), no_type);
    EXPECT_EQ(thrown_text([&] { (void)none.deriv(450.0); }), no_type);
    EXPECT_EQ(thrown_text([] { (void)Scan().deriv(1.0); }), too_few);
    EXPECT_EQ(Scan()(1.0), 0.0);
    EXPECT_EQ(Scan(Doubles{400, 500}, Doubles{1, 2}, 1e-20, Type::LINEAR)(450.0), 1.5);
}

TEST(ScanEvaluation, FollowsEveryChange) {
    Scan scan = five_points();
    const double akima = scan(425.0);
    scan.set_interpolation_type(Type::LINEAR);
    EXPECT_EQ(scan(425.0), 2.0);
    EXPECT_NE(akima, 2.0);
    scan.insert({400.0, 3.0});
    EXPECT_EQ(scan(425.0), 3.0);
    scan = five_points(Type::LINEAR);
    EXPECT_EQ(scan(425.0), 2.0);
}

TEST(ScanEvaluation, ArraysAndCursorsGiveTheSameBitsAsSingleCalls) {
    std::mt19937 random(3);
    for (const Type type : {Type::AKIMA, Type::CUBIC, Type::LINEAR, Type::POLYNOMIAL}) {
        for (const double epsilon : {1e-20, 0.3}) {
            Doubles x(30);
            for (double& wl : x) wl = 400.0 + static_cast<double>(random() % 1000) / 10.0;
            Doubles y(30);
            for (double& value : y) value = static_cast<double>(random() % 1000) / 1000.0;
            const Scan scan(x, y, epsilon, type);
            Doubles at = {NAN, -INFINITY, INFINITY, scan.max_wavelength(), scan.min_wavelength()};
            for (int i = 0; i < 300; ++i) at.push_back(395.0 + i * 0.37);
            for (int i = 0; i < 300; ++i) {
                at.push_back(395.0 + static_cast<double>(random() % 1100) / 10.0);
            }
            Doubles values(at.size());
            scan.evaluate(at, values);
            ScanCursor cursor(scan);
            for (std::size_t i = 0; i < at.size(); ++i) {
                const double expected = scan(at[i]);
                const double walked = cursor(at[i]);
                EXPECT_TRUE(values[i] == expected || std::isnan(expected)) << at[i];
                EXPECT_TRUE(walked == expected || std::isnan(expected)) << at[i];
            }
        }
    }
}

TEST(ScanIntegral, IsClippedAndZeroWhenReversed) {
    const Scan scan(Doubles{400, 500, 600, 700}, Doubles{1, 2, 3, 4}, 1e-20, Type::LINEAR);
    EXPECT_EQ(scan(300.0, 500.0), 150.0);
    EXPECT_EQ(scan(0.0, 1e6), scan.integral());
    EXPECT_EQ(scan(500.0, 400.0), 0.0);
    EXPECT_EQ(scan(710.0, 720.0), 0.0);
    EXPECT_TRUE(std::isnan(scan(500.0, NAN)) && std::isnan(scan(NAN, 500.0)));
    EXPECT_EQ(Scan()(500.0, NAN), 0.0);
    EXPECT_EQ(Scan().integral(), 0.0);
    EXPECT_EQ(Scan(Doubles{400}, Doubles{1}).integral(), 0.0);
    EXPECT_EQ(Scan()(400.0, 500.0), 0.0);
    const Scan four(Doubles{400, 500, 600, 700}, Doubles{1, 2, 3, 4});
    EXPECT_EQ(four(450.0, 450.0), 0.0);
    EXPECT_EQ(thrown_text([&] { (void)four(500.0, 400.0); }), too_few);
}

}  // namespace
