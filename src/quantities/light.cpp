#include <array>
#include <string>

#include "chromaticity/chromaticity.hpp"
#include "colorimetry/photometer.hpp"
#include "core/scan_arithmetic.hpp"
#include "quantities/forms.hpp"
#include "quantities/light_functions.hpp"
#include "quantities/record_parts.hpp"
#include "radiometry/radiometry.hpp"

namespace vekanalysis::quantities {

using internal::append;
using internal::put;
using internal::visible;

namespace {

namespace col = colorimetry;

const Observer& observer_1931() {
    return observers::data::cie_1931_standard();
}

template <ChromaticityPoint (*function)(const Scan&)>
void compute_xy(const Scan& light, const Scan& /*white*/, std::span<double> fields) {
    put(function(light), fields, &ChromaticityPoint::x, &ChromaticityPoint::y);
}

void compute_xyz(const Scan& light, const Scan& /*white*/, std::span<double> fields) {
    put(col::CIE_tristimulus_values(light, observer_1931()), fields);
}

void compute_lab(const Scan& light, const Scan& white, std::span<double> fields) {
    put(col::CIELAB_tristimulus_values(light, white, observer_1931()), fields);
}

void compute_ab(const Scan& light, const Scan& white, std::span<double> fields) {
    using col::CIELAB;
    const double scale = col::CIE_tristimulus_values(light, observer_1931()).Y /
                         col::CIE_tristimulus_values(white, observer_1931()).Y;
    put(col::CIELAB_tristimulus_values(light, white * scale, observer_1931()), fields,
        &CIELAB::a_star, &CIELAB::b_star);
}

constexpr Function illuminance =
    internal::number<&radiometry::illuminance>("illuminance", &forms::illuminance);
constexpr Function xy_1931{"CIE_1931_chromaticity", 2,
                           compute_xy<&chromaticity::CIE_1931_chromaticity>,
                           &forms::chromaticity_1931};
constexpr Function xy_1964{"CIE_1964_chromaticity", 2,
                           compute_xy<&chromaticity::CIE_1964_chromaticity>,
                           &forms::chromaticity_1964};
constexpr Function tristimulus{"CIE_tristimulus_values", 3, compute_xyz, &forms::tristimulus};
constexpr Function cielab{"CIELAB_tristimulus_values", 3, compute_lab, &forms::cielab};
constexpr Function cielab_scaled{"CIELAB_tristimulus_values_scaled_white", 2, compute_ab,
                                 &forms::cielab_scaled};
constexpr Function f1_prime = internal::number<&col::f1_prime>("f1_prime");

Quantity in_the_visible(std::string name, const char* section) {
    return {.name = std::move(name),
            .unit = "1",
            .kind = "light",
            .band = visible,
            .standard = internal::CIE_15,
            .section = section,
            .is_detail = true};
}

void append_colours(std::vector<Quantity>& all, const std::string& white) {
    append(all, xy_1931, in_the_visible("integrated, CIE 1931 (2°)", "7"), internal::xy_fields);
    append(all, xy_1964, in_the_visible("integrated, CIE 1964 (10°)", "7"), internal::xy_fields);

    Quantity raw = in_the_visible("tristimulus, 1931 observer", "7");
    raw.unit = "u·nm";
    raw.notes = {
        "Integral in the spectrum's own unit u times nm, without a normalising constant: only "
        "ratios have a meaning."};
    append(all, tristimulus, raw, internal::xyz_fields);

    Quantity lab = in_the_visible("white " + white + ", 1931 observer", "8.2.1");
    lab.notes = {
        "Depends on the scales of light and white, which must be in the same unit to mean "
        "anything."};
    append(all, cielab, lab, internal::lab_fields);

    Quantity ab = in_the_visible("scaled white " + white, "8.2.1");
    ab.notes = {
        "The white scaled to the Y of the light, so that L* is 100 and only the colour counts."};
    append(all, cielab_scaled, ab, std::span(internal::lab_fields).last(2));
}

/// A field of a function of `lighting`.
struct Entry {
    const Function* function;
    std::size_t field;
    const char* name;  // behind the point of the key; empty for functions of one number
    const char* symbol;
};

/// Appends the quantity of a field, with what `pattern` says.
void add(std::vector<Quantity>& all, const Entry& entry, Quantity pattern) {
    pattern.key = entry.function->name;
    if (*entry.name != '\0') pattern.key.append(".").append(entry.name);
    pattern.symbol = entry.symbol;
    pattern.function = entry.function;
    pattern.field = entry.field;
    all.push_back(std::move(pattern));
}

Quantity of_light(const char* name, const char* standard, const char* unit = "1") {
    return {.name = name, .unit = unit, .kind = "light", .band = visible, .standard = standard};
}

Quantity of_kind(const char* kind, const char* name, const char* standard, const char* unit,
                 const Range& band = visible) {
    return {.name = name, .unit = unit, .kind = kind, .band = band, .standard = standard};
}

Quantity detail(Quantity quantity) {
    quantity.is_detail = true;
    return quantity;
}

Quantity noted(Quantity quantity, const char* note) {
    quantity.notes.emplace_back(note);
    return quantity;
}

constexpr const char* CIE_18 = "CIE 18.2-1983";
constexpr const char* CIE_15_2018 = "CIE 15:2018";
constexpr const char* CIE_13_3 = "CIE 13.3-1995";
constexpr const char* TM_30 = "CIE 224:2017, ANSI/IES TM-30-20";
constexpr const char* S_026 = "CIE S 026:2018";
constexpr const char* IEC_62471 = "IEC 62471:2006";
constexpr const char* CIE_127 = "CIE 127:2007";

void append_totals(std::vector<Quantity>& all) {
    append(all, illuminance,
           {.symbol = "E_v",
            .name = "illuminance",
            .unit = "lx",
            .kind = "irradiance",
            .band = visible,
            .standard = CIE_18});
    append(all, internal::luminance,
           {.symbol = "L_v",
            .name = "luminance",
            .unit = "cd/m2",
            .kind = "radiance",
            .band = visible,
            .standard = CIE_18});
    add(all, {&internal::total, 0, "", "E_e"}, of_kind("irradiance", "irradiance", "", "W/m2"));
    add(all, {&internal::total, 0, "radiance", "L_e"},
        of_kind("radiance", "radiance", "", "W/(m2 sr)"));
}

void append_colour(std::vector<Quantity>& all) {
    add(all, {&internal::correlated_colour_temperature, 0, "cct", "T_cp"},
        of_light("correlated colour temperature", CIE_15_2018, "K"));
    add(all, {&internal::correlated_colour_temperature, 1, "duv", "D_uv"},
        of_light("distance from Planckian locus", CIE_15_2018));
    const Quantity in_1931 = of_light("chromaticity, CIE 1931", CIE_15_2018);
    add(all, {&internal::chromaticity, 0, "x", "x"}, in_1931);
    add(all, {&internal::chromaticity, 1, "y", "y"}, in_1931);
    const Quantity in_1976 = of_light("chromaticity, CIE 1976", CIE_15_2018);
    add(all, {&internal::chromaticity, 4, "u_prime", "u'"}, in_1976);
    add(all, {&internal::chromaticity, 5, "v_prime", "v'"}, in_1976);
}

void append_rendering(std::vector<Quantity>& all) {
    add(all, {&internal::colour_rendering, 0, "Ra", "Ra"},
        noted(of_light("colour rendering", CIE_13_3),
              "Against a Planckian radiator of the same correlated colour temperature where that, "
              "rounded to 1 K, is below 5000 K, else against that phase of daylight."));
    add(all, {&internal::colour_rendering, 9, "R9", "R9"},
        of_light("rendering of strong red", CIE_13_3));
    add(all, {&internal::colour_fidelity, 0, "Rf", "Rf"}, of_light("colour fidelity", TM_30));
    add(all, {&internal::colour_fidelity, 1, "Rg", "Rg"}, of_light("gamut index", TM_30));
}

void append_effects(std::vector<Quantity>& all) {
    constexpr std::size_t melanopic_edi = 18;
    add(all, {&internal::alpha_opic, melanopic_edi, "melanopic.edi", "EDI"},
        noted(of_kind("irradiance", "melanopic EDI", S_026, "lx"),
              "Equivalent daylight (D65) illuminance."));
    add(all, {&internal::scotopic_photopic_ratio, 0, "", "S/P"},
        of_light("scotopic over photopic", "CIE 018:2019"));
    add(all, {&internal::photon_flux, 0, "", "PPFD"},
        of_kind("irradiance", "photosynthetic photon flux", "DIN 5031-10:2018", "µmol m-2 s-1",
                {400.0, 700.0}));
}

void append_wavelengths(std::vector<Quantity>& all) {
    add(all, {&internal::peak_wavelength, 0, "", "λ_peak"},
        {.name = "peak wavelength",
         .unit = "nm",
         .kind = "light",
         .notes = {"The highest of the measured points; nothing between them is interpolated."},
         .is_stored = true});
    add(all, {&internal::dominant_wavelength, 0, "wavelength", "λ_d"},
        noted(of_light("dominant wavelength", CIE_15_2018, "nm"),
              "The white is that of the equal-energy spectrum."));
}

void append_details_of_colour(std::vector<Quantity>& all) {
    add(all, {&internal::dominant_wavelength, 1, "complementary", "λ_c"},
        detail(of_light("complementary wavelength", CIE_15_2018, "nm")));
    add(all, {&internal::dominant_wavelength, 2, "purity", "p_e"},
        detail(of_light("excitation purity", CIE_15_2018)));
    const Quantity in_1960 = detail(of_light("chromaticity, CIE 1960", CIE_15_2018));
    add(all, {&internal::chromaticity, 2, "u", "u"}, in_1960);
    add(all, {&internal::chromaticity, 3, "v", "v"}, in_1960);
}

void append_details_of_rendering(std::vector<Quantity>& all) {
    constexpr std::array names{"R1", "R2",  "R3",  "R4",  "R5",  "R6",  "R7", "R8",
                               "R9", "R10", "R11", "R12", "R13", "R14", "R15"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i == 8) continue;
        add(all, {&internal::colour_rendering, i + 1, names[i], names[i]},
            detail(of_light("special rendering index", CIE_13_3)));
    }
    add(all, {&internal::colour_rendering, 16, "distance", "ΔC"},
        noted(detail(of_light("distance to the reference", CIE_13_3)),
              "In CIE 1960 uv; the method is meant for up to 0.0054."));
    for (std::size_t i = 0; i < 16; ++i) {
        const std::string bin = std::to_string(i + 1);
        const auto add_of_bin = [&](std::size_t field, const char* name, const char* text,
                                    const char* unit) {
            const std::string key = "bins." + bin + "." + name;
            const std::string symbol = name + bin;
            add(all, {&internal::colour_fidelity, 2 + 3 * i + field, key.c_str(), symbol.c_str()},
                detail(of_light(text, TM_30, unit)));
        };
        add_of_bin(0, "Rf", "fidelity, hue bin", "1");
        add_of_bin(1, "Rcs", "chroma shift, hue bin", "%");
        add_of_bin(2, "Rhs", "hue shift, hue bin", "rad");
    }
}

void append_details_of_effects(std::vector<Quantity>& all) {
    constexpr std::array channels{"s_cone", "m_cone", "l_cone", "rhodopic", "melanopic"};
    constexpr std::array names{"S-cone-opic", "M-cone-opic", "L-cone-opic", "rhodopic",
                               "melanopic"};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const auto add_of_channel = [&](std::size_t field, const char* name, const char* symbol,
                                        const char* kind, const char* unit) {
            const std::string key = std::string(channels[i]) + "." + name;
            const std::string text = std::string(names[i]) + " " + symbol;
            add(all, {&internal::alpha_opic, 4 * i + field, key.c_str(), symbol},
                detail(of_kind(kind, text.c_str(), S_026, unit)));
        };
        add_of_channel(0, "irradiance", "E_e", "irradiance", "W/m2");
        add_of_channel(1, "elr", "ELR", "light", "mW/lm");
        // In the first part of the report already.
        if (i + 1 < channels.size()) add_of_channel(2, "edi", "EDI", "irradiance", "lx");
        add_of_channel(3, "der", "DER", "light", "1");
    }
}

