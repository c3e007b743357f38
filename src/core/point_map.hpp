#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "float_comparator.hpp"

namespace vekanalysis {

/// The points of a Scan: an ordered map from wavelength to value in two parallel arrays, keyed
/// under a FloatComparator. `Scan::data` gives it; a Scan made of one takes it over.
///
/// Invariant: the keys hold no NaN and ascend strictly under the comparator
/// (key[i] + epsilon < key[i + 1]); the two arrays have one length. Lookups are binary searches,
/// appending is amortised O(1), inserting elsewhere moves the points behind the place.
///
/// A NaN wavelength equals no key: lookups miss it and inserting it throws. Infinite wavelengths
/// are ordinary keys at either end.
class PointMap {
public:
    /// @throws std::invalid_argument  "Scan: epsilon must not be negative or NaN"
    explicit PointMap(double epsilon);

    /// Takes over keys that already hold the invariant, which is not checked.
    static PointMap adopt(std::vector<double> keys, std::vector<double> values, double epsilon);

    /// The map that inserting the points one by one in their order would give: the first of
    /// equivalent keys stays, the last value wins. O(n) for ascending or descending input,
    /// O(n log n) otherwise.
    ///
    /// @param keys, values  shape (N) each
    /// @throws std::invalid_argument  as the constructor and `insert_or_assign`
    static PointMap from_points(std::vector<double> keys, std::vector<double> values,
                                double epsilon);

    [[nodiscard]] double epsilon() const noexcept { return before_.epsilon; }
    [[nodiscard]] std::size_t size() const noexcept { return keys_.size(); }
    [[nodiscard]] bool empty() const noexcept { return keys_.empty(); }
    [[nodiscard]] std::span<const double> keys() const noexcept { return keys_; }
    [[nodiscard]] std::span<const double> values() const noexcept { return values_; }
    [[nodiscard]] std::span<double> values() noexcept { return values_; }

    /// Index of the first key with key + epsilon >= wl; size() when there is none.
    [[nodiscard]] std::size_t lower_bound(double wl) const noexcept;

    /// Index of the key equivalent to wl; size() when there is none.
    [[nodiscard]] std::size_t find(double wl) const noexcept {
        const std::size_t i = lower_bound(wl);
        return matches(i, wl) ? i : size();
    }

    /// True when wl is equivalent to key i, which must be what `lower_bound` gives for wl.
    [[nodiscard]] bool matches(std::size_t i, double wl) const noexcept {
        return i < keys_.size() && !before_(wl, keys_[i]) && wl == wl;
    }

    /// Replaces the value of the equivalent key, which stays, or adds a point.
    ///
    /// @throws std::invalid_argument  "Scan: wavelength must not be NaN"
    void insert_or_assign(double wl, double value);

    /// Adds a point unless an equivalent key is stored. Throws as `insert_or_assign`.
    void insert(double wl, double value);

    void replace_values(std::vector<double> values) noexcept { values_ = std::move(values); }

    /// Erases the points whose key is < from or > to (exact comparisons).
    void trim(double from, double to);

    /// The points that stay under another epsilon: of each run of keys that it merges, the lowest.
    [[nodiscard]] PointMap with_epsilon(double epsilon) const;

private:
    void insert_at(std::size_t i, double wl, double value);
    [[nodiscard]] bool absorb_ascending(double wl, double value);
    [[nodiscard]] bool absorb_descending(double wl, double value);
    void merge_equivalent_runs(std::span<const double> keys, std::span<const double> values,
                               std::span<const std::uint32_t> order);

    internal::FloatComparator<double> before_;
    std::vector<double> keys_;
    std::vector<double> values_;
};

}  // namespace vekanalysis
