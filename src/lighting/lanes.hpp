#pragma once

#include <array>
#include <cstddef>

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

}  // namespace vekanalysis::lighting::internal
