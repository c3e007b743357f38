#include "python/registration.hpp"

#include <string>

#include "colorimetry/photometer.hpp"
#include "colorimetry/transmittance.hpp"
#include "colorimetry/tristimulus.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

using namespace py::literals;

namespace {

void add_records(py::module_& m) {
    using colorimetry::CIELAB;
    using colorimetry::CIEXYZ;
    using colorimetry::RYG;
    using colorimetry::RYGB;
    RecordClass(m, "CIEXYZ", "Tristimulus values, in the unit of the spectrum times nm.",
                Field{"X", &CIEXYZ::X, "Tristimulus value X."},
                Field{"Y", &CIEXYZ::Y, "Tristimulus value Y."},
                Field{"Z", &CIEXYZ::Z, "Tristimulus value Z."})
        .of_numbers("CIEXYZ");
    RecordClass(m, "CIELAB", "CIE 1976 L*a*b* coordinates.",
                Field{"L_star", &CIELAB::L_star, "Lightness L*, 100 for the white point."},
                Field{"a_star", &CIELAB::a_star, "Coordinate a*, red above 0."},
                Field{"b_star", &CIELAB::b_star, "Coordinate b*, yellow above 0."})
        .of_numbers("CIELAB");
    RecordClass(m, "RYG", "Transmittances for the three colours of a traffic light.",
                Field{"red", &RYG::red, "Fraction for the red signal."},
                Field{"yellow", &RYG::yellow, "Fraction for the yellow signal."},
                Field{"green", &RYG::green, "Fraction for the green signal."})
        .of_numbers("RYG");
    RecordClass(m, "RYGB", "Transmittances for the four colours of signal lights.",
                Field{"red", &RYGB::red, "Fraction for the red signal."},
                Field{"yellow", &RYGB::yellow, "Fraction for the yellow signal."},
                Field{"green", &RYGB::green, "Fraction for the green signal."},
                Field{"blue", &RYGB::blue, "Fraction for the blue signal."})
        .of_numbers("RYGB");
}

void add_colours(py::module_& m) {
    m.def("CIE_tristimulus_values", &colorimetry::CIE_tristimulus_values, "scan"_a, "observer"_a,
          R"doc(
    Returns the CIE tristimulus values X, Y and Z of a spectrum.

    Each is the integral from 380 to 780 nm of one of the observer's
    colour-matching functions times the spectrum. No normalising constant is
    applied (neither 100 over Y of the illuminant nor 683 lm/W), so only ratios
    of the values mean anything. Where the spectrum has no data it counts as 0.

    Parameters
    ----------
    scan : Scan
        Spectrum in any unit, wavelengths in nm.
    observer : Observer

    Returns
    -------
    CIEXYZ

    Raises
    ------
    RuntimeError
        If ``scan`` cannot be interpolated, or has too few points in common with
        the observer.

    See CIE 15:2004, section 7.
)doc");
    m.def("CIE_relative_tristimulus_values", &colorimetry::CIE_relative_tristimulus_values,
          "scan"_a, "white_point_reference"_a, "observer"_a, R"doc(
    Returns X, Y and Z on the scale where the white point has Y = 100.

    Those of ``CIE_tristimulus_values`` times k = 100 / Y of the white point.

    Parameters
    ----------
    scan : Scan
        Spectrum, wavelengths in nm; for a surface or a lens its reflectance or
        transmittance times the illuminant.
    white_point_reference : Scan
        Spectrum of the white point in the same unit, for instance the illuminant.
    observer : Observer

    Returns
    -------
    CIEXYZ

    Raises
    ------
    ValueError
        If Y of the white point is not finite and above 0.
    RuntimeError
        As for ``CIE_tristimulus_values``.

    See CIE 15:2004, section 7.1.
)doc");
    m.def("CIELAB_f", &colorimetry::CIELAB_f, "t"_a, R"doc(
    Non linear function used in the forward transformation from the CIEXYZ
    color space to the CIELAB.
)doc");
    m.def("CIELAB_tristimulus_values", &colorimetry::CIELAB_tristimulus_values, "scan"_a,
          "white_point_reference"_a, "observer"_a, R"doc(
    Returns the CIE 1976 L*a*b* coordinates of a spectrum.

    L* = 116 f(Y/Yn) - 16, a* = 500 (f(X/Xn) - f(Y/Yn)) and
    b* = 200 (f(Y/Yn) - f(Z/Zn)), with f = ``CIELAB_f`` and Xn, Yn, Zn the
    tristimulus values of the white point for the same observer.

    Parameters
    ----------
    scan : Scan
        Spectrum, wavelengths in nm; for a surface or a lens its reflectance or
        transmittance times the illuminant.
    white_point_reference : Scan
        Spectrum of the white point in the same unit, for instance the illuminant.
    observer : Observer

    Returns
    -------
    CIELAB

    Raises
    ------
    RuntimeError
        As for ``CIE_tristimulus_values``.

    See CIE 15:2004, section 8.2.1.
)doc");
}

/// Docstring of a transmittance: what it is, how it is formed, what goes in and out, where it is
/// defined.
std::string transmittance_doc(const char* description, const char* formula, const char* result,
                              const char* reference, const char* failure = nullptr) {
    return std::string("\n") + description + "\n" + formula +
           R"doc(
    Parameters
    ----------
    trans : Scan
        Spectral transmittance as a fraction, wavelengths in nm. What it does
        not cover counts as 0.

    Returns
    -------
)doc" + result +
           R"doc(
    Raises
    ------
)doc" +
           (failure != nullptr ? failure :
                               R"doc(    RuntimeError
        If ``trans`` cannot be interpolated or has too few points.
)doc") + "\n    " +
           reference + "\n";
}

