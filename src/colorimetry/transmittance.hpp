#pragma once

#include <string>

#include "../core/scan.hpp"

/// Transmittances of lenses and filters. Each function takes a spectral transmittance (fraction,
/// wavelengths in nm) and gives fractions.
///
/// The quantities are means or ratios of integrals of products with reference spectra, written here
/// as "mean" or as W1 * W2: the integral of (trans * W1) * W2 over the band divided by that of
/// W1 * W2. The products follow the grid rule of scans and are formed anew in each call, since a
/// reference spectrum may be changed. Deliberate: numerator and denominator live on their own
/// grids, so a clear filter sampled more finely than the weights need not give exactly 1.
///
/// Wavelengths that the data do not cover count as a transmittance of 0. All functions but
/// `ANSI_Z80_3_tau_spectral_min` throw the errors of the products and integrals
/// (std::runtime_error): data that cannot be interpolated, or too few points in a product. A zero
/// denominator gives infinity or NaN.
namespace vekanalysis::colorimetry {

/// Transmittances for the three colours of a traffic light, fractions.
struct RYG {
    double red = 0.0;
    double yellow = 0.0;
    double green = 0.0;

    bool operator==(const RYG&) const = default;
};

/// Transmittances for the four colours of signal lights, fractions.
struct RYGB {
    double red = 0.0;
    double yellow = 0.0;
    double green = 0.0;
    double blue = 0.0;

    bool operator==(const RYGB&) const = default;
};

/// "red:0.1 yellow:0.2 green:0.3": each label and its number, six significant digits.
[[nodiscard]] std::string to_string(const RYG& colours);
/// "red:0.1 yellow:0.2 green:0.3 blue:0.4", likewise.
[[nodiscard]] std::string to_string(const RYGB& colours);

/// UV-A transmittance: mean over 315 to 380 nm. Source: ISO 8980-3:2013, 3.1.
[[nodiscard]] double ISO8980_3_tau_uva(const Scan& trans);
/// UV-A transmittance: mean over 315 to 380 nm. Source: ANSI Z80.3-2015, 3.8.3.
[[nodiscard]] double ANSI_Z80_3_tau_uva(const Scan& trans);
/// UV-B transmittance: mean over 280 to 315 nm. Source: ANSI Z80.3-2015, 3.8.3.
[[nodiscard]] double ANSI_Z80_3_tau_uvb(const Scan& trans);

/// Solar UV-A transmittance: Es * S over 315 to 380 nm. Source: ISO 8980-3:2013, 3.2.
[[nodiscard]] double ISO8980_3_tau_suva(const Scan& trans);
/// Solar UV-A transmittance: Es * S over 315 to 400 nm. Source: AS/NZS 1067.2:2016.
[[nodiscard]] double ASNZS1067_2016_tau_suva(const Scan& trans);
/// Solar UV-B transmittance: Es * S over 280 to 315 nm. Source: ISO 8980-3:2013, 3.3.
[[nodiscard]] double ISO8980_3_tau_suvb(const Scan& trans);

/// Luminous transmittance: V(lambda) * D65 over 380 to 780 nm. Source: ISO 8980-3:2013, 3.4.
[[nodiscard]] double ISO8980_3_tau_v(const Scan& trans);
/// Luminous transmittance: V(lambda) * illuminant C over 380 to 780 nm.
/// Source: ANSI Z80.3-2015, 3.8.1.
[[nodiscard]] double ANSI_Z80_3_tau_v(const Scan& trans);

/// Signal-light transmittances over 380 to 780 nm: the integral of trans * E divided by that of E,
/// E being a signal light times V(lambda). Source: ISO 8980-3:2013, 3.5.
[[nodiscard]] RYGB ISO8980_3_tau_signal_incandescent(const Scan& trans);
[[nodiscard]] RYGB ISO8980_3_tau_signal_led(const Scan& trans);

/// Signal-light transmittances over 380 to 780 nm: with W = V(lambda) * illuminant A and T the
/// signal lens of the colour, the integral of (trans * W) * T divided by that of W * T_red.
///
/// Deliberate: the red lens's weighting divides all three colours, so a clear filter gives 1 for
/// red only. Source: ANSI Z80.3-2015, 3.8.2.2.
[[nodiscard]] RYG ANSI_Z80_3_tau_signal(const Scan& trans);

/// Smallest stored value from 475 to 650 nm, the ends widened by epsilon; nothing is interpolated.
///
/// Source: ANSI Z80.3-2015, 4.10.2.3.
/// @throws std::domain_error  "colorimetry::ANSI_Z80_3_tau_spectral_min: no data in the range 475
///                            to 650", when no point lies there
[[nodiscard]] double ANSI_Z80_3_tau_spectral_min(const Scan& trans);

/// Solar blue-light transmittance: Es * B over 380 to 500 nm. Source: ISO 12311:2013, 7.4.
[[nodiscard]] double ISO12311_tau_sb(const Scan& trans);

}  // namespace vekanalysis::colorimetry
