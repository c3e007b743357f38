// Relative spectral distribution of a blue incandescent signal light times V(lambda), ISO
// 8980-3:2013 (3.5). The values sum to 100. 395 to 765 nm, step 5 nm, 75 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// Written down from memory up to 515 nm; above, the older blue filter times a smooth factor fixed
// by the part below, the end entries and the sum. The model is illuminant A times CIE 1931 y times
// a filter; the filter shapes come from the exact 10 nm products of the older edition of the same
// annex (EN 1836:1997, ISO 8980-3:2003), whose filters differ.
//
// Likely error of single entries: a few % up to 515 nm, 10 to 40 % above. Not for conformity
// decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 75> points{{
    {395, 0}, {400, 0.01}, {405, 0.01}, {410, 0.03}, {415, 0.06}, {420, 0.12}, {425, 0.25},
    {430, 0.44}, {435, 0.68}, {440, 0.97}, {445, 1.26}, {450, 1.60}, {455, 1.95}, {460, 2.35},
    {465, 2.76}, {470, 3.23}, {475, 3.72}, {480, 4.24}, {485, 4.65}, {490, 5.08}, {495, 5.51},
    {500, 5.87}, {505, 6.45}, {510, 6.80}, {515, 6.66}, {520, 5.99}, {525, 5.00}, {530, 4.06},
    {535, 3.32}, {540, 2.74}, {545, 2.38}, {550, 2.00}, {555, 1.50}, {560, 1.03}, {565, 0.65},
    {570, 0.41}, {575, 0.29}, {580, 0.23}, {585, 0.24}, {590, 0.26}, {595, 0.26}, {600, 0.24},
    {605, 0.20}, {610, 0.15}, {615, 0.10}, {620, 0.07}, {625, 0.06}, {630, 0.07}, {635, 0.12},
    {640, 0.20}, {645, 0.34}, {650, 0.47}, {655, 0.41}, {660, 0.29}, {665, 0.18}, {670, 0.13},
    {675, 0.18}, {680, 0.27}, {685, 0.29}, {690, 0.26}, {695, 0.22}, {700, 0.17}, {705, 0.13},
    {710, 0.10}, {715, 0.08}, {720, 0.06}, {725, 0.04}, {730, 0.03}, {735, 0.02}, {740, 0.02},
    {745, 0.01}, {750, 0.01}, {755, 0.01}, {760, 0.01}, {765, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_incandescent_blue{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by incandescent signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Blue Signal\n",
};

const Scan& ISO8980_3_incandescent_blue() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
