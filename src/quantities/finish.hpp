#pragma once

#include <cstddef>
#include <span>

#include "quantities/form.hpp"

/// The step from integrals to the fields of a function.
namespace vekanalysis::quantities::internal {

/// No form has more fields or integrals.
inline constexpr std::size_t most_fields = 4;

/// @param integrals  those of the form
/// @param fields     receives the results
void finish(const Form& form, std::span<const double> integrals, std::span<double> fields) noexcept;

/// Derivatives of the fields with respect to one of the integrals.
void differentiate_finish(const Form& form, std::span<const double> integrals, std::size_t integral,
                          std::span<double> derivatives) noexcept;

}  // namespace vekanalysis::quantities::internal
