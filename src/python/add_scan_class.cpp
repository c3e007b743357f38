#include "python/registration.hpp"

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "python/arrays.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// Walks a copy of the items taken when iteration began, so that changing the scan meanwhile is
/// harmless.
template <class Item>
class Iterator {
public:
    explicit Iterator(std::vector<Item> items) noexcept : items_(std::move(items)) {}

    Item next() {
        if (next_ == items_.size()) throw py::stop_iteration();
        return items_[next_++];
    }

private:
    std::vector<Item> items_;
    std::size_t next_ = 0;
};

}  // namespace

template <class Item>
inline constexpr bool is_bound_class<Iterator<Item>> = true;

namespace {

template <class Item>
void add_iterator() {
    py::class_<Iterator<Item>>(py::handle(), "iterator", py::module_local())
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", &Iterator<Item>::next);
}

std::string to_str(const Scan& scan) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << scan;
    return stream.str();
}

std::string to_repr(const Scan& scan) {
    std::string text = "Scan(";
    if (scan.empty()) {
        text += "empty";
    } else {
        text += internal::general(scan.min_wavelength()) + "\u2192" +
                internal::general(scan.max_wavelength()) + "[" + std::to_string(scan.size()) + "]";
    }
    if (scan.get_wavelength_epsilon() != default_epsilon) {
        text += ", epsilon=" + internal::general(scan.get_wavelength_epsilon());
    }
    if (scan.get_interpolation_type() != spline::Type::AKIMA) {
        text +=
            std::string(", interpolation=") + spline::typeToString(scan.get_interpolation_type());
    }
    return text + ")";
}

py::array_t<double> to_numpy(const Scan& scan) {
    const auto n = static_cast<py::ssize_t>(scan.size());
    py::array_t<double> array({py::ssize_t{2}, n});
    const auto keys = scan.data().keys();
    const auto values = scan.data().values();
    double* const out = array.mutable_data();
    std::copy(keys.begin(), keys.end(), out);
    std::copy(values.begin(), values.end(), out + n);
    return array;
}

void add_interpolation_enum(py::module_& m) {
    py::enum_<spline::Type> interpolation(m, "Interpolation",
                                          "How a scan obtains values between its stored points.");
    const auto add = [&interpolation](spline::Type type, const char* doc) {
        interpolation.value(spline::typeToString(type), type, doc);
    };
    add(spline::Type::NONE, "No interpolation: only stored wavelengths have a value.");
    add(spline::Type::AKIMA, "Akima's local cubic spline; needs at least 5 points.");
    add(spline::Type::CUBIC, "Natural cubic spline; needs at least 3 points.");
    add(spline::Type::LINEAR, "Straight lines; needs at least 2 points.");
    add(spline::Type::POLYNOMIAL,
        "One polynomial through all points; needs at least 3 points and loses precision with "
        "many.");
    interpolation.export_values();
}

constexpr const char* class_doc = R"doc(Represents spectral data as (wavelength, value) pairs.

A scan is an ordered set of points whose wavelengths (in nm by convention) are
compared with a tolerance, ``epsilon``, together with an interpolation method.

- ``scan[wavelength]``: dictionary-style access for exact stored points.
- ``scan(wavelength)``: function-style access for interpolated lookup, which gives
  the stored value where there is one and 0.0 outside the stored range.
- ``scan(w1, w2)``: integration between two wavelengths.

Lists and NumPy arrays are accepted alike; arrays are copied as a whole.

Notes
-----
A NaN wavelength is refused when stored (``ValueError``) and found nowhere;
infinite wavelengths are ordinary points. Iterators walk the points as they were
when iteration began. A scan must not be used from two threads at once.

Examples
--------
>>> from vekanalysis import Interpolation, Scan
>>> scan = Scan([400, 500, 600], [1, 2, 4], interpolation=Interpolation.LINEAR)
>>> scan[500], scan(450), scan(700)
(2.0, 1.5, 0.0)
>>> scan(400, 600)
450.0
)doc";

