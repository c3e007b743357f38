#pragma once

#include <vector>

#include "utils/peak_shapes.hpp"

namespace vekanalysis::python {

/// The peaks of a scan as Python has them: a sequence that makes a record when it is asked for,
/// since noise has many.
struct PeakShapes {
    std::vector<utils::PeakShape> shapes;

    bool operator==(const PeakShapes&) const = default;
};

}  // namespace vekanalysis::python
