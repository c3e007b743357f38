#include "physics/physics.hpp"

#include <cmath>
#include <cstddef>

#include "numerical/fused.hpp"

namespace vekanalysis {

namespace {

// SI units; hc and the two products are those of the CODATA 2006 values.
constexpr double k = 1.3806504e-23;                    // Boltzmann constant
constexpr double hc = 1.9864455003959036e-25;          // Planck constant times speed of light
constexpr double two_hc2 = 1.1910427584934558e-16;     // first radiation constant of radiance
constexpr double two_h2c3 = 2.36594152838845e-41;      // two_hc2 times hc
constexpr double minus_5k = -6.903252e-23;             // -5 k
constexpr double wien = 0.0028977721;                  // Wien's displacement constant
constexpr double stefan_boltzmann = 5.67040047374e-8;  // Stefan-Boltzmann constant

double radiance_at(double T, double wl, double wl_to_the_5th) noexcept {
    return two_hc2 / (wl_to_the_5th * (std::exp(hc / (wl * k * T)) - 1.0));
}

/// Spectral radiance per `unit` (m) at wavelengths in that unit.
void radiances_at(double T, std::span<const double> wl, double unit,
                  std::span<double> radiance) noexcept {
    for (std::size_t i = 0; i < wl.size(); ++i) {
        const double metres = wl[i] * unit;
        const double squared = metres * metres;
        radiance[i] = radiance_at(T, metres, squared * squared * metres) * unit;
    }
}

}  // namespace

double planks_law_sr(double T, double wl) noexcept {
    return radiance_at(T, wl, std::pow(wl, 5.0));
}

double planks_law_sr_um(double T, double wl) noexcept {
    return planks_law_sr(T, wl * 1e-6) * 1e-6;
}

double planks_law_sr_nm(double T, double wl) noexcept {
    return planks_law_sr(T, wl * 1e-9) * 1e-9;
}

void planks_law_sr(double T, std::span<const double> wl, std::span<double> radiance) noexcept {
    radiances_at(T, wl, 1.0, radiance);
}

void planks_law_sr_um(double T, std::span<const double> wl, std::span<double> radiance) noexcept {
    radiances_at(T, wl, 1e-6, radiance);
}

void planks_law_sr_nm(double T, std::span<const double> wl, std::span<double> radiance) noexcept {
    radiances_at(T, wl, 1e-9, radiance);
}

double planks_law_sr_deriv_T(double T, double wl) noexcept {
    const double ex = std::exp(hc / (wl * k * T));
    const double em1 = ex - 1.0;
    return ex * two_h2c3 / (T * T * (std::pow(wl, 6.0) * k) * (em1 * em1));
}

double planks_law_sr_deriv_wl(double T, double wl) noexcept {
    const double ex = std::exp(hc / (wl * k * T));
    const double em1 = ex - 1.0;
    return numerical::fused(ex, hc, wl * minus_5k * T * em1) * two_hc2 /
           (std::pow(wl, 7.0) * k * T * (em1 * em1));
}

double wiens_displacement_law_T(double wl) noexcept {
    return wien / wl;
}

double wiens_displacement_law_wl(double T) noexcept {
    return wien / T;
}

double stefan_boltzmann_law(double T) noexcept {
    return std::pow(T, 4.0) * stefan_boltzmann;
}

double stefan_boltzmann_law(double T, double A, double epsilon) noexcept {
    return std::pow(T, 4.0) * stefan_boltzmann * (A * epsilon);
}

}  // namespace vekanalysis
