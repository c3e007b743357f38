#include "colorimetry/observers.hpp"

#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::observers::data {

namespace tables = colorimetry::data;

const Observer& cie_1931_standard() {
    static const Observer observer{tables::cie_1931_standard_observer_x(),
                                   tables::cie_1931_standard_observer_y(),
                                   tables::cie_1931_standard_observer_z()};
    return observer;
}

const Observer& cie_1964_standard() {
    static const Observer observer{tables::cie_1964_standard_observer_x(),
                                   tables::cie_1964_standard_observer_y(),
                                   tables::cie_1964_standard_observer_z()};
    return observer;
}

const std::array<const Observer*, 2>& dataset() {
    static const std::array<const Observer*, 2> observers{&cie_1931_standard(),
                                                          &cie_1964_standard()};
    return observers;
}

}  // namespace vekanalysis::observers::data
