#include "python/quantity_class.hpp"

#include <pybind11/numpy.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "python/arrays.hpp"
#include "python/buffer_view.hpp"
#include "python/docstring.hpp"
#include "quantities/evaluator.hpp"

namespace vekanalysis::python {

template <>
inline constexpr bool is_bound_class<quantities::Evaluator> = true;

using namespace py::literals;

namespace {

using quantities::Evaluator;

/// Spectra are looked up in blocks of so many, so that memory does not grow with their number.
constexpr std::size_t block = 256;

/// What NumPy would call the type of the items, for messages.
std::string dtype_of(py::handle array, const Py_buffer* view) {
    const py::object dtype = py::getattr(array, "dtype", py::none());
    if (!dtype.is_none()) return py::str(dtype);
    if (view != nullptr && view->format != nullptr) return view->format;
    return py::str(py::type::of(array).attr("__name__"));
}

/// 'd' or 'f' of this machine; '\0' for all else.
char float_type_of(const Py_buffer& view) noexcept {
    const char* format = view.format == nullptr ? "B" : view.format;
    if (*format == '@' || *format == '=') ++format;
    const bool is_float = (format[0] == 'd' || format[0] == 'f') && format[1] == '\0';
    return is_float ? format[0] : '\0';
}

/// Memory of float64 or float32 of any strides.
struct Array {
    py::object owner;
    BufferView view;
    bool is_single = false;

    [[nodiscard]] std::size_t dimensions() const noexcept {
        return static_cast<std::size_t>(view->ndim);
    }
    [[nodiscard]] py::ssize_t last() const noexcept { return view->shape[view->ndim - 1]; }
    [[nodiscard]] std::byte* data() const noexcept { return static_cast<std::byte*>(view->buf); }

    /// From the first byte to behind the last; nothing when there are no items.
    [[nodiscard]] std::optional<std::pair<const std::byte*, const std::byte*>> extent() const {
        const std::byte* from = data();
        const std::byte* to = data() + view->itemsize;
        for (int i = 0; i < view->ndim; ++i) {
            if (view->shape[i] == 0) return std::nullopt;
            const py::ssize_t reach = (view->shape[i] - 1) * view->strides[i];
            (reach < 0 ? from : to) += reach;
        }
        return std::pair(from, to);
    }
};

/// Throws TypeError if some values of a NumPy array are masked.
void refuse_masked(py::handle source) {
    if (!py::hasattr(source, "mask") || !py::hasattr(source, "filled")) return;
    if (py::cast<bool>(py::module_::import("numpy.ma").attr("is_masked")(source))) {
        throw py::type_error("Evaluator: some values are masked; give array.filled(nan)");
    }
}

Array array_of(const py::object& source) {
    refuse_masked(source);
    Array array{source, nullptr};
    if (is_list(source)) {
        array.owner = py::module_::import("numpy").attr("asarray")(source, "dtype"_a = "float64");
    } else if (PyObject_CheckBuffer(source.ptr()) == 0 && py::hasattr(source, "__array__")) {
        array.owner = py::module_::import("numpy").attr("asarray")(source);
    }
    array.view = acquire_buffer(array.owner, PyBUF_FORMAT | PyBUF_STRIDES);
    const char type = array.view ? float_type_of(*array.view) : '\0';
    if (type == '\0') {
        throw py::type_error("Evaluator: values of " + dtype_of(array.owner, array.view.get()) +
                             "; an array of float64 or float32 is needed");
    }
    array.is_single = type == 'f';
    return array;
}

/// Whether no two items share memory, as far as strides tell without a search.
bool is_apart(const Py_buffer& view) {
    std::vector<std::pair<py::ssize_t, py::ssize_t>> axes;
    for (int i = 0; i < view.ndim; ++i) {
        if (view.shape[i] == 0) return true;
        if (view.shape[i] > 1) axes.emplace_back(std::abs(view.strides[i]), view.shape[i]);
    }
    std::sort(axes.begin(), axes.end());
    py::ssize_t extent = view.itemsize;
    for (const auto& [stride, count] : axes) {
        if (stride < extent) return false;
        extent += stride * (count - 1);
    }
    return true;
}

std::string shape_text(const std::vector<py::ssize_t>& shape) {
    return py::str(py::tuple(py::cast(shape)));
}

/// The memory of `out`, held against what is to be written there.
Array checked_out(const py::object& out, const std::vector<py::ssize_t>& shape,
                  const Array& values) {
    Array array{out, acquire_buffer(out, PyBUF_FORMAT | PyBUF_STRIDES | PyBUF_WRITABLE)};
    if (!array.view || float_type_of(*array.view) != 'd') {
        throw py::type_error("Evaluator: out must be a writable array of float64");
    }
    const std::vector<py::ssize_t> given(array.view->shape, array.view->shape + array.view->ndim);
    if (given != shape) {
        throw py::value_error("Evaluator: out has shape " + shape_text(given) + "; " +
                              shape_text(shape) + " is needed");
    }
    if (!is_apart(*array.view)) throw py::value_error("Evaluator: out overlaps itself");
    const auto a = array.extent();
    const auto b = values.extent();
    if (a && b && a->first < b->second && b->first < a->second) {
        throw py::value_error("Evaluator: out overlaps values");
    }
    return array;
}

/// The runs along the last axis of an array, in C order.
class Runs {
public:
    explicit Runs(const Array& array)
        : next_(array.data()),
          shape_(array.view->shape, array.view->shape + array.view->ndim - 1),
          strides_(array.view->strides, array.view->strides + array.view->ndim - 1),
          place_(shape_.size(), 0) {}