void append_hazards(std::vector<Quantity>& all) {
    constexpr const char* no_group =
        "No risk group: that takes the size of the source, the distance, the field of view and "
        "the duration of exposure, which a spectrum does not have.";
    const auto add_hazard = [&](std::size_t field, const char* name, const char* symbol,
                                const char* kind, const char* text, const Range& band) {
        const char* const unit = std::string_view(kind) == "radiance" ? "W/(m2 sr)" : "W/m2";
        add(all, {&internal::hazard_weighted, field, name, symbol},
            noted(detail(of_kind(kind, text, IEC_62471, unit, band)), no_group));
    };
    constexpr Range blue{300.0, 700.0};
    constexpr Range thermal{380.0, 1400.0};
    add_hazard(0, "actinic_uv", "E_s", "irradiance", "actinic ultraviolet", {200.0, 400.0});
    add_hazard(1, "uv_a", "E_UVA", "irradiance", "near ultraviolet, eye", {315.0, 400.0});
    add_hazard(2, "blue_light", "E_B", "irradiance", "blue light, small source", blue);
    add_hazard(3, "retinal_thermal", "E_R", "irradiance", "retinal thermal", thermal);
    add_hazard(2, "radiance.blue_light", "L_B", "radiance", "blue light", blue);
    add_hazard(3, "radiance.retinal_thermal", "L_R", "radiance", "retinal thermal", thermal);
}

