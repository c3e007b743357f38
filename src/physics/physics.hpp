#pragma once

#include <span>

/// Radiation of a black body, plain functions of numbers; none throws. SI units: T in K, wl in m
/// unless the name ends in _um or _nm. Source of the formulas and constants: CODATA 2006 (P. Mohr
/// et al., Rev. Mod. Phys. 80 (2008) 633), Wien's constant CODATA 2010.
///
/// With x = hc / (wl k T), e^x - 1 is formed as written. Against 60-digit arithmetic, over T from 1
/// to 1e5 K and wl from 1 nm to 1 mm:
///   x < 0.1      e^x - 1 loses digits: relative error up to 1.1e-16 / x, 8e-13 in the corner at
///                1e5 K and 1 mm, twice that for deriv_T; below x = 1.1e-16 the results are
///                infinite
///   0.1 to 709   up to 2.2e-13, in proportion to x above 10; deriv_wl passes 0 at the peak, where
///                its error is small against its two terms only (7e-16)
///   x > 354.9    (e^x - 1)^2 overflows: both derivatives are 0
///   x > 709.8    e^x overflows: the radiance is 0, both derivatives are NaN
namespace vekanalysis {

/// Planck's law: spectral radiance 2hc^2 / (wl^5 (e^x - 1)) of a black body, W/(sr m^2)/m.
[[nodiscard]] double planks_law_sr(double T, double wl) noexcept;
/// The same with wl in um, W/(sr m^2)/um.
[[nodiscard]] double planks_law_sr_um(double T, double wl) noexcept;
/// The same with wl in nm, W/(sr m^2)/nm.
[[nodiscard]] double planks_law_sr_nm(double T, double wl) noexcept;

/// The same at an array of wavelengths, shapes (N) and (N).
///
/// The fifth power is formed by multiplication, four times as fast as std::pow: a value can differ
/// from that of the scalar function by 1e-15 of itself.
void planks_law_sr(double T, std::span<const double> wl, std::span<double> radiance) noexcept;
void planks_law_sr_um(double T, std::span<const double> wl, std::span<double> radiance) noexcept;
void planks_law_sr_nm(double T, std::span<const double> wl, std::span<double> radiance) noexcept;

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
