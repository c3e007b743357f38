#include "python/utils_module.hpp"

#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <vector>

#include "core/scan.hpp"
#include "python/docstring.hpp"
#include "utils/peak_shapes.hpp"
#include "utils/peaks.hpp"
#include "utils/stitching.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

constexpr const char* no_interpolation =
    "If the scan has no interpolation, or too few points for it.";

double find_key(const Scan& scan, double lo, double hi, double value) {
    double x = 0.0;
    if (!utils::find_key(scan, lo, hi, value, &x)) throw py::value_error("Key not found.");
    return x;
}

double find_peak(const Scan& scan) {
    double x = 0.0;
    if (!utils::find_peak(scan, &x)) throw py::value_error("No peak found.");
    return x;
}

double peak_width(const Scan& scan, double height) {
    double width = 0.0;
    if (!utils::peak_width(scan, height, &width)) {
        throw py::value_error("Unable to calculate peak width.");
    }
    return width;
}

void add_find_key(py::module_& m) {
    m.def("find_key", &find_key, "scan"_a, "lo"_a, "hi"_a, "value"_a,
          Docstring("Find the key between lo and hi that gives a value of the specified value.")
              .parameter("scan", "Scan")
              .parameter("lo, hi", "float",
                         "Wavelengths at which the scan lies on different sides of ``value``.")
              .parameter("value", "float", "In the unit of the scan's values.")
              .returns("float",
                       "A wavelength, by Brent's method to about 1e-4 of itself, on smooth data "
                       "much better. With several in between, one of them.")
              .raises("ValueError",
                      "\"Key not found.\": the scan is above ``value`` at both ends, or below, or "
                      "``lo`` is not below ``hi``.")
              .raises("RuntimeError", no_interpolation));
}

void add_peaks(py::module_& m) {
    m.def("find_peak", &find_peak, "scan"_a,
          Docstring(R"doc(Wavelength of the highest peak, refined between the stored points.

The stored point with the largest value and its neighbours bracket the peak; Brent's
method finds the maximum of the interpolant in there.)doc")
              .parameter("scan", "Scan")
              .returns("float", "To about 1e-4 of itself, on smooth data much better.")
              .raises("ValueError",
                      "\"No peak found.\": the curve is not higher beside the largest value than "
                      "at it, at an end of the scan say, or where neighbours share that value.")
              .raises("RuntimeError", no_interpolation));
    m.def("find_peaks", py::overload_cast<const Scan&>(&utils::find_peaks), "scan"_a,
          Docstring(R"doc(All peaks, refined between the stored points.

Each stored point above its neighbours, and each interval with a maximum inside, gives a
peak; the point after one that did is passed over, so that no peak is found twice.
Noise has many peaks: smooth a noisy scan first, or sort the result by value.)doc")
              .parameter("scan", "Scan")
              .returns("Scan",
                       "Wavelengths of the peaks with the interpolated values there; empty where "
                       "there are none.")
              .raises("RuntimeError", no_interpolation));
    m.def("peak_width", &peak_width, "scan"_a, "height"_a,
          Docstring(R"doc(Full width of a scan's single peak at a fraction of its height.

The distance between the wavelengths below and above the highest peak at which the scan
has ``height`` times the peak's value: 0.5 gives the full width at half maximum (FWHM).
No baseline is subtracted.)doc")
              .parameter("scan", "Scan",
                         "With one peak. Cut others away first; where the curve passes the level "
                         "more than once on a side, any of the passages may be taken.")
              .parameter("height", "float", "0 to 1.")
              .returns("float", "In the unit of the wavelengths.")
              .raises("ValueError",
                      "\"Unable to calculate peak width.\": there is no peak, the scan does not "
                      "interpolate, or it stays above the level on one side.")
              .raises("RuntimeError", "If the scan has too few points for its interpolation."));
}

PeakShapes peaks(const Scan& scan, std::optional<double> height, std::optional<double> prominence,
                 std::optional<double> distance, std::optional<double> width,
                 const std::string& baseline) {
    utils::PeakOptions options;
    options.height = height.value_or(options.height);
    options.prominence = prominence.value_or(options.prominence);
    options.distance = distance.value_or(options.distance);
    options.width = width.value_or(options.width);
    if (baseline == "valleys") {
        options.baseline = utils::Baseline::VALLEYS;
    } else if (baseline == "prominence") {
        options.baseline = utils::Baseline::PROMINENCE;
    } else if (baseline == "zero") {
        options.baseline = utils::Baseline::ZERO;
    } else {
        throw py::value_error("baseline must be 'valleys', 'prominence' or 'zero'");
    }
    return {utils::peaks(scan, options)};
}

