#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "io/io.hpp"
#include "io/vekfile.hpp"

namespace vekanalysis::python {

namespace {

/// Registers the function that makes a record from all of its fields, in their order.
template <class Record, class... Fields>
void add_restore(py::module_& m, const char* name) {
    m.def(
        name, [](Fields... fields) { return Record{std::move(fields)...}; },
        "Restore a pickled record.");
}

}  // namespace

// The lists and scans that the attributes give are those inside the record, not copies.
void add_vekfile_structure(py::module_& m) {
    using vekfile::DataInfo;
    using vekfile::Graph;
    using vekfile::MeasurementTypeUnits;
    using vekfile::Meta;
    using DataSet = vekfile::__DataSet<Scan>;
    using io::VekFile;

    py::class_<Meta>(m, "Meta", "What a measurement file says about itself.")
        .def_readonly("file_version", &Meta::file_version, "Version of the file's layout.")
        .def_readonly("has_timestamps", &Meta::has_timestamps,
                      "Whether the file has a time stamp for every point.")
        .def_readonly("x_type", &Meta::x_type,
                      "Kind and unit of the x values, for example ``Wavelength / nm``; empty when "
                      "the file's code for it is unknown.");

    py::class_<DataSet>(m, "DataSet", "One measured curve of a measurement file.")
        .def_readonly("no_of_points", &DataSet::no_of_points,
                      "Number of points in the file. ``data`` holds fewer when x values coincide.")
        .def_readonly("name", &DataSet::name, "Name of the curve; names may repeat in a file.")
        .def_readonly("data", &DataSet::data, "The points.");

    py::class_<MeasurementTypeUnits>(m, "MeasurementTypeUnits", "A measured quantity and its unit.")
        .def_readonly("measurement_type", &MeasurementTypeUnits::measurement_type, "The quantity.")
        .def_readonly("units", &MeasurementTypeUnits::units, "The unit, or empty.")
        .def_readonly("measurement_type_code", &MeasurementTypeUnits::measurement_type_code,
                      "Code of the quantity; -1 when the file has none.")
        .def_readonly("units_code", &MeasurementTypeUnits::units_code,
                      "Code of the unit; -1 when the file has none.");

    py::class_<DataInfo>(m, "DataInfo", "How the curves of a measurement file were measured.")
        .def_readonly("date_and_time", &DataInfo::date_and_time,
                      "Date and time of the measurement, as the acquisition program wrote them.")
        .def_readonly("scan_summary", &DataInfo::scan_summary, "Summary in free text.")
        .def_readonly("apply_data_calibration", &DataInfo::apply_data_calibration,
                      "Whether a calibration was applied to the data.")
        .def_readonly("data_calibration_file", &DataInfo::data_calibration_file,
                      "Name of the calibration's file.")
        .def_readonly("certificate_file", &DataInfo::certificate_file,
                      "Name of the certificate's file.")
        .def_readonly("system_file", &DataInfo::system_file,
                      "Name of the system configuration's file.")
        .def_readonly("pre_scan_addon_description", &DataInfo::pre_scan_addon_description,
                      "Add-on that ran before the scan.")
        .def_readonly("post_scan_addon_description", &DataInfo::post_scan_addon_description,
                      "Add-on that ran after the scan.")
        .def_readonly("pre_scan_addon_filename", &DataInfo::pre_scan_addon_filename,
                      "File of the add-on that ran before the scan.")
        .def_readonly("post_scan_addon_filename", &DataInfo::post_scan_addon_filename,
                      "File of the add-on that ran after the scan.")
        .def_readonly("type_and_units", &DataInfo::type_and_units, "What the y values measure.")
        .def_readonly("auxiliary_type_and_units", &DataInfo::auxiliary_type_and_units,
                      "What the auxiliary channel measures.")
        .def_readonly("apply_reference", &DataInfo::apply_reference,
                      "Whether a reference was applied to the data.")
        .def_readonly("reference_type", &DataInfo::reference_type, "Kind of the reference.")
        .def_readonly("reference_file", &DataInfo::reference_file, "Name of the reference's file.")
        .def_readonly("reference_parameter", &DataInfo::reference_parameter,
                      "Parameter of the reference, as text.");

    py::class_<Graph>(m, "Graph", "The graph that the acquisition program showed.")
        .def_readonly("gv_version", &Graph::gv_version, "Version of the graph's layout.")
        .def_readonly("x_axis_title", &Graph::x_axis_title, "Title of the x axis.")
        .def_readonly("y_axis_title", &Graph::y_axis_title, "Title of the y axis.");

    py::class_<VekFile>(m, "VekFile", "A measurement file.")
        .def_readonly("meta", &VekFile::meta, "What the file says about itself.")
        .def_readonly("graph", &VekFile::graph, "The graph that the acquisition program showed.")
        .def_readonly("data_sets", &VekFile::data_sets, "The measured curves in file order.")
        .def_readonly("data_info", &VekFile::data_info, "How the curves were measured.");

    using Text = std::string;
    add_restore<Meta, std::uint32_t, bool, Text>(m, "_meta");
    add_restore<DataSet, std::uint32_t, Text, Scan>(m, "_data_set");
    add_restore<MeasurementTypeUnits, Text, Text, std::int32_t, std::int32_t>(
        m, "_measurement_type_units");
    add_restore<DataInfo, Text, Text, bool, Text, Text, Text, Text, Text, Text, Text,
                MeasurementTypeUnits, MeasurementTypeUnits, bool, Text, Text, Text>(m,
                                                                                    "_data_info");
    add_restore<Graph, std::uint32_t, Text, Text>(m, "_graph");
    add_restore<VekFile, Meta, Graph, std::vector<DataSet>, DataInfo>(m, "_vek_file");
}

}  // namespace vekanalysis::python
