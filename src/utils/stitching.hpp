#pragma once

#include <cstdint>

#include "../core/scan.hpp"

namespace vekanalysis::utils {

/// What `stitch_scans` found over the n wavelengths of the overlap.
struct StitchResults {
    bool success = false;            ///< percent_error_rms < target_error
    std::uint32_t n = 0;             ///< points of scan_1 in [min_wl, max_wl]
    double k = 0.0;                  ///< factor that scan_2 was scaled by
    double error = 0.0;              ///< sum of (scan_1 - k scan_2)^2
    double average = 0.0;            ///< mean of (scan_1 + k scan_2) / 2
    double percent_error_rms = 0.0;  ///< sqrt(error) / n / average, a fraction
    double stitch_point = 0.0;       ///< wavelength of the splice; 0.0 unless `success`
    Scan stitch_scan;                ///< the joined spectrum; empty unless `success`

    bool operator==(const StitchResults&) const = default;
};

/// Joins two spectra that overlap over [min_wl, max_wl], of two detectors or gratings say.
///
/// `scan_2` is scaled by the least-squares factor k = sum s1 s2 / sum s2^2 over the stored points
/// of `scan_1` in the overlap. If the match is good enough, `scan_1` goes on to the wavelength
/// where both cross (`find_crossing`), and k scan_2 from there.
///
/// Deliberate: `percent_error_rms` divides the root of the summed squares by n, not by its root,
/// and is not per cent; a negative `average` makes it negative, which is below any positive target.
///
/// @param min_wl, max_wl  stored wavelengths of `scan_1` inside the range of `scan_2`
/// @param target_error    `percent_error_rms` must be below it
/// @throws std::out_of_range      "domain error, max_wl < min_wl", "scan_1 must contain keys min_wl
///                                and max_wl", "scan_2 must be defined over the domain [min_wl,
///                                max_wl]", or as `find_crossing`: a match that is good enough may
///                                yet have no crossing ("failed to bracket the root")
/// @throws std::invalid_argument  "Division by zero. scan_2(wl) is zero across [min_wl, max_wl]"
[[nodiscard]] StitchResults stitch_scans(const Scan& scan_1, const Scan& scan_2, double min_wl,
                                         double max_wl, double target_error);

}  // namespace vekanalysis::utils
