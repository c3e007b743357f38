#include "io/vekfile_json.hpp"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace vekanalysis::vekfile {

namespace {

using nlohmann::json;

json to_json(const MeasurementTypeUnits& units) {
    return {{"measurement_type", units.measurement_type},
            {"measurement_type_code", units.measurement_type_code},
            {"units", units.units},
            {"units_code", units.units_code}};
}

json to_json(const DataInfo& info) {
    return {{"apply_data_calibration", info.apply_data_calibration},
            {"apply_reference", info.apply_reference},
            {"auxiliary_type_and_units", to_json(info.auxiliary_type_and_units)},
            {"certificate_file", info.certificate_file},
            {"data_calibration_file", info.data_calibration_file},
            {"date_and_time", info.date_and_time},
            {"post_scan_addon_description", info.post_scan_addon_description},
            {"post_scan_addon_filename", info.post_scan_addon_filename},
            {"pre_scan_addon_description", info.pre_scan_addon_description},
            {"pre_scan_addon_filename", info.pre_scan_addon_filename},
            {"reference_file", info.reference_file},
            {"reference_parameter", info.reference_parameter},
            {"reference_type", info.reference_type},
            {"scan_summary", info.scan_summary},
            {"system_file", info.system_file},
            {"type_and_units", to_json(info.type_and_units)}};
}

json to_json(const __DataSet<DataNative>& data_set) {
    json points = json::object();
    points["x"] = data_set.data.x;
    points["y"] = data_set.data.y;
    json result = json::object();
    result["data"] = std::move(points);
    result["name"] = data_set.name;
    result["no_of_points"] = data_set.no_of_points;
    return result;
}

}  // namespace

std::string vekfile_to_json(const __VekFile<__DataSet<DataNative>>& file, int indent,
                            bool ensure_ascii) {
    // The library's writer keeps a line of blanks that it doubles only once per level: a larger
    // step would make it read beyond the end of that line.
    constexpr int max_indent = 1024;
    if (indent > max_indent) {
        throw std::invalid_argument("vekfile_to_json: indent must not exceed 1024");
    }
    json document{{"data_info", to_json(file.data_info)},
                  {"graph",
                   {{"gv_version", file.graph.gv_version},
                    {"x_axis_title", file.graph.x_axis_title},
                    {"y_axis_title", file.graph.y_axis_title}}},
                  {"meta",
                   {{"file_version", file.meta.file_version},
                    {"has_timestamps", file.meta.has_timestamps},
                    {"x_type", file.meta.x_type}}}};
    for (const auto& data_set : file.data_sets) document["data_sets"].push_back(to_json(data_set));
    return document.dump(indent, ' ', ensure_ascii);
}

}  // namespace vekanalysis::vekfile
