#include "python/registration.hpp"

#include <pybind11/numpy.h>

#include <algorithm>
#include <span>
#include <string>

#include "python/arrays.hpp"
#include "uncertainty/coverage.hpp"
#include "uncertainty/error_model.hpp"
#include "uncertainty/shifted_spectrum.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

using uncertainty::Distribution;
using uncertainty::ErrorModel;
using uncertainty::Law;

using ResultArray = py::array_t<double, py::array::c_style>;

Law law(const std::string& distribution, double dof) {
    if (distribution == "normal") return {Distribution::NORMAL, dof};
    if (distribution == "t") return {Distribution::T, dof};
    if (distribution == "rectangular") return {Distribution::RECTANGULAR, dof};
    if (distribution == "triangular") return {Distribution::TRIANGULAR, dof};
    if (distribution == "arcsine") return {Distribution::ARCSINE, dof};
    throw py::value_error("ErrorModel: no distribution " + distribution);
}

std::span<double> memory(ResultArray& array) {
    return {array.mutable_data(), static_cast<std::size_t>(array.size())};
}

void add_draws_class(const py::class_<ErrorModel>& model) {
    py::class_<ErrorModel::Draws>(model, "Draws", "Draws from a model, one after the other.")
        .def(
            "fill",
            [](ErrorModel::Draws& self, ResultArray spectra, ResultArray figures) {
                if (spectra.ndim() != 2 || figures.ndim() != 2) {
                    throw py::value_error("Draws.fill: two dimensions are needed");
                }
                const auto count = static_cast<std::size_t>(spectra.shape(0));
                const auto points = memory(spectra);
                const auto numbers = memory(figures);
                const py::gil_scoped_release unlocked;
                self(count, points, numbers);
            },
            py::arg("spectra").noconvert(), py::arg("figures").noconvert(),
            R"doc(Replace the rows of two arrays by the next draws.

Parameters
----------
spectra : numpy.ndarray
    Shape (draws, points), float64, C order.
figures : numpy.ndarray
    Shape (draws, figures), alike.

Raises
------
ValueError
    If a shape does not fit.
)doc");
}

void add_error_model_class(py::module_& m) {
    py::class_<ErrorModel> model(m, "ErrorModel",
                                 R"doc(What the errors of a measurement may have done to a spectrum.

Components are added in one thread; then any number of threads may draw. ``distribution`` is
"normal", "t", "rectangular", "triangular" or "arcsine", all for a standard uncertainty of 1 but
for t, whose scale is 1.
)doc");
    add_draws_class(model);
    model.def(py::init<const Scan&>(), "scan"_a, "The spectrum as it was measured, nothing added.");
    model.def_property_readonly("figures", &ErrorModel::figures,
                                "Count of components that act on no spectrum.");
    model.def(
        "add_effects",
        [](ErrorModel& self, const FloatArray& effects, const std::string& name, double dof) {
            self.add_effects(effects.values(), law(name, dof));
        },
        "effects"_a, "distribution"_a = "normal", "dof"_a = 0.0,
        "Add a number for each row of ``effects``, shape (m, points), times that row.");
    model.def(
        "add_independent",
        [](ErrorModel& self, const FloatArray& sizes, const std::string& name, double dof) {
            self.add_independent(sizes.values(), law(name, dof));
        },
        "sizes"_a, "distribution"_a = "normal", "dof"_a = 0.0,
        "Add to each point a number of its own times its size.");
    model.def(
        "add_chain",
        [](ErrorModel& self, const FloatArray& sizes, const FloatArray& correlations,
           const std::string& name,
           double dof) { self.add_chain(sizes.values(), correlations.values(), law(name, dof)); },
        "sizes"_a, "correlations"_a, "distribution"_a = "normal", "dof"_a = 0.0,
        "The same with the correlation of each pair of neighbours, normal or t.");
    model.def(
        "add_shift",
        [](ErrorModel& self, const FloatArray& shifts, const std::string& name, double dof) {
            self.add_shift(shifts.values(), law(name, dof));
        },
        "shifts"_a, "distribution"_a = "normal", "dof"_a = 0.0,
        "Shift the wavelengths, all with one number, times their ``shifts`` in nm.");
    model.def(
        "add_jitter",
        [](ErrorModel& self, const FloatArray& shifts, const std::string& name, double dof) {
            self.add_jitter(shifts.values(), law(name, dof));
        },
        "shifts"_a, "distribution"_a = "normal", "dof"_a = 0.0,
        "Shift each wavelength with a number of its own, times its size in nm.");
    model.def(
        "add_figure",
        [](ErrorModel& self, const std::string& name, double dof) {
            self.add_figure(law(name, dof));
        },
        "distribution"_a = "normal", "dof"_a = 0.0,
        "Add a number that is one of the figures of a draw.");
    model.def(
        "draws",
        [](const ErrorModel& self, std::uint64_t seed, std::uint32_t block) {
            return ErrorModel::Draws(self, seed, block);
        },
        "seed"_a, "block"_a, py::keep_alive<0, 1>(),
        "The draws of a block, the same for the same seed and block.");
}

}  // namespace

void add_uncertainty_module(py::module_& m) {
    m.def(
        "coverage_factor", &uncertainty::coverage_factor, "coverage"_a, "dof"_a,
        R"doc(Factor k of an expanded uncertainty, from Student's t distribution (JCGM 100:2008, G.4).

Parameters
----------
coverage : float
    Probability of the two-sided interval, between 0 and 1.
dof : float
    Degrees of freedom; ``math.inf`` gives the normal distribution.

Returns
-------
float

Raises
------
ValueError
    If ``coverage`` or ``dof`` is out of its range.
)doc");
    m.def(
        "coverage_factors",
        [](double coverage, const FloatArray& dof) {
            auto [result, factors] = dof.make_result();
            std::transform(
                dof.values().begin(), dof.values().end(), factors.begin(),
                [&](double each) { return uncertainty::coverage_factor(coverage, each); });
            return result;
        },
        "coverage"_a, "dof"_a,
        R"doc(The `coverage_factor` of each of many degrees of freedom.

Parameters
----------
coverage : float
dof : array of any shape

Returns
-------
array of the shape of ``dof``

Raises
------
ValueError
    As `coverage_factor` does.
)doc");
    m.def(
        "shifted",
        [](const Scan& scan, const FloatArray& shifts) {
            const uncertainty::ShiftedSpectrum spectrum(scan);
            const auto rows = shifts.values().size() / std::max<std::size_t>(spectrum.size(), 1);
            if (shifts.values().size() != rows * spectrum.size()) {
                throw py::value_error("shifted: wrong number of points");
            }
            auto [result, values] = shifts.make_result();
            for (std::size_t row = 0; row < rows; ++row) {
                const std::size_t start = row * spectrum.size();
                spectrum(shifts.values().subspan(start, spectrum.size()),
                         values.subspan(start, spectrum.size()));
            }
            return result;
        },
        "scan"_a, "shifts"_a,
        R"doc(Values of a scan a little beside its points.

Parameters
----------
scan : Scan
shifts : array_like
    Shape (..., points), nm. Wavelengths outside the data count as their ends.

Returns
-------
numpy.ndarray
    Shape of ``shifts``: the interpolant at each wavelength plus its shift.

Raises
------
RuntimeError
    If the scan cannot be interpolated or has too few points.
ValueError
    If the number of points differs.
)doc");
    add_error_model_class(m);
}

}  // namespace vekanalysis::python
