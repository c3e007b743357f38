#include "python/registration.hpp"

#include <pybind11/numpy.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "colorimetry/colour_difference.hpp"
#include "colorimetry/srgb.hpp"
#include "python/arrays.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;
using colorimetry::CIELAB;
using colorimetry::SRGB;

namespace {

/// f at each pair of colours, which are the last axis of two arrays of the same shape.
template <class F>
py::array_t<double> map_pairs(const FloatArray& reference, const FloatArray& sample, const F& f) {
    std::vector<py::ssize_t> shape = reference.shape();
    if (shape.back() != 3 || shape != sample.shape()) {
        throw py::value_error("reference and sample must have the same shape (..., 3)");
    }
    shape.pop_back();
    py::array_t<double> result(shape);
    const std::span<double> out(result.mutable_data(), static_cast<std::size_t>(result.size()));
    const auto colour = [](const FloatArray& array, std::size_t i) {
        const auto lab = array.values().subspan(3 * i, 3);
        return CIELAB{lab[0], lab[1], lab[2]};
    };
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = f(colour(reference, i), colour(sample, i));
    return result;
}

std::string difference_doc(const char* summary, const char* parameters, const char* source) {
    return std::string("\n    Returns the ") + summary +
           R"doc(

    Parameters
    ----------
    reference, sample : CIELAB
        Against the same white.
)doc" + parameters +
           "\n    Returns\n    -------\n    float\n        Dimensionless.\n" +
           (*parameters == '\0' ? ""
                                : "\n    Raises\n    ------\n    ValueError\n"
                                  "        If a factor is not above 0, or a slope below 0.\n") +
           "\n    See " + source + "\n";
}

constexpr const char* of_arrays = R"doc(
    The same for arrays of colours.

    Parameters
    ----------
    reference, sample : arrays of the same shape (..., 3)
        L*, a* and b* along the last axis. The other parameters as above.

    Returns
    -------
    array of float64, shape (...)

    Raises
    ------
    ValueError
        If the shapes differ or do not end in 3, and as above.
)doc";

void add_differences(py::module_& m) {
    using colorimetry::CIE94Slopes;
    using colorimetry::DifferenceFactors;
    m.def("delta_E_CIE1976", &colorimetry::delta_E_CIE1976, "reference"_a, "sample"_a,
          difference_doc("CIE 1976 colour difference: the distance in L*a*b* space.", "",
                         "CIE 15:2004, section 8.2.1.3.")
              .c_str());
    m.def(
        "delta_E_CIE1976",
        [](const FloatArray& reference, const FloatArray& sample) {
            return map_pairs(reference, sample, colorimetry::delta_E_CIE1976);
        },
        "reference"_a, "sample"_a, of_arrays);

    constexpr const char* factors_doc =
        "    k_L, k_C, k_H : float\n"
        "        Factors of the viewing conditions, 1 by default.\n";
    const std::string cie94_doc = std::string(factors_doc) +
                                  "    K_1, K_2 : float\n"
                                  "        Slopes of the weights of chroma and hue; for textiles\n"
                                  "        0.048 and 0.014, with ``k_L`` = 2.\n";
    const auto cie94 = [](double k_L, double k_C, double k_H, double K_1, double K_2) {
        return [=](const CIELAB& reference, const CIELAB& sample) {
            return colorimetry::delta_E_CIE94(reference, sample, {k_L, k_C, k_H}, {K_1, K_2});
        };
    };
    m.def(
        "delta_E_CIE94",
        [cie94](const CIELAB& reference, const CIELAB& sample, double k_L, double k_C, double k_H,
                double K_1,
                double K_2) { return cie94(k_L, k_C, k_H, K_1, K_2)(reference, sample); },
        "reference"_a, "sample"_a, "k_L"_a = 1.0, "k_C"_a = 1.0, "k_H"_a = 1.0, "K_1"_a = 0.045,
        "K_2"_a = 0.015,
        difference_doc("CIE94 colour difference, weighted by the chroma of the reference: the\n"
                       "    other way round it is another.",
                       cie94_doc.c_str(), "CIE 116-1995; CIE 15:2004, Annex D.")
            .c_str());
    m.def(
        "delta_E_CIE94",
        [cie94](const FloatArray& reference, const FloatArray& sample, double k_L, double k_C,
                double k_H, double K_1, double K_2) {
            return map_pairs(reference, sample, cie94(k_L, k_C, k_H, K_1, K_2));
        },
        "reference"_a, "sample"_a, "k_L"_a = 1.0, "k_C"_a = 1.0, "k_H"_a = 1.0, "K_1"_a = 0.045,
        "K_2"_a = 0.015, of_arrays);

    const auto ciede2000 = [](double k_L, double k_C, double k_H) {
        return [=](const CIELAB& reference, const CIELAB& sample) {
            return colorimetry::delta_E_CIEDE2000(reference, sample, {k_L, k_C, k_H});
        };
    };
    m.def(
        "delta_E_CIEDE2000",
        [ciede2000](const CIELAB& reference, const CIELAB& sample, double k_L, double k_C,
                    double k_H) { return ciede2000(k_L, k_C, k_H)(reference, sample); },
        "reference"_a, "sample"_a, "k_L"_a = 1.0, "k_C"_a = 1.0, "k_H"_a = 1.0,
        difference_doc("CIEDE2000 colour difference, the same either way round.", factors_doc,
                       "ISO/CIE 11664-6:2014.")
            .c_str());
    m.def(
        "delta_E_CIEDE2000",
        [ciede2000](const FloatArray& reference, const FloatArray& sample, double k_L, double k_C,
                    double k_H) { return map_pairs(reference, sample, ciede2000(k_L, k_C, k_H)); },
        "reference"_a, "sample"_a, "k_L"_a = 1.0, "k_C"_a = 1.0, "k_H"_a = 1.0, of_arrays);
}

