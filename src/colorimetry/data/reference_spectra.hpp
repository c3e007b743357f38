#pragma once

#include <array>

#include "core/scan.hpp"

/// The reference spectra: one function a table, wavelengths in nm.
///
/// Each scan is built on the first call, with its spline ready (epsilon 1e-20, AKIMA), and lives to
/// the end of the process; every call returns the same object. Building is thread-safe and so is
/// reading from several threads. What is known and doubted about a table stands in its own file.
///
/// Tables marked as a reconstruction are not the printed figures of their standard: they keep what
/// is certain (grid, peak or sum, end entries) and estimate the rest. Not for conformity decisions.
namespace vekanalysis::colorimetry::data {

/// Extraterrestrial (AM0) solar spectral irradiance, W m-2 nm-1. 119.5 to 1000000 nm, uneven steps,
/// 1697 points. Source: ASTM E490-00a, Table 3.
[[nodiscard]] const Scan& AM0_ASTM_E490();

/// AM1.5 direct and circumsolar spectral irradiance, W m-2 nm-1. 280 to 4000 nm, uneven steps, 2002
/// points. Source: ASTM G173-03.
[[nodiscard]] const Scan& AM15D_ASTM_G17303();

/// AM1.5 global tilted spectral irradiance, W m-2 nm-1. 280 to 4000 nm, uneven steps, 2002 points.
/// Source: ASTM G173-03.
[[nodiscard]] const Scan& AM15G_ASTM_G17303();

/// Transmittance of the green traffic-signal lens, fraction 0..1. 380 to 780 nm, step 10 nm, 41
/// points. Source: reconstruction after ANSI Z80.3-2015.
[[nodiscard]] const Scan& ANSI_Z80_3_2015_green_signal_transmittance();

/// Transmittance of the red traffic-signal lens, fraction 0..1. 590 to 780 nm, step 10 nm, 20
/// points. Source: reconstruction after ANSI Z80.3-2015.
[[nodiscard]] const Scan& ANSI_Z80_3_2015_red_signal_transmittance();

/// Transmittance of the yellow traffic-signal lens, fraction 0..1. 500 to 780 nm, step 10 nm, 29
/// points. Source: reconstruction after ANSI Z80.3-2015.
[[nodiscard]] const Scan& ANSI_Z80_3_2015_yellow_signal_transmittance();

/// Blue incandescent signal light times V(lambda), relative; the values sum to 100. 395 to 765 nm,
/// step 5 nm, 75 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_incandescent_blue();

/// Green incandescent signal light times V(lambda), relative; the values sum to 100. 430 to 750 nm,
/// step 5 nm, 65 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_incandescent_green();

/// Red incandescent signal light times V(lambda), relative; the values sum to 100. 495 to 765 nm,
/// step 5 nm, 55 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_incandescent_red();

/// Yellow incandescent signal light times V(lambda), relative; the values sum to 100. 470 to 740
/// nm, step 5 nm, 55 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_incandescent_yellow();

/// Blue LED signal light times V(lambda), relative; the values sum to 100. 420 to 670 nm, step 5
/// nm, 51 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_led_blue();

/// Green LED signal light times V(lambda), relative; the values sum to 100. 435 to 640 nm, step 5
/// nm, 42 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_led_green();

/// Red LED signal light times V(lambda), relative; the values sum to 100. 550 to 685 nm, step 5 nm,
/// 28 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_led_red();

/// Yellow LED signal light times V(lambda), relative; the values sum to 100. 515 to 640 nm, step 5
/// nm, 26 points. Source: reconstruction after ISO 8980-3:2013, 3.5.
[[nodiscard]] const Scan& ISO8980_3_led_yellow();

/// Aphakic photochemical retinal hazard function A(lambda). 300 to 700 nm, step 5 nm, 81 points.
/// Source: ICNIRP 2013, Table 2.
[[nodiscard]] const Scan& aphake_hazard();

/// Blue-light hazard function B(lambda), cut at 500 nm on purpose. 380 to 500 nm, step 5 nm, 25
/// points. Source: ISO 8980-3, Table B.1.
[[nodiscard]] const Scan& blue_light_hazard();

/// CIE 1931 2 degree observer, colour-matching function x(lambda). 380 to 780 nm, step 5 nm, 81
/// points. Source: CIE 15:2004, Table T.4.
[[nodiscard]] const Scan& cie_1931_standard_observer_x();

/// CIE 1931 2 degree observer, colour-matching function y(lambda). 380 to 780 nm, step 5 nm, 81
/// points. Source: CIE 15:2004, Table T.4.
[[nodiscard]] const Scan& cie_1931_standard_observer_y();

/// CIE 1931 2 degree observer, colour-matching function z(lambda). Cut on purpose at 650 nm. 380 to
/// 650 nm, step 5 nm, 55 points. Source: CIE 15:2004, Table T.4.
[[nodiscard]] const Scan& cie_1931_standard_observer_z();

/// CIE 1964 10 degree observer, colour-matching function x(lambda). 380 to 780 nm, step 5 nm, 81
/// points. Source: CIE 15:2004, Table T.5.
[[nodiscard]] const Scan& cie_1964_standard_observer_x();

/// CIE 1964 10 degree observer, colour-matching function y(lambda). 380 to 780 nm, step 5 nm, 81
/// points. Source: CIE 15:2004, Table T.5.
[[nodiscard]] const Scan& cie_1964_standard_observer_y();

/// CIE 1964 10 degree observer, colour-matching function z(lambda). Cut on purpose at 560 nm. 380
/// to 560 nm, step 5 nm, 37 points. Source: CIE 15:2004, Table T.5.
[[nodiscard]] const Scan& cie_1964_standard_observer_z();

/// CIE standard illuminant A, relative spectral power, 100 at 560 nm. 300 to 780 nm, step 5 nm, 97
/// points. Source: CIE 15:2004, Table T.1.
[[nodiscard]] const Scan& cie_illuminant_a();

/// CIE illuminant C, relative spectral power. Deliberate: 1 at 560 nm, not 100. 380 to 780 nm, step
/// 10 nm, 41 points. Source: CIE 15:2004, Table T.1, divided by 105.30.
[[nodiscard]] const Scan& cie_illuminant_c();

/// CIE standard illuminant D65, relative spectral power, 100 at 560 nm. 300 to 830 nm, step 5 nm,
/// 107 points. Source: CIE 15:2004, Table T.1.
[[nodiscard]] const Scan& cie_illuminant_d65();

/// Ultraviolet hazard weighting S(lambda). 280 to 400 nm, step 5 nm, 25 points. Source: ICNIRP,
/// Health Phys. 87 (2004) 171-186.
[[nodiscard]] const Scan& relative_spectral_effectiveness();

/// Solar spectral irradiance Es(lambda) at sea level, air mass 2, mW m-2 nm-1. 290 to 500 nm, step
/// 5 nm, 43 points. Source: ISO 8980-3, Table B.1.
[[nodiscard]] const Scan& solar_spectral_irradiance();

/// All tables in the order above.
[[nodiscard]] const std::array<const Scan*, 27>& dataset();

}  // namespace vekanalysis::colorimetry::data
