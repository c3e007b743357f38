#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "../colorimetry/tristimulus.hpp"
#include "../core/scan.hpp"

namespace vekanalysis::lighting {

/// Luminous efficacy of radiation at the peak of V(lambda), lm/W. Source: CIE 18:2019.
inline constexpr double maximum_luminous_efficacy = 683.002;

/// The step (nm) in which a spectrum is best summed: 1 where its points between 380 and 780 nm are
/// clearly closer than 5 nm somewhere, else 5.
[[nodiscard]] int natural_step(std::span<const double> wavelengths) noexcept;

namespace internal {

/// A point of the CIE 1960 diagram.
struct UV {
    double u;
    double v;
};
[[nodiscard]] UV uv_of(const colorimetry::CIEXYZ& xyz) noexcept;
[[nodiscard]] double distance(const UV& a, const UV& b) noexcept;

inline constexpr double visible_from = 380.0;
inline constexpr double visible_to = 780.0;
inline constexpr std::size_t max_visible_points = 401;

/// 81 for a step of 5 nm, 401 for 1 nm.
///
/// @throws std::invalid_argument  "lighting: step must be 1 or 5"
[[nodiscard]] std::size_t visible_points(int step);

/// Sums of a spectrum times the colour-matching functions, without a constant, and its lowest
/// value, NaN apart.
struct VisibleSums {
    colorimetry::CIEXYZ xyz;
    double lowest;
};

/// Colour-matching functions at 380 nm, 380 nm + step, ..., 780 nm, shape (N) each. In steps of
/// 5 nm they are the tables of the observers printed so, in steps of 1 nm those printed so.
struct ColourMatching {
    std::array<std::array<double, max_visible_points>, 3> functions;
    std::size_t points;

    /// Summed in the order of `sum_in_lanes`, the same on every machine.
    ///
    /// @param values  shape (points)
    [[nodiscard]] VisibleSums sums(std::span<const double> values) const noexcept;

    /// The same of several lights.
    ///
    /// @param lights    the values of each; shape (N) times (points), N <= 4
    /// @param upcoming  lights of which sums are wanted next: their memory may arrive meanwhile
    /// @param results   shape (N)
    void sums(std::span<const double* const> lights, std::span<const double* const> upcoming,
              std::span<VisibleSums> results) const noexcept;

    [[nodiscard]] colorimetry::CIEXYZ operator()(std::span<const double> values) const noexcept {
        return sums(values).xyz;
    }
};

/// @param observer  1931 or 1964
/// @throws std::invalid_argument  "lighting: observer must be 1931 or 1964", or for the step
[[nodiscard]] const ColourMatching& colour_matching(int observer, int step);

/// Why a spectrum has no light quantities.
enum class Obstacle { NONE, DARK, TOO_LARGE, TOO_SMALL, NOISY };

/// What the points of a spectrum between 380 and 780 nm add to its tristimulus values by the
/// trapezoidal rule.
///
/// @param wavelengths  ascending
[[nodiscard]] std::array<double, 3> own_weight(std::span<const double> wavelengths, std::size_t i);

/// What each point between 380 and 780 nm stands for (nm): half the way to its neighbours there.
///
/// @param wavelengths  shape (N), ascending
/// @return shape (last - first) of `visible_range`
[[nodiscard]] std::vector<double> visible_widths(std::span<const double> wavelengths);

/// Whether a spectrum is below zero over most of the visible, as far as its points cover that.
///
/// @param widths  of `visible_widths`
/// @param values  those of the same points
[[nodiscard]] bool is_mostly_negative(std::span<const double> widths,
                                      std::span<const double> values) noexcept;

/// The same of a whole scan.
[[nodiscard]] bool is_mostly_negative(const Scan& scan);

/// What is said of such a spectrum.
inline constexpr const char* mostly_negative = "lighting: below zero over most of 380 to 780 nm";

/// How many nm the data may end before a grid point that still takes the value of the end.
inline constexpr double end_reach = 0.5;

/// Indices [first, last) of the wavelengths from 380 to 780 nm; ascending ones.
[[nodiscard]] std::pair<std::size_t, std::size_t> visible_range(
    std::span<const double> wavelengths) noexcept;

/// Whether points lie somewhere so much closer than a grid's that they may hold what it misses:
/// three of their steps within two of its own.
///
/// @param wavelengths  of `visible_range`
[[nodiscard]] bool is_finer(std::span<const double> wavelengths, int step) noexcept;

/// Whether data from `from` to `to` (nm) reach far enough.
[[nodiscard]] bool reaches(double from, double to) noexcept;

/// The widest gap (nm) between neighbouring points from 400 to 700 nm.
[[nodiscard]] double widest_gap(std::span<const double> wavelengths) noexcept;

/// Whether a gap is at most 20 nm, the widest that ASTM E308 has tables for: wider ones say too
/// little of a spectrum.
[[nodiscard]] bool is_close(double gap) noexcept;

/// Whether sums on a grid give another chromaticity than a spectrum's own points do.
[[nodiscard]] bool is_shifted(const colorimetry::CIEXYZ& on_grid,
                              const colorimetry::CIEXYZ& own) noexcept;

/// By how much sums on a grid miss the amount of light that a spectrum's own points give: the
/// largest difference in X, Y or Z in proportion to their sum.
[[nodiscard]] double amount_shift(const colorimetry::CIEXYZ& on_grid, int step,
                                  const colorimetry::CIEXYZ& own) noexcept;

/// Whether that is too much for an amount, though the chromaticity may be the same; true for NaN.
[[nodiscard]] bool is_amount_shifted(double shift) noexcept;

/// Judges values on a grid and their sums.
[[nodiscard]] Obstacle judge(std::span<const double> values, const VisibleSums& sums) noexcept;

/// A spectrum on the grid of a standard: its values at 380 nm, 380 nm + step, ..., 780 nm.
///
/// They are those of the scan's interpolant. The data must reach from 400 to 700 nm; beyond their
/// ends the values are 0.0, but within 0.5 nm of an end that of the end.
class VisibleSpectrum {
public:
    /// @throws std::invalid_argument  for the step; "lighting: ..." where the spectrum has no
    ///     points, does not reach far enough, has gaps above 20 nm from 400 to 700 nm, is not
    ///     finite, is below zero over most of the visible, has no light, or has structure so fine
    ///     that the sums in this step give another chromaticity than its own points do (0.001 in
    ///     CIE 1960 uv or more)
    /// @throws std::runtime_error     the errors of the interpolant
    VisibleSpectrum(const Scan& scan, int step);

    /// For amounts of light, which lines between the points of the grid change at once.
    ///
    /// @throws std::invalid_argument  "lighting: ..." where the spectrum has structure so fine that
    ///     sums in this step miss the amount of its own points by 0.01 or more of X + Y + Z
    void require_amounts() const;

    [[nodiscard]] int step() const noexcept { return step_; }
    [[nodiscard]] std::span<const double> values() const noexcept { return {values_.data(), n_}; }

private:
    void take_from(const Scan& scan);

    int step_;
    std::size_t n_;
    double amount_shift_ = 0.0;
    std::array<double, max_visible_points> values_;
};

}  // namespace internal

}  // namespace vekanalysis::lighting
