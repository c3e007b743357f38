#pragma once

#include "python/registration.hpp"

#include <pybind11/numpy.h>

// The members of the class Scan by subject; add_scan_class calls them in this order.
namespace vekanalysis::python {

using ScanClass = py::class_<Scan>;

void add_scan_construction(ScanClass& scan);
void add_scan_evaluation(ScanClass& scan);
void add_scan_points(ScanClass& scan);
void add_scan_operators(ScanClass& scan);

/// Shape (2, N): the wavelengths, then the values.
[[nodiscard]] py::array_t<double> to_numpy(const Scan& scan);

}  // namespace vekanalysis::python
