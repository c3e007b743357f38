#include "python/utils_module.hpp"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "python/records.hpp"
#include "utils/averaging.hpp"
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

std::size_t place_of(const PeakShapes& self, py::ssize_t index) {
    const auto size = static_cast<py::ssize_t>(self.shapes.size());
    if (index < -size || index >= size) throw py::index_error("peak index out of range");
    return static_cast<std::size_t>(index < 0 ? index + size : index);
}

PeakShapes slice_of(const PeakShapes& self, const py::slice& slice) {
    std::size_t start = 0;
    std::size_t stop = 0;
    std::size_t step = 0;
    std::size_t length = 0;
    if (!slice.compute(self.shapes.size(), &start, &stop, &step, &length)) {
        throw py::error_already_set();
    }
    PeakShapes part;
    part.shapes.reserve(length);
    // A negative step wraps around, and so does the sum.
    for (std::size_t i = 0; i < length; ++i) part.shapes.push_back(self.shapes[start + i * step]);
    return part;
}

template <class Member>
py::array_t<double> column(const PeakShapes& self, Member member) {
    py::array_t<double> values(static_cast<py::ssize_t>(self.shapes.size()));
    double* to = values.mutable_data();
    for (const utils::PeakShape& shape : self.shapes) {
        if constexpr (std::is_same_v<Member, double utils::PeakShape::*>) {
            *to++ = shape.*member;
        } else {
            *to++ = (shape.*member).value_or(std::numeric_limits<double>::quiet_NaN());
        }
    }
    return values;
}

py::typing::Dict<py::str, py::array_t<double>> columns(const PeakShapes& self) {
    using Shape = utils::PeakShape;
    py::typing::Dict<py::str, py::array_t<double>> columns;
    columns["wavelength"] = column(self, &Shape::wavelength);
    columns["height"] = column(self, &Shape::height);
    columns["prominence"] = column(self, &Shape::prominence);
    columns["left"] = column(self, &Shape::left);
    columns["right"] = column(self, &Shape::right);
    columns["width"] = column(self, &Shape::width);
    columns["area"] = column(self, &Shape::area);
    columns["baseline"] = column(self, &Shape::baseline);
    return columns;
}

void add_peak_shapes_class(py::module_& m) {
    py::class_<PeakShapes> shapes(
        m, "PeakShapes",
        "The peaks of a scan in order of wavelength, from ``peaks``: a sequence of PeakShape.");
    shapes.def(
        "__len__", [](const PeakShapes& self) { return self.shapes.size(); }, "How many peaks.");
    shapes.def(
        "__getitem__",
        [](const PeakShapes& self, py::ssize_t index) {
            return self.shapes[place_of(self, index)];
        },
        "index"_a, "One peak, counted from the end where the index is negative.");
    shapes.def("__getitem__", &slice_of, "index"_a, "Some of the peaks.");
    shapes.def(
        "__iter__",
        [](const PeakShapes& self) {
            return py::typing::Iterator<utils::PeakShape>(
                py::make_iterator<py::return_value_policy::copy>(self.shapes.begin(),
                                                                 self.shapes.end()));
        },
        py::keep_alive<0, 1>(), "Iterate over the peaks.");
    shapes.def(
        "__eq__", [](const PeakShapes& self, const PeakShapes& other) { return self == other; },
        "other"_a, py::is_operator(), "Whether all peaks are equal.");
    shapes.def(
        "__repr__",
        [](const PeakShapes& self) {
            return "<PeakShapes [" + std::to_string(self.shapes.size()) + "]>";
        },
        "How many peaks there are, in angle brackets.");
    shapes.def("columns", &columns,
               Docstring("The attributes of all peaks, for a table.")
                   .returns("dict of str to ndarray",
                            "By the names of PeakShape, float64 arrays as long as the peaks are "
                            "many; NaN where the attribute is None."));
    add_pickling(
        shapes,
        [](const py::object& self) {
            return py::make_tuple(self.cast<const PeakShapes&>().shapes);
        },
        [](const py::tuple& state) {
            if (state.size() != 2) throw py::value_error("__setstate__: wrong number of fields");
            return PeakShapes{state[0].cast<std::vector<utils::PeakShape>>()};
        });
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
    add_peak_shape_class(m);
    add_peak_shapes_class(m);
    add_mean_class(m);
}

}  // namespace vekanalysis::python
