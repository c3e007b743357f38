#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "../core/spline.hpp"
#include "../numerical/spline.hpp"
#include "visible_spectrum.hpp"

namespace vekanalysis::lighting {

namespace internal {

/// How spectra on one grid of wavelengths come to the grid of a standard, by the rules of
/// `VisibleSpectrum`.
class VisibleGrid {
public:
    /// @param wavelengths  shape (N), strictly ascending beyond epsilon
    VisibleGrid(std::span<const double> wavelengths, int step, spline::Type type, double epsilon);

    /// How many values of a spectrum come before those on the grid, where these are a part of it.
    [[nodiscard]] std::optional<std::size_t> run() const noexcept {
        if (!is_possible_ || !is_run_) return {};
        return static_cast<std::size_t>(source_[0]);
    }

    /// Values on the grid.
    ///
    /// @param values   shape (N)
    /// @param scratch  for the interpolant, where one is needed
    /// @param memory   shape (401), for the values where they are not a part of `values`
    /// @return shape (81) or (401); empty where a spectrum has none
    [[nodiscard]] std::span<const double> sample(std::span<const double> values,
                                                 numerical::Spline* scratch,
                                                 std::span<double> memory) const;

    /// Whether `VisibleSpectrum` takes a spectrum.
    ///
    /// @param values  shape (N)
    /// @param grid    its values on the grid
    /// @param sums    theirs
    /// @param has_amounts  receives whether it takes it for amounts of light, too
    [[nodiscard]] bool accepts(std::span<const double> values, std::span<const double> grid,
                               const VisibleSums& sums, bool* has_amounts) const;

    [[nodiscard]] int step() const noexcept { return step_; }

private:
    void fill(std::span<const double> values, const numerical::Spline& interpolant,
              std::span<double> grid) const noexcept;

    // What a grid point takes: a stored value, 0.0, or the interpolant's.
    static constexpr std::int32_t zero = -1;
    static constexpr std::int32_t between = -2;

    int step_;
    std::size_t n_;
    std::vector<double> wavelengths_;
    numerical::InterpolationType type_;
    bool is_possible_;
    bool needs_interpolant_ = false;
    bool is_run_ = false;     // whether it takes stored values that lie side by side
    bool takes_all_ = false;  // whether it takes every stored value of the visible
    std::vector<double> zeros_;
    std::vector<double> widths_;  // of `visible_widths`
    std::size_t first_;
    std::size_t last_;
    std::array<std::int32_t, max_visible_points> source_{};
    std::array<std::vector<double>, 3> own_weights_;  // empty where no structure can be missed
};

}  // namespace internal

/// Light quantities of many spectra on one grid of wavelengths, spectrum by spectrum.
///
/// The keys are those of the functions' results, "correlated_colour_temperature.cct" or
/// "alpha_opic.melanopic.edi". Results are those of the functions, to 1e-12 (of indices, relative
/// to 100); NaN where they refuse the spectrum. Temperature, chromaticity and rendering are summed
/// in the `natural_step` of the grid, fidelity and what CIE S 026 and S/P are in 1 nm.
///
/// Nothing is written after construction: any number of threads may share one, each with a scratch
/// of its own.
class SourceEvaluator {
public:
    /// How many spectra are taken at once.
    static constexpr std::size_t group = 4;

    /// Memory that is used again from spectrum to spectrum.
    struct Scratch {
        numerical::Spline spline;
        std::array<std::array<double, internal::max_visible_points>, group> grids;
        /// Spectra that are evaluated next: their memory may arrive meanwhile.
        std::span<const double* const> upcoming{};
    };

    /// @param wavelengths  shape (N), nm, ascending
    /// @param keys         shape (Q), of `keys()`
    /// @throws std::invalid_argument
    ///     "lighting::SourceEvaluator: wavelengths must ascend and be finite" or
    ///     "lighting::SourceEvaluator: no quantity ..."
    SourceEvaluator(std::span<const double> wavelengths, std::span<const std::string> keys,
                    spline::Type type = spline::Type::AKIMA, double epsilon = 1e-20);

    /// Every key that there is.
    [[nodiscard]] static const std::vector<std::string>& keys();

    /// What a spectrum gives does not depend on those beside it.
    ///
    /// @param spectra  the first of the N values of each of up to `group` spectra
    /// @param results  shape (spectra, Q), receives the quantities in the order of the keys
    void operator()(std::span<const double* const> spectra, std::span<double> results,
                    Scratch* scratch) const;

    /// The same of one spectrum.
    ///
    /// @param values   shape (N)
    /// @param results  shape (Q)
    void operator()(std::span<const double> values, std::span<double> results,
                    Scratch* scratch) const;

private:
    /// A number among the results of one function.
    struct Item {
        std::size_t function;
        std::size_t field;
        std::size_t result;
    };
    struct Lights;
    void find_lights(const internal::VisibleGrid& grid, std::span<const double* const> spectra,
                     Lights* lights, Scratch* scratch) const;
    void evaluate(const internal::VisibleGrid& grid, std::span<const Item> items,
                  std::span<const double* const> spectra, std::span<double> results,
                  Scratch* scratch) const;

    std::size_t points_;
    std::size_t key_count_;
    std::size_t rendering_samples_ = 8;
    std::vector<Item> in_natural_step_;
    std::vector<Item> in_1_nm_;
    internal::VisibleGrid natural_;
    internal::VisibleGrid fine_;
};

}  // namespace vekanalysis::lighting
