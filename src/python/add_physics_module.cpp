#include "python/registration.hpp"

#include <cstddef>
#include <span>

#include "physics/physics.hpp"
#include "python/arrays.hpp"
#include "python/docstring.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

/// f at each value of an array, in an array of the same shape.
template <class F>
py::array_t<double> map_array(const FloatArray& array, const F& f) {
    auto [result, values] = array.make_result();
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = f(array.values()[i]);
    return result;
}

struct Argument {
    const char* name;
    const char* meaning;
};

constexpr Argument temperature{"T", "Temperature in kelvin."};

constexpr const char* array_text = "The same at each value of an array.";
constexpr const char* array_argument = "array of any shape";
constexpr const char* array_result = "array of float64 of the same shape";

constexpr const char* radiance_notes =
    R"doc(h c = 1.9864455003959036e-25 J m and k = 1.3806504e-23 J/K (CODATA 2006).

Relative error, for T from 1 to 100000 K and wl from 1 nm to 1 mm: up to 2.2e-13 for x
above 0.1, and up to 1.1e-16 / x below, where e^x - 1 loses digits (8e-13 at 100000 K
and 1 mm; below x = 1.1e-16 the result is infinite). Above x = 709.8, where e^x
overflows, the result is 0.)doc";

constexpr const char* derivative_notes = R"doc(h c and k are those of ``planks_law_sr``.

Relative error, for T from 1 to 100000 K and wl from 1 nm to 1 mm: up to 1e-13 for x
above 0.1 (of the derivative by wl near its zero at the peak: of its two terms), and
up to 2.2e-16 / x below, where e^x - 1 loses digits. Above x = 354.9, where
(e^x - 1)^2 overflows, the result is 0, and NaN above 709.8, where e^x does.)doc";

/// A function of T and wl, and the same over an array of wl.
template <class Scalar, class Array>
void add_planck(py::module_& m, const char* name, Scalar f, Array f_array, const char* text,
                const Argument& wl, const char* result, const char* notes) {
    m.def(name, f, "T"_a, "wl"_a,
          Docstring(text)
              .parameter(temperature.name, "float", temperature.meaning)
              .parameter("wl", "float", wl.meaning)
              .returns("float", result)
              .section("Notes", notes));
    m.def(name, f_array, "T"_a, "wl"_a,
          Docstring(array_text)
              .parameter(temperature.name, "float", temperature.meaning)
              .parameter("wl", array_argument, wl.meaning)
              .returns(array_result));
}

/// A function of one number, and the same over an array.
template <double (*f)(double) noexcept>
void add_unary(py::module_& m, const char* name, const char* text, const Argument& argument,
               const char* result) {
    m.def(name, f, py::arg(argument.name),
          Docstring(text)
              .parameter(argument.name, "float", argument.meaning)
              .returns("float", result));
    m.def(
        name, [](const FloatArray& array) { return map_array(array, f); }, py::arg(argument.name),
        Docstring(array_text)
            .parameter(argument.name, array_argument, argument.meaning)
            .returns(array_result));
}

using ScalarFunction = double (*)(double, double) noexcept;
using SpanFunction = void (*)(double, std::span<const double>, std::span<double>) noexcept;

template <SpanFunction f>
py::array_t<double> call_with_array(double T, const FloatArray& wl) {
    auto [result, values] = wl.make_result();
    f(T, wl.values(), values);
    return result;
}

template <ScalarFunction f>
py::array_t<double> map_wavelengths(double T, const FloatArray& wl) {
    return map_array(wl, [T](double value) { return f(T, value); });
}

