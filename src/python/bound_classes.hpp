#pragma once

#include <pybind11/pybind11.h>

#include <type_traits>

#include "chromaticity/chromaticity.hpp"
#include "colorimetry/observers.hpp"
#include "colorimetry/srgb.hpp"
#include "colorimetry/transmittance.hpp"
#include "colorimetry/tristimulus.hpp"
#include "core/scan.hpp"
#include "fitting/fit.hpp"
#include "io/vekfile.hpp"
#include "python/peak_shapes.hpp"
#include "utils/averaging.hpp"
#include "utils/peak_shapes.hpp"
#include "utils/statistics.hpp"
#include "utils/stitching.hpp"

// The binding layer lets Python hold an object whose __init__ did not finish or was never called
// (through __new__, or in a subclass before super().__init__()), and hands out raw memory when such
// an object is used. The classes named here are refused with TypeError instead.
namespace vekanalysis::python {

template <class T>
inline constexpr bool is_bound_class = false;

template <>
inline constexpr bool is_bound_class<Scan> = true;
template <>
inline constexpr bool is_bound_class<Observer> = true;
template <>
inline constexpr bool is_bound_class<ChromaticityPoint> = true;
template <>
inline constexpr bool is_bound_class<colorimetry::CIEXYZ> = true;
template <>
inline constexpr bool is_bound_class<colorimetry::CIELAB> = true;
template <>
inline constexpr bool is_bound_class<colorimetry::RYG> = true;
template <>
inline constexpr bool is_bound_class<colorimetry::RYGB> = true;
template <>
inline constexpr bool is_bound_class<colorimetry::SRGB> = true;
template <>
inline constexpr bool is_bound_class<Stat_Result<double>> = true;
template <>
inline constexpr bool is_bound_class<utils::StitchResults> = true;
template <>
inline constexpr bool is_bound_class<FitWavelengthParams> = true;
template <>
inline constexpr bool is_bound_class<FitWavelengthParamsFree> = true;
template <>
inline constexpr bool is_bound_class<WavelengthResiduals> = true;
template <>
inline constexpr bool is_bound_class<utils::PeakShape> = true;
template <>
inline constexpr bool is_bound_class<PeakShapes> = true;
template <>
inline constexpr bool is_bound_class<utils::ScanMean> = true;
template <>
inline constexpr bool is_bound_class<vekfile::Meta> = true;
template <>
inline constexpr bool is_bound_class<vekfile::Graph> = true;
template <>
inline constexpr bool is_bound_class<vekfile::MeasurementTypeUnits> = true;
template <>
inline constexpr bool is_bound_class<vekfile::DataInfo> = true;
template <>
inline constexpr bool is_bound_class<vekfile::__DataSet<Scan>> = true;
template <>
inline constexpr bool is_bound_class<vekfile::__VekFile<vekfile::__DataSet<Scan>>> = true;

/// Throws TypeError when `source` is an object of the class without a value of it.
void require_constructed(pybind11::handle source, const pybind11::detail::type_info* type);

/// Makes two things a TypeError at which the binding layer would end the process: an object of its
/// own base class, which copy and pickle try to create with old protocols, and an assignment to
/// `__class__` of a class that holds something else. Of a third, an object that finds no memory, a
/// MemoryError.
void guard_base_class();

/// Leaves the MemoryError of a Python object that could not be made as it is, of which the binding
/// layer makes a RuntimeError.
void keep_memory_errors();

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <class T>
class type_caster<T, std::enable_if_t<vekanalysis::python::is_bound_class<T>>>
    : public type_caster_base<T> {
public:
    bool load(handle source, bool convert) {
        vekanalysis::python::require_constructed(source, this->typeinfo);
        return type_caster_base<T>::load(source, convert);
    }
};

}  // namespace pybind11::detail
