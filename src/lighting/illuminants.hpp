#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis::lighting {

/// A built-in spectrum of this room.
struct Reference {
    std::string name;
    std::string unit;    ///< "relative" or "1"
    std::string source;  ///< document and table
    friend bool operator==(const Reference&, const Reference&) = default;
};

[[nodiscard]] std::string to_string(const Reference& reference);

/// The built-in spectra: the illuminants D50, D55, D75, FL1 to FL12, FL3.1 to FL3.15 and LED-B1 to
/// LED-V2, the components S0 to S2 of daylight, V'(lambda) and the alpha-opic action spectra.
[[nodiscard]] std::vector<Reference> references();

/// One of them as a new scan, linear between its points, as CIE 15 interpolates illuminants.
///
/// @throws std::invalid_argument  "lighting::reference: no spectrum is named ..."
[[nodiscard]] Scan reference(std::string_view name);

}  // namespace vekanalysis::lighting
