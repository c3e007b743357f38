#include "lighting/colour_fidelity.hpp"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "core/text.hpp"
#include "lighting/cam02.hpp"
#include "lighting/correlated_colour_temperature.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

using internal::Colours;
using internal::JabPrime;

constexpr std::size_t bins = 16;
constexpr std::size_t samples = 99;
constexpr double highest_daylight = 25000.0;
using Appearances = std::array<JabPrime, samples>;

/// Colours under the reference of a temperature; false where there is none.
bool reference_colours(double cct, int step, Colours<samples>* colours) {
    if (!(cct <= highest_daylight)) return false;
    const internal::EvaluationSamples& set = internal::evaluation_samples(step);
    if (cct >= 5000.0) {
        set.under_daylight(cct, colours);
        return true;
    }
    std::array<double, internal::max_visible_points> values;
    const std::span<double> light(values.data(), internal::colour_matching(1964, step).points);
    internal::planckian_on_grid(cct, step, light);
    set.under(light, colours);
    if (cct <= 4000.0) return true;
    Colours<samples> daylight;
    set.under_daylight(cct, &daylight);
    const double share = (5000.0 - cct) / 1000.0;
    const auto mix = [share](double& a, double b) { a = share * a + (1.0 - share) * b; };
    mix(colours->light.X, daylight.light.X);
    mix(colours->light.Y, daylight.light.Y);
    mix(colours->light.Z, daylight.light.Z);
    for (std::size_t i = 0; i < samples; ++i) {
        mix(colours->X[i], daylight.X[i]);
        mix(colours->Y[i], daylight.Y[i]);
        mix(colours->Z[i], daylight.Z[i]);
    }
    return true;
}

void appearances(const Colours<samples>& colours, Appearances* result) noexcept {
    const internal::Cam02 model(colours.light);
    for (std::size_t i = 0; i < samples; ++i) {
        (*result)[i] = model(colours.X[i], colours.Y[i], colours.Z[i]);
    }
}

double difference(const JabPrime& p, const JabPrime& q) noexcept {
    const double dJ = p.J - q.J;
    const double da = p.a - q.a;
    const double db = p.b - q.b;
    return std::sqrt(dJ * dJ + da * da + db * db);
}

/// Index of a colour difference: 6.73 of scale, never below 0.
double index_of(double delta_e) noexcept {
    return 10.0 * std::log1p(std::exp((100.0 - 6.73 * delta_e) / 10.0));
}

std::size_t bin_of(const JabPrime& p) noexcept {
    constexpr double turn = 2.0 * std::numbers::pi;
    double hue = std::atan2(p.b, p.a);
    if (hue < 0.0) hue += turn;
    const auto bin = static_cast<std::size_t>(hue / turn * double{bins});
    return bin < bins ? bin : bins - 1;
}

/// Means over the samples whose colours under the reference lie in a bin.
struct BinMeans {
    double count = 0.0;
    double delta_e = 0.0;
    double a = 0.0;
    double b = 0.0;
    double reference_a = 0.0;
    double reference_b = 0.0;
};

std::array<BinMeans, bins> bin_means(const Appearances& source,
                                     const Appearances& reference) noexcept {
    std::array<BinMeans, bins> result{};
    for (std::size_t i = 0; i < samples; ++i) {
        BinMeans& bin = result[bin_of(reference[i])];
        bin.count += 1.0;
        bin.delta_e += difference(source[i], reference[i]);
        bin.a += source[i].a;
        bin.b += source[i].b;
        bin.reference_a += reference[i].a;
        bin.reference_b += reference[i].b;
    }
    for (BinMeans& bin : result) {
        for (double* sum : {&bin.delta_e, &bin.a, &bin.b, &bin.reference_a, &bin.reference_b}) {
            *sum /= bin.count;
        }
    }
    return result;
}

HueBin shifts(const BinMeans& bin, std::size_t j) noexcept {
    const double centre = (2.0 * static_cast<double>(j) + 1.0) * std::numbers::pi / double{bins};
    const double radius =
        std::sqrt(bin.reference_a * bin.reference_a + bin.reference_b * bin.reference_b);
    const double da = (bin.a - bin.reference_a) / radius;
    const double db = (bin.b - bin.reference_b) / radius;
    const double cosine = std::cos(centre);
    const double sine = std::sin(centre);
    return {index_of(bin.delta_e), 100.0 * (da * cosine + db * sine), db * cosine - da * sine};
}

/// Area of the source's polygon of means to that of the reference's, per cent.
double gamut_index(const std::array<BinMeans, bins>& means) noexcept {
    double area = 0.0;
    double reference_area = 0.0;
    for (std::size_t j = 0; j < bins; ++j) {
        const BinMeans& p = means[j];
        const BinMeans& q = means[(j + 1) % bins];
        area += p.a * q.b - q.a * p.b;
        reference_area += p.reference_a * q.reference_b - q.reference_a * p.reference_b;
    }
    return 100.0 * area / reference_area;
}

}  // namespace

std::string to_string(const HueBin& bin) {
    return "Rf:" + general(bin.Rf) + " Rcs:" + general(bin.Rcs) + " Rhs:" + general(bin.Rhs);
}

std::string to_string(const ColourFidelity& fidelity) {
    return "Rf:" + general(fidelity.Rf) + " Rg:" + general(fidelity.Rg) +
           " cct:" + general(fidelity.cct) + " duv:" + general(fidelity.duv);
}

namespace internal {

bool fidelity_of(const Colours<99>& source, double cct, int step, ColourFidelity* result) {
    Colours<samples> reference;
    if (!reference_colours(cct, step, &reference)) return false;
    Appearances seen;
    Appearances meant;
    appearances(source, &seen);
    appearances(reference, &meant);
    double sum = 0.0;
    for (std::size_t i = 0; i < samples; ++i) {
        const double delta_e = difference(seen[i], meant[i]);
        sum += delta_e;
        result->Rf_samples[i] = index_of(delta_e);
    }
    if (!std::isfinite(sum)) return false;
    result->Rf = index_of(sum / double{samples});
    const auto means = bin_means(seen, meant);
    for (std::size_t j = 0; j < bins; ++j) result->bins[j] = shifts(means[j], j);
    result->Rg = gamut_index(means);
    return true;
}

}  // namespace internal

ColourFidelity colour_fidelity(const Scan& scan, int step) {
    const internal::VisibleSpectrum spectrum(scan, step);
    const auto xyz = internal::colour_matching(1931, step)(spectrum.values());
    const auto temperature = internal::nearest_temperature(internal::uv_of(xyz), step);
    internal::require_defined(temperature);
    if (!(temperature.cct <= highest_daylight)) {
        throw std::invalid_argument("lighting::colour_fidelity: no phase of daylight has " +
                                    general(temperature.cct) + " K");
    }
    Colours<samples> source;
    internal::evaluation_samples(step).under(spectrum.values(), &source);
    ColourFidelity result;
    if (!internal::fidelity_of(source, temperature.cct, step, &result)) {
        throw std::invalid_argument("lighting::colour_fidelity: the colours lie outside CIECAM02");
    }
    result.cct = temperature.cct;
    result.duv = temperature.duv;
    return result;
}

}  // namespace vekanalysis::lighting
