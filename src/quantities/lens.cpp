#include "chromaticity/chromaticity.hpp"
#include "colorimetry/transmittance.hpp"
#include "core/scan_arithmetic.hpp"
#include "quantities/forms.hpp"
#include "quantities/record_parts.hpp"

namespace vekanalysis::quantities {

using internal::append;
using internal::number;
using internal::put;
using internal::visible;

namespace {

namespace col = colorimetry;

constexpr const char* ISO_8980_3 = "ISO 8980-3:2013";
constexpr const char* ANSI_Z80_3 = "ANSI Z80.3-2015";
constexpr const char* AS_NZS_1067 = "AS/NZS 1067.2:2016";
constexpr const char* ISO_12311 = "ISO 12311:2013";

constexpr Range uva{315.0, 380.0};
constexpr Range uvb{280.0, 315.0};

constexpr const char* red_denominator =
    "Divided by the weighting of the red signal, as the red figure is: a clear lens does not give "
    "1 (see below).";
constexpr const char* solar_uv_sampling =
    "Depends on the sampling: with data at other wavelengths than the tables', which go every 5 "
    "nm, a clear lens is up to 1 % off in UV-A and 15 % in UV-B (see below).";
constexpr const char* raw_integral =
    "Integral without a normalising constant, D65 being 100 at 560 nm: only ratios have a meaning.";

constexpr const char* Es = "solar_spectral_irradiance";
constexpr const char* S = "relative_spectral_effectiveness";
constexpr const char* V = "cie_1931_standard_observer_y";
constexpr const char* A = "cie_illuminant_a";
constexpr const char* C = "cie_illuminant_c";
constexpr const char* D65 = "cie_illuminant_d65";

using internal::Field;
constexpr std::array rygb{Field{"red", "τ_sig"}, Field{"yellow", "τ_sig"}, Field{"green", "τ_sig"},
                          Field{"blue", "τ_sig"}};
constexpr std::span<const Field> ryg = std::span(rygb).first(3);

template <col::RYGB (*function)(const Scan&)>
void compute_rygb(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    using col::RYGB;
    put(function(spectrum), fields, &RYGB::red, &RYGB::yellow, &RYGB::green, &RYGB::blue);
}

void compute_ryg(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    using col::RYG;
    put(col::ANSI_Z80_3_tau_signal(spectrum), fields, &RYG::red, &RYG::yellow, &RYG::green);
}

template <ChromaticityPoint (*function)(const Scan&)>
void compute_xy(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    put(function(spectrum), fields, &ChromaticityPoint::x, &ChromaticityPoint::y);
}

void compute_xyz(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    put(col::CIE_tristimulus_values(spectrum * col::data::cie_illuminant_d65(),
                                    observers::data::cie_1931_standard()),
        fields);
}

void compute_lab(const Scan& spectrum, const Scan& /*white*/, std::span<double> fields) {
    const Scan& white = col::data::cie_illuminant_d65();
    put(col::CIELAB_tristimulus_values(spectrum * white, white,
                                       observers::data::cie_1931_standard()),
        fields);
}

#define NUMBER(function, form) \
    constexpr Function function = number<&col::function>(#function, &forms::form)
NUMBER(ISO8980_3_tau_uva, mean_uva);
NUMBER(ISO8980_3_tau_suva, solar_uva);
NUMBER(ISO8980_3_tau_suvb, solar_uvb);
NUMBER(ISO8980_3_tau_v, luminous_d65);
NUMBER(ANSI_Z80_3_tau_uva, mean_uva);
NUMBER(ANSI_Z80_3_tau_uvb, mean_uvb);
NUMBER(ANSI_Z80_3_tau_v, luminous_c);
NUMBER(ANSI_Z80_3_tau_spectral_min, spectral_min);
NUMBER(ASNZS1067_2016_tau_suva, solar_uva_400);
NUMBER(ISO12311_tau_sb, solar_blue);
#undef NUMBER
constexpr Function incandescent{"ISO8980_3_tau_signal_incandescent", 4,
                                compute_rygb<&col::ISO8980_3_tau_signal_incandescent>,
                                &forms::signal_incandescent};
constexpr Function led{"ISO8980_3_tau_signal_led", 4, compute_rygb<&col::ISO8980_3_tau_signal_led>,
                       &forms::signal_led};
constexpr Function traffic{"ANSI_Z80_3_tau_signal", 3, compute_ryg, &forms::traffic_signal};
constexpr Function daylight{"ANSI_Z80_3_daylight_chromaticity", 2,
                            compute_xy<&chromaticity::ANSI_Z80_3_daylight_chromaticity>,
                            &forms::chromaticity_daylight};
constexpr Function yellow{"ANSI_Z80_3_yellow_chromaticity", 2,
                          compute_xy<&chromaticity::ANSI_Z80_3_yellow_chromaticity>,
                          &forms::chromaticity_yellow};
constexpr Function green{"ANSI_Z80_3_green_chromaticity", 2,
                         compute_xy<&chromaticity::ANSI_Z80_3_green_chromaticity>,
                         &forms::chromaticity_green};
constexpr Function equal_energy{"CIE_1931_chromaticity", 2,
                                compute_xy<&chromaticity::CIE_1931_chromaticity>,
                                &forms::chromaticity_1931};
constexpr Function tristimulus{"CIE_tristimulus_values", 3, compute_xyz, &forms::tristimulus_d65};
constexpr Function cielab{"CIELAB_tristimulus_values", 3, compute_lab, &forms::cielab_d65};

Quantity tau(const char* symbol, const char* name, Range band, const char* standard,
             const char* section, std::vector<std::string> notes = {}) {
    return {.symbol = symbol,
            .name = name,
            .unit = "1",
            .kind = "transmittance",
            .band = band,
            .standard = standard,
            .section = section,
            .notes = std::move(notes),
            .is_transmittance = true};
}

/// A coordinate, whose symbol is that of its field.
Quantity coordinate(const char* name, const char* standard, const char* section) {
    Quantity quantity = tau("", name, visible, standard, section);
    quantity.is_transmittance = false;
    return quantity;
}

void append_iso_8980_3(std::vector<Quantity>& all) {
    const std::vector<std::string> uv{solar_uv_sampling};
    append(all, ISO8980_3_tau_uva, tau("τ_UVA", "UV-A, mean", uva, ISO_8980_3, "3.1"));
    append(all, ISO8980_3_tau_suva, tau("τ_SUVA", "solar UV-A", uva, ISO_8980_3, "3.2", uv),
           {Es, S});
    append(all, ISO8980_3_tau_suvb, tau("τ_SUVB", "solar UV-B", uvb, ISO_8980_3, "3.3", uv),
           {Es, S});
    append(all, ISO8980_3_tau_v, tau("τ_V", "luminous, D65", visible, ISO_8980_3, "3.4"), {V, D65});
    append(all, incandescent, tau("", "incandescent signal, {}", visible, ISO_8980_3, "3.5"), rygb,
           {"ISO8980_3_incandescent_{}"});
    append(all, led, tau("", "LED signal, {}", visible, ISO_8980_3, "3.5"), rygb,
           {"ISO8980_3_led_{}"});
}

void append_ansi_z80_3(std::vector<Quantity>& all) {
    append(all, ANSI_Z80_3_tau_uva, tau("τ_UVA", "UV-A, mean", uva, ANSI_Z80_3, "3.8.3"));
    append(all, ANSI_Z80_3_tau_uvb, tau("τ_UVB", "UV-B, mean", uvb, ANSI_Z80_3, "3.8.3"));
    append(all, ANSI_Z80_3_tau_v,
           tau("τ_V", "luminous, illuminant C", visible, ANSI_Z80_3, "3.8.1"), {V, C});
    append(all, traffic, tau("", "traffic signal, {}", visible, ANSI_Z80_3, "3.8.2.2"), ryg,
           {V, A, "ANSI_Z80_3_2015_{}_signal_transmittance"});
    for (std::size_t i = all.size() - 2; i < all.size(); ++i) {
        all[i].notes.emplace_back(red_denominator);
    }
    append(all, ANSI_Z80_3_tau_spectral_min,
           tau("τ_min", "smallest spectral value", {475.0, 650.0}, ANSI_Z80_3, "4.10.2.3",
               {internal::stored_points}));
    all.back().is_integral = false;
    append(all, daylight, coordinate("chromaticity, daylight D65", ANSI_Z80_3, ""),
           internal::xy_fields, {D65});
    append(all, yellow, coordinate("chromaticity, yellow lens A", ANSI_Z80_3, ""),
           internal::xy_fields, {A, "ANSI_Z80_3_2015_yellow_signal_transmittance"});
    append(all, green, coordinate("chromaticity, green lens A", ANSI_Z80_3, ""),
           internal::xy_fields, {A, "ANSI_Z80_3_2015_green_signal_transmittance"});
}

void append_cie_15(std::vector<Quantity>& all) {
    append(all, equal_energy, coordinate("chromaticity, equal energy", internal::CIE_15, "7"),
           internal::xy_fields);
    Quantity raw = coordinate("under D65, 1931 observer", internal::CIE_15, "7");
    raw.unit = "nm";
    raw.notes = {raw_integral};
    append(all, tristimulus, raw, internal::xyz_fields, {D65});
    append(all, cielab, coordinate("under D65, white D65", internal::CIE_15, "8.2.1"),
           internal::lab_fields, {D65});
}

std::vector<Quantity> make_catalogue() {
    std::vector<Quantity> all;
    append_iso_8980_3(all);
    append_ansi_z80_3(all);
    append(all, ASNZS1067_2016_tau_suva,
           tau("τ_SUVA", "solar UV-A", {315.0, 400.0}, AS_NZS_1067, "", {solar_uv_sampling}),
           {Es, S});
    append(all, ISO12311_tau_sb, tau("τ_sb", "solar blue light", {380.0, 500.0}, ISO_12311, "7.4"),
           {Es, "blue_light_hazard"});
    append_cie_15(all);
    return all;
}

}  // namespace

std::span<const Quantity> lens() {
    static const std::vector<Quantity> catalogue = make_catalogue();
    return catalogue;
}

}  // namespace vekanalysis::quantities