void add_peak_shapes(py::module_& m) {
    m.def("peaks", &peaks, "scan"_a, py::kw_only(), "height"_a = py::none(),
          "prominence"_a = py::none(), "distance"_a = py::none(), "width"_a = py::none(),
          "baseline"_a = "valleys",
          Docstring(R"doc(The peaks of a scan: position, height, prominence, width and area.

A stored point above both its neighbours is a peak, as is the middle of a plateau; the first
and the last point are none. Position and height are those of the highest place of the
interpolant beside it. Noise has peaks, too: ``prominence`` keeps it out.

``height``, ``distance``, ``prominence`` and ``width`` are applied in this order. With
linear interpolation the peaks are those of ``scipy.signal.find_peaks``, and with the
baseline "prominence" the widths those of ``peak_widths``.)doc")
              .parameter("scan", "Scan", "Without NaN and infinities.")
              .parameter("height", "float, optional", "Least height, in the unit of the values.")
              .parameter("prominence", "float, optional",
                         "Least prominence, in the unit of the values.")
              .parameter("distance", "float, optional",
                         "Least distance, in the unit of the wavelengths: of two peaks that are "
                         "closer the lower one goes.")
              .parameter("width", "float, optional",
                         "Least full width at half maximum, in the unit of the wavelengths.")
              .parameter("baseline", R"({"valleys", "prominence", "zero"})",
                         "What width and area are counted from: the straight line between the "
                         "lowest points on either side, up to the neighbours among the peaks that "
                         "``height``, ``distance`` and ``prominence`` leave; the level of the "
                         "height less the prominence; or 0.")
              .returns("PeakShapes",
                       "In order of wavelength. With \"zero\" ``left``, ``right`` and ``width`` "
                       "are None where the scan rises above the peak before it has fallen to half "
                       "of it, or ends. The area goes from where the curve meets the baseline, at "
                       "most from the lowest point, on the one side to that on the other.")
              .raises("ValueError",
                      "If a value is not finite, an option is NaN or negative (but for "
                      "``height``), or ``baseline`` is another word.")
              .raises("RuntimeError", no_interpolation));
}

void add_stitching(py::module_& m) {
    m.def(
        "stitch_scans", &utils::stitch_scans, "scan_1"_a, "scan_2"_a, "min_wl"_a, "max_wl"_a,
        "target_error"_a,
        Docstring(R"doc(Join two spectra that overlap, measured with two detectors or gratings say.

``scan_2`` is scaled by k = sum(s1 s2) / sum(s2^2) over the points of ``scan_1`` from
``min_wl`` to ``max_wl``, which makes the sum of (s1 - k s2)^2 smallest. Where the match is good
enough, the joined spectrum is ``scan_1`` up to the wavelength at which both cross and
k ``scan_2`` from there on.)doc")
            .parameter("scan_1, scan_2", "Scan", "The lower and the higher range.")
            .parameter("min_wl, max_wl", "float",
                       "The overlap: stored wavelengths of ``scan_1`` within the range of "
                       "``scan_2``.")
            .parameter("target_error", "float",
                       "``percent_error_rms`` of the result, sqrt(sum of (s1 - k s2)^2) / n / "
                       "average, must be below it. A fraction, not per cent.")
            .returns("StitchResults", "Its ``success`` tells whether the match was good enough.")
            .raises("IndexError",
                    "If the overlap is not within the scans, or the scans do not cross in it "
                    "(\"failed to bracket the root\").")
            .raises("ValueError", "If ``scan_2`` is 0 throughout the overlap.")
            .raises("RuntimeError",
                    "If a value between points is needed, and that scan has no interpolation or "
                    "too few points for it."));
}

}  // namespace

void add_utils_searches(py::module_& m) {
    add_find_key(m);
    add_peaks(m);
    add_peak_shapes(m);
    add_stitching(m);
}

}  // namespace vekanalysis::python
