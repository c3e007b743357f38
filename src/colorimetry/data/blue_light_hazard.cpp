// Blue-light hazard function B(lambda), dimensionless, cut at 500 nm on purpose. 380 to 500 nm,
// step 5 nm, 25 points.
//
// Source: ISO 8980-3, Annex B, Table B.1.
//
// Doubt: at 380 and 385 nm other tables differ (ICNIRP 2013: 0.01 and 0.0125; IEC 62471: 0.01 and
// 0.013). The values of the lens standard, 0.006 and 0.012, are the only ones that give its integer
// products Es * B (2 and 4) there; the other 23 values are the same everywhere. No text of ISO
// 12311 was seen; that it has the same table is inferred.
//
// Checks: all 25 published products Es * B are reproduced; 1 at 435 and 440 nm, 0.1 at 500 nm.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 25> points{{
    {380, 0.006}, {385, 0.012}, {390, 0.025}, {395, 0.05}, {400, 0.1}, {405, 0.2}, {410, 0.4},
    {415, 0.8}, {420, 0.9}, {425, 0.95}, {430, 0.98}, {435, 1}, {440, 1}, {445, 0.97}, {450, 0.94},
    {455, 0.9}, {460, 0.8}, {465, 0.7}, {470, 0.62}, {475, 0.55}, {480, 0.45}, {485, 0.4},
    {490, 0.22}, {495, 0.16}, {500, 0.1},
}};
// clang-format on

}  // namespace

constinit const Facts about::blue_light_hazard{
    "1",
    "ISO 8980-3, Table B.1",
    Standing::PRINTED,
    R"doc(
  Blue-light hazard function B(λ)
  380nm to 500nm steps 5nm
)doc",
};

const Scan& blue_light_hazard() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
