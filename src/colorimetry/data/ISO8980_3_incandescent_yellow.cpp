// Relative spectral distribution of a yellow incandescent signal light times V(lambda), ISO
// 8980-3:2013 (3.5). The values sum to 100. 470 to 740 nm, step 5 nm, 55 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// Written down from memory up to 515 nm (a constant leak); above, the older cut-on moved 7 nm down
// and made 1.2 times steeper, its plateau from the sum. The model is illuminant A times CIE 1931 y
// times a filter; the filter shapes come from the exact 10 nm products of the older edition of the
// same annex (EN 1836:1997, ISO 8980-3:2003), whose filters differ.
//
// Likely error of single entries: 5 to 15 % on the plateau, more below 545 nm. Not for conformity
// decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 55> points{{
    {470, 0}, {475, 0.01}, {480, 0.01}, {485, 0.01}, {490, 0.01}, {495, 0.01}, {500, 0.02},
    {505, 0.02}, {510, 0.03}, {515, 0.06}, {520, 0.18}, {525, 0.39}, {530, 0.82}, {535, 1.56},
    {540, 2.65}, {545, 3.68}, {550, 4.50}, {555, 5.04}, {560, 5.41}, {565, 5.65}, {570, 5.80},
    {575, 5.86}, {580, 5.82}, {585, 5.70}, {590, 5.48}, {595, 5.23}, {600, 4.92}, {605, 4.58},
    {610, 4.20}, {615, 3.80}, {620, 3.38}, {625, 2.94}, {630, 2.50}, {635, 2.10}, {640, 1.74},
    {645, 1.41}, {650, 1.12}, {655, 0.87}, {660, 0.67}, {665, 0.50}, {670, 0.36}, {675, 0.27},
    {680, 0.20}, {685, 0.14}, {690, 0.10}, {695, 0.07}, {700, 0.05}, {705, 0.04}, {710, 0.03},
    {715, 0.02}, {720, 0.01}, {725, 0.01}, {730, 0.01}, {735, 0.01}, {740, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_incandescent_yellow{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by incandescent signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Yellow Signal\n",
};

const Scan& ISO8980_3_incandescent_yellow() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
