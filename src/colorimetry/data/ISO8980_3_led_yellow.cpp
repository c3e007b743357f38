// Relative spectral distribution of a yellow LED signal light times V(lambda), ISO 8980-3:2013
// (3.5). The values sum to 100. 515 to 640 nm, step 5 nm, 26 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// A measured LED line (Epileds 3 W, 590 nm, photobiologyLEDs collection) moved in photon energy to
// a typical signal peak of 591 nm, times CIE 1931 y; the tails go on exponentially in photon energy
// so as to meet the end entries.
//
// Likely error of single entries: up to a factor of 1.5 on the flanks (the peak is uncertain by 2
// to 4 nm), 20 % near the peak. Not for conformity decisions; replace the table as soon as the
// printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 26> points{{
    {515, 0}, {520, 0.01}, {525, 0.02}, {530, 0.03}, {535, 0.06}, {540, 0.11}, {545, 0.20},
    {550, 0.37}, {555, 0.65}, {560, 1.12}, {565, 1.93}, {570, 3.58}, {575, 6.20}, {580, 10.81},
    {585, 18.19}, {590, 24.89}, {595, 18.95}, {600, 8.18}, {605, 3.00}, {610, 1.07}, {615, 0.40},
    {620, 0.15}, {625, 0.05}, {630, 0.02}, {635, 0.01}, {640, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_led_yellow{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by LED signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Yellow Signal\n",
};

const Scan& ISO8980_3_led_yellow() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
