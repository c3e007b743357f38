// Relative spectral distribution of a blue LED signal light times V(lambda), ISO 8980-3:2013 (3.5).
// The values sum to 100. 420 to 670 nm, step 5 nm, 51 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// A measured LED line (Agilent HLMB-CB30, 467 nm, photobiologyLEDs collection) moved in photon
// energy to a typical signal peak of 470 nm, times CIE 1931 y; the tails go on exponentially in
// photon energy so as to meet the end entries.
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
constexpr std::array<internal::Point, 51> points{{
    {420, 0}, {425, 0.01}, {430, 0.02}, {435, 0.08}, {440, 0.22}, {445, 0.52}, {450, 1.16},
    {455, 2.42}, {460, 4.42}, {465, 7.16}, {470, 9.89}, {475, 11.04}, {480, 10.42}, {485, 8.95},
    {490, 7.60}, {495, 6.45}, {500, 5.53}, {505, 4.67}, {510, 3.77}, {515, 3.08}, {520, 2.46},
    {525, 1.90}, {530, 1.46}, {535, 1.12}, {540, 0.83}, {545, 0.62}, {550, 0.49}, {555, 0.42},
    {560, 0.39}, {565, 0.37}, {570, 0.34}, {575, 0.31}, {580, 0.28}, {585, 0.25}, {590, 0.22},
    {595, 0.20}, {600, 0.17}, {605, 0.15}, {610, 0.13}, {615, 0.11}, {620, 0.09}, {625, 0.07},
    {630, 0.06}, {635, 0.04}, {640, 0.03}, {645, 0.03}, {650, 0.02}, {655, 0.01}, {660, 0.01},
    {665, 0.01}, {670, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_led_blue{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by LED signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Blue Signal\n",
};

const Scan& ISO8980_3_led_blue() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
