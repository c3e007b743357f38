#include "lighting/chromaticity.hpp"

#include <cmath>
#include <stdexcept>

#include "core/text.hpp"
#include "lighting/visible_spectrum.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

SourceChromaticity all_diagrams(double x, double y) noexcept {
    const internal::UV uv = internal::uv_of({x, y, 1.0 - x - y});
    return {x, y, uv.u, uv.v, uv.u, 1.5 * uv.v};
}

}  // namespace

std::string to_string(const SourceChromaticity& c) {
    return "x:" + general(c.x) + " y:" + general(c.y) + " u:" + general(c.u) +
           " v:" + general(c.v) + " u':" + general(c.u_prime) + " v':" + general(c.v_prime);
}

SourceChromaticity chromaticity(const Scan& scan, int step, int observer) {
    const internal::ColourMatching& matching = internal::colour_matching(observer, step);
    const internal::VisibleSpectrum spectrum(scan, step);
    const auto [X, Y, Z] = matching(spectrum.values());
    const double sum = Z + (X + Y);
    return all_diagrams(X / sum, Y / sum);
}

SourceChromaticity chromaticity(const ChromaticityPoint& xy) {
    internal::require_light(xy);
    return all_diagrams(xy.x, xy.y);
}

namespace internal {

void require_light(const ChromaticityPoint& xy) {
    const double sum = 3.0 - 2.0 * xy.x + 12.0 * xy.y;
    if (std::isfinite(sum) && xy.y > 0.0 && sum > 0.0) return;
    throw std::invalid_argument("lighting: the chromaticity is not that of a light");
}

}  // namespace internal

}  // namespace vekanalysis::lighting
