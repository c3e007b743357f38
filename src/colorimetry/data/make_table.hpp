#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "core/scan.hpp"

namespace vekanalysis::colorimetry::data::internal {

/// Scan of a literal table of (wavelength, value) pairs in ascending order, epsilon 1e-20, AKIMA.
///
/// Its spline is built already, so that evaluating it, from any number of threads, writes nothing.
/// The table is a plain array: GCC takes seconds over a list of 2000 pairs.
template <std::size_t N>
[[nodiscard]] Scan make_table(const double (&points)[N][2]) {
    std::vector<double> wavelengths;
    std::vector<double> values;
    wavelengths.reserve(N);
    values.reserve(N);
    for (const auto& [wl, value] : points) {
        wavelengths.push_back(wl);
        values.push_back(value);
    }
    Scan scan(std::move(wavelengths), std::move(values));
    scan.__ensure_spline();
    return scan;
}

}  // namespace vekanalysis::colorimetry::data::internal
