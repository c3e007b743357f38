#include "colorimetry/data/reference_spectra.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

#include "colorimetry/observers.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

constexpr double uneven = 0.0;

/// What is known of a table: the sums of its values and of wavelength times value, which move with
/// any wrong, missing or exchanged entry, its peak, and a well-known entry as printed.
struct Table {
    const char* name;
    const Scan& (*accessor)();
    std::size_t count;
    double first;
    double last;
    double step;
    double sum;
    double moment;
    std::pair<double, double> peak;
    std::pair<double, double> spot;
};

// In the order of dataset(). The figures are those of the tables as published (of the eleven signal
// tables: as reconstructed), added up in exact decimal arithmetic.
// clang-format off
#define ROW(accessor, ...) {#accessor, accessor, __VA_ARGS__}
const Table tables[] = {
    ROW(AM0_ASTM_E490,
        1697, 119.5, 1000000, uneven, 927.3954209963523, 696508.857851714, {450.5, 2.144}, {739, 1.278}),
    ROW(AM15D_ASTM_G17303,
        2002, 280, 4000, uneven, 887.6479061606402, 705892.269776657, {531, 1.4348}, {827, 0.91178}),
    ROW(AM15G_ASTM_G17303,
        2002, 280, 4000, uneven, 1002.8769556984464, 773525.5517590691, {495, 1.6485}, {827, 0.98465}),
    ROW(ANSI_Z80_3_2015_green_signal_transmittance,
        41, 380, 780, 10, 7.3043, 3578.606, {480, 0.6409}, {510, 0.5654}),
    ROW(ANSI_Z80_3_2015_red_signal_transmittance,
        20, 590, 780, 10, 14.127, 9899.32, {700, 0.853}, {650, 0.805}),
    ROW(ANSI_Z80_3_2015_yellow_signal_transmittance,
        29, 500, 780, 10, 20.28, 13558.14, {680, 0.891}, {590, 0.808}),
    ROW(ISO8980_3_incandescent_blue, 75, 395, 765, 5, 100, 51099.15, {510, 6.8}, {520, 5.99}),
    ROW(ISO8980_3_incandescent_green, 65, 430, 750, 5, 100, 54349.35, {540, 7.27}, {535, 7.09}),
    ROW(ISO8980_3_incandescent_red, 55, 495, 765, 5, 100, 63486.55, {625, 11.92}, {585, 0.03}),
    ROW(ISO8980_3_incandescent_yellow, 55, 470, 740, 5, 100, 58779.4, {575, 5.86}, {560, 5.41}),
    ROW(ISO8980_3_led_blue, 51, 420, 670, 5, 100, 49014.35, {475, 11.04}, {505, 4.67}),
    ROW(ISO8980_3_led_green, 42, 435, 640, 5, 100, 51736.95, {510, 11.48}, {505, 10.86}),
    ROW(ISO8980_3_led_red, 28, 550, 685, 5, 100, 62613.7, {635, 17.93}, {595, 1.64}),
    ROW(ISO8980_3_led_yellow, 26, 515, 640, 5, 100, 58755.8, {590, 24.89}, {555, 0.65}),
    ROW(aphake_hazard, 81, 300, 700, 5, 113.201, 40165.195, {300, 6}, {440, 1}),
    ROW(blue_light_hazard, 25, 380, 500, 5, 13.233, 5888.85, {435, 1}, {500, 0.1}),
    ROW(cie_1931_standard_observer_x,
        81, 380, 780, 5, 21.371524, 12219.53592, {600, 1.0622}, {515, 0.0291}),
    ROW(cie_1931_standard_observer_y,
        81, 380, 780, 5, 21.371327, 11972.04348, {555, 1}, {515, 0.6082}),
    ROW(cie_1931_standard_observer_z,
        55, 380, 650, 5, 21.37154, 9704.6195, {445, 1.7826}, {650, 0}),
    ROW(cie_1964_standard_observer_x,
        81, 380, 780, 5, 23.329353, 13252.6572, {595, 1.1343}, {515, 0.071358}),
    ROW(cie_1964_standard_observer_y,
        81, 380, 780, 5, 23.332036, 12945.587985, {555, 0.99911}, {515, 0.68566}),
    ROW(cie_1964_standard_observer_z,
        37, 380, 560, 5, 23.334153, 10518.52598, {445, 2.0273}, {560, 0}),
    ROW(cie_illuminant_a, 97, 300, 780, 5, 9624.275383, 6267959.94345, {780, 241.675}, {560, 100}),
    ROW(cie_illuminant_c,
        41, 380, 780, 10, 34.502374169040834, 19560.778727445395, {450, 1.177587844254511}, {560, 1}),
    ROW(cie_illuminant_d65, 107, 300, 830, 5, 8194.5769, 4670587.5545, {460, 117.812}, {560, 100}),
    ROW(relative_spectral_effectiveness,
        25, 280, 400, 5, 3.211767, 925.91984, {280, 0.88}, {400, 3e-05}),
    ROW(solar_spectral_irradiance,
        43, 290, 500, 5, 23682.191209, 10493376.911655, {500, 1215}, {360, 233}),
};
#undef ROW
// clang-format on

