#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "quantity.hpp"

namespace vekanalysis::quantities {

/// A quantity of a spectrum, or the reason why there is none.
struct Value {
    std::optional<double> value{};
    std::string problem{};           // empty where there is a value
    std::optional<Range> needed{};   // none for quantities without a band
    std::optional<Range> covered{};  // the part of the needed range that has data
    std::optional<double> clear_lens{};
};

/// The quantities of one spectrum, in their order; each function is called once at most.
///
/// A quantity is refused, with the reason, where there are no data in the needed range, where its
/// function throws, where the result is not finite, and, if it is of visible light, where the
/// spectrum is below zero over most of the visible.
/// @param white          spectrum of the white point, of light sources only
/// @param of_clear_lens  whether a transmittance also has what a clear lens gives: 1 at each
///                       wavelength of the spectrum
[[nodiscard]] std::vector<Value> evaluate(
    const Scan& spectrum, std::span<const std::reference_wrapper<const Quantity>> quantities,
    const Scan& white, bool of_clear_lens);

}  // namespace vekanalysis::quantities
