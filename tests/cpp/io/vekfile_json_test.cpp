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

json tree_of(const MeasurementTypeUnits& units) {
    return {{"measurement_type", units.measurement_type},
            {"measurement_type_code", units.measurement_type_code},
            {"units", units.units},
            {"units_code", units.units_code}};
}

/// The whole document as the library holds it, which sorts the members.
json tree_of(const File& file) {
    const DataInfo& info = file.data_info;
    json tree = {
        {"meta",
         {{"file_version", file.meta.file_version},
          {"has_timestamps", file.meta.has_timestamps},
          {"x_type", file.meta.x_type}}},
        {"graph",
         {{"gv_version", file.graph.gv_version},
          {"x_axis_title", file.graph.x_axis_title},
          {"y_axis_title", file.graph.y_axis_title}}},
        {"data_info",
         {{"date_and_time", info.date_and_time},
          {"scan_summary", info.scan_summary},
          {"apply_data_calibration", info.apply_data_calibration},
          {"data_calibration_file", info.data_calibration_file},
          {"certificate_file", info.certificate_file},
          {"system_file", info.system_file},
          {"pre_scan_addon_description", info.pre_scan_addon_description},
          {"post_scan_addon_description", info.post_scan_addon_description},
          {"pre_scan_addon_filename", info.pre_scan_addon_filename},
          {"post_scan_addon_filename", info.post_scan_addon_filename},
          {"type_and_units", tree_of(info.type_and_units)},
          {"auxiliary_type_and_units", tree_of(info.auxiliary_type_and_units)},
          {"apply_reference", info.apply_reference},
          {"reference_type", info.reference_type},
          {"reference_file", info.reference_file},
          {"reference_parameter", info.reference_parameter}}},
    };
    for (const auto& set : file.data_sets) {
        tree["data_sets"].push_back({{"data", {{"x", set.data.x}, {"y", set.data.y}}},
                                     {"name", set.name},
                                     {"no_of_points", set.no_of_points}});
    }
    return tree;
}

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

TEST(VekFileToJson, IsWhatTheLibraryWritesOfTheWholeTree) {
    const File file = sample();
    const json tree = tree_of(file);
    for (const int indent : {-5, -1, 0, 1, 2, 40}) {
        for (const bool ensure_ascii : {false, true}) {
            EXPECT_TRUE(vekfile_to_json(file, indent, ensure_ascii) ==
                        tree.dump(indent, ' ', ensure_ascii))
                << indent;
        }
    }
    EXPECT_EQ(vekfile_to_json(File(), 3, false), tree_of(File()).dump(3));
}

TEST(VekFileToJson, RefusesWhatIsNoUtf8) {
    File file;
    file.graph.x_axis_title = "\xFF";
    EXPECT_THROW(static_cast<void>(vekfile_to_json(file, 2, false)), json::type_error);
}

}  // namespace

}  // namespace vekanalysis::vekfile
