#include "chromaticity/chromaticity.hpp"

#include <cmath>
#include <cstdint>

#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/observers.hpp"
#include "colorimetry/tristimulus.hpp"
#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "numerical/fused.hpp"

namespace vekanalysis {

std::string to_string(const ChromaticityPoint& point) {
    return "x:" + internal::general(point.x) + " y:" + internal::general(point.y);
}

namespace chromaticity {

namespace tables = colorimetry::data;

namespace {

ChromaticityPoint chromaticity_for(const Observer& observer, const Scan& scan) {
    const auto [X, Y, Z] = colorimetry::CIE_tristimulus_values(scan, observer);
    const double sum = Z + (X + Y);
    return {X / sum, Y / sum};
}

}  // namespace

ChromaticityPoint CIE_1931_chromaticity(const Scan& scan) {
    return chromaticity_for(observers::data::cie_1931_standard(), scan);
}

ChromaticityPoint CIE_1964_chromaticity(const Scan& scan) {
    return chromaticity_for(observers::data::cie_1964_standard(), scan);
}

ChromaticityPoint ANSI_Z80_3_daylight_chromaticity(const Scan& scan) {
    return CIE_1931_chromaticity(scan * tables::cie_illuminant_d65());
}

ChromaticityPoint ANSI_Z80_3_yellow_chromaticity(const Scan& scan) {
    return CIE_1931_chromaticity((scan * tables::ANSI_Z80_3_2015_yellow_signal_transmittance()) *
                                 tables::cie_illuminant_a());
}

ChromaticityPoint ANSI_Z80_3_green_chromaticity(const Scan& scan) {
    return CIE_1931_chromaticity((scan * tables::ANSI_Z80_3_2015_green_signal_transmittance()) *
                                 tables::cie_illuminant_a());
}

bool contains(const std::vector<ChromaticityPoint>& polygon,
              const ChromaticityPoint& point) noexcept {
    const auto n = static_cast<std::uint32_t>(polygon.size());
    double sum = 0.0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const std::uint32_t j = i == n - 1 ? 0 : i + 1;
        const ChromaticityPoint a{polygon[i].x - point.x, polygon[i].y - point.y};
        const ChromaticityPoint b{polygon[j].x - point.x, polygon[j].y - point.y};
        sum += std::atan2(numerical::fused(b.y, a.x, -(b.x * a.y)),
                          numerical::fused(b.x, a.x, a.y * b.y));
    }
    return std::abs(sum) > 3.141592653589793;
}

}  // namespace chromaticity

}  // namespace vekanalysis
