#include "python/registration.hpp"

#include <pybind11/typing.h>

#include <cmath>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "utils/element_wise.hpp"
#include "utils/statistics.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

void add_statistics_class(py::module_& m) {
    using Statistics = Stat_Result<double>;
    py::class_<Statistics>(m, "ScanStatistics",
                           "Descriptive statistics of a scan's values, from ``get_statistics``.")
        .def_readonly("mean", &Statistics::mean, "Arithmetic mean.")
        .def_readonly("min", &Statistics::min, "Smallest value.")
        .def_readonly("max", &Statistics::max, "Largest value.")
        .def_readonly("variance", &Statistics::variance, "Population variance (divisor n).")
        .def_readonly("skewness", &Statistics::skewness, "Third standardised moment.")
        .def_readonly("kurtosis", &Statistics::kurtosis,
                      "Excess kurtosis: fourth standardised moment minus 3.")
        .def_readonly("median", &Statistics::median,
                      "P-square estimate of the median, approximate for more than five values.")
        .def("__repr__", [](const Statistics& self) { return to_string(self); });
    m.def(
        "_scan_statistics",
        [](double mean, double min, double max, double variance, double skewness, double kurtosis,
           double median) {
            return Statistics{mean, min, max, variance, skewness, kurtosis, median};
        },
        "mean"_a, "min"_a, "max"_a, "variance"_a, "skewness"_a, "kurtosis"_a, "median"_a,
        "Restore a pickled ``ScanStatistics``.");
}

/// Deliberate: a number stands for an empty scan with it as epsilon, so a logarithm of it or to it
/// is an empty scan. Where it is no epsilon the other operand's is taken.
Scan scan_of_number(double number, const Scan& other) {
    const bool is_epsilon = std::isfinite(number) && number >= 0.0;
    return Scan(is_epsilon ? number : other.get_wavelength_epsilon(), spline::Type::AKIMA);
}

/// @throws py::error_already_set  what the callable raises, or TypeError for what is no number
double call_with_point(const py::function& operation, double wl, double value) {
    const py::object result = operation(wl, value);
    const double number = PyFloat_AsDouble(result.ptr());
    if (number == -1.0 && PyErr_Occurred() != nullptr) throw py::error_already_set();
    return number;
}

}  // namespace

void add_utils_module(py::module_& m) {
    add_statistics_class(m);
    m.def("log10", &utils::log10, "scan"_a, "Compute logarithm base 10 of scan [Scan].");
    m.def("log", py::overload_cast<const Scan&>(&utils::log), "scan"_a,
          "Compute natural logarithm of scan [Scan].");
    m.def(
        "log",
        [](const Scan& scan, const Scan& base) { return utils::log(scan) / utils::log(base); },
        "scan"_a, "base"_a, "Compute logarithm base [Scan] of scan [Scan].");
    m.def(
        "log",
        [](const Scan& scan, double base) {
            return utils::log(scan) / utils::log(scan_of_number(base, scan));
        },
        "scan"_a, "base"_a, "Compute logarithm base [float] of scan [Scan].");
    m.def(
        "log",
        [](double x, const Scan& base) {
            return utils::log(scan_of_number(x, base)) / utils::log(base);
        },
        "x"_a, "base"_a, "Compute logarithm base [Scan] of x [float].");
    m.def(
        "transform",
        [](const Scan& scan, const py::typing::Callable<double(double, double)>& binary_operation) {
            // The callable may change the scan it is called for, so it is given a copy's points.
            return utils::transform(Scan(scan), [&binary_operation](double wl, double value) {
                return call_with_point(binary_operation, wl, value);
            });
        },
        "scan"_a, "binary_operation"_a,
        R"doc(Returns a new Scan with entries {key, op(key, value)} for each {key, value}
in the specified Scan.

Parameters
----------
scan : Scan
binary_operation : callable
    Called as ``binary_operation(wavelength, value)`` for each point in ascending
    order of wavelength; returns the new value.

Raises
------
TypeError
    If ``binary_operation`` returns anything but a number; its own exceptions pass
    through.
)doc");
    m.def("get_statistics", py::overload_cast<const Scan&>(&utils::get_statistics), "scan"_a,
          R"doc(Descriptive statistics of all stored values.

Parameters
----------
scan : Scan

Returns
-------
ScanStatistics
    The median is a streaming estimate. Of an empty scan: mean, skewness and
    kurtosis NaN, variance and median 0, min and max the largest float and its
    negative.
)doc");
    m.def(
        "get_statistics", py::overload_cast<const Scan&, double, double>(&utils::get_statistics),
        "scan"_a, "lo"_a, "hi"_a,
        R"doc(Descriptive statistics of the values at wavelengths from ``lo`` to ``hi``, both included.

Parameters
----------
scan : Scan
lo, hi : float

Returns
-------
ScanStatistics
)doc");
}

}  // namespace vekanalysis::python
