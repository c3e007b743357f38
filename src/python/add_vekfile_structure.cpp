#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

#include "io/io.hpp"
#include "io/vekfile.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

using DataSet = vekfile::__DataSet<Scan>;

constexpr std::size_t longest_list = 3;

std::string both(const vekfile::MeasurementTypeUnits& what) {
    return shown(what.units.empty() ? what.measurement_type
                                    : what.measurement_type + " / " + what.units);
}

std::string names(const std::vector<DataSet>& data_sets) {
    std::string text = std::to_string(data_sets.size()) + " [";
    for (std::size_t i = 0; i < data_sets.size(); ++i) {
        if (i > 0) text += ", ";
        if (i == longest_list) {
            text += "\u2026";
            break;
        }
        text += shown(data_sets[i].name);
    }
    return text + "]";
}

void add_meta(py::module_& m) {
    using vekfile::Meta;
    RecordClass(m, "Meta", "What a measurement file says about itself.",
                Field{"file_version", &Meta::file_version, "Version of the file's layout."},
                Field{"has_timestamps", &Meta::has_timestamps,
                      "Whether the file has a time stamp for every point."},
                Field{"x_type", &Meta::x_type,
                      "Kind and unit of the x values, for example ``Wavelength / nm``; empty "
                      "when the file's code for it is unknown."})
        .read_only()
        .shown_by_attributes("Meta");
}

void add_data_set(py::module_& m) {
    RecordClass(
        m, "DataSet", "One measured curve of a measurement file.",
        Field{"no_of_points", &DataSet::no_of_points,
              "Number of points in the file. ``data`` holds fewer when x values coincide or "
              "are NaN."},
        Field{"name", &DataSet::name, "Name of the curve; names may repeat in a file."},
        Field{"data", &DataSet::data, "The points."},
        Field{"left_out", &DataSet::left_out,
              "Number of points that ``data`` lacks because their x is NaN."})
        .read_only()
        .shown_by_attributes("DataSet");
}

void add_measurement_type_units(py::module_& m) {
    using Type = vekfile::MeasurementTypeUnits;
    RecordClass(
        m, "MeasurementTypeUnits", "A measured quantity and its unit.",
        Field{"measurement_type", &Type::measurement_type, "The quantity."},
        Field{"units", &Type::units, "The unit, or empty."},
        Field{"measurement_type_code", &Type::measurement_type_code,
              "Code of the quantity; -1 when the file has none."},
        Field{"units_code", &Type::units_code, "Code of the unit; -1 when the file has none."})
        .read_only()
        .shown_by_attributes("MeasurementTypeUnits");
}

void add_data_info(py::module_& m) {
    using Info = vekfile::DataInfo;
    RecordClass(
        m, "DataInfo", "How the curves of a measurement file were measured.",
        Field{"date_and_time", &Info::date_and_time,
              "Date and time of the measurement, as the acquisition program wrote them."},
        Field{"scan_summary", &Info::scan_summary, "Summary in free text."},
        Field{"apply_data_calibration", &Info::apply_data_calibration,
              "Whether a calibration was applied to the data."},
        Field{"data_calibration_file", &Info::data_calibration_file,
              "Name of the calibration's file."},
        Field{"certificate_file", &Info::certificate_file, "Name of the certificate's file."},
        Field{"system_file", &Info::system_file, "Name of the system configuration's file."},
        Field{"pre_scan_addon_description", &Info::pre_scan_addon_description,
              "Add-on that ran before the scan."},
        Field{"post_scan_addon_description", &Info::post_scan_addon_description,
              "Add-on that ran after the scan."},
        Field{"pre_scan_addon_filename", &Info::pre_scan_addon_filename,
              "File of the add-on that ran before the scan."},
        Field{"post_scan_addon_filename", &Info::post_scan_addon_filename,
              "File of the add-on that ran after the scan."},
        Field{"type_and_units", &Info::type_and_units, "What the y values measure."},
        Field{"auxiliary_type_and_units", &Info::auxiliary_type_and_units,
              "What the auxiliary channel measures."},
        Field{"apply_reference", &Info::apply_reference,
              "Whether a reference was applied to the data."},
        Field{"reference_type", &Info::reference_type, "Kind of the reference."},
        Field{"reference_file", &Info::reference_file, "Name of the reference's file."},
        Field{"reference_parameter", &Info::reference_parameter,
              "Parameter of the reference, as text."})
        .read_only()
        .def(
            "__repr__",
            [](const Info& self) {
                return "<DataInfo date_and_time:" + shown(self.date_and_time) +
                       " scan_summary:" + shown(self.scan_summary) +
                       " type_and_units:" + both(self.type_and_units) + ">";
            },
            "What tells such records apart.");
}

void add_graph(py::module_& m) {
    using vekfile::Graph;
    RecordClass(m, "Graph", "The graph that the acquisition program showed.",
                Field{"gv_version", &Graph::gv_version, "Version of the graph's layout."},
                Field{"x_axis_title", &Graph::x_axis_title, "Title of the x axis."},
                Field{"y_axis_title", &Graph::y_axis_title, "Title of the y axis."})
        .read_only()
        .shown_by_attributes("Graph");
}

void add_vek_file(py::module_& m) {
    using io::VekFile;
    RecordClass(m, "VekFile", "A measurement file.",
                Field{"meta", &VekFile::meta, "What the file says about itself."},
                Field{"graph", &VekFile::graph, "The graph that the acquisition program showed."},
                Field{"data_sets", &VekFile::data_sets, "The measured curves in file order."},
                Field{"data_info", &VekFile::data_info, "How the curves were measured."})
        .read_only()
        .def(
            "__repr__",
            [](const VekFile& self) {
                return "<VekFile file_version:" + shown(self.meta.file_version) +
                       " type_and_units:" + both(self.data_info.type_and_units) +
                       " data_sets:" + names(self.data_sets) + ">";
            },
            "What tells such records apart.");
}

}  // namespace

void add_vekfile_structure(py::module_& m) {
    add_meta(m);
    add_data_set(m);
    add_measurement_type_units(m);
    add_data_info(m);
    add_graph(m);
    add_vek_file(m);
}

}  // namespace vekanalysis::python
