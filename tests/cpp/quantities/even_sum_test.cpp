#include "quantities/even_sum.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace vekanalysis::quantities::internal {

namespace {

/// A spectrum of points 1 nm apart times these factors.
Product product_with(const std::vector<double>& factors) {
    Product product;
    product.factors = factors;
    for (std::size_t i = 0; i < factors.size(); ++i) {
        product.wavelengths.push_back(400.0 + static_cast<double>(i));
        product.sources.push_back({static_cast<std::uint32_t>(i), false, 0.0});
    }
    return product;
}

std::vector<double> small_numbers(std::mt19937& random, std::size_t count) {
    std::vector<double> numbers;
    for (std::size_t i = 0; i < count; ++i) {
        numbers.push_back(static_cast<double>(random() % 3));
    }
    return numbers;
}

bool has_kink(std::span<const double> y) {
    const auto is_straight = [y](std::size_t i) { return y[i - 1] + y[i + 1] == 2.0 * y[i]; };
    for (std::size_t i = 2; i + 2 < y.size(); ++i) {
        if (is_straight(i - 1) && !is_straight(i) && is_straight(i + 1)) return true;
    }
    return false;
}

// Small numbers are straight by chance at every fifth point, so all places of kinks come up, those
// beside factors of 0 too.
TEST(EvenSum, HoldsWhereItSeesNoKinkAndSeesThemAll) {
    std::mt19937 random(1);
    int kinks = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::size_t n = 8 + random() % 9;
        auto factors = small_numbers(random, n);
        const auto zeros = static_cast<std::ptrdiff_t>(random() % n);
        if (round % 3 == 1) std::fill(factors.begin(), factors.begin() + zeros, 0.0);
        if (round % 3 == 2) std::fill(factors.end() - zeros, factors.end(), 0.0);
        const Product product = product_with(factors);
        const PlannedIntegral integral{.product = 1, .last = n - 2, .to = 1.0};
        const Product* const chain[] = {&product};
        const auto sum = make_even_sum(chain, product.wavelengths, integral);
        ASSERT_TRUE(sum);
        struct Spectra {
            std::vector<Four> spectrum;
            std::vector<Four> values;
            std::array<std::vector<double>, lane_count> products;
            Four largest;
            Four found;
            LaneMask unsure;
        };
        std::array<Spectra, most_tasks> all;
        std::vector<EvenTask> tasks;
        for (auto& [spectrum, values, products, largest, found, unsure] : all) {
            spectrum.resize(n);
            values.resize(n);
            for (std::size_t lane = 0; lane < lane_count; ++lane) {
                const auto numbers = small_numbers(random, n);
                for (std::size_t i = 0; i < n; ++i) {
                    spectrum[i].lanes[lane] = numbers[i];
                    products[lane].push_back(numbers[i] * factors[i]);
                    values[i].lanes[lane] = products[lane].back();
                }
            }
            kernels().find_largest(spectrum, largest);
            tasks.push_back({spectrum.data(), &largest, &found, &unsure});
        }
        tasks.resize(1 + static_cast<std::size_t>(round % 2));
        kernels().even_sums({&*sum, 1}, tasks, {});
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            Four expected;
            kernels().integral(product, all[i].values, integral, expected);
            for (std::size_t lane = 0; lane < lane_count; ++lane) {
                const bool is_unsure = (all[i].unsure >> lane & 1U) != 0;
                EXPECT_EQ(is_unsure, has_kink(all[i].products[lane])) << round << " " << lane;
                kinks += is_unsure ? 1 : 0;
                if (is_unsure) continue;
                EXPECT_NEAR(all[i].found.lanes[lane], expected.lanes[lane], 1e-12)
                    << round << " " << lane;
            }
        }
    }
    EXPECT_GT(kinks, 1000);
}

}  // namespace

}  // namespace vekanalysis::quantities::internal
