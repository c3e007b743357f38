#include "python/registration.hpp"

#include <pybind11/stl.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "lighting/alpha_opic.hpp"
#include "lighting/bands.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/daylight.hpp"
#include "lighting/dominant_wavelength.hpp"
#include "lighting/hazards.hpp"
#include "lighting/illuminants.hpp"
#include "lighting/planckian.hpp"
#include "python/docstring.hpp"
#include "python/records.hpp"

namespace vekanalysis::python {

template <>
inline constexpr bool is_bound_class<lighting::AlphaOpic> = true;
template <>
inline constexpr bool is_bound_class<lighting::AlphaOpicQuantity> = true;
template <>
inline constexpr bool is_bound_class<lighting::Bandwidth> = true;
template <>
inline constexpr bool is_bound_class<lighting::ColourFidelity> = true;
template <>
inline constexpr bool is_bound_class<lighting::ColourRendering> = true;
template <>
inline constexpr bool is_bound_class<lighting::CorrelatedColourTemperature> = true;
template <>
inline constexpr bool is_bound_class<lighting::DominantWavelength> = true;
template <>
inline constexpr bool is_bound_class<lighting::HazardWeighted> = true;
template <>
inline constexpr bool is_bound_class<lighting::HueBin> = true;
template <>
inline constexpr bool is_bound_class<lighting::Reference> = true;
template <>
inline constexpr bool is_bound_class<lighting::SourceChromaticity> = true;

/// A chromaticity as a record or as two numbers.
struct ChromaticityArgument {
    ChromaticityPoint point;
};

}  // namespace vekanalysis::python

namespace pybind11::detail {

template <>
struct type_caster<vekanalysis::python::ChromaticityArgument> {
    using Record = make_caster<vekanalysis::ChromaticityPoint>;
    PYBIND11_TYPE_CASTER(vekanalysis::python::ChromaticityArgument,
                         Record::name + const_name(" | tuple[float, float]"));

    bool load(handle source, bool convert) {
        Record record;
        if (record.load(source, convert)) {
            value.point = cast_op<const vekanalysis::ChromaticityPoint&>(record);
            return true;
        }
        make_caster<std::pair<double, double>> pair;
        if (PyTuple_Check(source.ptr()) == 0 || !pair.load(source, convert)) return false;
        const auto [x, y] = cast_op<std::pair<double, double>>(pair);
        value.point = {x, y};
        return true;
    }
};

}  // namespace pybind11::detail

