#pragma once

#include <optional>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis::utils {

/// A peak with its full width at half of its height, which is counted from 0.
struct Peak {
    double wavelength = 0.0;
    double height = 0.0;          ///< in the unit of the values
    std::optional<double> width;  ///< in the unit of the wavelengths; none where undefined

    bool operator==(const Peak&) const = default;
};

/// The peaks of `find_peaks` with their full widths at half maximum, on the whole spectrum.
///
/// On either side the edge lies between the first stored point, from the peak outwards, that is at
/// or below half of the height and its inner neighbour, or the peak. It is found on the interpolant
/// by halving that interval 60 times, so none of the tolerance of `peak_width` enters. There is no
/// width where a side rises above the peak first, or ends. Values that are NaN are passed over.
///
/// O(n log n) for n points, however many of them are peaks.
/// @throws std::runtime_error  the spline's errors
[[nodiscard]] std::vector<Peak> measure_peaks(const Scan& scan);

}  // namespace vekanalysis::utils
