#include "python/utils_module.hpp"

#include <pybind11/stl.h>

#include "python/records.hpp"
#include "utils/averaging.hpp"
#include "utils/measure_peaks.hpp"
#include "utils/peak_shapes.hpp"
#include "utils/statistics.hpp"
#include "utils/stitching.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

void add_statistics_class(py::module_& m) {
    using Statistics = Stat_Result<double>;
    RecordClass(m, "ScanStatistics",
                "Descriptive statistics of a scan's values, from ``get_statistics``.",
                Field{"mean", &Statistics::mean, "Arithmetic mean."},
                Field{"min", &Statistics::min, "Smallest value."},
                Field{"max", &Statistics::max, "Largest value."},
                Field{"variance", &Statistics::variance, "Population variance (divisor n)."},
                Field{"skewness", &Statistics::skewness, "Third standardised moment."},
                Field{"kurtosis", &Statistics::kurtosis,
                      "Excess kurtosis: fourth standardised moment minus 3."},
                Field{"median", &Statistics::median,
                      "P-square estimate of the median, approximate for more than five values."})
        .read_only()
        .unpacks()
        .def(
            "__repr__", [](const Statistics& self) { return to_string(self); },
            "The figures with six decimals each.");
}

void add_stitch_results_class(py::module_& m) {
    using Results = utils::StitchResults;
    RecordClass(
        m, "StitchResults", "What ``stitch_scans`` found over the overlap.",
        Field{"success", &Results::success, "Whether ``percent_error_rms`` is below the target."},
        Field{"n", &Results::n, "Points of ``scan_1`` in the overlap."},
        Field{"k", &Results::k, "Factor that ``scan_2`` was scaled by."},
        Field{"error", &Results::error, "Sum of (scan_1 - k scan_2)^2 over the overlap."},
        Field{"average", &Results::average, "Mean of (scan_1 + k scan_2) / 2 over the overlap."},
        Field{"percent_error_rms", &Results::percent_error_rms,
              "sqrt(error) / n / average: a fraction, not per cent."},
        Field{"stitch_point", &Results::stitch_point,
              "Wavelength of the splice; 0.0 without success."},
        Field{"stitch_scan", &Results::stitch_scan,
              "The joined spectrum, a copy each time; empty without success."})
        .made_of_nothing("All fields 0, and an empty scan.")
        .read_only_copies();
}

void add_peak_class(py::module_& m) {
    using utils::Peak;
    RecordClass(m, "Peak", "A peak of a scan, from ``measure_peaks``.",
                Field{"wavelength", &Peak::wavelength, "Where the interpolant is highest."},
                Field{"height", &Peak::height, "Value there."},
                Field{"width", &Peak::width,
                      "Full width at half of the height over 0; None where it is not defined."})
        .made_of_fields()
        .read_only()
        .unpacks()
        .shown_by_attributes("Peak");
}

void add_peak_shape_class(py::module_& m) {
    using Shape = utils::PeakShape;
    RecordClass(m, "PeakShape", "A peak of a scan with its shape, from ``peaks``.",
                Field{"wavelength", &Shape::wavelength, "Where the interpolant is highest."},
                Field{"height", &Shape::height, "Value there, counted from 0."},
                Field{"prominence", &Shape::prominence,
                      "How far it rises above the higher one of the lowest values on either side, "
                      "up to the next higher peak or the end."},
                Field{"left", &Shape::left,
                      "Where the curve is half as far above the baseline as the peak, below the "
                      "peak's wavelength; None where it is not defined."},
                Field{"right", &Shape::right, "The same above the peak's wavelength."},
                Field{"width", &Shape::width,
                      "``right`` - ``left``: the full width at half maximum over the baseline."},
                Field{"area", &Shape::area, "Integral of the curve over the baseline."},
                Field{"baseline", &Shape::baseline, "Value of the baseline below the peak."})
        .made_of_fields()
        .read_only()
        .unpacks()
        .shown_by_attributes("PeakShape");
}

void add_mean_class(py::module_& m) {
    using Mean = utils::ScanMean;
    RecordClass(m, "ScanMean", "Mean of several scans with their spread, from ``mean``.",
                Field{"scan", &Mean::scan, "The mean at each common wavelength."},
                Field{"standard_deviation", &Mean::standard_deviation,
                      "Experimental standard deviation of one of the scans, at the same "
                      "wavelengths; NaN with one scan only."},
                Field{"count", &Mean::count, "How many scans."})
        .made_of_fields()
        .read_only_copies()
        .unpacks()
        .shown_by_attributes("ScanMean");
}

}  // namespace

void add_utils_records(py::module_& m) {
    add_statistics_class(m);
    add_stitch_results_class(m);
    add_peak_class(m);
    add_peak_shape_class(m);
    add_mean_class(m);
}

}  // namespace vekanalysis::python