void add_planck_functions(py::module_& m) {
    constexpr Argument metres{"wl", "Wavelength in metres."};
    add_planck(m, "planks_law_sr", py::overload_cast<double, double>(&planks_law_sr),
               &call_with_array<&planks_law_sr>,
               "Planck's law: spectral radiance of a black body in W/(sr m^2)/m.\n\n"
               "2 h c^2 / (wl^5 (e^x - 1)) with x = h c / (wl k T).\n",
               metres, "Spectral radiance in W/(sr m^2)/m.", radiance_notes);
    add_planck(m, "planks_law_sr_um", py::overload_cast<double, double>(&planks_law_sr_um),
               &call_with_array<&planks_law_sr_um>,
               "Planck's law: spectral radiance of a black body in W/(sr m^2)/um.\n\n"
               "2 h c^2 / (wl^5 (e^x - 1)) with x = h c / (wl k T), the wavelength given in um.\n",
               {"wl", "Wavelength in micrometres."}, "Spectral radiance in W/(sr m^2)/um.",
               radiance_notes);
    add_planck(m, "planks_law_sr_nm", py::overload_cast<double, double>(&planks_law_sr_nm),
               &call_with_array<&planks_law_sr_nm>,
               "Planck's law: spectral radiance of a black body in W/(sr m^2)/nm.\n\n"
               "2 h c^2 / (wl^5 (e^x - 1)) with x = h c / (wl k T), the wavelength given in nm.\n",
               {"wl", "Wavelength in nanometres."}, "Spectral radiance in W/(sr m^2)/nm.",
               radiance_notes);
    add_planck(m, "planks_law_sr_deriv_T", &planks_law_sr_deriv_T,
               &map_wavelengths<&planks_law_sr_deriv_T>,
               "Derivative of Planck's law by temperature, in W/(sr m^2)/m/K.\n\n"
               "2 h^2 c^3 e^x / (k T^2 wl^6 (e^x - 1)^2) with x = h c / (wl k T).\n",
               metres, "Derivative in W/(sr m^2)/m/K.", derivative_notes);
    add_planck(m, "planks_law_sr_deriv_wl", &planks_law_sr_deriv_wl,
               &map_wavelengths<&planks_law_sr_deriv_wl>,
               "Derivative of Planck's law by wavelength, in W/(sr m^2)/m^2.\n\n"
               "2 h c^2 (h c e^x - 5 wl k T (e^x - 1)) / (wl^7 k T (e^x - 1)^2) with\n"
               "x = h c / (wl k T).\n",
               metres, "Derivative in W/(sr m^2)/m^2.", derivative_notes);
}

}  // namespace

void add_physics_module(py::module_& m) {
    add_planck_functions(m);
    add_unary<wiens_displacement_law_T>(
        m, "wiens_displacement_law_T",
        "Wien's displacement law: temperature in kelvin of the black body whose spectral\n"
        "radiance peaks at a wavelength.\n\n"
        "b / wl with b = 0.0028977721 m K.\n",
        {"wl", "Wavelength in metres."}, "Temperature in kelvin.");
    add_unary<wiens_displacement_law_wl>(
        m, "wiens_displacement_law_wl",
        "Wien's displacement law: wavelength in metres at which the spectral radiance of a\n"
        "black body peaks.\n\n"
        "b / T with b = 0.0028977721 m K.\n",
        temperature, "Wavelength in metres.");
    add_unary<stefan_boltzmann_law>(
        m, "stefan_boltzmann_law",
        "Stefan-Boltzmann law: radiant exitance of a black body in W/m^2.\n\n"
        "sigma T^4 with sigma = 5.67040047374e-8 W m-2 K-4.\n",
        temperature, "Radiant exitance in W/m^2.");
    constexpr Argument area{"A", "Area of the surface in m^2."};
    constexpr Argument emissivity{"epsilon", "Emissivity (0 <= epsilon <= 1), not checked."};
    m.def("stefan_boltzmann_law_surface",
          py::overload_cast<double, double, double>(&stefan_boltzmann_law), "T"_a, "A"_a,
          "epsilon"_a,
          Docstring("Stefan-Boltzmann law: power in W that a grey surface radiates.\n\n"
                    "epsilon A sigma T^4 with sigma = 5.67040047374e-8 W m-2 K-4.\n")
              .parameter(temperature.name, "float", temperature.meaning)
              .parameter(area.name, "float", area.meaning)
              .parameter(emissivity.name, "float", emissivity.meaning)
              .returns("float", "Power in W."));
    m.def(
        "stefan_boltzmann_law_surface",
        [](const FloatArray& T, double A, double epsilon) {
            return map_array(
                T, [A, epsilon](double value) { return stefan_boltzmann_law(value, A, epsilon); });
        },
        "T"_a, "A"_a, "epsilon"_a,
        Docstring(array_text)
            .parameter(temperature.name, array_argument, temperature.meaning)
            .parameter(area.name, "float", area.meaning)
            .parameter(emissivity.name, "float", emissivity.meaning)
            .returns(array_result));
}

}  // namespace vekanalysis::python
