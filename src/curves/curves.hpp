#pragma once

#include "../core/scan.hpp"

/// Synthetic spectra on the grid min_wl + i * step_wl (one fused multiply-add each) up to max_wl,
/// which is a point only where the grid meets it. All arguments in nm; epsilon 1e-20, AKIMA.
///
/// Each function checks its arguments in this order and throws std::invalid_argument:
///   "min_wl >= max_wl"
///   "step_wl > (max_wl - min_wl)"
///   "step_wl <= 0"
///   "curves: min_wl, max_wl and step_wl must be finite"
///   "curves: more than 100000000 points"
///   "curves: step_wl too small to advance", where neighbouring wavelengths would be equal
namespace vekanalysis::curves {

/// Edge of a long-pass filter, a logistic curve: 0.5 at center_wl, from 5 % to 95 % over bandwidth.
///
/// 1 / (e^(-2 ln 19 (wl - center_wl) / bandwidth) + 1), 2 ln 19 cut to eleven decimals.
[[nodiscard]] Scan longpass_filter(double center_wl, double bandwidth, double min_wl, double max_wl,
                                   double step_wl);

/// Edge of a short-pass filter: 1 - `longpass_filter` of the same arguments.
[[nodiscard]] Scan shortpass_filter(double center_wl, double bandwidth, double min_wl,
                                    double max_wl, double step_wl);

/// Log-normal band of height 1 at its mode peak_wl, skewed towards longer wavelengths.
///
/// s^2 = ln(h^2 / (2 ln 2) + 1) with h = fwhm / (2 peak_wl), mu = s^2 + ln peak_wl; the density of
/// the log-normal distribution divided by that at peak_wl. The full width at half maximum is fwhm
/// approximately, for fwhm well below peak_wl. Wavelengths <= 0 of the grid get NaN values.
/// @throws std::invalid_argument  before the checks above: "peak_wl <= 0 || fwhm <= 0"
[[nodiscard]] Scan lognormal(double peak_wl, double fwhm, double min_wl, double max_wl,
                             double step_wl);

}  // namespace vekanalysis::curves
