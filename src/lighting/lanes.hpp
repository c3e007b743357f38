#pragma once

#include <array>
#include <cstddef>
#include <limits>
#include <span>

namespace vekanalysis::lighting::internal {

/// Sum of term(i) for i from 0 to n - 1: every fourth goes into one of four sums, which are added
/// at the end. That is the order that compilers can turn into vectors of any machine.
template <class Term>
[[nodiscard]] double sum_in_lanes(std::size_t n, const Term& term) {
    std::array<double, 4> parts{};
    std::size_t i = 0;
    for (; i + parts.size() <= n; i += parts.size()) {
        for (std::size_t j = 0; j < parts.size(); ++j) parts[j] += term(i + j);
    }
    for (; i < n; ++i) parts[0] += term(i);
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
}

/// The lowest of the values, NaN apart; infinity where there are none.
[[nodiscard]] inline double lowest_in_lanes(std::span<const double> values) noexcept {
    std::array<double, 4> lowest{};
    lowest.fill(std::numeric_limits<double>::infinity());
    const auto lower = [](double a, double b) { return a < b ? a : b; };
    std::size_t i = 0;
    for (; i + lowest.size() <= values.size(); i += lowest.size()) {
        for (std::size_t j = 0; j < lowest.size(); ++j) {
            lowest[j] = lower(values[i + j], lowest[j]);
        }
    }
    for (; i < values.size(); ++i) lowest[0] = lower(values[i], lowest[0]);
    return lower(lower(lowest[0], lowest[1]), lower(lowest[2], lowest[3]));
}

}  // namespace vekanalysis::lighting::internal
