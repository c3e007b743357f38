#pragma once

#include "python/registration.hpp"

#include <utility>

namespace vekanalysis::python {

/// A copy of the attributes that an object of a subclass has of its own; empty for others.
inline py::dict own_attributes(py::handle object) {
    const py::object attributes = py::getattr(object, "__dict__", py::none());
    return attributes.is_none() ? py::dict() : py::dict(attributes.attr("copy")());
}

/// `copy`, `deepcopy` and `pickle` of a class, and of those that inherit from it with what they
/// add: its state is a tuple of what `get` says, with the own attributes behind.
///
/// @param get  py::tuple (py::handle self)
/// @param set  Class (const py::tuple& state)
template <class Class, class Get, class Set, class... Extra>
void add_pickling(Class& cls, const Get& get, const Set& set, const Extra&... extra) {
    const auto state_of = [get](const py::object& self) -> py::tuple {
        return get(self) + py::make_tuple(own_attributes(self));
    };
    const auto made_of = [set](const py::tuple& state) {
        if (state.empty()) throw py::value_error("__setstate__: no state");
        return std::pair(set(state), py::dict(state[state.size() - 1]));
    };
    cls.def(py::pickle(state_of, made_of), extra...);
}

}  // namespace vekanalysis::python
