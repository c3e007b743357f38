#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "evaluate.hpp"

namespace vekanalysis::quantities {

/// Quantities of many spectra on one grid, prepared once.
///
/// Gives what the functions of the library give for each spectrum, to 1e-12 of the largest value:
/// where the interpolant's integral is a weighted sum of the values it takes the sum, elsewhere it
/// interpolates, and it decides that itself, for each spectrum where need be. Otherwise:
/// - a NaN gives NaN in all quantities that depend on it, the smallest value too;
/// - a quantity that has no data in its band, or whose function refuses the grid, is NaN; so is one
///   of visible light for a spectrum that is below zero over most of the visible.
/// What a spectrum gives depends neither on the spectra beside it nor on the machine.
///
/// Immutable: any number of threads may share one, but for `needs_functions`. Holds copies of what
/// it needs of the reference tables; `changed_table` says whether they are still the same.
class Evaluator {
public:
    /// A spectrum in memory: N values `step` bytes apart, float32 or float64.
    struct Row {
        const std::byte* values;
        std::ptrdiff_t step;
        bool is_single;

        [[nodiscard]] static Row of(std::span<const double> values) noexcept {
            return {reinterpret_cast<const std::byte*>(values.data()), sizeof(double), false};
        }
    };
    /// Where the results of a spectrum go: one a quantity, `step` bytes apart, float64.
    struct Results {
        std::byte* values;
        std::ptrdiff_t step;

        [[nodiscard]] static Results of(std::span<double> values) noexcept {
            return {reinterpret_cast<std::byte*>(values.data()), sizeof(double)};
        }
    };

    /// @param wavelengths    shape (N), nm, ascending by more than epsilon
    /// @param epsilon, type  of the scans that the spectra would be
    /// @param white          spectrum of the white point, of light sources only
    /// @throws std::invalid_argument  "Evaluator: wavelengths must be finite and ascend by more
    ///                                than epsilon", or as Scan for epsilon
    Evaluator(std::span<const double> wavelengths, std::span<const Quantity> quantities,
              double epsilon, spline::Type type, const Scan& white);
    Evaluator(Evaluator&& other) noexcept;
    Evaluator(const Evaluator&) = delete;
    Evaluator& operator=(Evaluator&&) = delete;
    Evaluator& operator=(const Evaluator&) = delete;
    ~Evaluator();

    [[nodiscard]] std::span<const double> wavelengths() const noexcept;
    [[nodiscard]] std::span<const Quantity> quantities() const noexcept;
    [[nodiscard]] double epsilon() const noexcept;
    [[nodiscard]] spline::Type interpolation() const noexcept;

    /// For each quantity what the grid covers of it, and what a clear lens gives; `problem` where
    /// it is refused for every spectrum.
    [[nodiscard]] std::span<const Value> coverage() const noexcept;

    /// Whether a quantity is linear in the values. Spectra with a kink between exactly straight
    /// runs, at which an Akima interpolant changes its rule, are apart.
    [[nodiscard]] bool is_linear(std::size_t quantity) const noexcept;

    /// Whether a quantity is had from its function alone, which reads the reference tables, so that
    /// nobody may change these meanwhile.
    [[nodiscard]] bool needs_functions() const noexcept;

    /// Name of a reference table that has been changed since this was prepared; null if none has.
    [[nodiscard]] const char* changed_table() const;

    /// The quantities of spectra; uses memory for eight of them at a time.
    ///
    /// @param rows, results  shape (M) each; they must not overlap
    void evaluate(std::span<const Row> rows, std::span<const Results> results) const;

    /// The same for arrays in C order, shapes (M, N) and (M, Q).
    void evaluate(std::span<const double> values, std::span<double> results) const;

    /// Change of each quantity with each value of a spectrum.
    ///
    /// Exact for sums and what is computed of them; by differences where a quantity follows from an
    /// interpolant that is not linear, or from its function alone.
    /// @param values         shape (N); may be empty when all quantities are linear
    /// @param sensitivities  shape (Q, N), receives the results; NaN for refused quantities
    /// @throws std::invalid_argument  "Evaluator::sensitivities: '...' is not linear on this grid;
    ///                                the values of a spectrum are needed"
    void sensitivities(std::span<const double> values, std::span<double> sensitivities) const;

private:
    struct Plan;
    std::unique_ptr<const Plan> plan_;
};

}  // namespace vekanalysis::quantities
