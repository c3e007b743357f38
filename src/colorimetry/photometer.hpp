#pragma once

#include "../core/scan.hpp"

/// Quality indices of photometers after ISO/CIE 19476:2014. Both are fractions, not per cent.
namespace vekanalysis::colorimetry {

/// General V(lambda) mismatch index f1' of a relative spectral responsivity (any unit, nm).
///
/// With y = CIE 1931 y(lambda), k = integral of A * y / integral of A * scan (illuminant A): the
/// integral of |k scan - y| divided by that of y, all from 380 to 780 nm. Source: ISO/CIE
/// 19476:2014.
/// @throws std::domain_error   "Input has no data in the range 380 to 780", when the scan is empty
///                             or lies wholly below 380 or above 780 nm
/// @throws std::runtime_error  the errors of the products and integrals: a responsivity that cannot
///                             be interpolated, or too few points
[[nodiscard]] double f1_prime(const Scan& scan);

/// Directional response index f2 of a photometer for illuminance.
///
/// f2(e, phi) = Y(e, phi) / (Y(0, phi) cos e) - 1; the result is the mean over the azimuths phi =
/// 0, pi/2, pi and 3 pi/2 of the integrals of |f2(e, phi)| sin 2e over 0 <= e <= 4 pi/9 (80
/// degrees). Source: ISO/CIE 19476:2014, 5.5.3.
///
/// Deliberate: negative angles of a scan stand for the opposite azimuth, so each scan is integrated
/// over both half-planes at once.
/// @param Y_0, Y_pi_2  output signal (any unit) against the angle of incidence in radians, over
///                     -4 pi/9 to 4 pi/9, at azimuth 0 and pi/2
/// @throws std::runtime_error  the spline's errors, even when every angle needed is stored
[[nodiscard]] double f2(const Scan& Y_0, const Scan& Y_pi_2);

}  // namespace vekanalysis::colorimetry
