#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "../core/scan.hpp"

/// What is kept of a measurement file of the Dalvix+ acquisition program. All texts are UTF-8.
namespace vekanalysis::vekfile {

struct Meta {
    std::uint32_t file_version = 0;
    /// The file has a time stamp for every point (never below file version 3).
    bool has_timestamps = false;
    /// Kind of the x axis with its unit, for example "Wavelength / nm"; empty for an unknown code.
    std::string x_type;

    bool operator==(const Meta&) const = default;
};

/// Titles of the graph that the acquisition program showed.
struct Graph {
    /// 1 for files from before the graph view carried a version.
    std::uint32_t gv_version = 0;
    std::string x_axis_title;
    std::string y_axis_title;

    bool operator==(const Graph&) const = default;
};

/// One measured curve, in the points container T (Scan or DataNative); `DataSet` is the spelling
/// for new code.
template <class T>
struct __DataSet {
    /// Count of points in the file; a Scan holds fewer when x values coincide or are NaN.
    std::uint32_t no_of_points = 0;
    std::string name;
    T data;
    /// Count of points that a Scan lacks because their x is NaN; 0 for DataNative, which has them.
    std::uint32_t left_out = 0;

    bool operator==(const __DataSet&) const = default;
};

struct MeasurementTypeUnits {
    std::string measurement_type;
    std::string units;
    /// -1 when the file gives no code; the same for the unit's.
    std::int32_t measurement_type_code = -1;
    std::int32_t units_code = -1;

    bool operator==(const MeasurementTypeUnits&) const = default;
};

struct DataInfo {
    std::string date_and_time;
    std::string scan_summary;
    bool apply_data_calibration = false;
    std::string data_calibration_file;
    std::string certificate_file;
    std::string system_file;
    std::string pre_scan_addon_description;
    std::string post_scan_addon_description;
    std::string pre_scan_addon_filename;
    std::string post_scan_addon_filename;
    /// What the y values measure.
    MeasurementTypeUnits type_and_units;
    MeasurementTypeUnits auxiliary_type_and_units;
    bool apply_reference = false;
    std::string reference_type;
    std::string reference_file;
    std::string reference_parameter;

    bool operator==(const DataInfo&) const = default;
};

/// A whole file; D is DataSet<Scan> or DataSet<DataNative>. `VekFile` is the spelling for new code.
template <class D>
struct __VekFile {
    Meta meta;
    Graph graph;
    /// In file order; names may repeat.
    std::vector<D> data_sets;
    DataInfo data_info;

    bool operator==(const __VekFile&) const = default;
};

/// Points exactly as the file has them: in file order, with repeated and even NaN x values.
class DataNative {
public:
    DataNative() = default;

    /// @param x_values, y_values  shape (N) each
    DataNative(std::vector<double> x_values, std::vector<double> y_values) noexcept
        : x(std::move(x_values)), y(std::move(y_values)) {}

    void insert(const std::pair<const double, double>& p) {
        x.push_back(p.first);
        y.push_back(p.second);
    }

    std::vector<double> x;
    std::vector<double> y;
};

template <class T>
using DataSet = __DataSet<T>;
template <class D>
using VekFile = __VekFile<D>;

/// Splits "type / units" and reads the two integers of `codes`.
///
/// The first " / " divides; without one the whole text is the type. White space after the units is
/// removed. A code that is no integer becomes 0 (or the nearest limit, if it is too large) and
/// leaves the one after it at -1.
[[nodiscard]] MeasurementTypeUnits parse_type_and_units_strings(std::string_view text,
                                                                std::string_view codes);

/// Removes blanks, tabs, line feeds, vertical tabs, form feeds and carriage returns at the end.
void rtrim(std::string& s);

}  // namespace vekanalysis::vekfile
