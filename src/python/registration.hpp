#pragma once

#include <pybind11/pybind11.h>

#include "python/bound_classes.hpp"
#include "python/numbers.hpp"

// One function per area of the module; each registers its names on the module it is given. They are
// called once, in the order of module.cpp, which lets later signatures name earlier types.
namespace vekanalysis::python {

namespace py = pybind11;

void add_scan_class(py::module_& m);
void add_observer_class(py::module_& m);
void add_chromaticity_module(py::module_& m);
void add_colorimetry_module(py::module_& m);
void add_colorimetry_data_module(py::module_& m);
void add_curves_module(py::module_& m);
void add_vekfile_structure(py::module_& m);
void add_io_module(py::module_& m);
void add_text_lines(py::module_& m);
void add_physics_module(py::module_& m);
void add_monochromator_module(py::module_& m);
void add_radiometry_module(py::module_& m);
void add_utils_module(py::module_& m);
void add_fitting_module(py::module_& m);
void add_quantities_module(py::module_& m);
void add_uncertainty_module(py::module_& m);
void add_lighting_module(py::module_& m);

/// Parts of `colorimetry`: the record of a screen's colour, and what compares and shows colours.
void add_srgb_record(py::module_& m);
void add_colour_functions(py::module_& m);

}  // namespace vekanalysis::python
