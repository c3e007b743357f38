#pragma once

#include <span>
#include <string>

#include "quantities/form.hpp"

/// Functions computed by their forms, where they depend on tables that are not the built-in ones.
namespace vekanalysis::quantities::internal {

/// What the function gives, by its form where there are tables of one's own.
///
/// @param own     null where there are none
/// @param fields  shape (field_count), receives the results
/// @throws what the function throws
void compute(const Function& function, const OwnTables* own, const Scan& spectrum,
             const Scan& white, std::span<double> fields);

/// Why a quotient is NaN.
[[nodiscard]] std::string why_missing_with(const Function& function, const OwnTables& own,
                                           const Scan& spectrum, const Scan& white);

}  // namespace vekanalysis::quantities::internal
