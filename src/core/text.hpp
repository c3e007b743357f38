#pragma once

#include <string>

namespace vekanalysis::internal {

/// A number as a stream writes it by default: six significant digits, the shorter of fixed and
/// scientific. Independent of the locale.
[[nodiscard]] std::string general(double value);

/// A number in fixed notation with six decimals. Independent of the locale.
[[nodiscard]] std::string fixed(double value);

}  // namespace vekanalysis::internal
