#include "python/registration.hpp"

#include <pybind11/typing.h>

#include <cmath>
#include <cstdint>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "utils/element_wise.hpp"
#include "utils/peaks.hpp"
#include "utils/statistics.hpp"
#include "utils/stitching.hpp"

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

void add_stitch_results_class(py::module_& m) {
    using Results = utils::StitchResults;
    py::class_<Results>(m, "StitchResults", "What ``stitch_scans`` found over the overlap.")
        .def(py::init<>(), "All fields 0, and an empty scan.")
        .def_readonly("success", &Results::success,
                      "Whether ``percent_error_rms`` is below the target.")
        .def_readonly("n", &Results::n, "Points of ``scan_1`` in the overlap.")
        .def_readonly("k", &Results::k, "Factor that ``scan_2`` was scaled by.")
        .def_readonly("error", &Results::error, "Sum of (scan_1 - k scan_2)^2 over the overlap.")
        .def_readonly("average", &Results::average,
                      "Mean of (scan_1 + k scan_2) / 2 over the overlap.")
        .def_readonly("percent_error_rms", &Results::percent_error_rms,
                      "sqrt(error) / n / average: a fraction, not per cent.")
        .def_readonly("stitch_point", &Results::stitch_point,
                      "Wavelength of the splice; 0.0 without success.")
        .def_property_readonly(
            "stitch_scan", [](const Results& self) { return self.stitch_scan; },
            "The joined spectrum, a copy each time; empty without success.");
    m.def(
        "_stitch_results",
        [](bool success, std::uint32_t n, double k, double error, double average,
           double percent_error_rms, double stitch_point, const Scan& stitch_scan) {
            return Results{success,      n,          k, error, average, percent_error_rms,
                           stitch_point, stitch_scan};
        },
        "success"_a, "n"_a, "k"_a, "error"_a, "average"_a, "percent_error_rms"_a, "stitch_point"_a,
        "stitch_scan"_a, "Restore a pickled ``StitchResults``.");
}

void add_searches(py::module_& m) {
    m.def(
        "find_key",
        [](const Scan& scan, double lo, double hi, double value) {
            double x = 0.0;
            if (!utils::find_key(scan, lo, hi, value, &x)) throw py::value_error("Key not found.");
            return x;
        },
        "scan"_a, "lo"_a, "hi"_a, "value"_a,
        R"doc(Find the key between lo and hi that gives a value of the specified value.

Parameters
----------
scan : Scan
lo, hi : float
    Wavelengths at which the scan lies on different sides of ``value``.
value : float
    In the unit of the scan's values.

Returns
-------
float
    A wavelength, by Brent's method to about 1e-4 of itself, on smooth data much better.
    With several in between, one of them.

Raises
------
ValueError
    "Key not found.": the scan is above ``value`` at both ends, or below, or ``lo`` is not
    below ``hi``.
RuntimeError
    If the scan has no interpolation, or too few points for it.
)doc");
    m.def(
        "find_peak",
        [](const Scan& scan) {
            double x = 0.0;
            if (!utils::find_peak(scan, &x)) throw py::value_error("No peak found.");
            return x;
        },
        "scan"_a,
        R"doc(Wavelength of the highest peak, refined between the stored points.

The stored point with the largest value and its neighbours bracket the peak; Brent's
method finds the maximum of the interpolant in there.

Parameters
----------
scan : Scan

Returns
-------
float
    To about 1e-4 of itself, on smooth data much better.

Raises
------
ValueError
    "No peak found.": the curve is not higher beside the largest value than at it, at an
    end of the scan say, or where neighbours share that value.
RuntimeError
    If the scan has no interpolation, or too few points for it.
)doc");
    m.def("find_peaks", py::overload_cast<const Scan&>(&utils::find_peaks), "scan"_a,
          R"doc(All peaks, refined between the stored points.

Each stored point above its neighbours, and each interval with a maximum inside, gives a
peak; the point after one that did is passed over, so that no peak is found twice.
Noise has many peaks: smooth a noisy scan first, or sort the result by value.

Parameters
----------
scan : Scan

Returns
-------
Scan
    Wavelengths of the peaks with the interpolated values there; empty where there are none.

Raises
------
RuntimeError
    If the scan has no interpolation, or too few points for it.
)doc");
    m.def(
        "peak_width",
        [](const Scan& scan, double height) {
            double width = 0.0;
            if (!utils::peak_width(scan, height, &width)) {
                throw py::value_error("Unable to calculate peak width.");
            }
            return width;
        },
        "scan"_a, "height"_a,
        R"doc(Full width of a scan's single peak at a fraction of its height.

The distance between the wavelengths below and above the highest peak at which the scan
has ``height`` times the peak's value: 0.5 gives the full width at half maximum (FWHM).
No baseline is subtracted.

Parameters
----------
scan : Scan
    With one peak. Cut others away first; where the curve passes the level more than once
    on a side, any of the passages may be taken.
height : float
    0 to 1.

Returns
-------
float
    In the unit of the wavelengths.

Raises
------
ValueError
    "Unable to calculate peak width.": there is no peak, the scan does not interpolate, or
    it stays above the level on one side.
RuntimeError
    If the scan has too few points for its interpolation.
)doc");
    m.def("stitch_scans", &utils::stitch_scans, "scan_1"_a, "scan_2"_a, "min_wl"_a, "max_wl"_a,
          "target_error"_a,
          R"doc(Join two spectra that overlap, measured with two detectors or gratings say.

``scan_2`` is scaled by k = sum(s1 s2) / sum(s2^2) over the points of ``scan_1`` from
``min_wl`` to ``max_wl``, which makes the sum of (s1 - k s2)^2 smallest. Where the match is good
enough, the joined spectrum is ``scan_1`` up to the wavelength at which both cross and
k ``scan_2`` from there on.

Parameters
----------
scan_1, scan_2 : Scan
    The lower and the higher range.
min_wl, max_wl : float
    The overlap: stored wavelengths of ``scan_1`` within the range of ``scan_2``.
target_error : float
    ``percent_error_rms`` of the result, sqrt(sum of (s1 - k s2)^2) / n / average, must be
    below it. A fraction, not per cent.

Returns
-------
StitchResults
    Its ``success`` tells whether the match was good enough.

Raises
------
IndexError
    If the overlap is not within the scans, or the scans do not cross in it ("failed to
    bracket the root").
ValueError
    If ``scan_2`` is 0 throughout the overlap.
)doc");
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
    add_stitch_results_class(m);
    add_searches(m);
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
