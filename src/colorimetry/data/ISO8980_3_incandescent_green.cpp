// Relative spectral distribution of a green incandescent signal light times V(lambda), ISO
// 8980-3:2013 (3.5). The values sum to 100. 430 to 750 nm, step 5 nm, 65 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// Written down from memory up to 515 nm; above, a smooth continuation that gives the sum, with a
// far-red leak that gives the end entries. The model is illuminant A times CIE 1931 y times a
// filter; the filter shapes come from the exact 10 nm products of the older edition of the same
// annex (EN 1836:1997, ISO 8980-3:2003), whose filters differ.
//
// Likely error of single entries: 0.01 up to 515 nm if the recollection is right, 5 to 15 % above.
// Not for conformity decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 65> points{{
    {430, 0}, {435, 0.01}, {440, 0.02}, {445, 0.03}, {450, 0.05}, {455, 0.08}, {460, 0.12},
    {465, 0.18}, {470, 0.27}, {475, 0.38}, {480, 0.54}, {485, 0.74}, {490, 1.02}, {495, 1.41},
    {500, 1.91}, {505, 2.61}, {510, 3.43}, {515, 4.37}, {520, 5.31}, {525, 6.09}, {530, 6.70},
    {535, 7.09}, {540, 7.27}, {545, 7.21}, {550, 6.94}, {555, 6.50}, {560, 5.90}, {565, 5.19},
    {570, 4.42}, {575, 3.64}, {580, 2.89}, {585, 2.22}, {590, 1.64}, {595, 1.16}, {600, 0.80},
    {605, 0.53}, {610, 0.33}, {615, 0.20}, {620, 0.12}, {625, 0.06}, {630, 0.03}, {635, 0.02},
    {640, 0.01}, {645, 0.01}, {650, 0.01}, {655, 0.01}, {660, 0.01}, {665, 0.02}, {670, 0.02},
    {675, 0.03}, {680, 0.03}, {685, 0.04}, {690, 0.05}, {695, 0.05}, {700, 0.05}, {705, 0.05},
    {710, 0.04}, {715, 0.04}, {720, 0.03}, {725, 0.02}, {730, 0.02}, {735, 0.01}, {740, 0.01},
    {745, 0.01}, {750, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_incandescent_green{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by incandescent signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Green Signal\n",
};

const Scan& ISO8980_3_incandescent_green() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