constexpr const char* in_place_rule =
    "The operation is applied at the wavelengths stored in ``self``, with the values of\n"
    "``other`` obtained by calling it: its stored value, else its interpolated value,\n"
    "and 0.0 outside its range (no extrapolation).\n\n";

constexpr const char* grid_rule =
    "When either scan interpolates, the result is evaluated on the union of the stored\n"
    "wavelengths within the overlap, as far as the other scan can be interpolated there;\n"
    "when neither does, on the common wavelengths. The result has the smaller epsilon,\n"
    "and the interpolation of the left scan if that interpolates, else of the right.\n\n";

std::string in_place_doc(const char* operation, const char* extra) {
    return std::string("This modifies ``self``.\n\n") + operation + "\n" + in_place_rule + extra +
           "Parameters\n----------\nother : Scan\n    Right operand; left as it is.\n\n"
           "Returns\n-------\nScan\n    ``self``.\n\n"
           "Raises\n------\nRuntimeError\n    If ``other`` must be interpolated but cannot be; "
           "``self`` is left as it was.\n";
}

std::string in_place_scalar_doc(const char* operation) {
    return std::string("This modifies ``self``.\n\n") + operation +
           " The wavelength grid is preserved.\n\n"
           "Parameters\n----------\nk : float\n\n"
           "Returns\n-------\nScan\n    ``self``.\n";
}

std::string binary_doc(const char* operation) {
    return std::string(operation) + "\n\n" + grid_rule +
           "Parameters\n----------\nother : Scan\n\nReturns\n-------\nScan\n    A new scan.\n\n"
           "Raises\n------\nRuntimeError\n    If a scan must be interpolated but cannot be.\n";
}

std::string scalar_doc(const char* operation) {
    return std::string(operation) +
           " The wavelength grid is preserved.\n\n"
           "Parameters\n----------\nk : float\n\nReturns\n-------\nScan\n    A new scan.\n";
}

void add_construction(py::class_<Scan>& scan) {
    const auto interpolation_default = [] {
        return py::arg_v("interpolation", spline::Type::AKIMA, "Interpolation.AKIMA");
    };
    scan.def(py::init<double, spline::Type>(), "epsilon"_a = default_epsilon,
             interpolation_default(), R"doc(Make an empty scan.

Parameters
----------
epsilon : float
    Wavelength equality tolerance, finite and not negative.
interpolation : Interpolation
    How values between stored points are obtained; ``AKIMA`` unless given.

Raises
------
ValueError
    If ``epsilon`` is negative, infinite or NaN.
)doc");
    scan.def(
        py::init([](FloatList wavelengths, FloatList values, double epsilon, spline::Type type) {
            return Scan(std::move(wavelengths.values), std::move(values.values), epsilon, type);
        }),
        "wavelength_array"_a, "value_array"_a, "epsilon"_a = default_epsilon,
        interpolation_default(), R"doc(Make a scan of pairs of wavelengths and values.

Parameters
----------
wavelength_array : list of float or array of shape (N,)
    Wavelengths in any order. Of wavelengths that are equal within ``epsilon`` the
    first stays as the key and the last gives the value.
value_array : list of float or array of shape (N,)
    The value at each wavelength.
epsilon : float
    Wavelength equality tolerance, finite and not negative.
interpolation : Interpolation
    How values between stored points are obtained; ``AKIMA`` unless given.

Raises
------
RuntimeError
    If the two arrays differ in length.
ValueError
    If a wavelength is NaN, or ``epsilon`` is negative, infinite or NaN.
)doc");
}