constexpr const char* fraction = "    float\n        Fraction.\n";

void add_transmittances(py::module_& m) {
    const auto add = [&m](const char* name, auto function, const char* description,
                          const char* formula, const char* reference) {
        m.def(name, function, "trans"_a,
              transmittance_doc(description, formula, fraction, reference).c_str());
    };
    add("ISO8980_3_tau_uva", &colorimetry::ISO8980_3_tau_uva,
        "    Returns the mean UV-A transmittance (tau_UVA). The mean transmittance\n"
        "    between 315 nm and 380 nm.\n",
        "    The integral of trans from 315 to 380 nm, divided by 65 nm.\n",
        "@see ISO8980-3 Third Edition 2013-10-01 3.1");
    add("ANSI_Z80_3_tau_uva", &colorimetry::ANSI_Z80_3_tau_uva,
        "    Returns the mean UV-A transmittance (tau_UVA). The mean transmittance\n"
        "    between 315 nm and 380 nm.\n",
        "    The integral of trans from 315 to 380 nm, divided by 65 nm.\n",
        "@see ANSI Z80.3 2015 3.8.3");
    add("ANSI_Z80_3_tau_uvb", &colorimetry::ANSI_Z80_3_tau_uvb,
        "    Returns the mean UV-B transmittance (tau_UVB). The mean transmittance\n"
        "    between 280 nm and 315 nm.\n",
        "    The integral of trans from 280 to 315 nm, divided by 35 nm.\n",
        "@see ANSI Z80.3 2015 3.8.3");
    constexpr const char* solar_uv =
        "    With the solar spectral irradiance Es(λ) and the relative spectral\n"
        "    effectiveness S(λ): the integral of trans Es S over the band, divided by\n"
        "    that of Es S.\n";
    add("ISO8980_3_tau_suva", &colorimetry::ISO8980_3_tau_suva,
        "    Returns the solar UV-A transmittance (tau_SUVA). The mean of the spectral\n"
        "    transmittance between 315 nm and 380 nm, weighted by the solar radiation\n"
        "    and the relative spectral effectiveness of UV radiation.\n",
        solar_uv, "@see ISO8980-3 Third Edition 2013-10-01 3.2");
    add("ASNZS1067_2016_tau_suva", &colorimetry::ASNZS1067_2016_tau_suva,
        "    Returns the solar UV-A transmittance (tau_SUVA). The mean of the spectral\n"
        "    transmittance between 315 nm and 400 nm, weighted by the solar radiation\n"
        "    and the relative spectral effectiveness of UV radiation.\n",
        solar_uv, "@see ASNZS 1067.2 - 2016");
    add("ISO8980_3_tau_suvb", &colorimetry::ISO8980_3_tau_suvb,
        "    Returns the solar UV-B transmittance (tau_SUVB). The mean of the spectral\n"
        "    transmittance between 280 nm and 315 nm, weighted by the solar radiation\n"
        "    and the relative spectral effectiveness of UV radiation.\n",
        "    With the solar spectral irradiance Es(λ) and the relative spectral\n"
        "    effectiveness S(λ): the integral of trans Es S over the band, divided by\n"
        "    that of Es S. The weights rise steeply, and the first integral follows the\n"
        "    wavelengths of trans too: sampled every 1 nm a clear lens gives 0.945.\n",
        "@see ISO8980-3 Third Edition 2013-10-01 3.3");
    add("ISO8980_3_tau_v", &colorimetry::ISO8980_3_tau_v,
        "    Returns the luminous transmittancev (tau_V). The ratio of the luminous flux\n"
        "    transmitted by the lens or filter to the incident luminous flux\n",
        "    With CIE standard illuminant D65: the integral of trans V(λ) D65 from 380\n"
        "    to 780 nm, divided by that of V(λ) D65.\n",
        "@see ISO8980-3 Third Edition 2013-10-01 3.4");
    add("ANSI_Z80_3_tau_v", &colorimetry::ANSI_Z80_3_tau_v,
        "    Returns the luminous transmittance (tau_V). The ratio of the luminous flux\n"
        "    transmitted by the lens or filter to the incident luminous flux\n",
        "    With CIE illuminant C: the integral of trans V(λ) C from 380 to 780 nm,\n"
        "    divided by that of V(λ) C.\n",
        "@see ANSI Z80.3-2015 3.8.1");
    constexpr const char* four_colours =
        "    RYGB\n        Fractions for the red, yellow, green and blue signal.\n";
    m.def("ISO8980_3_tau_signal_incandescent", &colorimetry::ISO8980_3_tau_signal_incandescent,
          "trans"_a,
          transmittance_doc(
              "    Returns the relative luminous transmittances for incandescent signal lights\n"
              "    (tau_signal).\n",
              "    With ESignal(λ) V(λ) of a colour: the integral of trans ESignal V from 380\n"
              "    to 780 nm, divided by that of ESignal V. The tables of the signal lights\n"
              "    are reconstructions, not for conformity decisions.\n",
              four_colours, "@see ISO8980-3 Third Edition 2013-10-01 3.5")
              .c_str());
    m.def("ANSI_Z80_3_tau_signal", &colorimetry::ANSI_Z80_3_tau_signal, "trans"_a,
          transmittance_doc(
              "    Returns the luminous transmittances for the traffic-signal lenses under CIE\n"
              "    standard illuminant A (tau_signal).\n",
              "    With the transmittance T(λ) of a colour's signal lens: the integral of\n"
              "    trans V(λ) A T from 380 to 780 nm, divided by that of V(λ) A Tred. The red\n"
              "    lens's denominator serves all three colours, so a clear lens gives 1 for\n"
              "    red only. The tables of the signal lenses are reconstructions, not for\n"
              "    conformity decisions.\n",
              "    RYG\n        Fractions for the red, yellow and green signal.\n",
              "@see ANSI Z80.3 3.8.2.2")
              .c_str());
    m.def("ANSI_Z80_3_tau_spectral_min", &colorimetry::ANSI_Z80_3_tau_spectral_min, "trans"_a,
          transmittance_doc(
              "    Returns the minimum spectral transmittance between 475 nm and 650 nm.\n",
              "    The smallest stored value; nothing is interpolated between the points.\n",
              fraction, "@see ANSI Z80.3 4.10.2.3",
              "    ValueError\n        If no point lies between 475 and 650 nm.\n")
              .c_str());
    m.def("ISO8980_3_tau_signal_led", &colorimetry::ISO8980_3_tau_signal_led, "trans"_a,
          transmittance_doc(
              "    Returns the relative luminous transmittances for LED signal lights\n"
              "    (tau_signal).\n",
              "    With ESignal(λ) V(λ) of a colour: the integral of trans ESignal V from 380\n"
              "    to 780 nm, divided by that of ESignal V. The tables of the signal lights\n"
              "    are reconstructions, not for conformity decisions.\n",
              four_colours, "@see ISO8980-3 Third Edition 2013-10-01 3.5")
              .c_str());
    add("ISO12311_tau_sb", &colorimetry::ISO12311_tau_sb,
        "    Returns the solar blue-light transmittance (tau_SB). The mean of the\n"
        "    spectral transmittance between 380 nm and 500 nm, weighted by the solar\n"
        "    radiation and the blue-light hazard function.\n",
        "    With the solar spectral irradiance Es(λ) and the blue-light hazard function\n"
        "    B(λ): the integral of trans Es B over the band, divided by that of Es B.\n",
        "@see ISO12311 Corrected version 2013-11-15 7.4");
}

