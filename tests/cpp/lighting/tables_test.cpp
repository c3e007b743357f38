#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lighting/data/tables.hpp"
#include "rows.hpp"

namespace data = vekanalysis::lighting::data;

namespace {

// Beside the grid, sums of the printed figures times the number of their column, and of their row,
// from 1 on; taken from the sources in decimal arithmetic.
TEST(LightTables, HaveThePrintedFigures) {
    const std::vector<data::Table> tables{data::observer_1931_1nm(),
                                          data::observer_1964_1nm(),
                                          data::scotopic_luminous_efficiency(),
                                          data::alpha_opic_action_spectra(),
                                          data::daylight_components(),
                                          data::illuminants_d(),
                                          data::illuminants_fl(),
                                          data::illuminants_fl3(),
                                          data::illuminants_led(),
                                          data::colour_rendering_samples(),
                                          data::colour_evaluation_samples(),
                                          data::blue_light_hazard_weights(),
                                          data::retinal_thermal_weights()};
    const auto known =
        rows<std::string, double, double, std::size_t, std::size_t, double, double>("light-tables");
    ASSERT_EQ(known.size(), tables.size());
    for (std::size_t t = 0; t < tables.size(); ++t) {
        const auto& [name, first, step, row_count, columns, all_by_column, all_by_row] = known[t];
        SCOPED_TRACE(name);
        const data::Table& table = tables[t];
        EXPECT_EQ(table.first, first);
        EXPECT_EQ(table.step, step);
        ASSERT_EQ(table.columns, columns);
        ASSERT_EQ(table.rows(), row_count);
        double by_column = 0.0;
        double by_row = 0.0;
        for (std::size_t i = 0; i < row_count; ++i) {
            for (std::size_t k = 0; k < columns; ++k) {
                by_column += static_cast<double>(k + 1) * table(i, k);
                by_row += static_cast<double>(i + 1) * table(i, k);
            }
        }
        EXPECT_NEAR(by_column, all_by_column, 1e-13 * all_by_column);
        EXPECT_NEAR(by_row, all_by_row, 1e-13 * all_by_row);
    }
}

TEST(LightTables, NameTheirIlluminants) {
    EXPECT_EQ(std::string(data::illuminants_fl3().names[14]), "FL3.15");
    for (const auto& table : {data::illuminants_d(), data::illuminants_fl(),
                              data::illuminants_fl3(), data::illuminants_led()}) {
        EXPECT_EQ(table.names.size(), table.columns);
    }
}

}  // namespace
