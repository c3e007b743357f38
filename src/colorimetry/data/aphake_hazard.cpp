// Aphakic photochemical retinal hazard function A(lambda), dimensionless. 300 to 700 nm, step 5 nm,
// 81 points.
//
// Source: ICNIRP, Guidelines on limits of exposure to incoherent visible and infrared radiation,
// 2013, Table 2 (5 nm). Read from a public copy without the 325 nm row, which comes from ISO
// 15004-2:2007, Table A.1; the two agree from 305 to 505 nm.
//
// Doubt: between 510 and 595 nm the published tables differ in their digits (three decimals here,
// up to four in ISO 15004-2), by 0.003 at 510 nm and 0.0006 elsewhere; there the digits rest on the
// one copy, which a three-decimal B(lambda) list supports but for 585 nm (0.001 there, against
// 0.002 from the rule 10^((450 - wl) / 50)). No calculation of the library uses this table.
//
// Checks: 6 at 300 nm, 1 at 440 nm, 0.001 from 590 to 700 nm.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 81> points{{
    {300, 6}, {305, 6}, {310, 6}, {315, 6}, {320, 6}, {325, 6}, {330, 6}, {335, 6}, {340, 5.88},
    {345, 5.71}, {350, 5.46}, {355, 5.22}, {360, 4.62}, {365, 4.29}, {370, 3.75}, {375, 3.56},
    {380, 3.19}, {385, 2.31}, {390, 1.88}, {395, 1.58}, {400, 1.43}, {405, 1.3}, {410, 1.25},
    {415, 1.2}, {420, 1.15}, {425, 1.11}, {430, 1.07}, {435, 1.03}, {440, 1}, {445, 0.97},
    {450, 0.94}, {455, 0.9}, {460, 0.8}, {465, 0.7}, {470, 0.62}, {475, 0.55}, {480, 0.45},
    {485, 0.4}, {490, 0.22}, {495, 0.16}, {500, 0.1}, {505, 0.079}, {510, 0.063}, {515, 0.05},
    {520, 0.04}, {525, 0.032}, {530, 0.025}, {535, 0.02}, {540, 0.016}, {545, 0.013}, {550, 0.01},
    {555, 0.008}, {560, 0.006}, {565, 0.005}, {570, 0.004}, {575, 0.003}, {580, 0.002},
    {585, 0.002}, {590, 0.001}, {595, 0.001}, {600, 0.001}, {605, 0.001}, {610, 0.001},
    {615, 0.001}, {620, 0.001}, {625, 0.001}, {630, 0.001}, {635, 0.001}, {640, 0.001},
    {645, 0.001}, {650, 0.001}, {655, 0.001}, {660, 0.001}, {665, 0.001}, {670, 0.001},
    {675, 0.001}, {680, 0.001}, {685, 0.001}, {690, 0.001}, {695, 0.001}, {700, 0.001},
}};
// clang-format on

}  // namespace

constinit const Facts about::aphake_hazard{
    "1",
    "ICNIRP 2013, Table 2",
    Standing::PRINTED,
    R"doc(
  Aphake hazard function A(λ)
)doc",
};

const Scan& aphake_hazard() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
