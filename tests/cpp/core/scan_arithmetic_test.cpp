#include "core/scan_arithmetic.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <vector>

namespace {

using vekanalysis::Scan;
using vekanalysis::spline::Type;
namespace utils = vekanalysis::utils;
using Doubles = std::vector<double>;

Scan left(Type type = Type::LINEAR) {
    return {Doubles{400, 500, 600}, Doubles{1, 2, 3}, 1e-20, type};
}

Scan right(Type type = Type::LINEAR) {
    return {Doubles{450, 650}, Doubles{10, 20}, 1e-20, type};
}

TEST(BinaryOperation, UsesTheUnionInsideTheOverlapWhenBothInterpolate) {
    const Scan sum = left() + right();
    EXPECT_EQ(sum.as_vectors(), (std::vector<Doubles>{{450, 500, 600}, {11.5, 14.5, 20.5}}));
    EXPECT_EQ((left() - right()).get_values(), (Doubles{-8.5, -10.5, -14.5}));
}

TEST(BinaryOperation, IsEmptyWithoutCommonWavelengths) {
    EXPECT_TRUE((left(Type::NONE) + right(Type::NONE)).empty());
    EXPECT_TRUE((Scan() * left()).empty());
    EXPECT_TRUE((left() * Scan()).empty());
}

TEST(BinaryOperation, TakesTheSmallerEpsilonAndTheFirstInterpolatingType) {
    Scan a = left(Type::NONE);
    a.set_wavelength_epsilon(0.5);
    const Scan product = a * right();
    EXPECT_EQ(product.get_wavelength_epsilon(), 1e-20);
    EXPECT_EQ(product.get_interpolation_type(), Type::LINEAR);
    EXPECT_EQ((left(Type::CUBIC) * right()).get_interpolation_type(), Type::CUBIC);
    EXPECT_EQ((left(Type::NONE) * right(Type::NONE)).get_interpolation_type(), Type::NONE);
}

TEST(BinaryOperation, BuildsNoSplineOnACommonGrid) {
    const Scan four(Doubles{1, 2, 3, 4}, Doubles{1, 2, 3, 4});
    EXPECT_EQ((four * four).get_values(), (Doubles{1, 4, 9, 16}));
    EXPECT_THROW((void)(four * Scan(Doubles{1.5}, Doubles{1})), std::runtime_error);
}

TEST(BinaryOperation, ExactLookupMayMissAWavelengthOnlyTheWiderEpsilonReaches) {
    const Scan wide(Doubles{1.0}, Doubles{2.0}, 0.5, Type::NONE);
    const Scan narrow(Doubles{1.25}, Doubles{3.0}, 1e-20, Type::NONE);
    EXPECT_EQ(utils::key_intersection(wide, narrow), (Doubles{1.0}));
    EXPECT_THROW((void)(wide * narrow), std::out_of_range);
}

/// The rule as it reads: b's reachable wavelengths go into an ordered set, then a's.
Doubles grid_by_set(const Scan& a, const Scan& b) {
    const double e = std::min(a.get_wavelength_epsilon(), b.get_wavelength_epsilon());
    std::set<double, vekanalysis::internal::FloatComparator<double>> grid(
        vekanalysis::internal::FloatComparator<double>{e});
    const auto add = [&](const Scan& points, const Scan& range) {
        if (!range.is_interpolated() || points.empty() || range.empty()) return;
        for (const double x : points.get_wavelengths()) {
            if (x + e >= range.min_wavelength() && x <= range.max_wavelength() + e) grid.insert(x);
        }
    };
    add(b, a);
    add(a, b);
    return {grid.begin(), grid.end()};
}

TEST(CommonWavelengths, EqualTheOrderedSetRuleForAnyScans) {
    std::mt19937 random(11);
    constexpr Type types[] = {Type::NONE, Type::LINEAR};
    constexpr double epsilons[] = {1e-20, 0.25, 0.6, 2.0};
    const auto any_scan = [&] {
        Doubles x(random() % 25);
        for (double& wl : x) wl = static_cast<double>(random() % 160) / 8.0;
        return Scan(x, x, epsilons[random() % 4], types[random() % 2]);
    };
    for (int round = 0; round < 3000; ++round) {
        const Scan a = any_scan();
        const Scan b = any_scan();
        const utils::WavelengthSet grid = utils::wavelengths(a, b);
        ASSERT_EQ(Doubles(grid.begin(), grid.end()), grid_by_set(a, b));
        if (a.size() > 1 && b.size() > 1 && (a.is_interpolated() || b.is_interpolated())) {
            const Scan sum = a + b;
            ASSERT_EQ(sum.get_wavelengths(), grid_by_set(a, b));
            for (const auto& [wl, value] : sum) ASSERT_EQ(value, a(wl) + b(wl)) << wl;
        }
    }
}

TEST(KeyUnion, DropsWhatLiesOutsideTheCommonSpan) {
    const auto keys = [](Doubles x) { return Scan(x, x); };
    EXPECT_EQ(utils::key_union(keys({1, 2, 3, 10}), keys({2.5, 5})), (Doubles{2.5, 3, 5}));
    EXPECT_EQ(utils::key_union(keys({1, 2, 3}), keys({1, 2, 3})), (Doubles{1, 2, 3}));
    EXPECT_TRUE(utils::key_union(keys({}), keys({1})).empty());
}

TEST(InPlaceOperation, KeepsTheLeftGridAndReadsZeroOutside) {
    Scan a = left();
    a += right();
    EXPECT_EQ(a.as_vectors(), (std::vector<Doubles>{{400, 500, 600}, {1, 14.5, 20.5}}));
    a *= right();
    EXPECT_EQ(a.get_values().front(), 0.0);
}

TEST(InPlaceOperation, AnEmptyAccumulatorTakesOverTheOther) {
    Scan sum(0.5, Type::NONE);
    sum += right();
    EXPECT_EQ(sum, right());
    EXPECT_EQ(sum.get_interpolation_type(), Type::LINEAR);
    Scan difference;
    difference -= Scan{{400.0, 0.0}, {500.0, 2.0}};
    EXPECT_EQ(difference.at(500.0), -2.0);
    EXPECT_TRUE(std::signbit(difference.at(400.0)));
    Scan product;
    product *= right();
    EXPECT_TRUE(product.empty());
}

TEST(InPlaceOperation, WithItselfGivesTheRightResult) {
    Scan scan = left();
    scan *= scan;
    EXPECT_EQ(scan.get_values(), (Doubles{1, 4, 9}));
    scan += scan;
    EXPECT_EQ(scan.get_values(), (Doubles{2, 8, 18}));
    scan -= scan;
    EXPECT_EQ(scan.get_values(), (Doubles{0, 0, 0}));
    scan.add_keys(scan);
    EXPECT_EQ(scan.size(), 3U);
}

TEST(InPlaceOperation, ThatFailsLeavesTheScanAsItWas) {
    Scan scan = left();
    const Scan unusable(Doubles{300, 700}, Doubles{1, 2}, 1e-20, Type::AKIMA);
    EXPECT_THROW(scan *= unusable, std::runtime_error);
    EXPECT_EQ(scan, left());
    Scan grown(Doubles{1, 2}, Doubles{1, 2}, 1e-20, Type::AKIMA);
    EXPECT_THROW(grown.add_keys(Scan(Doubles{0, 1.5}, Doubles{0, 0})), std::runtime_error);
    EXPECT_EQ(grown.size(), 2U);
}

TEST(ScalarOperation, KeepsTheGridAndTheSettings) {
    Scan scan = left();
    scan.set_wavelength_epsilon(0.5);
    EXPECT_EQ((10.0 - scan).get_values(), (Doubles{9, 8, 7}));
    EXPECT_EQ((scan - 10.0).get_values(), (Doubles{-9, -8, -7}));
    EXPECT_EQ((6.0 / scan).get_values(), (Doubles{6, 3, 2}));
    EXPECT_EQ((scan / 2.0).get_wavelength_epsilon(), 0.5);
    EXPECT_EQ((scan * 2.0).get_interpolation_type(), Type::LINEAR);
    EXPECT_TRUE(std::isinf((1.0 / Scan{{1.0, 0.0}}).at(1.0)));
    EXPECT_TRUE(std::signbit((-Scan{{1.0, 0.0}}).at(1.0)));
}

TEST(AddKeys, KeepsStoredValuesAndLetsEachNewPointTakePartInTheNext) {
    Scan scan = left();
    scan.add_keys(right());
    EXPECT_EQ(scan.as_vectors(),
              (std::vector<Doubles>{{400, 450, 500, 600, 650}, {1, 1.5, 2, 3, 0}}));

    Scan akima(Doubles{0, 1, 2, 3, 4, 5}, Doubles{0, 1, 0, 2, 0, 3});
    Scan stepwise = akima;
    for (const double wl : {1.25, 1.5}) stepwise.insert({wl, stepwise(wl)});
    const double without_the_first = akima(1.5);
    akima.add_keys(Scan{{1.25, 0.0}, {1.5, 0.0}});
    EXPECT_EQ(akima, stepwise);
    EXPECT_NE(akima.at(1.5), without_the_first);
}

TEST(Trim, IsExactAndErasesEverythingWhenReversed) {
    Scan scan = left();
    scan.set_wavelength_epsilon(1.0);
    scan.trim(400.5, 600.0);
    EXPECT_EQ(scan.get_wavelengths(), (Doubles{500, 600}));
    scan.trim(Scan{{550.0, 0.0}, {600.0, 0.0}});
    EXPECT_EQ(scan.as_vectors(), (std::vector<Doubles>{{600}, {3}}));
    EXPECT_THROW(scan.trim(Scan()), std::runtime_error);
    scan.trim(700.0, 500.0);
    EXPECT_TRUE(scan.empty());
}

}  // namespace
