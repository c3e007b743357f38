#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "../core/scan.hpp"
#include "shifted_spectrum.hpp"

namespace vekanalysis::uncertainty {

/// Distribution of an error of which only the standard uncertainty is left to say.
enum class Distribution : std::uint32_t {
    NORMAL = 0,
    T = 1,
    RECTANGULAR = 2,
    TRIANGULAR = 3,
    ARCSINE = 4,
};

/// Distribution of the numbers of a component, all for a standard uncertainty of 1.
///
/// T has the scale 1 and not the standard deviation 1 (JCGM 101:2008, 6.4.9): a normal number times
/// sqrt(dof / chi-square of dof). Several numbers of one component share the chi-square, since it
/// stands for the one estimate that their size comes from: each then has a t distribution, and so
/// has any sum of them. `dof` is above 0 and plays no part in the other distributions.
struct Law {
    Distribution distribution = Distribution::NORMAL;
    double dof = 0.0;
};

/// What the errors of a measurement may have done to a spectrum, to draw from.
///
/// One draw is the spectrum plus the errors of all components, those of the wavelengths first:
/// their shifts add up, and the spectrum is read at the shifted wavelengths. Components are
/// independent of each other. Built by the `add` functions in one thread; any number of threads may
/// draw from it afterwards.
///
/// Sizes and effects belong to the points of the scan: shape (size()), finite.
/// Source: JCGM 101:2008, 6.4 (distributions).
/// Every `add` throws std::invalid_argument with "uncertainty::ErrorModel: wrong number of points",
/// "uncertainty::ErrorModel: not a finite number" or "uncertainty::ErrorModel: degrees of freedom
/// must be above 0" (of a t distribution) and adds nothing then.
class ErrorModel {
public:
    explicit ErrorModel(const Scan& scan);

    [[nodiscard]] std::size_t size() const noexcept { return values_.size(); }

    /// How many numbers a draw holds beside the spectrum.
    [[nodiscard]] std::size_t figures() const noexcept { return figures_; }

    /// Adds the sum over j of number j times effects[j]: one error of the whole spectrum (a single
    /// effect), or errors with a partial correlation (scaled eigenvectors of the covariance).
    ///
    /// @param effects  shape (m, size()), row after row
    void add_effects(std::span<const double> effects, Law law);

    /// Adds a number of its own times sizes[i] at each point i.
    void add_independent(std::span<const double> sizes, Law law);

    /// Adds errors of these sizes whose correlation falls off along the points: that of points i
    /// and j is the product of correlations[i] to correlations[j - 1].
    ///
    /// A first-order autoregressive process; exp(-distance / length) is of this kind on any grid.
    /// For normal and t distributions; sums of other numbers do not have their distribution.
    /// @param correlations  shape (size() - 1), 0 to 1
    /// @throws std::invalid_argument  "uncertainty::ErrorModel: no correlation between 0 and 1",
    /// too
    void add_chain(std::span<const double> sizes, std::span<const double> correlations, Law law);

    /// Shifts all wavelengths by one number times shifts[i], nm.
    ///
    /// @throws std::runtime_error  what ShiftedSpectrum throws, too
    void add_shift(std::span<const double> shifts, Law law);

    /// Shifts each wavelength by a number of its own times shifts[i], nm.
    ///
    /// @throws std::runtime_error  what ShiftedSpectrum throws, too
    void add_jitter(std::span<const double> shifts, Law law);

    /// Leaves the spectrum alone: the number is one of the figures of the draw, for what is only
    /// known to act on a result.
    void add_figure(Law law);

    class Draws;

private:
    enum class Effect : std::uint8_t { EFFECTS, INDEPENDENT, CHAIN, SHIFT, JITTER, FIGURE };

    struct Component {
        Effect effect;
        Law law;
        std::vector<double> sizes;
        std::vector<double> correlations;
    };

    void add(Component component, std::size_t rows);
    void ensure_shifts();

    Scan scan_;
    std::vector<double> values_;
    std::optional<ShiftedSpectrum> shifted_;
    std::vector<Component> components_;
    std::size_t figures_ = 0;
};

/// Draws from an error model, one after the other.
///
/// The numbers come from the Mersenne twister mt19937_64 started with std::seed_seq of the lower
/// and upper half of the seed and of the block; normal ones by the ziggurat of Boost.Random. Equal
/// seed and block give equal draws, in however many calls. The model must outlive this.
class ErrorModel::Draws {
public:
    Draws(const ErrorModel& model, std::uint64_t seed, std::uint32_t block);
    ~Draws();
    Draws(Draws&& other) noexcept;
    Draws& operator=(Draws&& other) noexcept;
    Draws(const Draws&) = delete;
    Draws& operator=(const Draws&) = delete;

    /// The next `count` draws.
    ///
    /// @param spectra  shape (count, size())
    /// @param figures  shape (count, figures())
    void operator()(std::size_t count, std::span<double> spectra, std::span<double> figures);

private:
    class Generator;

    void draw(std::span<double> spectrum, std::span<double> figures);
    void draw_shifts(std::span<double> spectrum);
    template <class Next>
    void add(const Component& component, const Next& next, std::span<double> spectrum);

    const ErrorModel* model_;
    std::unique_ptr<Generator> generator_;
};

}  // namespace vekanalysis::uncertainty
