#include "lighting/colour_samples.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace vekanalysis::lighting::internal;

constexpr std::size_t samples = 15;

// Away from the ends the interpolation is exact for polynomials up to the fourth degree.
TEST(ColourSamples, InterpolatePolynomialsExactly) {
    const auto factor = [](double wl, std::size_t degree) {
        return std::pow((wl - 590.0) / 200.0, static_cast<int>(degree));
    };
    std::vector<double> factors;
    for (std::size_t i = 0; i < printed_points; ++i) {
        const double wl = 380.0 + 5.0 * static_cast<double>(i);
        for (std::size_t j = 0; j < samples; ++j) factors.push_back(factor(wl, j % 5));
    }
    const auto& matching = colour_matching(1931, 1);
    for (std::size_t line = 15; line + 15 < matching.points; ++line) {
        std::vector<double> light(matching.points);
        light[line] = 1.0;
        Colours<samples> colours{};
        ColourSamples<samples>(factors, 1931, 1).under(light, &colours);
        const double scale = 100.0 / matching.functions[1][line];
        for (std::size_t degree = 0; degree < 5; ++degree) {
            const double expected = factor(380.0 + static_cast<double>(line), degree);
            EXPECT_NEAR(colours.X[degree], scale * matching.functions[0][line] * expected,
                        1e-12 * scale * matching.functions[0][line])
                << line << " " << degree;
            EXPECT_NEAR(colours.Y[degree], 100.0 * expected, 1e-10) << line << " " << degree;
        }
    }
}

}  // namespace
