#pragma once

#include <array>
#include <string>
#include <vector>

#include "../core/scan.hpp"
#include "models.hpp"

namespace vekanalysis {

/// Least-squares fit of a curve to the points of a scan, all with the same weight.
///
/// Uses `numerical::levenberg_marquardt`: a fit that ran reports true whether or not it converged,
/// so compare residuals where that matters.
struct Fit {
    Fit() = default;
    Fit(unsigned int iterations, double absolute, double relative)
        : max_iterations(iterations), abs_tolerance(absolute), rel_tolerance(relative) {}

    /// Fits the free parameters of `f`, from their present values, to a scan.
    ///
    /// @param measured, f  kept in the fields below, not owned
    /// @return false, with f as it was, when one of them is null, f has no free parameter, or the
    ///         scan has fewer points than f has free parameters
    bool fit(const Scan* measured, internal::BoundFunction1D<double>* f);

    unsigned int max_iterations = 500;
    double abs_tolerance = 1e-12;
    double rel_tolerance = 1e-12;
    const Scan* scan = nullptr;
    internal::BoundFunction1D<double>* function = nullptr;
};

/// The parameters of GratingEquation by name, in their order.
struct FitWavelengthParams {
    double d = 0.0;
    double omega_t = 0.0;
    double omega_m = 0.0;
    double cos_K = 0.0;
    double theta_z = 0.0;
    double alpha = 0.0;
    double a = 0.0;
    double phi = 0.0;

    bool operator==(const FitWavelengthParams&) const = default;
};

/// Which of them a fit may move.
struct FitWavelengthParamsFree {
    bool d = false;
    bool omega_t = false;
    bool omega_m = false;
    bool cos_K = false;
    bool theta_z = false;
    bool alpha = false;
    bool a = false;
    bool phi = false;

    bool operator==(const FitWavelengthParamsFree&) const = default;
};

/// How far a GratingEquation is from the wavelengths of a calibration, in their unit.
struct WavelengthResiduals {
    std::vector<double> values;  ///< equation minus stored wavelength, micro-steps ascending
    double rms = 0.0;            ///< root of the mean of their squares; 0.0 for no points
    double largest = 0.0;        ///< largest magnitude

    bool operator==(const WavelengthResiduals&) const = default;
};

/// "<FitWavelengthParams d=..., omega_t=..., ...>", each number with six decimals.
[[nodiscard]] std::string to_string(const FitWavelengthParams& params);
/// "<FitWavelengthParamsFree d=True, omega_t=False, ...>".
[[nodiscard]] std::string to_string(const FitWavelengthParamsFree& free);

namespace fitting {

/// Fits p[0] times Planck's law at temperature p[1] (K) to a spectral radiance over wavelengths in
/// metres.
///
/// The start is made from the scan, whatever `p` holds: the temperature by Wien's law from its
/// highest peak (its highest point where there is no peak or no interpolation), the factor from the
/// value there.
///
/// @param p  receives the parameters, also when the fit did not run; unchanged for an empty scan
/// @return false when the scan has fewer than two points
bool fit_black_body(const Scan& scan, std::array<double, 2>& p);

/// Fits the offset, amplitude and phase of a TurretEquation, from the start in `p`; the period p[3]
/// stays.
///
/// @return false, with `p` as it was, when the scan has fewer than three points
bool fit_turret(const Scan& scan, std::array<double, 4>& p);

/// Fits a GratingEquation to wavelengths over micro-steps, from the start in `p`.
///
/// d, omega_t and omega_m never move, and phi hardly does while a is small (see GratingEquation).
/// With three or more free parameters the fit ends once the root of the summed squared residuals is
/// 1e-9 or less: wavelengths in metres end it far too early, so fit them in nm.
///
/// @param free  indices of the free parameters, in any order; each once
/// @return false, with `p` as it was, when none is free or the scan has fewer points than are free
bool fit_wavelength(const Scan& scan, std::array<double, 8>& p,
                    const std::vector<unsigned int>& free);
/// The same by name.
bool fit_wavelength(const Scan& scan, FitWavelengthParams& params,
                    const FitWavelengthParamsFree& free);

/// The same from several phases, since a fit does not find one that is far off: the other free
/// parameters are fitted with the phase held at params.phi + pi i / phases, i = 0 .. phases - 1,
/// and the fit of all starts from the result with the smallest `rms`, the first of equal ones. Half
/// a turn is enough, as a negative amplitude stands for the other half.
///
/// @param phases  0 is a fit from the start as it is
/// @throws std::domain_error  as `wavelength_residuals`, with `params` as they were
bool fit_wavelength_from_phases(const Scan& scan, FitWavelengthParams& params,
                                const FitWavelengthParamsFree& free, unsigned int phases);

/// Residuals of wavelengths over micro-steps.
///
/// @throws std::domain_error  "fitting::wavelength_residuals: the grating equation has no value",
///                            where it is not finite: alpha is 0, say
[[nodiscard]] WavelengthResiduals wavelength_residuals(const Scan& scan,
                                                       const FitWavelengthParams& params);

/// Least-squares line scan_1 = k scan_2 + c over `utils::key_union` of both, each interpolated.
/// Without common wavelengths both are NaN; other degenerate sums give infinities or NaN.
///
/// @throws std::runtime_error  the spline's errors
void overlay_scan(const Scan& scan_1, const Scan& scan_2, double* k, double* c);

}  // namespace fitting

}  // namespace vekanalysis
