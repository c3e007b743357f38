#include "numerical/fused.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using numerical::fused;
using numerical::internal::fused_by_parts;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Products that the addend leaves little of, dwarfs, or hardly changes, and results that overflow.
TEST(Fused, ByPartsIsRoundedOnce) {
#ifdef __MINGW32__
    GTEST_SKIP() << "std::fma is no reference here";
#endif
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> part(1.0, 2.0);
    for (int i = 0; i < 300'000; ++i) {
        const auto number = [&](int most) {
            const double digits = part(random);
            const double value =
                std::ldexp(i % 4 == 0 ? static_cast<double>(static_cast<float>(digits)) : digits,
                           std::uniform_int_distribution(-most, most)(random));
            return random() % 2 == 0 ? value : -value;
        };
        const int most = i % 3 == 0 ? 4 : i % 3 == 1 ? 60 : 700;
        const double x = number(most);
        const double y = number(most);
        const double z = i % 5 == 0 ? -x * y * (1.0 + std::ldexp(i % 9 - 4.0, -52)) : number(most);
        const double expected = std::fma(x, y, z);
        if (std::abs(expected) < std::numeric_limits<double>::min()) continue;
        ASSERT_EQ(fused_by_parts(x, y, z), expected) << std::hexfloat << x << " " << y << " " << z;
    }
}

TEST(Fused, KeepsWhatTheProductRoundsAway) {
    const double e = std::ldexp(1.0, -30);
    for (const auto function : {fused, fused_by_parts}) {
        EXPECT_EQ(function(1.0 + e, 1.0 - e, -1.0), -e * e);
        EXPECT_EQ(function(1e308, 10.0, -infinity), -infinity);
        EXPECT_EQ(function(2.0, 1e308, -1e308), 1e308);
        EXPECT_TRUE(std::isnan(function(infinity, 0.0, 1.0)));
        EXPECT_TRUE(std::signbit(function(0.0, 1.0, -0.0)) == false);
        EXPECT_TRUE(std::signbit(function(0.0, -1.0, -0.0)));
    }
}

}  // namespace
