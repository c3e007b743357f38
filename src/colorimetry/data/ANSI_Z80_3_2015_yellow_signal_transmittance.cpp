// Transmittance of the yellow traffic-signal lens, ANSI Z80.3-2015 (3.8.2.2), fraction 0..1. 500 to
// 780 nm, step 10 nm, 29 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the zero entry and the
// peak with its wavelength.
//
// The cut-on of the older incandescent yellow signal (EN 1836:1997) moved 3 nm up, scaled to 0.891
// at 680 nm. Under illuminant A: luminous transmittance 0.575, x 0.585, y 0.414; 4.6 times the red
// lens, as the ITE intensities are.
//
// Likely error of single entries: 0.01 to 0.03 above 580 nm, up to 0.2 on the edge. Not for
// conformity decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 29> points{{
    {500, 0}, {510, 0.001}, {520, 0.013}, {530, 0.062}, {540, 0.194}, {550, 0.448}, {560, 0.656},
    {570, 0.745}, {580, 0.784}, {590, 0.808}, {600, 0.826}, {610, 0.837}, {620, 0.849},
    {630, 0.858}, {640, 0.866}, {650, 0.874}, {660, 0.882}, {670, 0.886}, {680, 0.891},
    {690, 0.889}, {700, 0.887}, {710, 0.885}, {720, 0.883}, {730, 0.881}, {740, 0.879},
    {750, 0.877}, {760, 0.875}, {770, 0.873}, {780, 0.871},
}};
// clang-format on

}  // namespace

constinit const Facts about::ANSI_Z80_3_2015_yellow_signal_transmittance{
    "1",
    "ANSI Z80.3-2015",
    Standing::RECONSTRUCTION,
    R"doc(
  Transmittance of the yellow traffic signal lens specified in ANSI Z80.3-2015
)doc",
};

const Scan& ANSI_Z80_3_2015_yellow_signal_transmittance() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
