#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "io/text_lines.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

using io::TextColumns;
using io::TextLines;

/// The lines of a bytes object, which they keep alive.
struct BoundLines {
    py::bytes content;
    TextLines lines;
};

BoundLines make_lines(const py::bytes& content, const std::vector<std::size_t>& left_out) {
    const std::string_view text = content;
    TextLines lines = [&] {
        const py::gil_scoped_release release;
        return TextLines(text, left_out);
    }();
    return {content, std::move(lines)};
}

/// Python's None for a row that there is not.
std::optional<std::size_t> row_or_none(std::size_t row) {
    return row == TextColumns::none ? std::nullopt : std::optional(row);
}

TextLines::Selection selection(const TextLines& lines, const std::vector<std::size_t>& shapes) {
    TextLines::Selection selected(lines.shapes().size());
    for (const std::size_t shape : shapes) selected.at(shape) = true;
    return selected;
}

py::list shapes_of(const BoundLines& self) {
    py::list shapes;
    for (const TextLines::Shape& shape : self.lines.shapes()) {
        shapes.append(py::make_tuple(py::bytes(shape.text), shape.count, shape.first, shape.last));
    }
    return shapes;
}

TextColumns columns_of(const BoundLines& self, const std::vector<std::size_t>& shapes,
                       const std::string& delimiter, const std::string& decimal,
                       const std::string& group, const std::vector<std::size_t>& columns) {
    const py::gil_scoped_release release;
    return self.lines.columns(selection(self.lines, shapes), {delimiter, decimal.at(0), group},
                              columns);
}

void add_columns_class(py::module_& m) {
    py::class_<TextColumns>(m, "_TextColumns", "Columns of numbers; NaN where a cell has none.")
        .def_property_readonly("rows", &TextColumns::rows, "How many rows there are.")
        .def_property_readonly(
            "problem",
            [](const TextColumns& self) {
                const TextColumns::Problem& problem = self.problem();
                const bool is_large = problem.fault == io::CellFault::too_large;
                return std::tuple(row_or_none(problem.line), row_or_none(problem.column), is_large);
            },
            "Line and column of the cell at which reading ended, and whether it is too large.")
        .def(
            "facts",
            [](const TextColumns& self, std::size_t column) {
                const TextColumns::Facts facts = self.facts(column);
                return std::tuple(facts.missing, row_or_none(facts.first_missing), facts.lowest,
                                  facts.highest, row_or_none(facts.first_not_positive),
                                  facts.counts);
            },
            "column"_a,
            "How many rows have no number and the first of them, lowest and highest number, the "
            "first row at or below zero, and whether each number is the one before plus 1.")
        .def(
            "order",
            [](const TextColumns& self, std::size_t column) {
                const TextColumns::Order order = self.order(column);
                return std::tuple(order.descending, row_or_none(order.first_repeat),
                                  row_or_none(order.first_turn));
            },
            "column"_a, "Whether it descends, the first row that repeats, the first that turns.")
        .def(
            "steps",
            [](const TextColumns& self, std::size_t column) {
                const TextColumns::Steps steps = self.steps(column);
                return std::pair(steps.first, steps.widest_behind);
            },
            "column"_a, "How far the first two numbers are apart, and others at most.")
        .def(
            "column",
            [](const TextColumns& self, std::size_t column) { return self.column(column); },
            "column"_a, "The numbers of a column.")
        .def("convert", &TextColumns::convert, "column"_a, "multiplier"_a, "divisor"_a,
             "Multiplies and divides wavelengths, rounded to 1e-9.")
        .def("points", &TextColumns::points, "x"_a, "y"_a, "The rows that have both numbers.")
        .def(
            "first_without",
            [](const TextColumns& self, std::size_t x, std::size_t y) {
                return row_or_none(self.first_without(x, y));
            },
            "x"_a, "y"_a, "The first row that has y but not x.")
        .def(
            "scan",
            [](const TextColumns& self, std::size_t x, std::size_t y, double epsilon,
               spline::Type interpolation) {
                auto [keys, values] = self.points(x, y);
                const std::size_t points = keys.size();
                Scan scan(std::move(keys), std::move(values), epsilon, interpolation);
                const std::size_t merged = points - scan.size();
                return std::tuple(std::move(scan), merged);
            },
            "x"_a, "y"_a, "epsilon"_a, "interpolation"_a,
            "The rows that have both numbers as a scan, and how many of them merged with others.");
}

