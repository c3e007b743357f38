#pragma once

#include <utility>
#include <vector>

#include "core/scan.hpp"

/// The scan of f at from, from + step and so on, up to `to`.
template <class F>
vekanalysis::Scan sampled(const F& f, double from, double to, double step,
                          vekanalysis::spline::Type type = vekanalysis::spline::Type::AKIMA) {
    std::vector<double> wavelengths;
    std::vector<double> values;
    for (int i = 0; from + i * step <= to; ++i) {
        wavelengths.push_back(from + i * step);
        values.push_back(f(wavelengths.back()));
    }
    return {std::move(wavelengths), std::move(values), vekanalysis::default_epsilon, type};
}
