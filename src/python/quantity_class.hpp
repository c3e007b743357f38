#pragma once

#include "python/registration.hpp"

#include <pybind11/stl.h>

#include "quantities/evaluate.hpp"

namespace vekanalysis::python {

template <>
inline constexpr bool is_bound_class<colorimetry::data::Table> = true;
template <>
inline constexpr bool is_bound_class<quantities::Quantity> = true;

/// Value, problem, range needed, range covered and value of a clear lens, each or None.
[[nodiscard]] py::tuple to_python(const quantities::Value& value);

/// Class `Evaluator` of the module.
void add_evaluator_class(py::module_& m);

}  // namespace vekanalysis::python
