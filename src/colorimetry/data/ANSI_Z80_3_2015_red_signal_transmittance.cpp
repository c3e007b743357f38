// Transmittance of the red traffic-signal lens, ANSI Z80.3-2015 (3.8.2.2), fraction 0..1. 590 to
// 780 nm, step 10 nm, 20 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the zero entry and the
// peak with its wavelength.
//
// The cut-on of the older incandescent red signal (EN 1836:1997) moved 18 nm up, scaled to 0.853 at
// 700 nm, a slow decline beyond. Under illuminant A: luminous transmittance 0.125, x 0.706, y
// 0.294.
//
// Likely error of single entries: 0.01 to 0.03 above 630 nm, up to 0.2 on the edge. Not for
// conformity decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 20> points{{
    {590, 0}, {600, 0.023}, {610, 0.243}, {620, 0.590}, {630, 0.734}, {640, 0.784}, {650, 0.805},
    {660, 0.820}, {670, 0.830}, {680, 0.839}, {690, 0.847}, {700, 0.853}, {710, 0.851},
    {720, 0.849}, {730, 0.848}, {740, 0.846}, {750, 0.844}, {760, 0.842}, {770, 0.840},
    {780, 0.839},
}};
// clang-format on

}  // namespace

constinit const Facts about::ANSI_Z80_3_2015_red_signal_transmittance{
    "1",
    "ANSI Z80.3-2015",
    Standing::RECONSTRUCTION,
    R"doc(
  Transmittance of the red traffic signal lens specified in ANSI Z80.3-2015
)doc",
};

const Scan& ANSI_Z80_3_2015_red_signal_transmittance() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
