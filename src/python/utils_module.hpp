#pragma once

#include "python/registration.hpp"

// The names of the submodule utils by subject; add_utils_module calls them in this order.
namespace vekanalysis::python {

void add_utils_records(py::module_& m);
void add_utils_searches(py::module_& m);

}  // namespace vekanalysis::python