void add_settings(py::class_<Scan>& scan) {
    scan.def_property("interpolation", &Scan::get_interpolation_type, &Scan::set_interpolation_type,
                      R"doc(Interpolation method used by ``scan(wavelength)``.

Set to ``vekanalysis.Interpolation.NONE`` to disable interpolation.
)doc");
    scan.def_property("epsilon", &Scan::get_wavelength_epsilon, &Scan::set_wavelength_epsilon,
                      R"doc(Wavelength equality tolerance used for key comparisons.

This affects lookups and ordering of wavelengths.
Widening it merges wavelengths that become equal: the lowest of each run stays,
with its own value.
)doc");
    scan.def("is_interpolated", &Scan::is_interpolated,
             "Whether the interpolation method is other than ``Interpolation.NONE``.");
    scan.def("min_wavelength", &Scan::min_wavelength, R"doc(Smallest stored wavelength.

Raises
------
RuntimeError
    If the scan is empty.
)doc");
    scan.def("max_wavelength", &Scan::max_wavelength, R"doc(Largest stored wavelength.

Raises
------
RuntimeError
    If the scan is empty.
)doc");
}

void add_evaluation(py::class_<Scan>& scan) {
    scan.def("__call__", py::overload_cast<double>(&Scan::operator(), py::const_), "wavelength"_a,
             R"doc(Value at a wavelength.

The stored value where there is one, 0.0 outside the stored range (there is no
extrapolation), else the interpolated value.

Parameters
----------
wavelength : float

Returns
-------
float

Raises
------
RuntimeError
    Between stored points, if ``interpolation`` is ``NONE`` or there are too few
    points for it.
)doc");
    scan.def("__call__", py::overload_cast<double, double>(&Scan::operator(), py::const_),
             "wavelength_from"_a, "wavelength_to"_a,
             R"doc(Integral of the interpolated scan between two wavelengths.

The limits are clipped to the stored range; with ``wavelength_from`` above
``wavelength_to`` the result is 0.0.

Parameters
----------
wavelength_from, wavelength_to : float

Returns
-------
float
    Integral in the unit of the values times nm.

Raises
------
RuntimeError
    If the limits differ and ``interpolation`` is ``NONE`` or there are too few
    points for it.
)doc");
    scan.def(
        "__call__",
        [](const Scan& self, const FloatArray& wavelength) {
            auto [result, values] = wavelength.make_result();
            self.evaluate(wavelength.values(), values);
            return result;
        },
        "wavelength"_a, R"doc(Values at an array of wavelengths, each as for one wavelength.

Parameters
----------
wavelength : array of any shape
    Wavelengths in any order; ascending ones are fastest.

Returns
-------
array of float64 of the same shape

Raises
------
RuntimeError
    As for one wavelength.
)doc");
    scan.def("integral", &Scan::integral, R"doc(Integral over the whole stored range.

Equivalent to ``scan(scan.min_wavelength(), scan.max_wavelength())``; 0.0 for an
empty scan.

Returns
-------
float

Raises
------
RuntimeError
    For two or more points, if ``interpolation`` is ``NONE`` or there are too few
    points for it.
)doc");
    scan.def("deriv", py::overload_cast<double>(&Scan::deriv, py::const_), "wavelength"_a,
             R"doc(First derivative of the interpolated scan at a wavelength.

0.0 outside the stored range.

Parameters
----------
wavelength : float

Returns
-------
float
    Derivative in the unit of the values per nm.

Raises
------
RuntimeError
    If ``interpolation`` is ``NONE`` or there are too few points for it.
)doc");
    scan.def(
        "deriv",
        [](const Scan& self, const FloatArray& wavelength) {
            auto [result, values] = wavelength.make_result();
            self.deriv(wavelength.values(), values);
            return result;
        },
        "wavelength"_a, R"doc(First derivatives at an array of wavelengths.

Parameters
----------
wavelength : array of any shape

Returns
-------
array of float64 of the same shape

Raises
------
RuntimeError
    As for one wavelength.
)doc");
    scan.def(
        "x",
        [](const Scan& self) {
            return utils::transform(self, [](double wl, double) { return wl; });
        },
        R"doc(The wavelengths as a scan of their own.

Returns
-------
Scan
    A new scan over the same wavelengths whose value at each wavelength is that
    wavelength.
)doc");
}