namespace vekanalysis::python {

using namespace py::literals;

namespace {

using namespace lighting;

constexpr const char* spectrum = "Spectrum of the light, any unit, wavelengths in nm.";
constexpr const char* irradiance = "Spectral irradiance in W m-2 nm-1, wavelengths in nm.";
constexpr const char* steps =
    "Step of the sums in nm: 5, as CIE 15 prints them, or 1. Spectra with structure finer than "
    "5 nm, lines for instance, need 1.";
constexpr const char* no_answer =
    "If the spectrum does not reach from 400 to 700 nm, is not finite, has no light, is below zero "
    "over most of the visible, or has structure finer than the step.";
constexpr const char* no_temperature =
    "Or if it has no correlated colour temperature: Duv beyond 0.05, below 1000 K or above "
    "1000000 K.";

/// Docstring of a function of a spectrum.
Docstring of_spectrum(const char* text, const char* scan = spectrum) {
    Docstring doc(text);
    doc.parameter("scan", "Scan", scan);
    return doc;
}

void add_temperature(py::module_& m) {
    using Record = CorrelatedColourTemperature;
    RecordClass(m, "CorrelatedColourTemperature",
                "Correlated colour temperature and distance from the Planckian locus.",
                Field{"cct", &Record::cct, "Correlated colour temperature, K."},
                Field{"duv", &Record::duv,
                      "Distance from the Planckian locus in CIE 1960 uv, positive above it."})
        .read_only()
        .shown_as("CorrelatedColourTemperature");
    m.def("correlated_colour_temperature",
          py::overload_cast<const Scan&, int>(&correlated_colour_temperature), "scan"_a,
          "step"_a = 5,
          of_spectrum("Correlated colour temperature (CCT) of a spectrum, and Duv.\n\n"
                      "The temperature of the Planckian radiator (c2 = 1.4388e-2 m K) nearest to "
                      "it in the CIE 1960\ndiagram, CIE 1931 observer, found by minimising the "
                      "distance, after CIE 15:2018.\n")
              .parameter("step", "int", steps)
              .returns("CorrelatedColourTemperature")
              .raises("ValueError", std::string(no_answer) + " " + no_temperature));
    m.def(
        "correlated_colour_temperature",
        [](const ChromaticityArgument& xy) { return correlated_colour_temperature(xy.point); },
        "xy"_a,
        Docstring("The same of a chromaticity.\n\nThe locus is that of the 1 nm observer, summed "
                  "from 360 to 830 nm.\n")
            .parameter("xy", "CIExy or tuple of two floats", "CIE 1931 chromaticity.")
            .returns("CorrelatedColourTemperature")
            .raises("ValueError", no_temperature));
}

void add_chromaticity(py::module_& m) {
    using Record = SourceChromaticity;
    RecordClass(m, "SourceChromaticity", "Chromaticity of a light in three diagrams.",
                Field{"x", &Record::x, "CIE 1931 (or 1964) x."},
                Field{"y", &Record::y, "CIE 1931 (or 1964) y."},
                Field{"u", &Record::u, "CIE 1960 u."}, Field{"v", &Record::v, "CIE 1960 v."},
                Field{"u_prime", &Record::u_prime, "CIE 1976 u'."},
                Field{"v_prime", &Record::v_prime, "CIE 1976 v'."})
        .read_only()
        .shown_as("SourceChromaticity");
    m.def("chromaticity", py::overload_cast<const Scan&, int, int>(&lighting::chromaticity),
          "scan"_a, "step"_a = 5, "observer"_a = 1931,
          of_spectrum("Chromaticity x, y, u, v and u', v' of a spectrum, by sums from 380 to 780 "
                      "nm (CIE 15:2018).\n")
              .parameter("step", "int", steps)
              .parameter("observer", "int", "1931 (2 degrees) or 1964 (10 degrees).")
              .returns("SourceChromaticity")
              .raises("ValueError", no_answer));
    m.def(
        "chromaticity",
        [](const ChromaticityArgument& xy) { return lighting::chromaticity(xy.point); }, "xy"_a,
        Docstring("The same of a point x, y.\n")
            .parameter("xy", "CIExy or tuple of two floats", "Chromaticity x, y.")
            .returns("SourceChromaticity")
            .raises("ValueError", "If it is not finite, or y is not above 0."));
}

void add_rendering(py::module_& m) {
    using Record = ColourRendering;
    RecordClass(
        m, "ColourRendering", "Colour rendering indices after CIE 13.3.",
        Field{"Ra", &Record::Ra, "General index, the mean of R1 to R8."},
        Field{"R", &Record::R, "Special indices, R1 to R15."},
        Field{"cct", &Record::cct, "Correlated colour temperature of the source, K."},
        Field{"duv", &Record::duv, "Distance of the source from the Planckian locus."},
        Field{"reference", &Record::reference, "'Planckian radiator' or 'phase of daylight'."},
        Field{"reference_cct", &Record::reference_cct,
              "Correlated colour temperature of the reference, K."},
        Field{"distance", &Record::distance, "Distance of source and reference in CIE 1960 uv."},
        Field{"distance_limit", &Record::distance_limit,
              "The distance beyond which the method is not meant to be used, 0.0054."})
        .read_only()
        .shown_as("ColourRendering");
    m.def("colour_rendering", &colour_rendering, "scan"_a, "step"_a = 5,
          "reference_cct"_a = py::none(),
          of_spectrum(
              "Colour rendering indices of a light source after CIE 13.3-1995, not rounded.\n\n"
              "The reference has the correlated colour temperature T of the source: below 5000 K "
              "(T rounded to\n1 K) a Planckian radiator, else a phase of daylight.\n")
              .parameter("step", "int", steps)
              .parameter("reference_cct", "float, optional",
                         "Temperature of the reference in K, in place of T.")
              .returns("ColourRendering")
              .raises("ValueError", std::string(no_answer) + " " + no_temperature +
                                        " Or if no phase of daylight has its temperature."));
}

void add_fidelity(py::module_& m) {
    RecordClass(m, "HueBin", "Colour shifts within a sixteenth of the hue circle.",
                Field{"Rf", &HueBin::Rf, "Local colour fidelity."},
                Field{"Rcs", &HueBin::Rcs, "Local chroma shift, per cent."},
                Field{"Rhs", &HueBin::Rhs, "Local hue shift, rad."})
        .read_only()
        .shown_as("HueBin");
    using Record = ColourFidelity;
    RecordClass(m, "ColourFidelity", "Colour fidelity after CIE 224 and ANSI/IES TM-30.",
                Field{"Rf", &Record::Rf, "General colour fidelity index."},
                Field{"Rg", &Record::Rg, "Gamut index."},
                Field{"Rf_samples", &Record::Rf_samples, "Fidelity of each of the 99 samples."},
                Field{"bins", &Record::bins, "The 16 hue bins."},
                Field{"cct", &Record::cct, "Correlated colour temperature of the source, K."},
                Field{"duv", &Record::duv, "Distance of the source from the Planckian locus."})
        .read_only()
        .shown_as("ColourFidelity");
    m.def("colour_fidelity", &colour_fidelity, "scan"_a, "step"_a = 1,
          of_spectrum("Colour fidelity and gamut of a light source after CIE 224:2017 and ANSI/IES "
                      "TM-30-20, not rounded.\n")
              .parameter("step", "int",
                         "Step of the sums in nm: 1, the samples interpolated after Sprague, or "
                         "5.")
              .returns("ColourFidelity")
              .raises("ValueError", std::string(no_answer) + " " + no_temperature +
                                        " Or if it lies above 25000 K."));
}

void add_alpha_opic(py::module_& m) {
    using Quantity = AlphaOpicQuantity;
    RecordClass(m, "AlphaOpicQuantity", "One alpha-opic quantity of a light.",
                Field{"irradiance", &Quantity::irradiance, "Alpha-opic irradiance, W m-2."},
                Field{"elr", &Quantity::elr, "Efficacy of luminous radiation, mW/lm."},
                Field{"edi", &Quantity::edi, "Equivalent daylight (D65) illuminance, lx."},
                Field{"der", &Quantity::der, "Daylight (D65) efficacy ratio."})
        .read_only()
        .shown_as("AlphaOpicQuantity");
    RecordClass(m, "AlphaOpic", "The five alpha-opic quantities after CIE S 026.",
                Field{"s_cone", &AlphaOpic::s_cone, "Of the s cones."},
                Field{"m_cone", &AlphaOpic::m_cone, "Of the m cones."},
                Field{"l_cone", &AlphaOpic::l_cone, "Of the l cones."},
                Field{"rhodopic", &AlphaOpic::rhodopic, "Of the rods."},
                Field{"melanopic", &AlphaOpic::melanopic, "Of melanopsin."})
        .read_only()
        .shown_as("AlphaOpic");
    m.def("alpha_opic", &alpha_opic, "scan"_a,
          of_spectrum("Alpha-opic quantities of a spectral irradiance after CIE S 026:2018.\n\n"
                      "Sums in steps of 1 nm from 380 to 780 nm. Of a relative spectrum only "
                      "``elr`` and ``der`` mean\nanything.\n",
                      irradiance)
              .returns("AlphaOpic")
              .raises("ValueError", no_answer));
    m.def("scotopic_photopic_ratio", &scotopic_photopic_ratio, "scan"_a,
          of_spectrum("Ratio of scotopic to photopic quantities (S/P) of a light.\n\n"
                      "1700 lm/W times the sum of the spectrum times V'(λ), over 683.002 lm/W "
                      "times that with V(λ),\nin steps of 1 nm from 380 to 780 nm.\n")
              .returns("float")
              .raises("ValueError", no_answer));
}

void add_bands(py::module_& m) {
    constexpr const char* not_covered =
        "If the band is empty, or the data do not cover it or are not finite in it.";
    const auto band = [](const char* text, const char* scan) {
        return of_spectrum(text, scan)
            .parameter("wl_from", "float", "Lower limit in nm.")
            .parameter("wl_to", "float", "Upper limit in nm.");
    };
    m.def("band_total", &band_total, "scan"_a, "wl_from"_a, "wl_to"_a,
          band("Total of a band, for instance the irradiance from 315 to 400 nm: the integral of "
               "the interpolant.\n",
               irradiance)
              .returns("float", "W m-2; the unit of the spectrum times nm.")
              .raises("ValueError", not_covered));
    m.def("photon_flux", &photon_flux, "scan"_a, "wl_from"_a, "wl_to"_a,
          band("Photon flux density of a band; from 400 to 700 nm the photosynthetic photon flux "
               "density (PPFD).\n\nThe integral of the spectrum times wl / (N_A h c).\n",
               irradiance)
              .returns("float", "umol m-2 s-1.")
              .raises("ValueError", not_covered));
    m.def("centroid_wavelength",
          py::overload_cast<const Scan&, double, double>(&centroid_wavelength), "scan"_a,
          "wl_from"_a, "wl_to"_a,
          band("Centroid wavelength of a band: the integral of the spectrum times wl over that of "
               "the spectrum.\n",
               spectrum)
              .returns("float", "nm.")
              .raises("ValueError", std::string(not_covered) + " If the integral is not above 0."));
    m.def("centroid_wavelength", py::overload_cast<const Scan&>(&centroid_wavelength), "scan"_a,
          of_spectrum("The same over all data.\n")
              .returns("float", "nm.")
              .raises("ValueError", "If the integral is not above 0."));
    RecordClass(m, "Bandwidth", "Spectral bandwidth of a source with one peak, all in nm.",
                Field{"width", &Bandwidth::width, "Distance of the two flanks."},
                Field{"low", &Bandwidth::low, "The lower flank."},
                Field{"high", &Bandwidth::high, "The upper flank."},
                Field{"centre", &Bandwidth::centre, "The middle between them."},
                Field{"peak", &Bandwidth::peak, "The highest stored point."})
        .read_only()
        .shown_as("Bandwidth");
    m.def("bandwidth", &bandwidth, "scan"_a, "level"_a = 0.5,
          of_spectrum("Width of the one peak of a source at a fraction of its highest stored "
                      "value.\n")
              .parameter("level", "float", "Fraction of the highest value, 0 to 1.")
              .returns("Bandwidth")
              .raises("ValueError",
                      "If there is more than one peak above the level, or the peak "
                      "does not fall to it within the data."));
}

void add_dominant_wavelength(py::module_& m) {
    using Record = DominantWavelength;
    RecordClass(m, "DominantWavelength", "Dominant or complementary wavelength of a colour.",
                Field{"wavelength", &Record::wavelength, "Wavelength in nm."},
                Field{"purity", &Record::purity,
                      "Excitation purity, 0 for the white, 1 on the spectrum locus."},
                Field{"is_complementary", &Record::is_complementary,
                      "Whether the wavelength is that of the opposite hue."})
        .read_only()
        .shown_as("DominantWavelength");
    m.def(
        "dominant_wavelength",
        [](const ChromaticityArgument& xy, const ChromaticityArgument& white) {
            return dominant_wavelength(xy.point, white.point);
        },
        "xy"_a, "white"_a,
        Docstring("Dominant wavelength and excitation purity of a colour, or its complementary "
                  "wavelength where\nthe line from the white through it meets the line of purples "
                  "(CIE 15:2018).\n")
            .parameter("xy", "CIExy or tuple of two floats", "CIE 1931 chromaticity.")
            .parameter("white", "CIExy or tuple of two floats",
                       "Chromaticity of the white, for instance (1/3, 1/3).")
            .returns("DominantWavelength")
            .raises("ValueError",
                    "If the colour is that of the white, or the line misses the locus."));
}

HazardEdition edition_of(const std::string& name) {
    if (name == "IEC 62471") return HazardEdition::IEC_62471_2006;
    if (name == "ICNIRP 2013") return HazardEdition::ICNIRP_2013;
    throw std::invalid_argument("edition must be 'IEC 62471' or 'ICNIRP 2013'");
}

void add_hazards(py::module_& m) {
    using Record = HazardWeighted;
    RecordClass(
        m, "HazardWeighted",
        "Hazard-weighted irradiances (W m-2) or radiances (W m-2 sr-1); None where absent.",
        Field{"actinic_uv", &Record::actinic_uv, "Weighted with S(λ), 200 to 400 nm."},
        Field{"uv_a", &Record::uv_a, "Not weighted, 315 to 400 nm."},
        Field{"blue_light", &Record::blue_light, "Weighted with B(λ), 300 to 700 nm."},
        Field{"retinal_thermal", &Record::retinal_thermal, "Weighted with R(λ), 380 to 1400 nm."},
        Field{"absent", &Record::absent, "Why each that is absent is."})
        .read_only()
        .shown_as("HazardWeighted");
    m.def(
        "hazard_weighted",
        [](const Scan& scan, const std::string& edition) {
            return hazard_weighted(scan, edition_of(edition));
        },
        "scan"_a, "edition"_a = "IEC 62471",
        of_spectrum("Spectral irradiance or radiance weighted for optical radiation hazards.\n\n"
                    "The trapezoidal rule in steps of 1 nm. What the data do not cover wholly is "
                    "absent. A risk group\nneeds the size of the source, the distance, the field "
                    "of view and the duration, too.\n",
                    "Spectral irradiance in W m-2 nm-1 or radiance in W m-2 sr-1 nm-1, "
                    "wavelengths in nm.")
            .parameter("edition", "{'IEC 62471', 'ICNIRP 2013'}",
                       "Weighting functions: IEC 62471:2006, or those of ICNIRP 2013, where R(λ) "
                       "is a tenth.")
            .returns("HazardWeighted")
            .raises("ValueError", "If ``edition`` is another text."));
}

void add_illuminants(py::module_& m) {
    RecordClass(m, "Reference", "A built-in spectrum.",
                Field{"name", &Reference::name, "The name that ``reference`` takes."},
                Field{"unit", &Reference::unit, "'relative' or '1'."},
                Field{"source", &Reference::source, "Document and table."})
        .read_only()
        .shown_as("Reference");
    m.def("references", &references,
          Docstring("The built-in spectra of light sources: CIE illuminants, components of "
                    "daylight, V'(λ) and\nalpha-opic action spectra.\n")
              .returns("list of Reference"));
    m.def("reference", &reference, "name"_a,
          Docstring("A built-in spectrum, linear between its points.\n")
              .parameter("name", "str", "One of those of ``references``, for instance 'FL2'.")
              .returns("Scan", "A new scan.")
              .raises("ValueError", "If there is none of that name."));
    m.def("daylight", &daylight, "T"_a,
          Docstring("Phase of daylight, relative, 100 at 560 nm (CIE 15:2018); 300 to 830 nm, step "
                    "5 nm.\n")
              .parameter("T", "float", "Correlated colour temperature, 4000 to 25000 K.")
              .returns("Scan")
              .raises("ValueError", "If ``T`` is out of range."));
    m.def("planckian", &planckian, "T"_a,
          Docstring("Planckian radiator, relative, 100 at 560 nm, c2 = 1.4388e-2 m K; 300 to 830 "
                    "nm, step 1 nm.\n")
              .parameter("T", "float", "Temperature, 1000 to 1000000 K.")
              .returns("Scan")
              .raises("ValueError", "If ``T`` is out of range."));
}

}  // namespace

void add_lighting_module(py::module_& m) {
    add_temperature(m);
    add_chromaticity(m);
    add_rendering(m);
    add_fidelity(m);
    add_alpha_opic(m);
    add_bands(m);
    add_dominant_wavelength(m);
    add_hazards(m);
    add_illuminants(m);
}

}  // namespace vekanalysis::python
