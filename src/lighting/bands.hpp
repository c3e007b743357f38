#pragma once

#include <string>

#include "../core/scan.hpp"

/// Quantities of a band of a spectrum: integrals of its interpolant, since no standard fixes a grid
/// for them. Adjoining bands add up.
///
/// Each throws std::invalid_argument, its text beginning with the function's name, where the band
/// is empty or not finite, where the data do not cover it or are not finite in it, and
/// std::runtime_error with the errors of the interpolant.
namespace vekanalysis::lighting {

/// Total of a band: irradiance in W/m2 of a spectral irradiance in W m-2 nm-1.
[[nodiscard]] double band_total(const Scan& scan, double wl_from, double wl_to);

/// Photon flux density of a band in umol m-2 s-1 of a spectral irradiance in W m-2 nm-1; from 400
/// to 700 nm the photosynthetic photon flux density (PPFD).
///
/// The integral of E wl / (N_A h c) with the exact constants of the SI of 2019, the product formed
/// at the points of the spectrum. Source: DIN 5031-10:2018; McCree, Agric. Meteorol. 9 (1972) 191.
[[nodiscard]] double photon_flux(const Scan& scan, double wl_from, double wl_to);

/// Centroid wavelength (nm): integral of S wl over that of S. Source: CIE 127:2007.
///
/// @throws std::invalid_argument  "lighting::centroid_wavelength: the integral is not above 0" or
///     "...: the values are too large to be summed", too
[[nodiscard]] double centroid_wavelength(const Scan& scan, double wl_from, double wl_to);
/// The same over all data.
[[nodiscard]] double centroid_wavelength(const Scan& scan);

/// Spectral bandwidth of a source with one peak.
struct Bandwidth {
    double width = 0.0;   ///< distance of the two flanks, nm
    double low = 0.0;     ///< the lower flank, nm
    double high = 0.0;    ///< the upper flank, nm
    double centre = 0.0;  ///< the middle between them, nm
    double peak = 0.0;    ///< the highest stored point, nm
    friend bool operator==(const Bandwidth&, const Bandwidth&) = default;
};

[[nodiscard]] std::string to_string(const Bandwidth& bandwidth);

/// Width of the one peak of a source at `level` times its highest stored value, on the
/// interpolant. Source: CIE 127:2007 (level 0.5).
///
/// @param level  above 0, below 1
/// @throws std::invalid_argument  "lighting::bandwidth: level must be between 0 and 1",
///     "... the highest value is not above 0", "... the peak does not fall to the level within the
///     data", "... more than one peak rises above the level (at ... nm)"
[[nodiscard]] Bandwidth bandwidth(const Scan& scan, double level = 0.5);

}  // namespace vekanalysis::lighting
