#include "python/registration.hpp"

#include <pybind11/typing.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "python/docstring.hpp"
#include "python/utils_module.hpp"
#include "utils/averaging.hpp"
#include "utils/element_wise.hpp"
#include "utils/statistics.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// Deliberate: a number stands for an empty scan with it as epsilon, so a logarithm of it or to it
/// is an empty scan. Where it is no epsilon the other operand's is taken.
Scan scan_of_number(double number, const Scan& other) {
    return Scan(number >= 0.0 ? number : other.get_wavelength_epsilon(), spline::Type::AKIMA);
}

void add_logarithms(py::module_& m) {
    m.def("log10", &utils::log10, "scan"_a, "Compute logarithm base 10 of scan [Scan].");
    m.def("log", py::overload_cast<const Scan&>(&utils::log), "scan"_a,
          "Compute natural logarithm of scan [Scan].");
    m.def(
        "log",
        [](const Scan& scan, const Scan& base) { return utils::log(scan) / utils::log(base); },
        "scan"_a, "base"_a, "Compute logarithm base [Scan] of scan [Scan].");
    // Deliberate: the first line of both promises what they do not do.
    m.def(
        "log",
        [](const Scan& scan, double base) {
            return utils::log(scan) / utils::log(scan_of_number(base, scan));
        },
        "scan"_a, "base"_a, Docstring(R"doc(Compute logarithm base [float] of scan [Scan].

The result is always empty: the number stands for a scan without points.
``log(scan) / math.log(base)`` is the logarithm to a number.)doc"));
    m.def(
        "log",
        [](double x, const Scan& base) {
            return utils::log(scan_of_number(x, base)) / utils::log(base);
        },
        "x"_a, "base"_a, Docstring(R"doc(Compute logarithm base [Scan] of x [float].

The result is always empty: the number stands for a scan without points.
``math.log(x) / log(base)`` is the logarithm of a number.)doc"));
}

/// @throws py::error_already_set  what the callable raises, or TypeError for what is no number
double call_with_point(const py::function& operation, double wl, double value) {
    const py::object result = operation(wl, value);
    refuse_interpolation(result);
    const double number = PyFloat_AsDouble(result.ptr());
    if (number == -1.0 && PyErr_Occurred() != nullptr) throw py::error_already_set();
    return number;
}

void add_transform(py::module_& m) {
    m.def(
        "transform",
        [](const Scan& scan, const py::typing::Callable<double(double, double)>& binary_operation) {
            // The callable may change the scan it is called for, so it is given a copy's points.
            return utils::transform(Scan(scan), [&binary_operation](double wl, double value) {
                return call_with_point(binary_operation, wl, value);
            });
        },
        "scan"_a, "binary_operation"_a,
        Docstring("Returns a new Scan with entries {key, op(key, value)} for each {key, value}\n"
                  "in the specified Scan.")
            .parameter("scan", "Scan")
            .parameter("binary_operation", "callable",
                       "Called as ``binary_operation(wavelength, value)`` for each point in "
                       "ascending order of wavelength; returns the new value.")
            .returns("Scan")
            .raises("TypeError",
                    "If ``binary_operation`` returns anything but a number; its own exceptions "
                    "pass through."));
}

void add_statistics(py::module_& m) {
    m.def("get_statistics", py::overload_cast<const Scan&>(&utils::get_statistics), "scan"_a,
          Docstring("Descriptive statistics of all stored values.")
              .parameter("scan", "Scan")
              .returns("ScanStatistics",
                       "The median is a streaming estimate. Of an empty scan: mean, skewness and "
                       "kurtosis NaN, variance and median 0, min and max the largest float and "
                       "its negative."));
    m.def(
        "get_statistics", py::overload_cast<const Scan&, double, double>(&utils::get_statistics),
        "scan"_a, "lo"_a, "hi"_a,
        Docstring("Descriptive statistics of the values at wavelengths from ``lo`` to ``hi``, both "
                  "included.")
            .parameter("scan", "Scan")
            .parameter("lo, hi", "float")
            .returns("ScanStatistics"));
}

/// Scans of a Python iterable, which are alive as long as this.
class ScanList {
public:
    ScanList(const char* function, const py::iterable& scans) {
        const std::string name = function;
        if (py::isinstance<Scan>(scans)) {
            throw py::type_error(name + " takes several scans: " + name + "([a, b])");
        }
        const bool mapping = py::hasattr(scans, "keys") && py::hasattr(scans, "values");
        items_ = mapping ? py::list(scans.attr("values")()) : py::list(scans);
        for (std::size_t i = 0; i < items_.size(); ++i) {
            const py::object item = items_[i];
            if (!py::isinstance<Scan>(item)) {
                throw py::type_error(name + " takes scans; item " + std::to_string(i) + " is a " +
                                     Py_TYPE(item.ptr())->tp_name);
            }
            pointers_.push_back(item.cast<const Scan*>());
        }
    }

    [[nodiscard]] const std::vector<const Scan*>& pointers() const noexcept { return pointers_; }

private:
    py::list items_;
    std::vector<const Scan*> pointers_;
};

Docstring averaging_doc(const char* text) {
    return Docstring(std::string(text) + R"doc(

The wavelengths are those stored by any of the scans, within the range that all cover;
of a scan that does not interpolate only those that it stores, too. Elsewhere a value
is interpolated, so scans of different grids may be mixed. The result has the smallest
epsilon and the interpolation of the first scan that interpolates.)doc")
        .parameter("scans", "iterable of Scan, or mapping of anything to Scan", "At least one.");
}

Docstring raising(Docstring doc) {
    return doc
        .raises("ValueError",
                "If there is no scan, one has no points, or they have no wavelength in common.")
        .raises("RuntimeError",
                "If a scan must be interpolated but has too few points for its interpolation.");
}

void add_averaging(py::module_& m) {
    m.def(
        "mean",
        [](const py::iterable& scans) { return utils::mean(ScanList("mean", scans).pointers()); },
        "scans"_a,
        raising(averaging_doc("Mean of several scans of one thing on their common range, with "
                              "their spread.")
                    .returns("ScanMean",
                             "Sum over count, and the experimental standard deviation of one scan, "
                             "sqrt(sum((v - mean)^2) / (count - 1)). The standard uncertainty of "
                             "the mean that repetition shows is ``standard_deviation / "
                             "count**0.5`` (JCGM 100:2008, 4.2).")));
    m.def(
        "sum",
        [](const py::iterable& scans) { return utils::sum(ScanList("sum", scans).pointers()); },
        "scans"_a,
        raising(averaging_doc("Sum of several scans on their common range, first to last.")
                    .returns("Scan", "A new scan.")));
}

}  // namespace

void add_utils_module(py::module_& m) {
    add_utils_records(m);
    add_utils_searches(m);
    add_logarithms(m);
    add_transform(m);
    add_statistics(m);
    add_averaging(m);
}

}  // namespace vekanalysis::python
