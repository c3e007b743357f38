#include "python/registration.hpp"

namespace vekanalysis::python {

namespace {

constexpr const char* package_version = VEKANALYSIS_VERSION;

}  // namespace

PYBIND11_MODULE(_core, m) {
    guard_base_class();
    keep_memory_errors();
    m.doc() = "Ostrel Instruments spectral analysis package.";
    m.def(
        "version", [] { return package_version; },
        "Version of the package, \"major.minor.patch\".");
    m.attr("__vekanalysis_version__") = package_version;

    add_scan_class(m);
    add_observer_class(m);

    py::module_ chromaticity = m.def_submodule("chromaticity");
    add_chromaticity_module(chromaticity);

    py::module_ colorimetry = m.def_submodule("colorimetry");
    add_colorimetry_module(colorimetry);
    py::module_ data = colorimetry.def_submodule("data");
    add_colorimetry_data_module(data);

    py::module_ curves = m.def_submodule("curves");
    add_curves_module(curves);

    py::module_ io = m.def_submodule("io");
    add_vekfile_structure(io);
    add_io_module(io);
    add_text_lines(io);

    py::module_ physics = m.def_submodule("physics");
    add_physics_module(physics);

    py::module_ monochromator = m.def_submodule("monochromator");
    add_monochromator_module(monochromator);

    py::module_ radiometry = m.def_submodule("radiometry");
    add_radiometry_module(radiometry);

    py::module_ utils = m.def_submodule("utils");
    add_utils_module(utils);

    py::module_ fitting = m.def_submodule("fitting");
    add_fitting_module(fitting);

    py::module_ quantities = m.def_submodule("quantities");
    add_quantities_module(quantities);

    py::module_ uncertainty = m.def_submodule("uncertainty");
    add_uncertainty_module(uncertainty);

    py::module_ lighting = m.def_submodule("lighting");
    add_lighting_module(lighting);
}

}  // namespace vekanalysis::python
