// Relative spectral distribution of a red incandescent signal light times V(lambda), ISO
// 8980-3:2013 (3.5). The values sum to 100. 495 to 765 nm, step 5 nm, 55 points.
//
// RECONSTRUCTION: these are not the printed figures of the standard, of which no freely readable
// copy was found. Certain are the range, the step, the number of points, the two decimals, the sum
// of exactly 100 and the end entries (0, and 0.01 next to them).
//
// Written down from memory up to 515 nm (a constant leak); above, the older cut-on moved 19 nm up,
// its plateau from the sum and rising 18 % to 760 nm to meet the end entries. The model is
// illuminant A times CIE 1931 y times a filter; the filter shapes come from the exact 10 nm
// products of the older edition of the same annex (EN 1836:1997, ISO 8980-3:2003), whose filters
// differ.
//
// Likely error of single entries: 10 % on the plateau, large below 615 nm. Not for conformity
// decisions; replace the table as soon as the printed one is at hand.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 55> points{{
    {495, 0}, {500, 0.01}, {505, 0.01}, {510, 0.01}, {515, 0.01}, {520, 0.01}, {525, 0.02},
    {530, 0.02}, {535, 0.02}, {540, 0.02}, {545, 0.02}, {550, 0.02}, {555, 0.03}, {560, 0.03},
    {565, 0.03}, {570, 0.03}, {575, 0.03}, {580, 0.03}, {585, 0.03}, {590, 0.03}, {595, 0.06},
    {600, 0.51}, {605, 2.15}, {610, 5.38}, {615, 9.47}, {620, 11.73}, {625, 11.92}, {630, 10.99},
    {635, 9.65}, {640, 8.19}, {645, 6.77}, {650, 5.46}, {655, 4.33}, {660, 3.36}, {665, 2.54},
    {670, 1.88}, {675, 1.41}, {680, 1.06}, {685, 0.77}, {690, 0.54}, {695, 0.39}, {700, 0.29},
    {705, 0.21}, {710, 0.15}, {715, 0.11}, {720, 0.08}, {725, 0.06}, {730, 0.04}, {735, 0.03},
    {740, 0.02}, {745, 0.01}, {750, 0.01}, {755, 0.01}, {760, 0.01}, {765, 0},
}};
// clang-format on

}  // namespace

// Deliberate: the blank behind "average".
constinit const Facts about::ISO8980_3_incandescent_red{
    "sum 100",
    "ISO 8980-3:2013, 3.5",
    Standing::RECONSTRUCTION,
    "\n"
    "  Relative spectral distribution of radiation emitted by incandescent signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  Red Signal\n",
};

const Scan& ISO8980_3_incandescent_red() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
