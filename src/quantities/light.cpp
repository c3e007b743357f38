#include <stdexcept>

#include "chromaticity/chromaticity.hpp"
#include "colorimetry/photometer.hpp"
#include "core/scan_arithmetic.hpp"
#include "physics/physics.hpp"
#include "quantities/forms.hpp"
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

double peak_of(const Scan& light) {
    if (light.empty()) throw std::domain_error("there are no points");
    return light.max_element()->first;
}

double wien_temperature(const Scan& light) {
    const double wl = peak_of(light);
    if (wl == light.min_wavelength() || wl == light.max_wavelength()) {
        throw std::domain_error(
            "the highest point is at the end of the data, so it need not be a peak");
    }
    return wiens_displacement_law_T(wl * 1e-9);
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
constexpr Function peak = internal::number<&peak_of>("peak_wavelength");
constexpr Function wien = internal::number<&wien_temperature>("wiens_displacement_law_T");
constexpr Function f1_prime = internal::number<&col::f1_prime>("f1_prime");

Quantity in_the_visible(std::string name, const char* section) {
    return {.name = std::move(name),
            .unit = "1",
            .kind = "light",
            .band = visible,
            .standard = internal::CIE_15,
            .section = section};
}

void append_colours(std::vector<Quantity>& all, const std::string& white) {
    append(all, xy_1931, in_the_visible("chromaticity, CIE 1931 (2°)", "7"), internal::xy_fields);
    append(all, xy_1964, in_the_visible("chromaticity, CIE 1964 (10°)", "7"), internal::xy_fields);

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

void append_peak(std::vector<Quantity>& all) {
    append(all, peak,
           {.symbol = "λ_peak",
            .name = "peak wavelength",
            .unit = "nm",
            .kind = "light",
            .notes = {"The highest of the measured points; nothing between them is interpolated."},
            .is_stored = true});
    append(all, wien,
           {.symbol = "T",
            .name = "Wien temperature of peak",
            .unit = "K",
            .kind = "light",
            .notes = {"Of the black body whose spectrum has its peak there; of no other lamp."}});
}

}  // namespace

std::vector<Quantity> light(std::string_view white_name) {
    std::vector<Quantity> all;
    append(all, illuminance,
           {.symbol = "E_v",
            .name = "illuminance",
            .unit = "lx",
            .kind = "irradiance",
            .band = visible,
            .standard = "CIE 18.2-1983"});
    append_colours(all, std::string(white_name));
    append_peak(all);
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
