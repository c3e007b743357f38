#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis::utils {

/// What the width and the area of a peak are counted from.
enum class Baseline : std::uint8_t {
    VALLEYS,     ///< the straight line from the lowest point on the one side to that on the other
    PROMINENCE,  ///< the level of the height less the prominence
    ZERO,
};

/// Which peaks are wanted: the least value of each figure; NaN is refused.
struct PeakOptions {
    double height = -std::numeric_limits<double>::infinity();
    double prominence = 0.0;  ///< in the unit of the values
    double distance = 0.0;    ///< to the next peak, in the unit of the wavelengths
    double width = 0.0;       ///< in the unit of the wavelengths
    Baseline baseline = Baseline::VALLEYS;
};

/// A peak and its shape, wavelengths and values in the units of the scan.
struct PeakShape {
    double wavelength = 0.0;
    double height = 0.0;         ///< value of the interpolant there, counted from 0
    double prominence = 0.0;     ///< how far it rises above the higher of the two lowest points
    std::optional<double> left;  ///< where the curve is half as far above the baseline as the peak
    std::optional<double> right;
    std::optional<double> width;  ///< right - left: full width at half maximum
    double area = 0.0;            ///< between curve and baseline
    double baseline = 0.0;        ///< value of the baseline below the peak

    bool operator==(const PeakShape&) const = default;
};

/// The peaks of a scan with their shapes, in order of wavelength.
///
/// A stored point above both its neighbours is a peak, as is the middle one (the lower of two) of a
/// plateau of equal points with lower ones on both sides; the first and the last point are none.
/// Position and height are those of the highest place of the interpolant between the points next to
/// it. The prominence is the height less the higher one of two values: the lowest stored value on
/// the way to the next higher peak, or to the end of the scan, on either side (for a curve of
/// straight lines the definitions are those of `scipy.signal.find_peaks`).
///
/// The options choose in this order: height, distance (of two that are too close the lower one
/// goes, of equal ones that at the shorter wavelength; the highest peaks are looked at first),
/// prominence, width.
///
/// Baselines: VALLEYS joins the lowest stored points between a peak and its neighbours, of equal
/// ones the nearest to it, among the peaks that height, distance and prominence left, or the ends
/// of the scan. With PROMINENCE half of the height is as `scipy.signal.peak_widths` has it. With
/// ZERO there is no width where a side rises above the peak before it has fallen to half, or ends,
/// and none for a peak at or below 0.
///
/// The area goes from the place where the curve meets the baseline on the one side to that on the
/// other, at most to the lowest points between the peak and its neighbours.
///
/// O(n log n) for n points.
/// @throws std::invalid_argument  "utils::peaks: an option is not a number",
///                                "utils::peaks: distance, prominence and width must not be
///                                negative", "utils::peaks: a point is not finite",
///                                "utils::peaks: a polynomial through all points is not taken" or,
///                                where a width or an area is no number,
///                                "utils::peaks: the numbers are too large or too small"
/// @throws std::runtime_error     the spline's errors
[[nodiscard]] std::vector<PeakShape> peaks(const Scan& scan, const PeakOptions& options = {});

}  // namespace vekanalysis::utils
