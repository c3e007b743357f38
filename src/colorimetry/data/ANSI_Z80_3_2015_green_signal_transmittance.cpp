// Transmittance of the green traffic-signal lens, ANSI Z80.3-2015 (3.8.2.2), fraction 0..1. 380 to
// 780 nm, step 10 nm, 41 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the zero entry and the
// peak with its wavelength.
//
// A bell 0.6409 exp(-((480 - wl) / 55)^2) below 480 nm and 0.6409 exp(-((wl - 480) / 74)^2.3)
// above. Under illuminant A: luminous transmittance 0.190, x 0.203, y 0.412, inside the ITE green
// limits. The ITE intensities would ask for 2.0 times the red lens's transmittance instead of 1.5,
// so the true lens may be broader.
//
// Likely error of single entries: 0.05 to 0.15. Not for conformity decisions; replace the table as
// soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 41> points{{
    {380, 0.0235}, {390, 0.0440}, {400, 0.0773}, {410, 0.1269}, {420, 0.1950}, {430, 0.2805},
    {440, 0.3776}, {450, 0.4760}, {460, 0.5615}, {470, 0.6201}, {480, 0.6409}, {490, 0.6345},
    {500, 0.6100}, {510, 0.5654}, {520, 0.5027}, {530, 0.4271}, {540, 0.3457}, {550, 0.2658},
    {560, 0.1937}, {570, 0.1335}, {580, 0.0868}, {590, 0.0532}, {600, 0.0307}, {610, 0.0166},
    {620, 0.0084}, {630, 0.0040}, {640, 0.0018}, {650, 0.0007}, {660, 0.0003}, {670, 0.0001},
    {680, 0}, {690, 0}, {700, 0}, {710, 0}, {720, 0}, {730, 0}, {740, 0}, {750, 0}, {760, 0},
    {770, 0}, {780, 0},
}};
// clang-format on

}  // namespace

constinit const Facts about::ANSI_Z80_3_2015_green_signal_transmittance{
    "1",
    "ANSI Z80.3-2015",
    Standing::RECONSTRUCTION,
    R"doc(
  Transmittance of the green traffic signal lens specified in ANSI Z80.3-2015
)doc",
};

const Scan& ANSI_Z80_3_2015_green_signal_transmittance() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
