#include "io/vekfile_json.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

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

/// A document of one data set, in its place.
json to_json(const DataSet<DataNative>& data_set) {
    json points = json::object();
    points["x"] = data_set.data.x;
    points["y"] = data_set.data.y;
    json member = json::object();
    member["data"] = std::move(points);
    member["name"] = data_set.name;
    member["no_of_points"] = data_set.no_of_points;
    json document = json::object();
    document["data_sets"].push_back(std::move(member));
    return document;
}

/// Empties the arrays of such a document: its own destructor moves every number about first, which
/// takes a third of the time that writing the numbers took.
void release_points(json& document) {
    for (json& numbers : document["data_sets"][0]["data"]) {
        numbers.get_ref<json::array_t&>().clear();
    }
}

}  // namespace

// The document of a large file would take twice its size in memory, and most of the time would go
// into getting that. So the members are written as documents of their own, in the order of their
// keys, and what they have inside their braces is joined.
std::string vekfile_to_json(const VekFile<DataSet<DataNative>>& file, int indent,
                            bool ensure_ascii) {
    // The library's writer keeps a line of blanks that it doubles only once per level: a larger
    // step would make it read beyond the end of that line.
    constexpr int max_indent = 1024;
    if (indent > max_indent) {
        throw std::invalid_argument("vekfile_to_json: indent must not exceed 1024");
    }
    const std::string line_end = indent < 0 ? "" : "\n";
    const std::string closing_bracket =
        line_end + std::string(static_cast<std::size_t>(std::max(indent, 0)), ' ') + "]";
    const auto inside_braces = [&](const json& document) {
        std::string text = document.dump(indent, ' ', ensure_ascii);
        text.resize(text.size() - line_end.size() - 1);
        text.erase(0, 1);
        return text;
    };

    std::string text(1, '{');
    text += inside_braces({{"data_info", to_json(file.data_info)}});
    text += ',';
    bool first = true;
    for (const auto& data_set : file.data_sets) {
        json document = to_json(data_set);
        const std::string array = inside_braces(document);
        release_points(document);
        // Of the first array the opening stays.
        const std::size_t from = first ? 0 : array.find('[') + 1;
        if (!first) text += ',';
        text.append(array, from, array.size() - closing_bracket.size() - from);
        first = false;
    }
    if (!file.data_sets.empty()) text += closing_bracket + ",";
    text += inside_braces({{"graph",
                            {{"gv_version", file.graph.gv_version},
                             {"x_axis_title", file.graph.x_axis_title},
                             {"y_axis_title", file.graph.y_axis_title}}},
                           {"meta",
                            {{"file_version", file.meta.file_version},
                             {"has_timestamps", file.meta.has_timestamps},
                             {"x_type", file.meta.x_type}}}});
    text += line_end + "}";
    return text;
}

}  // namespace vekanalysis::vekfile
