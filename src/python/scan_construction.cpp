#include "python/scan_class.hpp"

#include <pybind11/stl.h>

#include <string>
#include <utility>
#include <vector>

#include "core/scan.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"

namespace vekanalysis::python {

using namespace py::literals;

/// Points of a mapping or of pairs, where these cannot be taken for anything else.
struct PointList {
    std::vector<double> wavelengths;
    std::vector<double> values;
};

namespace {

[[noreturn]] void refuse_points(const std::string& what) {
    throw py::type_error(
        what +
        ": a Scan is made of wavelengths and values, Scan([400, 410], [0.1, 0.2]), "
        "or of pairs, Scan([(400, 0.1), (410, 0.2)]); read() reads files and "
        "interop has other libraries' tables");
}

std::string shortened_repr(py::handle item) {
    const py::str text = py::repr(item);
    constexpr std::size_t longest = 40;
    if (py::len(text) <= longest) return text;
    return std::string(py::str(text[py::slice(0, longest, 1)])) + "\u2026";
}

double number_of(py::handle item) {
    py::detail::make_caster<double> number;
    if (!number.load(item, true)) refuse_points("not a number: " + shortened_repr(item));
    return number;
}

bool is_other_data(py::handle source) {
    return PyUnicode_Check(source.ptr()) != 0 || PyBytes_Check(source.ptr()) != 0 ||
           py::isinstance<Scan>(source) || py::hasattr(source, "__array__") ||
           py::hasattr(source, "__fspath__");
}

/// @return false when `source` is nothing that has items
bool load_points(py::handle source, PointList& points) {
    const std::string type = Py_TYPE(source.ptr())->tp_name;
    if (is_other_data(source)) refuse_points("a " + type + " alone");
    const bool mapping = py::hasattr(source, "keys") && py::hasattr(source, "__getitem__");
    const py::object pairs =
        mapping ? py::module_::import("builtins").attr("dict")(source).attr("items")()
                : py::reinterpret_borrow<py::object>(source);
    auto iterator = py::reinterpret_steal<py::object>(PyObject_GetIter(pairs.ptr()));
    if (!iterator) {
        PyErr_Clear();
        return false;
    }
    const py::list items(iterator);
    // A constructor that was tried before may have taken the items out of an iterator.
    if (items.empty() && iterator.is(source)) refuse_points("an iterator without points");
    bool tuples = PyTuple_Check(source.ptr()) == 0;
    for (const py::handle item : items) {
        const bool is_pair = py::isinstance<py::sequence>(item) && !py::isinstance<py::str>(item) &&
                             !py::isinstance<Scan>(item) && PySequence_Size(item.ptr()) == 2;
        if (!is_pair) refuse_points("no pair: " + shortened_repr(item));
        tuples = tuples && PyTuple_Check(item.ptr()) != 0;
        const auto pair = py::reinterpret_borrow<py::sequence>(item);
        points.wavelengths.push_back(number_of(pair[0]));
        points.values.push_back(number_of(pair[1]));
    }
    // Two items of two numbers each may as well be the wavelengths and the values.
    if (items.size() == 2 && !tuples) refuse_points("two pairs, or wavelengths and values?");
    return true;
}

}  // namespace

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct type_caster<vekanalysis::python::PointList> {
    PYBIND11_TYPE_CASTER(vekanalysis::python::PointList,
                         const_name("collections.abc.Mapping[float, float] | "
                                    "collections.abc.Iterable[tuple[float, float]]"));

    bool load(handle source, bool convert) {
        // Later than everything that the other constructors take.
        return convert && vekanalysis::python::load_points(source, value);
    }
};

}  // namespace pybind11::detail

namespace vekanalysis::python {

namespace {

py::arg_v interpolation_default() {
    return {"interpolation", spline::Type::AKIMA, "Interpolation.AKIMA"};
}

Docstring with_settings(Docstring doc) {
    return doc
        .parameter("epsilon", "float",
                   "Wavelength equality tolerance, not negative; with infinity all wavelengths "
                   "are equal.")
        .parameter("interpolation", "Interpolation",
                   "How values between stored points are obtained; ``AKIMA`` unless given.");
}

constexpr const char* bad_points = "If a wavelength is NaN, or ``epsilon`` is negative or NaN.";

}  // namespace

void add_scan_construction(ScanClass& scan) {
    scan.def(py::init<double, spline::Type>(), "epsilon"_a = default_epsilon,
             interpolation_default(),
             with_settings(Docstring("Make an empty scan."))
                 .raises("ValueError", "If ``epsilon`` is negative or NaN."));
    scan.def(
        py::init([](FloatList wavelengths, FloatList values, double epsilon, spline::Type type) {
            return Scan(std::move(wavelengths.values), std::move(values.values), epsilon, type);
        }),
        "wavelength_array"_a, "value_array"_a, "epsilon"_a = default_epsilon,
        interpolation_default(),
        with_settings(
            Docstring("Make a scan of pairs of wavelengths and values.")
                .parameter("wavelength_array", "list of float or array of shape (N,)",
                           "Wavelengths in any order. Of wavelengths that are equal within "
                           "``epsilon`` the first stays as the key and the last gives the value.")
                .parameter("value_array", "list of float or array of shape (N,)",
                           "The value at each wavelength."))
            .raises("RuntimeError", "If the two arrays differ in length.")
            .raises("TypeError", "If some values of an array are masked.")
            .raises("ValueError", bad_points));
    scan.def(
        py::init([](PointList points, double epsilon, spline::Type type) {
            return Scan(std::move(points.wavelengths), std::move(points.values), epsilon, type);
        }),
        "points"_a, "epsilon"_a = default_epsilon, interpolation_default(),
        with_settings(
            Docstring("Make a scan of points.")
                .parameter("points", "mapping of float to float, or iterable of (float, float)",
                           "Wavelengths and values, as ``scan.items()`` or ``zip`` give them. Two "
                           "pairs have to be tuples in a list, since two lists of two numbers may "
                           "as well be the wavelengths and the values."))
            .raises("TypeError", "If they are anything else.")
            .raises("ValueError", bad_points));
}

}  // namespace vekanalysis::python
