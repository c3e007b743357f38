#pragma once

#include <cstddef>
#include <limits>
#include <span>

#include "quantities/form.hpp"

/// The step from integrals to the fields of a function.
namespace vekanalysis::quantities::internal {

/// No form has more fields or integrals.
inline constexpr std::size_t most_fields = 5;

/// NaN where the denominator is not above 0.
[[nodiscard]] inline double quotient(double numerator, double denominator) noexcept {
    return denominator > 0.0 ? numerator / denominator : std::numeric_limits<double>::quiet_NaN();
}

/// Number that an integral of the form stands for, where it has scales and divisors.
[[nodiscard]] inline double number_of(const Form& form, std::span<const double> integrals,
                                      std::size_t i) noexcept {
    return integrals[i] * form.scales[i] / form.divisors[i];
}

/// @param integrals  those of the form
/// @param fields     receives the results
void finish(const Form& form, std::span<const double> integrals, std::span<double> fields) noexcept;

/// Derivatives of the fields with respect to one of the integrals.
void differentiate_finish(const Form& form, std::span<const double> integrals, std::size_t integral,
                          std::span<double> derivatives) noexcept;

}  // namespace vekanalysis::quantities::internal
