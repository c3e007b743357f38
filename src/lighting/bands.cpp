#include "lighting/bands.hpp"

#include <cmath>
#include <stdexcept>

#include "core/text.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

// N_A h c, J m/mol.
constexpr double molar_photon_energy = 6.02214076e23 * 6.62607015e-34 * 299792458.0;

std::invalid_argument refusal(const char* function, const std::string& reason) {
    return std::invalid_argument(std::string("lighting::") + function + ": " + reason);
}

void check_finite(const Scan& scan, double from, double to, const char* function) {
    for (const auto [wl, value] : scan) {
        if (wl < from || wl > to || std::isfinite(value)) continue;
        throw refusal(function, "the value at " + general(wl) + " nm is not finite");
    }
}

void check_band(const Scan& scan, double from, double to, const char* function) {
    if (!(from < to) || !std::isfinite(to - from)) {
        throw refusal(function, "wl_from must be below wl_to");
    }
    if (scan.empty()) throw refusal(function, "the spectrum has no points");
    if (!(scan.min_wavelength() <= from && to <= scan.max_wavelength())) {
        throw refusal(function, "the spectrum covers " + general(scan.min_wavelength()) + " to " +
                                    general(scan.max_wavelength()) + " nm, not " + general(from) +
                                    " to " + general(to) + " nm");
    }
    check_finite(scan, from, to, function);
}

/// Integral over the band of the spectrum times the wavelength in nm.
double first_moment(const Scan& scan, double from, double to) {
    Scan product(scan);
    product.for_each([](auto& point) { point.second *= point.first; });
    return product(from, to);
}

/// Wavelength between a point above the level and one not above it.
double flank(const Scan& scan, double above, double below, double level) {
    scan.ensure_spline();
    for (int i = 0; i < 60; ++i) {
        const double middle = 0.5 * (above + below);
        (scan(middle) > level ? above : below) = middle;
    }
    return 0.5 * (above + below);
}

}  // namespace

double band_total(const Scan& scan, double wl_from, double wl_to) {
    check_band(scan, wl_from, wl_to, "band_total");
    return scan(wl_from, wl_to);
}

double photon_flux(const Scan& scan, double wl_from, double wl_to) {
    check_band(scan, wl_from, wl_to, "photon_flux");
    constexpr double micromoles_per_joule_and_nm = 1e-9 * 1e6 / molar_photon_energy;
    return first_moment(scan, wl_from, wl_to) * micromoles_per_joule_and_nm;
}

double centroid_wavelength(const Scan& scan, double wl_from, double wl_to) {
    check_band(scan, wl_from, wl_to, "centroid_wavelength");
    const double total = scan(wl_from, wl_to);
    const double moment = first_moment(scan, wl_from, wl_to);
    if (!std::isfinite(total) || !std::isfinite(moment)) {
        throw refusal("centroid_wavelength", "the values are too large to be summed");
    }
    if (!(total > 0.0)) throw refusal("centroid_wavelength", "the integral is not above 0");
    return moment / total;
}

double centroid_wavelength(const Scan& scan) {
    if (scan.empty()) throw refusal("centroid_wavelength", "the spectrum has no points");
    return centroid_wavelength(scan, scan.min_wavelength(), scan.max_wavelength());
}

std::string to_string(const Bandwidth& bandwidth) {
    return "width:" + general(bandwidth.width) + " low:" + general(bandwidth.low) +
           " high:" + general(bandwidth.high) + " centre:" + general(bandwidth.centre) +
           " peak:" + general(bandwidth.peak);
}

Bandwidth bandwidth(const Scan& scan, double level) {
    if (!(level > 0.0 && level < 1.0)) {
        throw refusal("bandwidth", "level must be between 0 and 1");
    }
    if (scan.empty()) throw refusal("bandwidth", "the spectrum has no points");
    check_finite(scan, scan.min_wavelength(), scan.max_wavelength(), "bandwidth");
    const auto top = scan.max_element();
    const auto [peak, height] = *top;
    if (!(height > 0.0)) throw refusal("bandwidth", "the highest value is not above 0");
    const double threshold = level * height;

    auto left = top;
    while (left != scan.begin() && (*left).second > threshold) --left;
    auto right = top;
    while (right + 1 != scan.end() && (*right).second > threshold) ++right;
    if ((*left).second > threshold || (*right).second > threshold) {
        throw refusal("bandwidth", "the peak does not fall to the level within the data");
    }
    for (const auto [wl, value] : scan) {
        if ((wl < (*left).first || wl > (*right).first) && value > threshold) {
            throw refusal("bandwidth", "more than one peak rises above the level (at " +
                                           general(peak) + " and " + general(wl) + " nm)");
        }
    }
    const double low = flank(scan, (*(left + 1)).first, (*left).first, threshold);
    const double high = flank(scan, (*(right - 1)).first, (*right).first, threshold);
    return {high - low, low, high, 0.5 * (low + high), peak};
}

}  // namespace vekanalysis::lighting
