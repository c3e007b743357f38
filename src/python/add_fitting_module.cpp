#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <exception>
#include <new>
#include <vector>

#include "fitting/fit.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

void add_params_class(py::module_& m) {
    using Params = FitWavelengthParams;
    RecordClass(
        m, "FitWavelengthParams", R"doc(Parameters of the grating equation of a monochromator.

wavelength(x) = 2 d cos_K sin(theta), theta = (omega_t (x + a sin(omega_m x + phi)) - theta_z) / alpha,
with x in micro-steps of the motor. All start at 0; set them before a fit.
)doc",
        Field{"d", &Params::d,
              "Grating line distance, in the unit of the wavelengths (m, or better nm)."},
        Field{"omega_t", &Params::omega_t, "Angular frequency of the turret, rad per micro-step."},
        Field{"omega_m", &Params::omega_m, "Angular frequency of the motor, rad per micro-step."},
        Field{"cos_K", &Params::cos_K, "Cosine of the displacement angle."},
        Field{"theta_z", &Params::theta_z, "Zero order angle, rad."},
        Field{"alpha", &Params::alpha, "Alpha fit factor."},
        Field{"a", &Params::a, "Turret error amplitude, micro-steps."},
        Field{"phi", &Params::phi, "Turret error phase, rad."})
        .read_write()
        .made_of_nothing("All parameters 0.")
        .unpacks()
        .def(
            "__repr__", [](const Params& self) { return to_string(self); },
            "The parameters with six decimals each.");
}

void add_free_class(py::module_& m) {
    using Free = FitWavelengthParamsFree;
    RecordClass(
        m, "FitWavelengthParamsFree",
        "Which parameters of the grating equation a fit may move. All start False.",
        Field{"d", &Free::d, "Whether grating line distance is free to be fitted. It never moves."},
        Field{"omega_t", &Free::omega_t,
              "Whether angular frequency of the turret is free. It never moves."},
        Field{"omega_m", &Free::omega_m,
              "Whether angular frequency of the motor is free. It never moves."},
        Field{"cos_K", &Free::cos_K, "Whether cosine of the displacement angle is free."},
        Field{"theta_z", &Free::theta_z, "Whether zero order angle is free."},
        Field{"alpha", &Free::alpha, "Whether alpha fit factor is free."},
        Field{"a", &Free::a, "Whether turret error amplitude is free."},
        Field{"phi", &Free::phi,
              "Whether turret error phase is free. It hardly moves while a is small."})
        .read_write()
        .made_of_nothing("No parameter is free.")
        .unpacks()
        .def(
            "__repr__", [](const Free& self) { return to_string(self); },
            "The flags, True or False.");
}

void add_residuals_class(py::module_& m) {
    using Residuals = WavelengthResiduals;
    RecordClass(
        m, "WavelengthResiduals",
        "How far the grating equation is from the wavelengths of a calibration, in their unit.",
        Field{"values", &Residuals::values,
              "Equation minus given wavelength, micro-steps ascending; a new list each time."},
        Field{"rms", &Residuals::rms, "Root of the mean of their squares."},
        Field{"largest", &Residuals::largest, "Largest magnitude."})
        .made_of_fields()
        .read_only_copies()
        .shown_by_attributes("WavelengthResiduals");
}

constexpr const char* no_value =
    "If the grating equation has no value at one of the points, for an ``alpha`` of 0 say.";

void add_residuals_functions(py::module_& m) {
    m.def(
        "fit_wavelength_from_phases",
        [](const Scan& data, FitWavelengthParams& params, const FitWavelengthParamsFree& free,
           unsigned int phases) {
            return fitting::fit_wavelength_from_phases(data, params, free, phases);
        },
        "data"_a, "params"_a, "free"_a, "phases"_a,
        Docstring(
            R"doc(Fits the grating equation from several phases, since a fit finds no phase that is far off.

The other free parameters are fitted with ``phi`` held at the start's plus pi i / phases, for
i = 0 to phases - 1; the fit of all then starts from the result with the smallest RMS. A negative
amplitude stands for the other half turn.)doc")
            .parameter("data", "Scan", "Micro-step to wavelength.")
            .parameter("params", "FitWavelengthParams", "The start; receives the result.")
            .parameter("free", "FitWavelengthParamsFree", "Which parameters may move.")
            .parameter("phases", "int", "How many phases over half a turn; 36 is plenty.")
            .returns("bool",
                     "False, with ``params`` as they were, when nothing is free or there are fewer "
                     "points than free parameters.")
            .raises("ValueError", no_value));
    m.def("wavelength_residuals", &fitting::wavelength_residuals, "data"_a, "params"_a,
          Docstring("Residuals of a calibration: the grating equation minus the given wavelengths.")
              .parameter("data", "Scan", "Micro-step to wavelength.")
              .parameter("params", "FitWavelengthParams")
              .returns("WavelengthResiduals", "In the unit of the wavelengths.")
              .raises("ValueError", no_value));
}

}  // namespace

void add_fitting_module(py::module_& m) {
    add_params_class(m);
    add_free_class(m);
    add_residuals_class(m);
    m.def(
        "fit_wavelength",
        [](const Scan& data, FitWavelengthParams& params, const FitWavelengthParamsFree& free) {
            try {
                return fitting::fit_wavelength(data, params, free);
            } catch (const std::bad_alloc&) {
                throw;
            } catch (const std::exception& error) {
                throw py::value_error(error.what());
            }
        },
        "data"_a, "params"_a, "free"_a,
        Docstring(R"doc(Fits the grating equation to micro-step/wavelength data.

Levenberg-Marquardt least squares over the points of ``data``, all with the same weight, from
the start in ``params``, which is changed in place. It does not tell whether it converged:
compare the residuals before and after.

- ``d``, ``omega_t`` and ``omega_m`` never move, even when they are free.
- ``phi`` hardly moves while ``a`` is small against ``alpha``: start it close.
- With three or more free parameters the fit ends once the root of the summed squared
  residuals is 1e-9 or less. Wavelengths in metres are that small from the start, so give
  wavelengths and ``d`` in nm.)doc")
            .parameter("data", "Scan", "Micro-step to wavelength.")
            .parameter("params", "FitWavelengthParams", "The start; receives the result.")
            .parameter("free", "FitWavelengthParamsFree", "Which parameters may move.")
            .returns("bool")
            .raises("ValueError", "If the fit breaks down.")
            .paragraph(R"doc(:return: ``True`` if the fitting is successful, ``False`` otherwise.

It is ``False``, with ``params`` as they were, when nothing is free or there are fewer points
than free parameters.)doc"));
    add_residuals_functions(m);
}

}  // namespace vekanalysis::python
