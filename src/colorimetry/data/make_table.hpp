#pragma once

#include <span>
#include <utility>
#include <vector>

#include "../../core/scan.hpp"

namespace vekanalysis::colorimetry::data::internal {

/// An entry of a literal table. Not a pair: GCC takes seconds over 2000 of those.
struct Point {
    double wl;
    double value;
};

/// Scan of a literal table in ascending order, epsilon 1e-20, AKIMA.
///
/// Its spline is built already, so that evaluating it, from any number of threads, writes nothing.
/// The accessors keep it in a static that is not const, since Python hands out the object itself
/// and a user may change it in place.
[[nodiscard]] inline Scan make_table(std::span<const Point> points) {
    std::vector<double> wavelengths;
    std::vector<double> values;
    wavelengths.reserve(points.size());
    values.reserve(points.size());
    for (const auto& [wl, value] : points) {
        wavelengths.push_back(wl);
        values.push_back(value);
    }
    Scan scan(std::move(wavelengths), std::move(values));
    scan.ensure_spline();
    return scan;
}

}  // namespace vekanalysis::colorimetry::data::internal
