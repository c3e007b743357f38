#include "python/registration.hpp"

#include <exception>

#include "fitting/fit.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

void add_params_class(py::module_& m) {
    using Params = FitWavelengthParams;
    py::class_<Params>(m, "FitWavelengthParams",
                       R"doc(Parameters of the grating equation of a monochromator.

wavelength(x) = 2 d cos_K sin(theta), theta = (omega_t (x + a sin(omega_m x + phi)) - theta_z) / alpha,
with x in micro-steps of the motor. All start at 0; set them before a fit.
)doc")
        .def(py::init<>(), "All parameters 0.")
        .def_readwrite("d", &Params::d,
                       "Grating line distance, in the unit of the wavelengths (m, or better nm).")
        .def_readwrite("omega_t", &Params::omega_t,
                       "Angular frequency of the turret, rad per micro-step.")
        .def_readwrite("omega_m", &Params::omega_m,
                       "Angular frequency of the motor, rad per micro-step.")
        .def_readwrite("cos_K", &Params::cos_K, "Cosine of the displacement angle.")
        .def_readwrite("theta_z", &Params::theta_z, "Zero order angle, rad.")
        .def_readwrite("alpha", &Params::alpha, "Alpha fit factor.")
        .def_readwrite("a", &Params::a, "Turret error amplitude, micro-steps.")
        .def_readwrite("phi", &Params::phi, "Turret error phase, rad.")
        .def(
            "__repr__", [](const Params& self) { return to_string(self); },
            "The parameters with six decimals each.");
}

void add_free_class(py::module_& m) {
    using Free = FitWavelengthParamsFree;
    py::class_<Free>(m, "FitWavelengthParamsFree",
                     "Which parameters of the grating equation a fit may move. All start False.")
        .def(py::init<>(), "No parameter is free.")
        .def_readwrite("d", &Free::d,
                       "Whether grating line distance is free to be fitted. It never moves.")
        .def_readwrite("omega_t", &Free::omega_t,
                       "Whether angular frequency of the turret is free. It never moves.")
        .def_readwrite("omega_m", &Free::omega_m,
                       "Whether angular frequency of the motor is free. It never moves.")
        .def_readwrite("cos_K", &Free::cos_K, "Whether cosine of the displacement angle is free.")
        .def_readwrite("theta_z", &Free::theta_z, "Whether zero order angle is free.")
        .def_readwrite("alpha", &Free::alpha, "Whether alpha fit factor is free.")
        .def_readwrite("a", &Free::a, "Whether turret error amplitude is free.")
        .def_readwrite("phi", &Free::phi,
                       "Whether turret error phase is free. It hardly moves while a is small.")
        .def(
            "__repr__", [](const Free& self) { return to_string(self); },
            "The flags, True or False.");
}

}  // namespace

void add_fitting_module(py::module_& m) {
    add_params_class(m);
    add_free_class(m);
    m.def(
        "fit_wavelength",
        [](const Scan& data, FitWavelengthParams& params, const FitWavelengthParamsFree& free) {
            try {
                return fitting::fit_wavelength(data, params, free);
            } catch (const std::exception& error) {
                throw py::value_error(error.what());
            }
        },
        "data"_a, "params"_a, "free"_a,
        R"doc(Fits the grating equation to micro-step/wavelength data.

Levenberg-Marquardt least squares over the points of ``data``, all with the same weight, from
the start in ``params``, which is changed in place. It does not tell whether it converged:
compare the residuals before and after.

- ``d``, ``omega_t`` and ``omega_m`` never move, even when they are free.
- ``phi`` hardly moves while ``a`` is small against ``alpha``: start it close.
- With three or more free parameters the fit ends once the root of the summed squared
  residuals is 1e-9 or less. Wavelengths in metres are that small from the start, so give
  wavelengths and ``d`` in nm.

Parameters
----------
data : Scan
    Micro-step to wavelength.
params : FitWavelengthParams
    The start; receives the result.
free : FitWavelengthParamsFree
    Which parameters may move.

Returns
-------
bool

:return: ``True`` if the fitting is successful, ``False`` otherwise.

It is ``False``, with ``params`` as they were, when nothing is free or there are fewer points
than free parameters.
)doc");
}

}  // namespace vekanalysis::python
