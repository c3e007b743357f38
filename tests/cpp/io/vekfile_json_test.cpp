#include "io/vekfile_json.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace vekanalysis::vekfile {

namespace {

using nlohmann::json;
using File = VekFile<DataSet<DataNative>>;

File sample() {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    File file;
    file.meta = {5, true, "Wavelength / \xC2\xB5m"};
    file.graph = {4, "\"x\" \\ /\t\n\x01\x7F", "\xF0\x9F\x94\xAC"};
    file.data_info.date_and_time = "2024-03-01 10:15";
    file.data_info.apply_reference = true;
    file.data_info.system_file = "a, [b]: {c}";
    file.data_info.type_and_units = {"Transmittance", "%", std::numeric_limits<int>::min(), 7};
    // More than are written at once, of every magnitude.
    std::mt19937_64 random(1);
    std::vector<double> any;
    for (int i = 0; i < 9000; ++i) any.push_back(std::bit_cast<double>(random()));
    std::vector<double> odd{-0.0, 1.0, 100.0, 1e15, 1e16, 1e-5, 5e-324, nan, infinity, -infinity};
    file.data_sets = {{9000, "any", {any, any}, 0},
                      {0, "", {}, 0},
                      {4294967295U, "odd", {odd, std::vector<double>(8192, 0.1)}, 0}};
    return file;
}

// What the members are called and hold, the tests of the package say.
TEST(VekFileToJson, IsLaidOutAsTheLibraryDoesItAndHasEveryNumber) {
    for (const File& file : {sample(), File()}) {
        for (const int indent : {-5, -1, 0, 1, 2, 40}) {
            for (const bool ensure_ascii : {false, true}) {
                const std::string text = vekfile_to_json(file, indent, ensure_ascii);
                const json document = json::parse(text);
                EXPECT_TRUE(text == document.dump(indent, ' ', ensure_ascii)) << indent;
                for (std::size_t i = 0; i < file.data_sets.size(); ++i) {
                    const json& data = document.at("data_sets").at(i).at("data");
                    EXPECT_EQ(data.at("x").dump(), json(file.data_sets[i].data.x).dump());
                    EXPECT_EQ(data.at("y").dump(), json(file.data_sets[i].data.y).dump());
                }
            }
        }
    }
}

TEST(VekFileToJson, RefusesWhatIsNoUtf8) {
    File file;
    file.graph.x_axis_title = "\xFF";
    EXPECT_THROW(static_cast<void>(vekfile_to_json(file, 2, false)), json::type_error);
}

}  // namespace

}  // namespace vekanalysis::vekfile
