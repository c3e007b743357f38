#include "python/scan_class.hpp"

#include <string>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"
#include "utils/element_wise.hpp"

namespace vekanalysis::python {

using namespace py::literals;

/// A number beside a scan; arrays and lists are refused with a way out.
struct Factor {
    double value;
};

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct type_caster<vekanalysis::python::Factor> {
    PYBIND11_TYPE_CASTER(vekanalysis::python::Factor, const_name("float"));

    bool load(handle source, bool convert) {
        namespace py = pybind11;
        if (vekanalysis::python::is_list(source) ||
            vekanalysis::python::FloatArray::from(source).has_value()) {
            throw py::type_error(
                "numbers without wavelengths have no place beside a Scan: make a scan of them, "
                "Scan(scan.wavelengths(), numbers), or compute with the array of "
                "scan.to_numpy()[1] or the list of scan.values()");
        }
        make_caster<double> number;
        if (!number.load(source, convert)) return false;
        value.value = number;
        return true;
    }
};

}  // namespace pybind11::detail

namespace vekanalysis::python {

namespace {

using Other = const Scan&;

constexpr const char* in_place_rule =
    "The operation is applied at the wavelengths stored in ``self``, with the values of\n"
    "``other`` obtained by calling it: its stored value, else its interpolated value,\n"
    "and 0.0 outside its range (no extrapolation).";

constexpr const char* grid_rule =
    "When either scan interpolates, the result is evaluated on the union of the stored\n"
    "wavelengths within the overlap, as far as the other scan can be interpolated there;\n"
    "when neither does, on the common wavelengths. The result has the smaller epsilon,\n"
    "and the interpolation of the left scan if that interpolates, else of the right.";

constexpr const char* new_scan = "A new scan.";

Docstring in_place_doc(const char* operation, const char* empty_left) {
    std::string text =
        std::string("This modifies ``self``.\n\n") + operation + "\n" + in_place_rule;
    if (*empty_left != '\0') text += std::string("\n\n") + empty_left;
    return Docstring(text)
        .parameter("other", "Scan", "Right operand; left as it is.")
        .returns("Scan", "``self``.")
        .raises("RuntimeError",
                "If ``other`` must be interpolated but cannot be; ``self`` is left as it was.");
}

Docstring in_place_scalar_doc(const char* operation) {
    return Docstring(std::string("This modifies ``self``.\n\n") + operation +
                     " The wavelength grid is preserved.")
        .parameter("k", "float")
        .returns("Scan", "``self``.");
}

Docstring binary_doc(const char* operation) {
    return Docstring(std::string(operation) + "\n\n" + grid_rule)
        .parameter("other", "Scan")
        .returns("Scan", new_scan)
        .raises("RuntimeError", "If a scan must be interpolated but cannot be.");
}

Docstring scalar_doc(const char* operation) {
    return Docstring(std::string(operation) + " The wavelength grid is preserved.")
        .parameter("k", "float")
        .returns("Scan", new_scan)
        .raises("TypeError", "If ``k`` is an array or a list: it has no wavelengths.");
}

void add_in_place(ScanClass& scan) {
    const auto in_place = [&scan](const char* name, auto operation, const char* scan_text,
                                  const char* empty_left, const char* scalar_text) {
        scan.def(
            name, [operation](Scan& self, Other other) -> Scan& { return operation(self, other); },
            "other"_a, py::is_operator(), in_place_doc(scan_text, empty_left));
        scan.def(
            name, [operation](Scan& self, Factor k) -> Scan& { return operation(self, k.value); },
            "k"_a, py::is_operator(), in_place_scalar_doc(scalar_text));
    };
    in_place(
        "__iadd__", [](Scan& a, const auto& b) -> Scan& { return a += b; },
        "Adds the values of another scan.",
        "An empty ``self`` becomes a copy of ``other``, epsilon and interpolation included.",
        "Adds a number to every value.");
    in_place(
        "__isub__", [](Scan& a, const auto& b) -> Scan& { return a -= b; },
        "Subtracts the values of another scan.",
        "An empty ``self`` becomes the negation of ``other``, epsilon and interpolation\n"
        "included.",
        "Subtracts a number from every value.");
    in_place(
        "__imul__", [](Scan& a, const auto& b) -> Scan& { return a *= b; },
        "Multiplies by the values of another scan.", "", "Multiplies every value by a number.");
    in_place(
        "__itruediv__", [](Scan& a, const auto& b) -> Scan& { return a /= b; },
        "Divides by the values of another scan; dividing by zero gives infinity or NaN.", "",
        "Divides every value by a number.");
}

void add_binary(ScanClass& scan) {
    const auto binary = [&scan](const char* name, auto operation, const char* scan_text,
                                const char* scalar_text) {
        scan.def(
            name, [operation](Other self, Other other) { return operation(self, other); },
            "other"_a, py::is_operator(), binary_doc(scan_text));
        scan.def(
            name, [operation](Other self, Factor k) { return operation(self, k.value); }, "k"_a,
            py::is_operator(), scalar_doc(scalar_text));
    };
    const auto reflected = [&scan](const char* name, auto operation, const char* text) {
        scan.def(
            name, [operation](Other self, Factor k) { return operation(k.value, self); }, "k"_a,
            py::is_operator(), scalar_doc(text));
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
}

void add_powers(ScanClass& scan) {
    scan.def(
        "__pow__", [](Other self, Factor k) { return utils::pow(self, k.value); }, "k"_a,
        py::is_operator(), scalar_doc("The values raised to a power."));
    scan.def(
        "__pow__", [](Other self, Other other) { return utils::pow(self, other); }, "other"_a,
        py::is_operator(), binary_doc("The values raised to the values of another scan."));
    scan.def(
        "__rpow__", [](Other self, Factor k) { return utils::pow(k.value, self); }, "k"_a,
        py::is_operator(), scalar_doc("A number raised to each value."));
}

/// NumPy would take a scan for an object of which it knows nothing, and operate on arrays of such.
void add_refusals_of_numpy(ScanClass& scan) {
    scan.attr("__array_ufunc__") = py::none();
    scan.def(
        "__array__",
        [](const py::object& self, const py::object& dtype, const py::object& /*copy*/) {
            const py::module_ numpy = py::module_::import("numpy");
            if (dtype.is_none() || !numpy.attr("dtype")(dtype).equal(numpy.attr("dtype")("O"))) {
                throw py::type_error(
                    "a Scan is no array: scan.to_numpy() gives the wavelengths and the values, "
                    "scan.values() the values; an array of scans needs dtype=object");
            }
            py::object array = numpy.attr("empty")(py::tuple(), "dtype"_a = dtype);
            array[py::tuple()] = self;
            return array;
        },
        "dtype"_a = py::none(), "copy"_a = py::none(),
        Docstring("Refused, so that NumPy's functions do not take the scan for one number.")
            .parameter("dtype", "numpy.dtype", "``object``, as in an array of scans, is accepted.")
            .parameter("copy", "bool", "Not used.")
            .returns("array of object of shape ()", "The scan itself.")
            .raises("TypeError", "For every other ``dtype``."));
}

}  // namespace

void add_scan_operators(ScanClass& scan) {
    add_in_place(scan);
    add_binary(scan);
    scan.def(
        "__neg__", [](Other self) { return -self; }, py::is_operator(),
        "New scan with every value multiplied by -1.0.");
    add_powers(scan);
    scan.def(
        "__eq__", [](Other self, Other other) { return self == other; }, "other"_a,
        py::is_operator(),
        R"doc(Whether two scans hold the same points under the same epsilon.

Wavelengths may differ by epsilon, values must be equal. The interpolation method
is not compared.
)doc");
    add_refusals_of_numpy(scan);
}

}  // namespace vekanalysis::python
