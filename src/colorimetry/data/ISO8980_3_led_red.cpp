// Relative spectral distribution of a red LED signal light times V(lambda), ISO 8980-3:2013 (3.5).
// The values sum to 100. 550 to 685 nm, step 5 nm, 28 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// A measured LED line (Epileds 3 W, 620 nm, photobiologyLEDs collection) moved in photon energy to
// a typical signal peak of 635 nm, times CIE 1931 y; the tails go on exponentially in photon energy
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
constexpr std::array<internal::Point, 28> points{{
    {550, 0}, {555, 0.01}, {560, 0.02}, {565, 0.03}, {570, 0.07}, {575, 0.14}, {580, 0.27},
    {585, 0.52}, {590, 0.97}, {595, 1.64}, {600, 2.51}, {605, 3.70}, {610, 5.04}, {615, 7.35},
    {620, 10.35}, {625, 14.01}, {630, 17.70}, {635, 17.93}, {640, 11.34}, {645, 4.32}, {650, 1.36},
    {655, 0.46}, {660, 0.16}, {665, 0.06}, {670, 0.02}, {675, 0.01}, {680, 0.01}, {685, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_led_red{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by LED signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Red Signal\n",
};

const Scan& ISO8980_3_led_red() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