void add_points(py::class_<Scan>& scan) {
    scan.def(
        "__getitem__",
        [](const Scan& self, double wavelength) {
            try {
                return self.at(wavelength);
            } catch (const std::out_of_range&) {
                throw py::key_error("key '" + internal::fixed(wavelength) + "' does not exist");
            }
        },
        "wavelength"_a, R"doc(Value of a stored point; never interpolates.

Parameters
----------
wavelength : float

Returns
-------
float

Raises
------
KeyError
    If no stored wavelength equals ``wavelength`` within ``epsilon``.
)doc");
    const auto insert = [](Scan& self, double wavelength, double value) {
        self.insert({wavelength, value});
    };
    scan.def("__setitem__", insert, "wavelength"_a, "value"_a,
             R"doc(Insert or update a stored point.

Parameters
----------
wavelength : float
    A stored wavelength that equals it within ``epsilon`` stays as the key.
value : float

Raises
------
ValueError
    If ``wavelength`` is NaN.
)doc");
    scan.def("add", insert, "wavelength"_a, "value"_a, R"doc(Insert or update a stored point.

This is equivalent to ``scan[wavelength] = value``.

Parameters
----------
wavelength : float
value : float

Raises
------
ValueError
    If ``wavelength`` is NaN.
)doc");
    scan.def(
        "__iter__",
        [](const Scan& self) {
            return py::typing::Iterator<double>(py::cast(Iterator(self.get_wavelengths())));
        },
        "Iterate over the wavelengths in ascending order.");
    scan.def(
        "items",
        [](const Scan& self) {
            return py::typing::Iterator<py::typing::Tuple<double, double>>(
                py::cast(Iterator(utils::to_vector(self))));
        },
        "Iterate over the (wavelength, value) pairs in ascending order of wavelength.");
    scan.def("wavelengths", &Scan::get_wavelengths,
             "The stored wavelengths in ascending order, as a list.");
    scan.def("values", &Scan::get_values,
             "The stored values in ascending order of wavelength, as a list.");
    scan.def(
        "to_lists",
        [](const Scan& self) { return std::pair(self.get_wavelengths(), self.get_values()); },
        R"doc(The points as two lists.

Returns
-------
tuple of list of float
    The wavelengths in ascending order, and the values in the same order.
)doc");
    scan.def("to_numpy", &to_numpy, R"doc(The points as a NumPy array.

Returns
-------
array of float64 of shape (2, N)
    Row 0 holds the wavelengths in ascending order, row 1 the values. The array is
    a copy.
)doc");
}