constexpr const char* white_doc = R"doc(
    Raises
    ------
    ValueError
        If the white is not finite, or so saturated a colour that no eye takes
        it for white.
)doc";

void add_srgb(py::module_& m) {
    m.def("CIEXYZ_to_linear_sRGB", &colorimetry::CIEXYZ_to_linear_sRGB, "xyz"_a, "white"_a,
          (R"doc(
    Returns linear sRGB values, before the encoding: 1, 1, 1 for the white.

    Values below 0 or above 1 belong to colours that a screen cannot show. The eye
    is taken to be adapted to the white, from which the colour is adapted to the
    D65 of sRGB (Bradford).

    Parameters
    ----------
    xyz, white : CIEXYZ
        On the same scale, whichever it is.

    Returns
    -------
    sRGB
)doc" + std::string(white_doc) +
           R"doc(
    See IEC 61966-2-1:1999 with Amendment 1:2003; ISO 15076-1:2010, Annex E.
)doc")
              .c_str());
    m.def("CIEXYZ_to_sRGB", &colorimetry::CIEXYZ_to_sRGB, "xyz"_a, "white"_a,
          (R"doc(
    Returns encoded sRGB values, 0 to 1, for pictures.

    A colour that a screen cannot show is mixed with the grey of its luminance until
    no value is below 0; then what is above 1 is cut.

    Parameters
    ----------
    xyz, white : CIEXYZ
        On the same scale, whichever it is.

    Returns
    -------
    sRGB
)doc" + std::string(white_doc))
              .c_str());
    m.def("sRGB_values", &colorimetry::sRGB_values, "scan"_a, "white_point_reference"_a,
          "observer"_a,
          (R"doc(
    Returns the encoded sRGB values of a spectrum, for pictures.

    Those of ``CIEXYZ_to_sRGB``, for the tristimulus values of both spectra.

    Parameters
    ----------
    scan : Scan
        Spectrum, wavelengths in nm; for a surface or a lens its reflectance or
        transmittance times the illuminant.
    white_point_reference : Scan
        Spectrum of the white point in the same unit, for instance the illuminant.
    observer : Observer
        sRGB is defined for the 1931 observer.

    Returns
    -------
    sRGB
)doc" + std::string(white_doc) +
           "    RuntimeError\n        As for ``CIE_tristimulus_values``.\n")
              .c_str());
}

}  // namespace

void add_srgb_record(py::module_& m) {
    RecordClass(m, "sRGB", "Encoded sRGB values (IEC 61966-2-1), 0 to 1.",
                Field{"red", &SRGB::red, "Encoded red."},
                Field{"green", &SRGB::green, "Encoded green."},
                Field{"blue", &SRGB::blue, "Encoded blue."})
        .of_numbers("sRGB")
        .def("to_hex", &colorimetry::to_hex, R"doc(
    Returns the colour as "#rrggbb", each value rounded to one of 256.

    Raises
    ------
    ValueError
        If a value is not within 0 to 1, as linear ones may be.
)doc");
}

void add_colour_functions(py::module_& m) {
    add_differences(m);
    add_srgb(m);
}

}  // namespace vekanalysis::python
