#pragma once

#include "../core/scan.hpp"

/// Slit function of a monochromator whose round input fibre is imaged across an equal round exit
/// fibre: the normalised overlap of two equal circles.
///
/// With x the distance from the central wavelength in units of R = bandwidth / 0.80794550659902,
/// the value is (2 / pi) (acos x - x sqrt(1 - x^2)), 1 at the centre and 0 from R on; the divisor
/// makes the full width at half maximum equal to bandwidth. Wavelengths in nm.
namespace vekanalysis::monochromator::slit_function {

/// Value at a wavelength. Never throws: a bandwidth of 0 gives NaN at the centre and 0 elsewhere.
[[nodiscard]] double uniform_fibres_value(double central_wavelength, double bandwidth,
                                          double wavelength) noexcept;

/// The curve at `points` equidistant wavelengths from central_wavelength - R to
/// central_wavelength + R, both included and exactly 0, the centre too for an odd count. Mirrored
/// points share one value. Epsilon 1e-20, AKIMA.
///
/// Where a bandwidth is so small that neighbouring wavelengths are equal in double precision, they
/// are one point.
/// @throws std::invalid_argument  "slit_function::uniform_fibres: fewer than 2 points",
///                                "slit_function::uniform_fibres: more than 100000000 points" or
///                                "slit_function::uniform_fibres: wavelengths must be finite", for
///                                arguments that are NaN, infinite or make such wavelengths
[[nodiscard]] Scan uniform_fibres(double central_wavelength, double bandwidth, unsigned int points);

}  // namespace vekanalysis::monochromator::slit_function