void add_arithmetic(py::class_<Scan>& scan) {
    using Other = const Scan&;
    const auto in_place = [&scan](const char* name, auto operation, const char* scan_text,
                                  const char* extra, const char* scalar_text) {
        scan.def(
            name, [operation](Scan& self, Other other) -> Scan& { return operation(self, other); },
            "other"_a, py::is_operator(), in_place_doc(scan_text, extra).c_str());
        scan.def(
            name, [operation](Scan& self, double k) -> Scan& { return operation(self, k); }, "k"_a,
            py::is_operator(), in_place_scalar_doc(scalar_text).c_str());
    };
    constexpr const char* empty_left =
        "An empty ``self`` becomes a copy of ``other``, epsilon and interpolation included.\n\n";
    constexpr const char* empty_left_negated =
        "An empty ``self`` becomes the negation of ``other``, epsilon and interpolation\n"
        "included.\n\n";
    in_place(
        "__iadd__", [](Scan& a, const auto& b) -> Scan& { return a += b; },
        "Adds the values of another scan.", empty_left, "Adds a number to every value.");
    in_place(
        "__isub__", [](Scan& a, const auto& b) -> Scan& { return a -= b; },
        "Subtracts the values of another scan.", empty_left_negated,
        "Subtracts a number from every value.");
    in_place(
        "__imul__", [](Scan& a, const auto& b) -> Scan& { return a *= b; },
        "Multiplies by the values of another scan.", "", "Multiplies every value by a number.");
    in_place(
        "__itruediv__", [](Scan& a, const auto& b) -> Scan& { return a /= b; },
        "Divides by the values of another scan; dividing by zero gives infinity or NaN.", "",
        "Divides every value by a number.");

    const auto binary = [&scan](const char* name, auto operation, const char* scan_text,
                                const char* scalar_text) {
        scan.def(
            name, [operation](Other self, Other other) { return operation(self, other); },
            "other"_a, py::is_operator(), binary_doc(scan_text).c_str());
        scan.def(
            name, [operation](Other self, double k) { return operation(self, k); }, "k"_a,
            py::is_operator(), scalar_doc(scalar_text).c_str());
    };
    const auto reflected = [&scan](const char* name, auto operation, const char* text) {
        scan.def(
            name, [operation](Other self, double k) { return operation(k, self); }, "k"_a,
            py::is_operator(), scalar_doc(text).c_str());
    };
    const auto add = [](const auto& a, const auto& b) { return a + b; };
    const auto subtract = [](const auto& a, const auto& b) { return a - b; };
    const auto multiply = [](const auto& a, const auto& b) { return a * b; };
    const auto divide = [](const auto& a, const auto& b) { return a / b; };
    binary("__add__", add, "Sum of two scans.", "Sum of a scan and a number.");
    binary("__sub__", subtract, "Difference of two scans.", "Difference of a scan and a number.");
    binary("__mul__", multiply, "Product of two scans.", "Product of a scan and a number.");
    binary("__truediv__", divide, "Quotient of two scans; dividing by zero gives infinity or NaN.",
           "Quotient of a scan and a number.");
    reflected("__radd__", add, "Sum of a number and a scan.");
    reflected("__rsub__", subtract, "Difference of a number and a scan.");
    reflected("__rmul__", multiply, "Product of a number and a scan.");
    reflected("__rtruediv__", divide, "Quotient of a number and a scan.");

    scan.def(
        "__neg__", [](Other self) { return -self; }, py::is_operator(),
        "New scan with every value multiplied by -1.0.");
    scan.def(
        "__pow__", [](Other self, double k) { return utils::pow(self, k); }, "k"_a,
        py::is_operator(), scalar_doc("The values raised to a power.").c_str());
    scan.def(
        "__pow__", [](Other self, Other other) { return utils::pow(self, other); }, "other"_a,
        py::is_operator(), binary_doc("The values raised to the values of another scan.").c_str());
    scan.def(
        "__rpow__", [](Other self, double k) { return utils::pow(k, self); }, "k"_a,
        py::is_operator(), scalar_doc("A number raised to each value.").c_str());
    scan.def(
        "__eq__", [](Other self, Other other) { return self == other; }, "other"_a,
        py::is_operator(),
        R"doc(Whether two scans hold the same points under the same epsilon.

Wavelengths may differ by epsilon, values must be equal. The interpolation method
is not compared.
)doc");
}

}  // namespace

void add_scan_class(py::module_& m) {
    add_interpolation_enum(m);
    add_iterator<double>();
    add_iterator<std::pair<double, double>>();

    py::class_<Scan> scan(m, "Scan", class_doc);
    add_construction(scan);
    add_settings(scan);
    add_evaluation(scan);
    add_points(scan);
    add_arithmetic(scan);
    scan.def("__str__", &to_str,
             "One line \"wavelength, value\" for each point, after a line end.");
    scan.def("__repr__", &to_repr,
             "Range, number of points, and the settings that are not default.");
}

}  // namespace vekanalysis::python
