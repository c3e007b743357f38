#include "lighting/dominant_wavelength.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <vector>

#include "chromaticity/chromaticity.hpp"
#include "core/text.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

constexpr std::size_t locus_points = 471;
// What rounding and noise may add to a colour on the locus.
constexpr double highest_purity = 1.01;
using Locus = std::array<ChromaticityPoint, locus_points>;

const Locus& spectrum_locus() {
    static const Locus locus = [] {
        const data::Table table = data::observer_1931_1nm();
        Locus points;
        for (std::size_t i = 0; i < locus_points; ++i) {
            const double sum = table(i, 0) + table(i, 1) + table(i, 2);
            points[i] = {table(i, 0) / sum, table(i, 1) / sum};
        }
        return points;
    }();
    return locus;
}

/// The locus as a polygon, which the line of purples closes.
const std::vector<ChromaticityPoint>& boundary() {
    static const std::vector<ChromaticityPoint> polygon(spectrum_locus().begin(),
                                                        spectrum_locus().end());
    return polygon;
}

/// Where a line meets an edge: at `along` times its direction, `share` of the edge's length.
struct Crossing {
    double along;
    double share;
};

std::optional<Crossing> crossing(const ChromaticityPoint& start, const ChromaticityPoint& direction,
                                 const ChromaticityPoint& a, const ChromaticityPoint& b) noexcept {
    const ChromaticityPoint edge{b.x - a.x, b.y - a.y};
    const double determinant = direction.y * edge.x - direction.x * edge.y;
    const ChromaticityPoint to_a{a.x - start.x, a.y - start.y};
    const double along = (to_a.y * edge.x - to_a.x * edge.y) / determinant;
    const double share = (to_a.y * direction.x - to_a.x * direction.y) / determinant;
    if (!(share >= 0.0 && share <= 1.0 && along > 0.0)) return std::nullopt;
    return Crossing{along, share};
}

/// The outermost crossing with the spectrum locus, `share` being its wavelength.
std::optional<Crossing> meet_locus(const ChromaticityPoint& start,
                                   const ChromaticityPoint& direction) {
    const Locus& locus = spectrum_locus();
    std::optional<Crossing> best;
    for (std::size_t i = 0; i + 1 < locus_points; ++i) {
        const auto found = crossing(start, direction, locus[i], locus[i + 1]);
        if (found && (!best || found->along > best->along)) {
            best = Crossing{found->along, 360.0 + static_cast<double>(i) + found->share};
        }
    }
    return best;
}

}  // namespace

std::string to_string(const DominantWavelength& dominant) {
    return (dominant.is_complementary ? "complementary:" : "dominant:") +
           general(dominant.wavelength) + " purity:" + general(dominant.purity);
}

DominantWavelength dominant_wavelength(const ChromaticityPoint& xy,
                                       const ChromaticityPoint& white) {
    internal::require_light(xy);
    internal::require_light(white);
    if (!chromaticity::contains(boundary(), white)) {
        throw std::invalid_argument(
            "lighting::dominant_wavelength: the white lies outside the spectrum locus");
    }
    const ChromaticityPoint direction{xy.x - white.x, xy.y - white.y};
    // Colours nearer than the fourth decimal tells have a direction, but no hue.
    constexpr double least_distance = 5e-5;
    if (std::hypot(direction.x, direction.y) < least_distance) {
        throw std::invalid_argument(
            "lighting::dominant_wavelength: the colour is that of the white");
    }
    const auto ahead = meet_locus(white, direction);
    const auto behind = meet_locus(white, {-direction.x, -direction.y});
    const auto purple =
        crossing(white, direction, spectrum_locus().back(), spectrum_locus().front());
    const bool is_purple = purple && (!ahead || purple->along > ahead->along);
    if ((is_purple && !behind) || (!is_purple && !ahead)) {
        throw std::invalid_argument(
            "lighting::dominant_wavelength: the line misses the spectrum locus");
    }
    const double purity = 1.0 / (is_purple ? purple->along : ahead->along);
    if (!(purity <= highest_purity)) {
        throw std::invalid_argument(
            "lighting::dominant_wavelength: the colour lies outside the spectrum locus");
    }
    return {is_purple ? behind->share : ahead->share, purity, is_purple};
}

}  // namespace vekanalysis::lighting
