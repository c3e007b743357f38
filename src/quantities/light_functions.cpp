#include "quantities/light_functions.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "core/text.hpp"
#include "lighting/alpha_opic.hpp"
#include "lighting/bands.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/dominant_wavelength.hpp"
#include "lighting/hazards.hpp"
#include "lighting/visible_spectrum.hpp"
#include "quantities/forms.hpp"
#include "quantities/record_parts.hpp"
#include "radiometry/radiometry.hpp"

namespace vekanalysis::quantities::internal {

using vekanalysis::internal::general;

namespace {

using Fields = std::span<double>;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

int step_of(const Scan& light) noexcept {
    return lighting::natural_step(light.data().keys());
}

double total_of(const Scan& light) {
    return lighting::band_total(light, visible.from, visible.to);
}

double photons_of(const Scan& light) {
    return lighting::photon_flux(light, 400.0, 700.0);
}

void compute_temperature(const Scan& light, const Scan& /*white*/, Fields fields) {
    using Temperature = lighting::CorrelatedColourTemperature;
    put(lighting::correlated_colour_temperature(light, step_of(light)), fields, &Temperature::cct,
        &Temperature::duv);
}

void compute_chromaticity(const Scan& light, const Scan& /*white*/, Fields fields) {
    using Point = lighting::SourceChromaticity;
    put(lighting::chromaticity(light, step_of(light)), fields, &Point::x, &Point::y, &Point::u,
        &Point::v, &Point::u_prime, &Point::v_prime);
}

lighting::DominantWavelength dominant_of(const Scan& light) {
    const auto point = lighting::chromaticity(light, step_of(light));
    constexpr ChromaticityPoint equal_energy{1.0 / 3.0, 1.0 / 3.0};
    return lighting::dominant_wavelength({point.x, point.y}, equal_energy);
}

void compute_dominant(const Scan& light, const Scan& /*white*/, Fields fields) {
    const auto dominant = dominant_of(light);
    fields[0] = dominant.is_complementary ? none : dominant.wavelength;
    fields[1] = dominant.is_complementary ? dominant.wavelength : none;
    fields[2] = dominant.purity;
}

std::string why_not_dominant(const Scan& light, std::size_t field) {
    const std::string wavelength = general(dominant_of(light).wavelength) + " nm";
    if (field == 0) {
        return "the colour is a purple, which has the complementary wavelength " + wavelength;
    }
    return "the colour has a dominant wavelength, " + wavelength;
}

void compute_rendering(const Scan& light, const Scan& /*white*/, Fields fields) {
    const auto rendering = lighting::colour_rendering(light, step_of(light));
    fields[0] = rendering.Ra;
    std::copy(rendering.R.begin(), rendering.R.end(), fields.begin() + 1);
    fields[16] = rendering.distance;
}

void compute_fidelity(const Scan& light, const Scan& /*white*/, Fields fields) {
    const auto fidelity = lighting::colour_fidelity(light, 1);
    fields[0] = fidelity.Rf;
    fields[1] = fidelity.Rg;
    std::size_t i = 2;
    for (const lighting::HueBin& bin : fidelity.bins) {
        for (const double value : {bin.Rf, bin.Rcs, bin.Rhs}) fields[i++] = value;
    }
}

void compute_alpha_opic(const Scan& light, const Scan& /*white*/, Fields fields) {
    const auto found = lighting::alpha_opic(light);
    std::size_t i = 0;
    for (const auto& channel :
         {found.s_cone, found.m_cone, found.l_cone, found.rhodopic, found.melanopic}) {
        for (const double value : {channel.irradiance, channel.elr, channel.edi, channel.der}) {
            fields[i++] = value;
        }
    }
}

/// @throws std::domain_error  where there is no highest point between others
double peak_of(const Scan& light) {
    if (light.empty()) throw std::domain_error("there are no points");
    for (const auto [wl, value] : light) {
        if (!std::isfinite(value)) {
            throw std::domain_error("the value at " + general(wl) + " nm is not finite");
        }
    }
    const auto [wl, value] = *light.max_element();
    if (!(value > 0.0)) throw std::domain_error("the highest value is not above 0");
    if (wl == light.min_wavelength() || wl == light.max_wavelength()) {
        throw std::domain_error("the highest point, at " + general(wl) +
                                " nm, is at the end of the data, so it need not be a peak");
    }
    return wl;
}

void compute_bandwidth(const Scan& light, const Scan& /*white*/, Fields fields) {
    using lighting::Bandwidth;
    put(lighting::bandwidth(light), fields, &Bandwidth::width, &Bandwidth::centre);
}

/// Of a source with one peak; what `bandwidth` throws for others.
double centroid_of(const Scan& light) {
    (void)lighting::bandwidth(light);
    return lighting::centroid_wavelength(light);
}

void compute_hazards(const Scan& light, const Scan& /*white*/, Fields fields) {
    const auto found = lighting::hazard_weighted(light);
    std::size_t i = 0;
    for (const auto& value :
         {found.actinic_uv, found.uv_a, found.blue_light, found.retinal_thermal}) {
        fields[i++] = value.value_or(none);
    }
}

std::string why_no_hazard(const Scan& light, std::size_t field) {
    constexpr const char* names[]{"actinic_uv", "uv_a", "blue_light", "retinal_thermal"};
    return lighting::hazard_weighted(light).absent[names[field]];
}

}  // namespace

constinit const Function luminance =
    number<&radiometry::illuminance>("luminance", &forms::illuminance);
constinit const Function total = number<&total_of>("band_total");
constinit const Function correlated_colour_temperature{"correlated_colour_temperature", 2,
                                                       compute_temperature};
constinit const Function chromaticity{"chromaticity", 6, compute_chromaticity};
constinit const Function dominant_wavelength{"dominant_wavelength", 3, compute_dominant, nullptr,
                                             why_not_dominant};
constinit const Function colour_rendering{"colour_rendering", 17, compute_rendering};
constinit const Function colour_fidelity{"colour_fidelity", 50, compute_fidelity};
constinit const Function alpha_opic{"alpha_opic", 20, compute_alpha_opic};
constinit const Function scotopic_photopic_ratio =
    number<&lighting::scotopic_photopic_ratio>("scotopic_photopic_ratio");
constinit const Function photon_flux = number<&photons_of>("photon_flux");
constinit const Function peak_wavelength = number<&peak_of>("peak_wavelength");
constinit const Function centroid_wavelength = number<&centroid_of>("centroid_wavelength");
constinit const Function bandwidth{"bandwidth", 2, compute_bandwidth};
constinit const Function hazard_weighted{"hazard_weighted", 4, compute_hazards, nullptr,
                                         why_no_hazard};

}  // namespace vekanalysis::quantities::internal
