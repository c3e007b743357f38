#include "python/quantity_class.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "quantities/own_tables.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

using colorimetry::data::Table;
using quantities::Quantity;
using quantities::Range;
using quantities::Value;

py::object to_python(const std::optional<Range>& range) {
    if (!range) return py::none();
    return py::make_tuple(range->from, range->to);
}

template <class Items, class Convert>
py::tuple to_tuple(const Items& items, const Convert& convert) {
    py::tuple all(items.size());
    std::size_t i = 0;
    for (const auto& item : items) all[i++] = convert(item);
    return all;
}

/// Copies, each owned by its Python object.
py::tuple catalogue(const auto& all) {
    return to_tuple(all, [](const Quantity& quantity) {
        return py::cast(quantity, py::return_value_policy::copy);
    });
}

void add_reference_class(py::module_& m) {
    py::class_<Table>(m, "Reference", "What is known about a built-in spectrum.")
        .def_property_readonly(
            "name", [](const Table& self) { return self.name; },
            "Name of its function in ``colorimetry.data``.")
        .def_property_readonly(
            "unit", [](const Table& self) { return self.facts.unit; }, "Unit of its values.")
        .def_property_readonly(
            "source", [](const Table& self) { return self.facts.source; },
            "Document and table that it is from.")
        .def_property_readonly(
            "status", [](const Table& self) { return to_string(self.facts.standing); },
            R"("printed figures", "printed figures, scaled" or "reconstruction".)")
        .def("__repr__", [](const Table& self) {
            return std::string("<Reference ") + self.name + ": " + self.facts.source + ", " +
                   to_string(self.facts.standing) + ">";
        });
}

void add_quantity_class(py::module_& m) {
    py::class_<Quantity>(m, "Quantity", "One row of a report: what it is, and where it comes from.")
        .def_readonly("key", &Quantity::key,
                      "The library's function and, after a point, the field of its result.")
        .def_readonly("symbol", &Quantity::symbol, "Symbol.")
        .def_readonly("name", &Quantity::name, "Name.")
        .def_readonly("unit", &Quantity::unit, "Unit of the value, \"1\" for plain numbers.")
        .def_readonly("kind", &Quantity::kind,
                      "What the spectrum must be of: \"transmittance\", \"irradiance\", "
                      "\"responsivity\", or \"light\" for any spectrum of a source.")
        .def_property_readonly(
            "band", [](const Quantity& self) { return to_python(self.band); },
            "Where it is defined, from and to in nm; None for the whole spectrum.")
        .def_property_readonly(
            "needed", [](const Quantity& self) { return to_python(self.needed()); },
            "The part of the band where the weights are, from and to in nm.")
        .def_readonly("standard", &Quantity::standard, "Standard that defines it.")
        .def_readonly("section", &Quantity::section, "Section of the standard.")
        .def_property_readonly(
            "weights",
            [](const Quantity& self) {
                return to_tuple(self.weights,
                                [](const Table* table) { return py::str(table->name); });
            },
            "Names of the built-in spectra that the spectrum is multiplied by.")
        .def_property_readonly(
            "tables",
            [](const Quantity& self) {
                return to_tuple(self.tables(),
                                [](const Table* table) { return py::str(table->name); });
            },
            "Names of all built-in spectra that its figure depends on: the weights, and those of "
            "what it is divided by.")
        .def_property_readonly(
            "own_tables",
            [](const Quantity& self) {
                py::dict own;
                if (self.own) {
                    for (const auto& [table, spectrum] : *self.own) {
                        own[table->name] = py::cast(Scan(*spectrum));
                    }
                }
                return own;
            },
            "Copies of the spectra that are there in place of built-in ones, by their names.")
        .def_property_readonly(
            "table_set",
            [](const Quantity& self) { return reinterpret_cast<std::uintptr_t>(self.own.get()); },
            "Tells sets of own tables apart while there are quantities with them; 0 without.")
        .def_property_readonly(
            "notes",
            [](const Quantity& self) {
                return to_tuple(self.notes, [](const std::string& note) { return py::str(note); });
            },
            "What its reader must know, a sentence each.")
        .def_readonly("is_transmittance", &Quantity::is_transmittance,
                      "Whether a clear lens tells something of sampling and coverage.")
        .def_readonly("is_integral", &Quantity::is_integral,
                      "Whether what the data do not cover counts as 0, and not as nothing.")
        .def_readonly("is_stored", &Quantity::is_stored,
                      "Whether the value is a number of the data and has its digits.")
        .def_readonly("is_detail", &Quantity::is_detail, "Whether it stands in full reports alone.")
        .def_property_readonly(
            "is_quotient", [](const Quantity& self) { return !self.parts.empty(); },
            "Whether it is one quantity over another, of which both need data.")
        .def("__repr__",
             [](const Quantity& self) { return "<Quantity " + self.key + ": " + self.name + ">"; });
}

}  // namespace