void add_photometer_indices(py::module_& m) {
    m.def("f1_prime", &colorimetry::f1_prime, "scan"_a, R"doc(
    The integral parameter f1' describes the quality of the spectral match
    between a specified spectrum and the CIE 1931 standard colorimetric
    observer (CIE 1931 2° Standard Observer) Color Matching Function y.
)doc");
    m.def("f2", &colorimetry::f2, "Y_0"_a, "Y_pi_2"_a, R"doc(
    The directional response index f2 describes how closely the response of a
    photometer for illuminance follows the cosine of the angle of incidence ɛ.

    f2(ɛ, φ) = Y(ɛ, φ) / (Y(0, φ) cos(ɛ)) - 1

    f2 is the average over the azimuths φ = 0, π/2, π, 3π/2 of the integral over
    0 ≤ ɛ ≤ 4π/9 of abs(f2(ɛ, φ)) sin(2ɛ). Negative angles of a scan stand for
    the opposite azimuth. The result is a fraction, not per cent.

    Parameters
    ----------
    Y_0 : Scan
        Output signal against the angle of incidence in radians, over -4π/9 to
        4π/9, at azimuth 0.
    Y_pi_2 : Scan
        Output signal against the angle of incidence in radians, over -4π/9 to
        4π/9, at azimuth π/2.

    Returns
    -------
    float

    Raises
    ------
    RuntimeError
        If a scan cannot be interpolated or has too few points.

    :see: ISO/CIE 19476:2014(E) 5.5.3
)doc");
}

}  // namespace

void add_colorimetry_module(py::module_& m) {
    add_records(m);
    add_srgb_record(m);
    add_colours(m);
    add_colour_functions(m);
    add_transmittances(m);
    add_photometer_indices(m);
}

}  // namespace vekanalysis::python
