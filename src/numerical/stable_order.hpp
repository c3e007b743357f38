#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace numerical {

/// Positions of `numbers` in ascending order; equal numbers (-0.0 and 0.0 are) keep their order.
///
/// The range is cut into equal slices of about four numbers each, into which the numbers are
/// distributed; each slice is then sorted by stable comparisons. O(N) where the numbers are spread
/// evenly, as wavelengths are, O(N log N) where they crowd into few slices. Source: E. J. Isaac,
/// R. C. Singleton, Sorting by Address Calculation, J. ACM 3 (1956) 169-174.
///
/// @param numbers  shape (N), no NaN
/// @throws std::length_error  "stable_order: too many numbers" for 2^32 and more
[[nodiscard]] std::vector<std::uint32_t> stable_order(std::span<const double> numbers);

}  // namespace numerical
