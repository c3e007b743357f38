#pragma once

#include "../core/scan.hpp"

/// Peaks, troughs, crossings and widths of scans, between their stored points.
///
/// A search starts from stored points and refines on the interpolant, with the default settings of
/// `Minimizer` or `Root`: positions are good to about 1e-4 of themselves, on smooth data much
/// better. A search without an answer gives false and leaves its output as it was. Errors of the
/// interpolant ("Cannot initialize a spline, too few points", "Cannot initialize a spline with type
/// None"), met when a search first looks between points, pass through.
namespace vekanalysis::utils {

/// Refines the turning point next to a stored point: a peak, or a trough.
///
/// Tried in this order: the bracket of both neighbours with the point as start, the interval to the
/// next point from its middle, the interval to the previous point from its middle. The start must
/// be strictly above (peak) or below (trough) both ends of its bracket, so plateaus and monotone
/// stretches have no turning point.
///
/// @param it  a position in `scan`; end() gives false
[[nodiscard]] bool find_turning_point(const Scan& scan, Scan::const_iterator it, bool trough,
                                      double* x);

/// The same next to the highest (peak) or lowest (trough) stored point of [lo, hi].
[[nodiscard]] bool find_turning_point(const Scan& scan, double lo, double hi, bool trough,
                                      double* x);

/// The highest peak, and the lowest trough, with its stored point in [lo, hi] or anywhere.
[[nodiscard]] bool find_peak(const Scan& scan, double lo, double hi, double* x);
[[nodiscard]] bool find_trough(const Scan& scan, double lo, double hi, double* x);
[[nodiscard]] bool find_peak(const Scan& scan, double* x);
[[nodiscard]] bool find_trough(const Scan& scan, double* x);

/// Inserts all peaks, or all troughs, into `out` with their interpolated values.
///
/// Deliberate: the stored point after one that gave a turning point is not looked at, lest the same
/// one be found twice; of two in neighbouring intervals the second is missed.
///
/// @param out  may be `scan` itself; unchanged when the interpolant throws
void find_turning_points(const Scan& scan, bool trough, Scan* out);

/// All peaks or troughs: a new scan with default settings, or into a given one.
[[nodiscard]] Scan find_peaks(const Scan& scan);
[[nodiscard]] Scan find_troughs(const Scan& scan);
void find_peaks(const Scan& scan, Scan* out);
void find_troughs(const Scan& scan, Scan* out);

/// Adds the wavelengths of the peaks and then those of the troughs to the scan, with its own values
/// there. The troughs are those of the scan with its peaks added.
void add_turning_points(Scan* scan);

/// A wavelength in [lo, hi] where the scan has the value. False when the scan is above, or below,
/// at both lo and hi.
[[nodiscard]] bool find_key(const Scan& scan, double lo, double hi, double value, double* x);

/// Wavelength where two scans cross, between lo and hi.
///
/// The stored points of `scan_1` are followed from lo to hi. The first at which `scan_2` is equal
/// within five units in the last place is the crossing; else it lies before the first at which the
/// scans are the other way round than at lo, and is found on the difference of both.
///
/// @throws std::out_of_range  "scan_1 must contain keys lo and hi", "failed to bracket the root"
///                            (they do not cross) or "root finding failed"
[[nodiscard]] double find_crossing(const Scan& scan_1, const Scan& scan_2, double lo, double hi);

/// Full width of the highest peak at `height` (0..1) times its value: the distance between a
/// wavelength of that value below the peak and one above it. The scan should have that one peak
/// only; where the curve passes the level more than once on a side, any of the passages can be
/// taken.
///
/// @return false for a scan without interpolation, without a peak, or that stays above the level at
///         one end
[[nodiscard]] bool peak_width(const Scan& scan, double height, double* width);

}  // namespace vekanalysis::utils
