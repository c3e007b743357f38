#pragma once

#include <optional>
#include <span>

#include "quantities/integrator.hpp"

namespace vekanalysis::quantities::internal {

/// The integral as a sum over even steps; nothing where the steps are not even, where a point of
/// the product is not one of the spectrum, or where there are too few.
///
/// @param chain        the products from the first to that which is integrated; none for the
///                     spectrum itself
/// @param x  the wavelengths of that which is integrated
[[nodiscard]] std::optional<EvenSum> make_even_sum(std::span<const Product* const> chain,
                                                   std::span<const double> x,
                                                   const PlannedIntegral& integral);

}  // namespace vekanalysis::quantities::internal