py::tuple to_python(const Value& value) {
    return py::make_tuple(value.value,
                          value.problem.empty() ? py::none() : py::object(py::str(value.problem)),
                          to_python(value.needed), to_python(value.covered), value.clear_lens);
}

void add_quantities_module(py::module_& m) {
    add_reference_class(m);
    add_quantity_class(m);
    add_evaluator_class(m);
    m.attr("REFERENCES") = to_tuple(colorimetry::data::tables(), [](const Table& table) {
        return py::cast(table, py::return_value_policy::reference);
    });
    m.attr("LENS") = catalogue(quantities::lens());
    m.attr("DERIVED") = catalogue(quantities::derived());
    m.attr("PHOTOMETER") = catalogue(quantities::photometer());
    m.def(
        "light", [](const std::string& white) { return catalogue(quantities::light(white)); },
        "white"_a = "D65",
        R"doc(The quantities of a light source.

Parameters
----------
white : str
    What their names call the white of L*a*b*.

Returns
-------
tuple of Quantity
)doc");
    m.def("quantity", &quantities::find, "key"_a, py::return_value_policy::copy,
          R"doc(The quantity of a key: of a lens, else derived, of a light source, of a photometer.

Parameters
----------
key : str
    The library's function and, after a point, the field of its result.

Returns
-------
Quantity

Raises
------
ValueError
    If there is none; the text has the nearest key.
)doc");
    m.def("is_replaceable", &quantities::is_replaceable, "table"_a,
          "Whether `with_tables` takes a table in place of the built-in one of that name.");
    m.def(
        "with_tables",
        [](const std::vector<std::reference_wrapper<const Quantity>>& wanted,
           const std::map<std::string, std::pair<Scan, std::string>>& tables) {
            const std::vector<Quantity> all(wanted.begin(), wanted.end());
            std::vector<quantities::OwnTable> own;
            own.reserve(tables.size());
            for (const auto& [name, table] : tables) {
                own.push_back({name, table.first, table.second});
            }
            return catalogue(quantities::with_tables(all, own));
        },
        "quantities"_a, "tables"_a,
        R"doc(Quantities with tables of one's own in place of built-in ones.

Parameters
----------
quantities : list of Quantity
    What is wanted.
tables : dict of str to (Scan, str)
    By the names of the built-in spectra: what takes their place, and a note on it.

Returns
-------
tuple of Quantity
    Those that do not depend on one of the tables as they were.

Raises
------
ValueError
    If a table is none that can be replaced.
RuntimeError
    If a table has too few points to interpolate.
)doc");
    m.def(
        "count_points", [](const Scan& scan) { return scan.size(); }, "scan"_a,
        "How many points a scan has.");
    m.def(
        "lie_within",
        [](const Scan& scan, double lowest, double highest) {
            return std::ranges::all_of(scan.data().values(), [&](double value) {
                return lowest <= value && value <= highest;
            });
        },
        "scan"_a, "lowest"_a, "highest"_a,
        "Whether all values of a scan lie between two numbers; NaN does not.");
    m.def(
        "widest_step",
        [](const Scan& scan, double from, double to) {
            std::optional<std::pair<double, double>> found;
            const std::span<const double> wavelengths = scan.data().keys();
            for (std::size_t i = 1; i < wavelengths.size(); ++i) {
                const double start = wavelengths[i - 1];
                const double end = wavelengths[i];
                const bool reaches_in = end > from && start < to;
                const bool is_wider = !found || end - start > found->second - found->first;
                if (reaches_in && is_wider) found.emplace(start, end);
            }
            return found;
        },
        "scan"_a, "start"_a, "end"_a,
        "The neighbours furthest apart, in nm, of those with a part of a band between them; None "
        "without such.");
    m.def(
        "evaluate",
        [](const Scan& spectrum,
           const std::vector<std::reference_wrapper<const Quantity>>& quantities, const Scan& white,
           bool clear_lens) {
            py::list values;
            for (const Value& value :
                 quantities::evaluate(spectrum, quantities, white, clear_lens)) {
                values.append(to_python(value));
            }
            return values;
        },
        "spectrum"_a, "quantities"_a, "white"_a, "clear_lens"_a,
        R"doc(The quantities of one spectrum; each function is called once at most.

Parameters
----------
spectrum : Scan
    Values in the unit that the functions want, wavelengths in nm.
quantities : list of Quantity
    What is wanted.
white : Scan
    The white point of L*a*b*, for quantities of light sources.
clear_lens : bool
    Whether transmittances also have what a clear lens gives at these wavelengths.

Returns
-------
list of tuple
    For each its value or None, the problem or None, the range needed, the part of
    it that is covered, and the value of a clear lens or None.
)doc");
}

}  // namespace vekanalysis::python
