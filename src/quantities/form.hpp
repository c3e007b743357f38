#pragma once

#include <memory>
#include <vector>

#include "quantity.hpp"

namespace vekanalysis::quantities {

/// A table, or what takes its place.
struct Weight {
    const colorimetry::data::Table* table;
    std::shared_ptr<const Scan> own{};

    [[nodiscard]] const Scan& spectrum() const { return own ? *own : table->spectrum(); }

    friend bool operator==(const Weight&, const Weight&) = default;
};

/// What a spectrum is multiplied by: a table, or the product of two.
struct Factor {
    std::vector<Weight> tables;
    bool on_left = false;  // whether it is the left operand, which decides the interpolation

    [[nodiscard]] Scan spectrum() const;

    friend bool operator==(const Factor&, const Factor&) = default;
};

/// Integral over a band of the spectrum multiplied by factors one after another.
struct Integral {
    std::vector<Factor> factors;
    Range band;
};

/// How the fields of a function follow from integrals.
struct Form {
    enum class Finish {
        NUMBERS,            // field i is integral i times scales[i], divided by divisors[i]
        CHROMATICITY,       // x and y of the integrals X, Y and Z
        CIELAB,             // L*, a* and b* of X, Y and Z, with the white scales[0..2]
        CIELAB_AB,          // a* and b* with that white scaled to Y
        SMALLEST,           // no integral: the smallest stored value in `band`
        QUOTIENTS,          // field i is the number of integral i over that of the last integral
        SMALLEST_QUOTIENT,  // the smallest stored value in `band` over the number of the integral
    };
    Finish finish = Finish::NUMBERS;
    std::vector<Integral> integrals{};
    std::vector<double> scales{};
    std::vector<double> divisors{};
    Range band{};
    /// What all divisors come from, where that is the weighting of one field.
    std::vector<Weight> divided_by{};
};

}  // namespace vekanalysis::quantities
