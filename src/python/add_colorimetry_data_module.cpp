#include "python/registration.hpp"

#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::python {

void add_colorimetry_data_module(py::module_& m) {
    for (const auto& table : colorimetry::data::tables()) {
        // By reference: Python sees, and may change, the one object that every calculation uses.
        m.def(table.name, table.spectrum, py::return_value_policy::reference,
              table.facts.description);
    }
}

}  // namespace vekanalysis::python
