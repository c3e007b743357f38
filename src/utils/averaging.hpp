#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis::utils {

/// Mean of several scans of one thing, with their spread.
struct ScanMean {
    Scan scan;                ///< mean at each common wavelength
    Scan standard_deviation;  ///< of one scan, at the same wavelengths; NaN with one scan only
    std::size_t count = 0;    ///< how many scans

    bool operator==(const ScanMean&) const = default;
};

/// Wavelengths at which each of the scans has a value: those stored by any of them within the
/// range that all cover, as far as a scan that does not interpolate stores them, too. Of those that
/// are equal within the smallest epsilon the lowest.
///
/// @param scans  shape (N), N >= 1, none null
/// @throws std::invalid_argument  "utils::common_wavelengths: no scans",
/// "utils::common_wavelengths:
///                                a scan without points" or "utils::common_wavelengths: the scans
///                                have no wavelength in common"
[[nodiscard]] std::vector<double> common_wavelengths(std::span<const Scan* const> scans);

/// Sum of the scans, first to last, at their common wavelengths. The result has the smallest
/// epsilon and the interpolation of the first scan that interpolates.
///
/// @throws std::invalid_argument  as `common_wavelengths`
/// @throws std::runtime_error     a spline's errors (see Scan), where a scan must be interpolated
[[nodiscard]] Scan sum(std::span<const Scan* const> scans);

/// Mean of the scans at their common wavelengths, sum / N, and the experimental standard deviation
/// of one of them, the root of the sum of (v - mean)^2 / (N - 1). That of the mean is smaller by
/// the root of N. Source: JCGM 100:2008 (GUM), 4.2. Settings and errors as of `sum`.
[[nodiscard]] ScanMean mean(std::span<const Scan* const> scans);

}  // namespace vekanalysis::utils
