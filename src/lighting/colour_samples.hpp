#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "daylight.hpp"
#include "visible_spectrum.hpp"

namespace vekanalysis::lighting::internal {

inline constexpr std::size_t printed_points = 81;

/// Tristimulus values of surfaces under one light, Y = 100 for the light itself.
template <std::size_t n>
struct Colours {
    colorimetry::CIEXYZ light;
    std::array<double, n> X;
    std::array<double, n> Y;
    std::array<double, n> Z;
};

/// Surfaces of which the radiance factors are printed every 5 nm from 380 to 780 nm.
///
/// Sums in steps of 1 nm take the factors between by the fifth-order interpolation of Sprague with
/// the first and last values repeated. Since that is linear, the light times the colour-matching
/// functions is carried to the 5 nm instead, once for all samples.
/// Sources: CIE 224:2017, whose 1 nm table is that interpolation; T. Sprague, J. Inst. Actuaries 22
/// (1880) 270; CIE 167:2005.
template <std::size_t n>
class ColourSamples {
public:
    /// @param factors   shape (81, n), row after row
    /// @param observer  1931 or 1964
    ColourSamples(std::span<const double> factors, int observer, int step);

    /// Colours under a light.
    ///
    /// @param light  values on the grid of `step`
    void under(std::span<const double> light, Colours<n>* colours) const noexcept;

    /// Colours under the phase of daylight of the formula's T, from those under its components.
    ///
    /// @param count  how many of the samples, from the first on, are wanted; others may stay unset
    void under_daylight(double T, Colours<n>* colours, std::size_t count = n) const noexcept;

private:
    void sums(std::span<const double> light, Colours<n>* colours) const noexcept;

    std::span<const double> factors_;
    const ColourMatching& matching_;
    std::array<Colours<n>, 3> under_components_{};
};

using RenderingSamples = ColourSamples<15>;
using EvaluationSamples = ColourSamples<99>;

/// The samples of CIE 13.3, for the 1931 observer.
[[nodiscard]] const RenderingSamples& rendering_samples(int step);

/// The samples of CIE 224, for the 1964 observer.
[[nodiscard]] const EvaluationSamples& evaluation_samples(int step);

/// A radiance factor `i` nm beyond 380 nm from those printed every 5 nm, by the interpolation that
/// `ColourSamples` names.
///
/// @param printed  the first of them; others follow every `stride`
[[nodiscard]] double factor_between(const double* printed, std::size_t stride,
                                    std::size_t i) noexcept;

/// Values of the Planckian radiator of temperature T on the grid of `step`, relative.
///
/// @param values  shape (81) or (401), receives them
void planckian_on_grid(double T, int step, std::span<double> values) noexcept;

}  // namespace vekanalysis::lighting::internal
