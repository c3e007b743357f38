#pragma once

/// Radiation of a black body, plain functions of numbers; none throws. SI units: T in K, wl in m
/// unless the name ends in _um or _nm. Constants: CODATA 2006.
///
/// With x = hc / (wl k T), the factor e^x - 1 is formed as written.
namespace vekanalysis {

/// Planck's law: spectral radiance 2hc^2 / (wl^5 (e^x - 1)) of a black body, W/(sr m^2)/m.
[[nodiscard]] double planks_law_sr(double T, double wl) noexcept;
/// The same with wl in um, W/(sr m^2)/um.
[[nodiscard]] double planks_law_sr_um(double T, double wl) noexcept;
/// The same with wl in nm, W/(sr m^2)/nm.
[[nodiscard]] double planks_law_sr_nm(double T, double wl) noexcept;

/// Derivative of `planks_law_sr` by T, W/(sr m^2)/m/K.
[[nodiscard]] double planks_law_sr_deriv_T(double T, double wl) noexcept;
/// Derivative of `planks_law_sr` by wl, W/(sr m^2)/m^2.
[[nodiscard]] double planks_law_sr_deriv_wl(double T, double wl) noexcept;

/// Wien's displacement law: temperature (K) of the black body whose spectral radiance per
/// wavelength peaks at wl (m), b / wl.
[[nodiscard]] double wiens_displacement_law_T(double wl) noexcept;
/// Wavelength (m) of that peak at T (K), b / T.
[[nodiscard]] double wiens_displacement_law_wl(double T) noexcept;

/// Stefan-Boltzmann law: radiant exitance sigma T^4 of a black body, W/m^2.
[[nodiscard]] double stefan_boltzmann_law(double T) noexcept;
/// Radiant flux (W) of a surface of area A (m^2) and emissivity epsilon (0..1, not checked).
[[nodiscard]] double stefan_boltzmann_law(double T, double A, double epsilon) noexcept;

}  // namespace vekanalysis