/// Appends a number as Python's repr() writes it: the fewest digits that give it again.
void append_number(std::string& text, double value) {
#if defined(__cpp_lib_to_chars) && __cpp_lib_to_chars >= 201611L
    if (std::isfinite(value)) {
        std::array<char, 32> buffer{};
        const char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                              std::chars_format::scientific)
                                    .ptr;
        // One digit, and a point and others if there are more; then the exponent with its sign.
        const std::string_view whole(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
        const std::size_t mark = whole.find('e');
        int exponent = 0;
        std::from_chars(whole.data() + mark + 2, end, exponent);
        if (whole[mark + 1] == '-') exponent = -exponent;
        if (exponent < -4 || exponent > 15) {
            text += whole;
            return;
        }
        std::string_view number = whole.substr(0, mark);
        if (number.front() == '-') {
            text += '-';
            number.remove_prefix(1);
        }
        if (exponent < 0) {
            text += "0.";
            text.append(static_cast<std::size_t>(-1 - exponent), '0');
            text += number.front();
            if (number.size() > 2) text += number.substr(2);
            return;
        }
        const auto before = static_cast<std::size_t>(exponent);
        const std::string_view others = number.size() > 2 ? number.substr(2) : std::string_view();
        text += number.front();
        text += others.substr(0, before);
        if (others.size() < before) text.append(before - others.size(), '0');
        text += '.';
        text += others.size() > before ? others.substr(before) : std::string_view("0");
        return;
    }
#endif
    char* const found = PyOS_double_to_string(value, 'r', 0, Py_DTSF_ADD_DOT_0, nullptr);
    if (found == nullptr) throw py::error_already_set();
    text += found;
    PyMem_Free(found);
}

/// Cells with a comma before each.
std::string cells_of(const py::list& numbers) {
    std::string text;
    text.reserve(20 * numbers.size());
    for (const py::handle number : numbers) {
        text += ',';
        if (number.is_none()) continue;
        append_number(text, number.cast<double>());
    }
    return text;
}

}  // namespace

void add_text_lines(py::module_& m) {
    add_columns_class(m);
    py::class_<BoundLines>(m, "_TextLines", "The lines of a text, told apart by their shapes.")
        .def(py::init(&make_lines), "content"_a, "left_out"_a,
             "The lines of UTF-8 text; those of the given indices have no shape.")
        .def_property_readonly(
            "size", [](const BoundLines& self) { return self.lines.size(); },
            "How many lines there are.")
        .def_property_readonly("shapes", &shapes_of,
                               "Each shape, how many lines have it, the first and the last.")
        .def(
            "line",
            [](const BoundLines& self, std::size_t index) {
                const std::string_view line = self.lines.line(index);
                return py::bytes(line.data(), line.size());
            },
            "index"_a, "The text of a line.")
        .def(
            "lines_of",
            [](const BoundLines& self, const std::vector<std::size_t>& shapes, bool with_left_out) {
                py::list found;
                for (const auto& [index, line] :
                     self.lines.lines_of(selection(self.lines, shapes), with_left_out)) {
                    found.append(py::make_tuple(index, py::bytes(line.data(), line.size())));
                }
                return found;
            },
            "shapes"_a, "with_left_out"_a,
            "Index and text of the lines that have one of the shapes, or none.")
        .def(
            "line_of_row",
            [](const BoundLines& self, const std::vector<std::size_t>& shapes, std::size_t row) {
                return self.lines.line_of_row(selection(self.lines, shapes), row);
            },
            "shapes"_a, "row"_a, "The index of the line that is a row of these shapes.")
        .def("columns", &columns_of, "shapes"_a, "delimiter"_a, "decimal"_a, "group"_a, "columns"_a,
             "The numbers in cells of the lines that have one of the shapes.");
    m.def(
        "_read_pairs",
        [](const py::bytes& content) {
            const std::string_view text = content;
            const py::gil_scoped_release release;
            return io::read_pairs(text);
        },
        "content"_a, "Two columns of text that has a pair of numbers a line; None of other text.");
    m.def(
        "_number_cells", &cells_of, "numbers"_a,
        "Cells of a line of CSV, with a comma before each: numbers as repr() writes them, nothing "
        "for None.");
}

}  // namespace vekanalysis::python
