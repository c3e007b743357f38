#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "quantities/kernels.hpp"

namespace vekanalysis::quantities::internal {

/// By how much values change for a derivative by differences, by the largest magnitude.
[[nodiscard]] double change_for(double largest) noexcept;
[[nodiscard]] double change_for(std::span<const double> values) noexcept;

/// Integrals of products of a spectrum on one grid, planned once; immutable.
class Integrator {
public:
    Integrator(std::span<const double> wavelengths, double epsilon, spline::Type type);

    /// @return its index, the same for equal integrals; nothing when it needs a polynomial
    [[nodiscard]] std::optional<std::size_t> add(const Integral& integral);

    /// Chooses a way for each integral; to be called after the last `add`.
    void finish();

    [[nodiscard]] std::size_t size() const noexcept { return planned_.size(); }

    /// Whether an integral is linear in the values, ties of slopes apart.
    [[nodiscard]] bool is_linear(std::size_t integral) const noexcept;

    /// Memory for four spectra at a time.
    struct Workspace {
        std::vector<Four> spectrum;             // (N)
        Four largest;                           // magnitude of each spectrum
        std::vector<std::vector<Four>> values;  // of each product
        std::vector<std::vector<Four>> pieces;  // b, c, d one after another
        std::vector<char> has_values;
        std::vector<Four> sums;        // of the even sums
        std::vector<LaneMask> unsure;  // lanes in which they do not hold
        std::vector<Four> integrals;   // results
    };
    [[nodiscard]] Workspace make_workspace() const;

    /// Fills `integrals` from `spectrum` and `largest`, and has `upcoming` fetched.
    ///
    /// @param workspaces  at most `most_tasks`; two take less time than one twice
    void integrate(std::span<Workspace> workspaces, const Upcoming& upcoming) const;

    /// Derivative of an integral with respect to each value of a spectrum.
    ///
    /// Exact where the integral is a sum, else by central differences over the points that matter;
    /// of an even sum only its slopes are such.
    /// @param values     shape (N); empty only where the integral is a sum
    /// @param gradient   shape (N), receives the result
    /// @param workspace  with these values in all lanes, where they stay, and their integrals
    void differentiate(std::size_t integral, std::span<const double> values,
                       std::span<double> gradient, Workspace& workspace) const;

private:
    enum class Way { ZERO, SUM, EVEN, GENERAL };
    struct Plan {
        PlannedIntegral integral;
        Way way = Way::GENERAL;
        std::size_t index = 0;  // of the sum
    };

    [[nodiscard]] const Product& product_of(const PlannedIntegral& integral) const {
        return products_.all()[integral.product];
    }
    /// Points of a grid, from the first to behind the last.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };

    [[nodiscard]] std::vector<std::size_t> chain_to(std::size_t product) const;
    [[nodiscard]] Range range_of(const PlannedIntegral& integral) const;
    [[nodiscard]] bool is_piecewise_linear(const PlannedIntegral& integral) const;
    [[nodiscard]] WeightedSum weighted_sum(const PlannedIntegral& integral) const;
    [[nodiscard]] std::size_t keep(EvenSum sum);
    void choose_way(Plan& plan);
    [[nodiscard]] static bool add_slopes(const EvenSum& sum, double change,
                                         std::span<double> gradient, Workspace& workspace);
    void differentiate_generally(const PlannedIntegral& planned, std::span<const double> values,
                                 double change, std::span<double> gradient,
                                 Workspace& workspace) const;
    [[nodiscard]] std::span<const Four> values_of(std::size_t index, Workspace& workspace) const;
    void general(const PlannedIntegral& integral, Workspace& workspace, Four& result) const;
    void take_integrals(Workspace& workspace) const;

    std::size_t size_;
    Products products_;
    std::vector<Plan> planned_;
    std::vector<WeightedSum> sums_;
    std::vector<EvenSum> even_sums_;
};

}  // namespace vekanalysis::quantities::internal