class ReferenceSpectrum : public testing::TestWithParam<std::size_t> {};

TEST_P(ReferenceSpectrum, HasThePublishedGridAndValues) {
    const Table& table = tables[GetParam()];
    const Scan& scan = table.accessor();
    EXPECT_EQ(&scan, dataset()[GetParam()]);
    EXPECT_EQ(find_table(table.name), &data::tables()[GetParam()]);
    EXPECT_EQ(scan.get_wavelength_epsilon(), 1e-20);
    EXPECT_EQ(scan.get_interpolation_type(), spline::Type::AKIMA);
    ASSERT_EQ(scan.size(), table.count);
    EXPECT_EQ(scan.min_wavelength(), table.first);
    EXPECT_EQ(scan.max_wavelength(), table.last);
    double sum = 0.0;
    double moment = 0.0;
    double previous = table.first - table.step;
    for (const auto& [wl, value] : scan) {
        if (table.step != uneven) {
            EXPECT_EQ(wl - previous, table.step) << wl;
        }
        previous = wl;
        sum += value;
        moment += wl * value;
    }
    // 2000 rounded additions of positive numbers.
    EXPECT_NEAR(sum, table.sum, 1e-13 * table.sum);
    EXPECT_NEAR(moment, table.moment, 1e-13 * table.moment);
    EXPECT_EQ(*scan.max_element(), table.peak);
    EXPECT_EQ(scan.at(table.spot.first), table.spot.second);
}

static_assert(std::size(tables) == table_count && table_count == 27);

INSTANTIATE_TEST_SUITE_P(All, ReferenceSpectrum, testing::Range(std::size_t{0}, std::size(tables)),
                         [](const auto& index) { return std::string(tables[index.param].name); });

// Nominal powers of the spectra (ASTM E490, ASTM G173); the integral of the interpolant differs
// from the standards' own summation by well under 0.1 %.
TEST(ReferenceSpectra, SolarSpectraCarryTheirNominalPower) {
    EXPECT_NEAR(AM0_ASTM_E490().integral(), 1366.1, 1.0);
    EXPECT_NEAR(AM15D_ASTM_G17303().integral(), 900.1, 0.9);
    EXPECT_NEAR(AM15G_ASTM_G17303().integral(), 1000.4, 1.0);
}

// CIE 15:2004, Table T.1: A is Planck's law with c2 / T = 1.435e7 / 2848 nm, 100 at 560 nm. Six
// digits are printed.
TEST(ReferenceSpectra, IlluminantAFollowsItsDefiningFormula) {
    const auto planck = [](double wl) {
        return std::pow(wl, -5.0) / std::expm1(1.435e7 / (2848.0 * wl));
    };
    for (const auto& [wl, value] : cie_illuminant_a()) {
        EXPECT_NEAR(value, 100.0 * planck(wl) / planck(560.0), 5e-6 * value) << wl;
    }
}

TEST(Observers, AreListedAndReferToTheTables) {
    EXPECT_EQ(&observers::data::dataset()[0]->y, &cie_1931_standard_observer_y());
    EXPECT_EQ(&observers::data::dataset()[1]->y, &cie_1964_standard_observer_y());
}

}  // namespace

}  // namespace vekanalysis::colorimetry::data
