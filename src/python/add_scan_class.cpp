#include "python/registration.hpp"

#include <locale>
#include <sstream>
#include <string>
#include <utility>

#include "core/scan.hpp"
#include "core/text.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"
#include "python/pickling.hpp"
#include "python/scan_class.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

std::string to_str(const Scan& scan) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios::badbit);  // a want of memory
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

/// @throws py::value_error  for a number that stands for no method
spline::Type to_interpolation(int value) {
    if (value < static_cast<int>(spline::Type::NONE) ||
        value > static_cast<int>(spline::Type::POLYNOMIAL)) {
        throw py::value_error(std::to_string(value) + " is no Interpolation");
    }
    return static_cast<spline::Type>(value);
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
    // The binding layer's own constructors take any number.
    const py::handle plain = interpolation.ptr();
    py::delattr(plain, "__init__");
    py::delattr(plain, "__setstate__");
    interpolation.def(py::init(&to_interpolation), "value"_a,
                      Docstring("The member of this value, 0 to 4.")
                          .parameter("value", "int")
                          .raises("ValueError", "If there is none."));
    interpolation.def(
        py::pickle([](spline::Type type) { return static_cast<int>(type); }, &to_interpolation));
}

constexpr const char* class_doc = R"doc(Represents spectral data as (wavelength, value) pairs.

A scan is an ordered set of points whose wavelengths (in nm by convention) are
compared with a tolerance, ``epsilon``, together with an interpolation method.

- ``scan[wavelength]``: dictionary-style access for exact stored points.
- ``scan(wavelength)``: function-style access for interpolated lookup, which gives
  the stored value where there is one and 0.0 outside the stored range.
- ``scan(w1, w2)``: integration between two wavelengths.

Lists and NumPy arrays are accepted alike; arrays are copied as a whole. An array
some of whose values are masked is refused. A scan itself is no array: NumPy's
functions take ``scan.to_numpy()`` or ``scan.values()``.

Notes
-----
A NaN wavelength is refused when stored (``ValueError``) and found nowhere;
infinite wavelengths are ordinary points. Iterators walk the points as they were
when iteration began. A scan must not be used from two threads at once. Classes
may inherit from it; what they add is copied and pickled, too.

Examples
--------
>>> from vekanalysis import Interpolation, Scan
>>> scan = Scan([400, 500, 600], [1, 2, 4], interpolation=Interpolation.LINEAR)
>>> scan[500], scan(450), scan(700)
(2.0, 1.5, 0.0)
>>> scan(400, 600)
450.0
)doc";

void add_settings(ScanClass& scan) {
    const auto add = [&scan](const char* name, auto get, auto set, const char* doc) {
        // Named, so that the error about a wrong type has the attribute's name.
        scan.def_property(
            name, get, py::cpp_function(set, py::name(name), py::is_method(scan), py::arg("value")),
            doc);
    };
    add("interpolation", &Scan::get_interpolation_type, &Scan::set_interpolation_type,
        R"doc(Interpolation method used by ``scan(wavelength)``.

Set to ``vekanalysis.Interpolation.NONE`` to disable interpolation.
)doc");
    add("epsilon", &Scan::get_wavelength_epsilon, &Scan::set_wavelength_epsilon,
        R"doc(Wavelength equality tolerance used for key comparisons.

This affects lookups and ordering of wavelengths.
Widening it merges wavelengths that become equal: the lowest of each run stays,
with its own value.
)doc");
    scan.def("is_interpolated", &Scan::is_interpolated,
             "Whether the interpolation method is other than ``Interpolation.NONE``.");
    scan.def(
        "min_wavelength", &Scan::min_wavelength,
        Docstring("Smallest stored wavelength.").raises("RuntimeError", "If the scan is empty."));
    scan.def(
        "max_wavelength", &Scan::max_wavelength,
        Docstring("Largest stored wavelength.").raises("RuntimeError", "If the scan is empty."));
}

void add_copies(ScanClass& scan) {
    add_pickling(
        scan,
        [](const py::object& self) {
            const auto& points = self.cast<const Scan&>();
            return py::make_tuple(to_numpy(points), points.get_wavelength_epsilon(),
                                  points.get_interpolation_type());
        },
        [](const py::tuple& state) {
            const auto points = state[0].cast<FloatArray>();
            const std::size_t n = points.values().size() / 2;
            return Scan(points.values().first(n), points.values().subspan(n),
                        state[1].cast<double>(), state[2].cast<spline::Type>());
        });
}

}  // namespace

void add_scan_class(py::module_& m) {
    add_interpolation_enum(m);
    ScanClass scan(m, "Scan", class_doc);
    add_scan_construction(scan);
    add_settings(scan);
    add_scan_evaluation(scan);
    add_scan_points(scan);
    add_scan_operators(scan);
    add_copies(scan);
    scan.def("__str__", &to_str,
             "One line \"wavelength, value\" for each point, after a line end.");
    scan.def("__repr__", &to_repr,
             "Range, number of points, and the settings that are not default.");
}

}  // namespace vekanalysis::python
