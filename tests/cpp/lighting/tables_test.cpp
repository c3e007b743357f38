#include <gtest/gtest.h>

#include "lighting/data/tables.hpp"

namespace data = vekanalysis::lighting::data;

namespace {

struct Row {
    const char* name;
    data::Table table;
    double first;
    double step;
    std::size_t rows;
    std::size_t columns;
    // Sums of the printed figures times the number of their column, and of their row, from 1 on;
    // taken from the sources in decimal arithmetic.
    double by_column;
    double by_row;
};

class LightTable : public testing::TestWithParam<Row> {};

TEST_P(LightTable, HasThePrintedFigures) {
    const Row& row = GetParam();
    EXPECT_EQ(row.table.first, row.first);
    EXPECT_EQ(row.table.step, row.step);
    ASSERT_EQ(row.table.columns, row.columns);
    ASSERT_EQ(row.table.rows(), row.rows);
    double by_column = 0.0;
    double by_row = 0.0;
    for (std::size_t i = 0; i < row.rows; ++i) {
        for (std::size_t k = 0; k < row.columns; ++k) {
            by_column += static_cast<double>(k + 1) * row.table(i, k);
            by_row += static_cast<double>(i + 1) * row.table(i, k);
        }
    }
    EXPECT_NEAR(by_column, row.by_column, 1e-13 * row.by_column);
    EXPECT_NEAR(by_row, row.by_row, 1e-13 * row.by_row);
}

INSTANTIATE_TEST_SUITE_P(
    All, LightTable,
    testing::Values(
        Row{"observer_1931", data::observer_1931_1nm(), 360, 1, 471, 3, 641.2560575278468,
            54396.4436243117831},
        Row{"observer_1964", data::observer_1964_1nm(), 360, 1, 471, 3, 699.994215257473,
            57942.672893593499},
        Row{"scotopic", data::scotopic_luminous_efficiency(), 380, 1, 401, 1, 97.071316574,
            11978.851938547},
        Row{"alpha_opic", data::alpha_opic_action_spectra(), 380, 1, 401, 5, 1444.5832767054005,
            63460.8385682836038},
        Row{"daylight", data::daylight_components(), 300, 5, 107, 3, 11620.62, 482281.52},
        Row{"d", data::illuminants_d(), 300, 5, 97, 3, 45806.22853, 1202770.60384},
        Row{"fl", data::illuminants_fl(), 380, 5, 81, 12, 50439.57, 268748.18},
        Row{"fl3", data::illuminants_fl3(), 380, 5, 81, 15, 765952.20, 2636782.43},
        Row{"led", data::illuminants_led(), 380, 5, 81, 9, 31978.84, 244191.51},
        Row{"rendering", data::colour_rendering_samples(), 380, 5, 81, 15, 3271.701, 19122.888},
        Row{"evaluation", data::colour_evaluation_samples(), 380, 5, 81, 99, 137048.02199,
            132988.23442},
        Row{"blue_light", data::blue_light_hazard_weights(), 300, 5, 81, 2, 41.39734944,
            834.6271124},
        Row{"thermal", data::retinal_thermal_weights(), 380, 5, 205, 2, 408.8182619,
            13760.9655468}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(LightTables, NameTheirIlluminants) {
    EXPECT_EQ(std::string(data::illuminants_fl3().names[14]), "FL3.15");
    for (const auto& table : {data::illuminants_d(), data::illuminants_fl(),
                              data::illuminants_fl3(), data::illuminants_led()}) {
        EXPECT_EQ(table.names.size(), table.columns);
    }
}

}  // namespace
