// Relative spectral distribution of a green LED signal light times V(lambda), ISO 8980-3:2013
// (3.5). The values sum to 100. 435 to 640 nm, step 5 nm, 42 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// A measured LED line (Cree XP-E, 503 nm, photobiologyLEDs collection) moved in photon energy to a
// typical signal peak of 502 nm and widened 1.15 times, times CIE 1931 y; the tails go on
// exponentially in photon energy so as to meet the end entries.
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
constexpr std::array<internal::Point, 42> points{{
    {435, 0}, {440, 0.01}, {445, 0.01}, {450, 0.02}, {455, 0.04}, {460, 0.06}, {465, 0.11},
    {470, 0.23}, {475, 0.49}, {480, 1.01}, {485, 1.97}, {490, 3.61}, {495, 6.03}, {500, 8.75},
    {505, 10.86}, {510, 11.48}, {515, 10.88}, {520, 9.70}, {525, 8.36}, {530, 6.75}, {535, 5.13},
    {540, 3.92}, {545, 2.92}, {550, 2.17}, {555, 1.58}, {560, 1.15}, {565, 0.81}, {570, 0.57},
    {575, 0.41}, {580, 0.29}, {585, 0.20}, {590, 0.13}, {595, 0.10}, {600, 0.07}, {605, 0.05},
    {610, 0.04}, {615, 0.03}, {620, 0.02}, {625, 0.02}, {630, 0.01}, {635, 0.01}, {640, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_led_green{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by LED signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Green Signal\n",
};

const Scan& ISO8980_3_led_green() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