    std::byte* take() noexcept {
        std::byte* const run = next_;
        for (std::size_t i = shape_.size(); i-- > 0;) {
            next_ += strides_[i];
            if (++place_[i] < shape_[i]) break;
            next_ -= strides_[i] * shape_[i];
            place_[i] = 0;
        }
        return run;
    }

private:
    std::byte* next_;
    std::vector<py::ssize_t> shape_;
    std::vector<py::ssize_t> strides_;
    std::vector<py::ssize_t> place_;
};

void require_unchanged_tables(const Evaluator& evaluator) {
    if (const char* const table = evaluator.changed_table()) {
        throw std::runtime_error(std::string("Evaluator: the built-in spectrum ") + table +
                                 " has been changed since this was made; make it anew");
    }
}

/// Runs the handlers of signals that have come, every now and then.
class Signals {
public:
    /// @throws py::error_already_set  what a handler raises: KeyboardInterrupt
    void handle(const Evaluator& evaluator) {
        const auto now = Clock::now();
        if (now - last_ < std::chrono::milliseconds(100)) return;
        const py::gil_scoped_acquire locked;
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        // A handler may do anything, this too.
        if (evaluator.needs_functions()) require_unchanged_tables(evaluator);
        last_ = Clock::now();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point last_ = Clock::now();
};

void evaluate_all(const Evaluator& evaluator, const Array& values, const Array& results) {
    std::size_t left = 1;
    for (int i = 0; i + 1 < values.view->ndim; ++i) {
        left *= static_cast<std::size_t>(values.view->shape[i]);
    }
    const std::ptrdiff_t step = values.view->strides[values.view->ndim - 1];
    const std::ptrdiff_t result_step = results.view->strides[results.view->ndim - 1];
    Runs spectra(values);
    Runs places(results);
    std::vector<Evaluator::Row> rows;
    std::vector<Evaluator::Results> to;
    Signals signals;
    for (; left > 0; left -= rows.size()) {
        rows.clear();
        to.clear();
        for (std::size_t i = 0; i < std::min(block, left); ++i) {
            rows.push_back({spectra.take(), step, values.is_single});
            to.push_back({places.take(), result_step});
        }
        evaluator.evaluate(rows, to);
        signals.handle(evaluator);
    }
}

/// Lets other threads run, but where functions read tables that these might change.
template <class Work>
void work_unlocked(const Evaluator& evaluator, const Work& work) {
    if (evaluator.needs_functions()) {
        work();
        return;
    }
    const py::gil_scoped_release unlocked;
    work();
}

void check_last(const Evaluator& evaluator, const Array& values) {
    const auto n = static_cast<py::ssize_t>(evaluator.wavelengths().size());
    if (values.view->ndim == 0 || values.last() != n) {
        const std::vector<py::ssize_t> shape(values.view->shape,
                                             values.view->shape + values.view->ndim);
        throw py::value_error("Evaluator: values have shape " + shape_text(shape) +
                              "; the last dimension must be that of the wavelengths, " +
                              std::to_string(n));
    }
}

py::object evaluate_array(const Evaluator& self, const py::object& source, const py::object& out) {
    const Array values = array_of(source);
    check_last(self, values);
    std::vector<py::ssize_t> shape(values.view->shape, values.view->shape + values.view->ndim);
    shape.back() = static_cast<py::ssize_t>(self.quantities().size());
    py::object result = out.is_none() ? py::object(py::array_t<double>(shape)) : out;
    const Array results = checked_out(result, shape, values);
    require_unchanged_tables(self);
    work_unlocked(self, [&] { evaluate_all(self, values, results); });
    return result;
}

py::array_t<double> sensitivities_of(const Evaluator& self, const py::object& source) {
    std::vector<double> values;
    if (!source.is_none()) {
        const Array array = array_of(source);
        check_last(self, array);
        if (array.view->ndim != 1) {
            throw py::value_error("Evaluator.sensitivities: one spectrum at a time");
        }
        for (py::ssize_t i = 0; i < array.last(); ++i) {
            const std::byte* const place = array.data() + i * array.view->strides[0];
            float single = 0.0F;
            double value = 0.0;
            std::memcpy(&value, place, array.is_single ? 0 : sizeof value);
            std::memcpy(&single, place, array.is_single ? sizeof single : 0);
            values.push_back(array.is_single ? static_cast<double>(single) : value);
        }
    }
    require_unchanged_tables(self);
    py::array_t<double> result(
        std::vector<py::ssize_t>{static_cast<py::ssize_t>(self.quantities().size()),
                                 static_cast<py::ssize_t>(self.wavelengths().size())});
    const std::span<double> memory(result.mutable_data(), static_cast<std::size_t>(result.size()));
    work_unlocked(self, [&] { self.sensitivities(values, memory); });
    return result;
}

/// Whether a scan has the grid, the tolerance and the interpolation of the evaluator.
bool fits(const Evaluator& self, const Scan& scan) {
    const auto grid = self.wavelengths();
    return self.epsilon() == scan.get_wavelength_epsilon() &&
           self.interpolation() == scan.get_interpolation_type() &&
           std::ranges::equal(grid, scan.get_wavelengths());
}

/// None in a place for what is refused.
py::list rows_of(const Evaluator& self,
                 const std::vector<std::reference_wrapper<const Scan>>& scans) {
    const std::size_t count = self.quantities().size();
    std::vector<double> results(scans.size() * count);
    std::vector<Evaluator::Row> spectra;
    std::vector<Evaluator::Results> places;
    for (const Scan& scan : scans) {
        if (!fits(self, scan)) throw py::value_error("Evaluator.rows: a scan has another grid");
        spectra.push_back(Evaluator::Row::of(scan.data().values()));
        places.push_back(
            Evaluator::Results::of(std::span(results).subspan(places.size() * count, count)));
    }
    require_unchanged_tables(self);
    self.evaluate(spectra, places);
    py::list rows(scans.size());
    for (std::size_t k = 0; k < scans.size(); ++k) {
        py::list row(count);
        for (std::size_t i = 0; i < count; ++i) {
            const bool is_refused = !self.coverage()[i].problem.empty();
            const double result = results[k * count + i];
            row[i] = is_refused ? py::object(py::none()) : py::object(py::float_(result));
        }
        rows[k] = row;
    }
    return rows;
}

}  // namespace

void add_evaluator_class(py::module_& m) {
    py::class_<Evaluator> cls(m, "Evaluator", "Quantities of many spectra on one grid.");
    cls.def(
        py::init([](const FloatList& wavelengths,
                    const std::vector<std::reference_wrapper<const quantities::Quantity>>& wanted,
                    const Scan& white, double epsilon, spline::Type interpolation) {
            const std::vector<quantities::Quantity> all(wanted.begin(), wanted.end());
            return Evaluator(wavelengths.values, all, epsilon, interpolation, white);
        }),
        "wavelengths"_a, "quantities"_a, "white"_a, "epsilon"_a, "interpolation"_a,
        Docstring("Prepare quantities for a grid.")
            .parameter("wavelengths", "array of shape (n)", "In nm, ascending.")
            .parameter("quantities", "list of Quantity", "What is wanted.")
            .parameter("white", "Scan", "The white point of L*a*b*, for light sources.")
            .parameter("epsilon", "float", "As of a Scan.")
            .parameter("interpolation", "Interpolation", "As of a Scan.")
            .raises("ValueError", "If the wavelengths do not ascend, or epsilon is not possible."));
    cls.def("__call__", &evaluate_array, "values"_a, "out"_a = py::none(),
            Docstring("The quantities of spectra.")
                .parameter("values", "array of shape (..., n)", "Of float64 or float32.")
                .parameter("out", "array of shape (..., q), optional", "Takes the result.")
                .returns("array of shape (..., q)", "Of float64.")
                .raises("TypeError", "If the values are of another type.")
                .raises("ValueError", "If a shape does not fit, or ``out`` overlaps something.")
                .raises("RuntimeError", "If a built-in spectrum has been changed meanwhile."));
    cls.def("sensitivities", &sensitivities_of, "values"_a = py::none(),
            Docstring("Change of each quantity with each value.")
                .parameter("values", "array of shape (n), optional", "The spectrum.")
                .returns("array of shape (q, n)")
                .raises("ValueError", "If a spectrum is needed, or its shape does not fit."));
    cls.def("fits", &fits, "scan"_a, "Whether a scan has this grid, and these settings.");
    cls.def("rows", &rows_of, "scans"_a,
            Docstring("The quantities of scans that fit, without NumPy.")
                .parameter("scans", "sequence of Scan")
                .returns("list of list of float or None", "None for refused quantities.")
                .raises("ValueError", "If a scan has another grid.")
                .raises("RuntimeError", "If a built-in spectrum has been changed meanwhile."));
    cls.def_property_readonly(
        "wavelengths",
        [](const Evaluator& self) {
            const auto grid = self.wavelengths();
            return py::array_t<double>(static_cast<py::ssize_t>(grid.size()), grid.data());
        },
        "In nm, a copy.");
    cls.def_property_readonly(
        "linear",
        [](const Evaluator& self) {
            py::tuple linear(self.quantities().size());
            for (std::size_t i = 0; i < linear.size(); ++i) linear[i] = self.is_linear(i);
            return linear;
        },
        "Which quantities are linear in the values.");
    cls.def_property_readonly(
        "coverage",
        [](const Evaluator& self) {
            py::list all;
            for (const auto& value : self.coverage()) all.append(to_python(value));
            return all;
        },
        "As `evaluate` gives it, without values.");
    cls.def_property_readonly("changed_table", &Evaluator::changed_table,
                              "Name of a built-in spectrum that has been changed since, or None.");
}

}  // namespace vekanalysis::python
