#include "colorimetry/data/reference_spectra.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

#include "colorimetry/observers.hpp"
#include "rows.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

using Point = std::pair<double, double>;

// In the order of dataset(), what is known of a table: its grid (step 0: uneven), the sums of its
// values and of wavelength times value, which move with any wrong, missing or exchanged entry, its
// peak, and a well-known entry as printed. The figures are those of the tables as published (of the
// eleven signal tables: as reconstructed), added up in exact decimal arithmetic.
TEST(ReferenceSpectra, HaveThePublishedGridsAndValues) {
    const auto known =
        rows<std::string, std::size_t, double, double, double, double, double, Point, Point>(
            "reference-spectra");
    ASSERT_EQ(known.size(), 27U);
    ASSERT_EQ(table_count, 27U);
    for (std::size_t i = 0; i < known.size(); ++i) {
        const auto& [name, count, first, last, step, total, total_moment, peak, spot] = known[i];
        SCOPED_TRACE(name);
        ASSERT_EQ(find_table(name), &tables()[i]);
        const Scan& scan = tables()[i].spectrum();
        EXPECT_EQ(&scan, dataset()[i]);
        EXPECT_EQ(scan.get_wavelength_epsilon(), 1e-20);
        EXPECT_EQ(scan.get_interpolation_type(), spline::Type::AKIMA);
        EXPECT_EQ(scan.size(), count);
        EXPECT_EQ(scan.min_wavelength(), first);
        EXPECT_EQ(scan.max_wavelength(), last);
        double sum = 0.0;
        double moment = 0.0;
        double previous = first - step;
        for (const auto& [wl, value] : scan) {
            EXPECT_TRUE(step == 0.0 || wl - previous == step) << wl;
            previous = wl;
            sum += value;
            moment += wl * value;
        }
        // 2000 rounded additions of positive numbers.
        EXPECT_NEAR(sum, total, 1e-13 * total);
        EXPECT_NEAR(moment, total_moment, 1e-13 * total_moment);
        EXPECT_EQ(*scan.max_element(), peak);
        EXPECT_EQ(scan.at(spot.first), spot.second);
    }
}

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
