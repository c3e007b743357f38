#pragma once

#include "python/registration.hpp"

#include <string>

namespace vekanalysis::python {

template <class Record>
struct RecordField {
    const char* name;
    double Record::*member;
    const char* doc;
};

/// Binds a record of numbers: all fields 0 or given in their order, read-write attributes, and the
/// text of `to_string`, which `repr` puts after `label` in angle brackets.
template <class Record, class... Fields>
void add_record(py::module_& m, const char* name, const char* label, const char* doc,
                const Fields&... fields) {
    py::class_<Record> record(m, name, doc);
    record.def(py::init<>(), "All fields 0.");
    record.def(
        py::init([](decltype(Record{}.*fields.member)... values) { return Record{values...}; }),
        py::arg(fields.name)..., "The given fields.");
    (record.def_readwrite(fields.name, fields.member, fields.doc), ...);
    record.def(
        "__repr__",
        [opening = std::string("<") + label + " "](const Record& self) {
            return opening + to_string(self) + ">";
        },
        "The fields with their labels, in angle brackets.");
    record.def(
        "__str__", [](const Record& self) { return to_string(self); },
        "The fields with their labels, six significant digits each.");
}

}  // namespace vekanalysis::python
