#pragma once

#include "python/registration.hpp"

#include <pybind11/stl.h>
#include <pybind11/typing.h>

#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "python/docstring.hpp"
#include "python/pickling.hpp"

namespace vekanalysis::python {

// How an attribute is shown in a record's repr: numbers with six significant digits, texts between
// quotes, both short.
std::string shown(double number);
std::string shown(bool flag);
std::string shown(const std::optional<double>& number);
std::string shown(const std::vector<double>& numbers);
std::string shown(const std::string& text);
std::string shown(const Scan& scan);
template <std::integral T>
std::string shown(T number) {
    return std::to_string(number);
}

/// An attribute of a record, and what it means.
template <class Record, class Value>
struct Field {
    const char* name;
    Value Record::*member;
    const char* doc;
};
template <class Record, class Value>
Field(const char*, Value Record::*, const char*) -> Field<Record, Value>;

/// Binds a record: its attributes in their order, equality by value, copies and pickles. What else
/// a class offers is asked for:
///
///     RecordClass(m, "CIExy", "A point.", Field{"x", &Point::x, "..."}, ...)
///         .of_numbers("Chromaticity");
///
/// Records can change, so they have no hash.
template <class Record, class... Values>
class RecordClass : public py::class_<Record> {
    static_assert(is_bound_class<Record>, "list the record in bound_classes.hpp");

public:
    RecordClass(py::module_& m, const char* name, const char* doc, Field<Record, Values>... fields)
        : py::class_<Record>(m, name, doc), fields_(fields...) {
        this->def(
            "__eq__", [](const Record& self, const Record& other) { return self == other; },
            py::arg("other"), py::is_operator(), "Whether all attributes are equal.");
        add_pickling(
            *this,
            [fields = fields_](const py::object& self) {
                return to_tuple(self.cast<const Record&>(), fields);
            },
            [](const py::tuple& state) {
                return from_state(state, std::index_sequence_for<Values...>());
            });
    }

    /// The attributes give what is inside the record: lists and records are not copied.
    RecordClass& read_only() {
        for_each_field(
            [this](const auto& field) { this->def_readonly(field.name, field.member, field.doc); });
        return *this;
    }

    /// The attributes give copies.
    RecordClass& read_only_copies() {
        auto& record = *this;
        for_each_field([&record](const auto& field) {
            const auto member = field.member;
            record.def_property_readonly(
                field.name, [member](const Record& self) { return self.*member; }, field.doc);
        });
        return *this;
    }

    RecordClass& read_write() {
        for_each_field([this](const auto& field) { this->add_attribute(field); });
        return *this;
    }

    RecordClass& made_of_nothing(const char* doc) {
        this->def(py::init<>(), doc);
        return *this;
    }

    RecordClass& made_of_fields() {
        std::apply(
            [this](const auto&... fields) {
                this->def(py::init([](Values... values) { return Record{values...}; }),
                          py::arg(fields.name)..., "The given fields.");
            },
            fields_);
        return *this;
    }

    /// Iteration over the values, in their order.
    RecordClass& unpacks() {
        this->def(
            "__iter__",
            [fields = fields_](const Record& self) {
                using Value = std::tuple_element_t<0, std::tuple<Values...>>;
                return py::typing::Iterator<Value>(py::iter(to_tuple(self, fields)));
            },
            "Iterate over the values of the attributes in their order.");
        return *this;
    }

    /// `repr` as the label with all attributes and their values, in angle brackets.
    RecordClass& shown_by_attributes(const char* label) {
        this->def(
            "__repr__",
            [fields = fields_, opening = std::string("<") + label](const Record& self) {
                const auto text = [&self](const auto& field) {
                    return std::string(" ") + field.name + ":" + shown(self.*field.member);
                };
                return opening +
                       std::apply([&text](const auto&... field) { return (text(field) + ...); },
                                  fields) +
                       ">";
            },
            "The attributes and their values, in angle brackets.");
        return *this;
    }

    /// A record of numbers that a caller can make, change, take apart and print.
    RecordClass& of_numbers(const char* label) {
        read_write().made_of_nothing("All fields 0.").made_of_fields().unpacks().shown_as(label);
        return *this;
    }

    /// `str` as the record's `to_string`, and `repr` as the same behind a label in angle brackets.
    RecordClass& shown_as(const char* label) {
        this->def(
            "__repr__",
            [opening = std::string("<") + label + " "](const Record& self) {
                return opening + to_string(self) + ">";
            },
            "The fields with their labels, in angle brackets.");
        this->def(
            "__str__", [](const Record& self) { return to_string(self); },
            "The fields with their labels, six significant digits each.");
        return *this;
    }

private:
    using Fields = std::tuple<Field<Record, Values>...>;

    template <class F>
    void for_each_field(const F& f) {
        std::apply([&f](const auto&... fields) { (f(fields), ...); }, fields_);
    }

    // Named, so that the error about a wrong type has the attribute's name.
    template <class Value>
    void add_attribute(const Field<Record, Value>& field) {
        const auto member = field.member;
        this->def_property(
            field.name, [member](const Record& self) { return self.*member; },
            py::cpp_function([member](Record& self, Value value) { self.*member = value; },
                             py::name(field.name), py::is_method(*this), py::arg("value")),
            field.doc);
    }

    static py::tuple to_tuple(const Record& record, const Fields& fields) {
        return std::apply(
            [&record](const auto&... field) { return py::make_tuple(record.*field.member...); },
            fields);
    }

    template <std::size_t... I>
    static Record from_state(const py::tuple& state, std::index_sequence<I...> /*fields*/) {
        if (state.size() != sizeof...(Values) + 1) {
            throw py::value_error("__setstate__: wrong number of fields");
        }
        return Record{state[I].template cast<Values>()...};
    }

    Fields fields_;
};

}  // namespace vekanalysis::python