void append_peak_shape(std::vector<Quantity>& all) {
    const auto add_shape = [&](const Entry& entry, const char* text) {
        add(all, entry,
            {.name = text, .unit = "nm", .kind = "light", .standard = CIE_127, .is_detail = true});
    };
    add_shape({&internal::centroid_wavelength, 0, "", "λ_c"}, "centroid wavelength");
    add_shape({&internal::bandwidth, 0, "width", "Δλ"}, "width at half the peak");
    add_shape({&internal::bandwidth, 1, "centre", "λ_0.5"}, "centre at half the peak");
}

}  // namespace

std::vector<Quantity> light(std::string_view white_name) {
    std::vector<Quantity> all;
    append_totals(all);
    append_colour(all);
    append_rendering(all);
    append_effects(all);
    append_wavelengths(all);
    append_details_of_colour(all);
    append_colours(all, std::string(white_name));
    append_details_of_rendering(all);
    append_details_of_effects(all);
    append_hazards(all);
    append_peak_shape(all);
    return all;
}

std::span<const Quantity> photometer() {
    static const std::vector<Quantity> catalogue = [] {
        std::vector<Quantity> all;
        append(all, f1_prime,
               {.symbol = "f1'",
                .name = "mismatch with V(λ)",
                .unit = "1",
                .kind = "responsivity",
                .band = visible,
                .standard = "ISO/CIE 19476:2014",
                .notes = {"The spectrum taken for the relative spectral responsivity of a "
                          "photometer."}});
        return all;
    }();
    return catalogue;
}

}  // namespace vekanalysis::quantities
