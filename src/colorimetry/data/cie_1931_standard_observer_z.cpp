// CIE 1931 standard colorimetric observer (2 degrees), colour-matching function z(lambda),
// dimensionless. Cut on purpose at 650 nm, where the printed table first reads 0. 380 to 650 nm,
// step 5 nm, 55 points.
//
// Source: CIE 15:2004, Table T.4 (the function of ISO/CIE 11664-1), six decimals, trailing zeros
// dropped. Two independent copies of that table agree digit for digit; the CIE 1 nm data and ASTM
// E308 agree when rounded.
//
// Doubt (digits only): the CIE 1 nm data carry more digits and differ from the printed ones by less
// than 5e-7 in 12 of the 55 entries.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 55> points{{
    {380, 0.00645}, {385, 0.01055}, {390, 0.02005}, {395, 0.03621}, {400, 0.06785}, {405, 0.1102},
    {410, 0.2074}, {415, 0.3713}, {420, 0.6456}, {425, 1.03905}, {430, 1.3856}, {435, 1.62296},
    {440, 1.74706}, {445, 1.7826}, {450, 1.77211}, {455, 1.7441}, {460, 1.6692}, {465, 1.5281},
    {470, 1.28764}, {475, 1.0419}, {480, 0.81295}, {485, 0.6162}, {490, 0.46518}, {495, 0.3533},
    {500, 0.272}, {505, 0.2123}, {510, 0.1582}, {515, 0.1117}, {520, 0.07825}, {525, 0.05725},
    {530, 0.04216}, {535, 0.02984}, {540, 0.0203}, {545, 0.0134}, {550, 0.00875}, {555, 0.00575},
    {560, 0.0039}, {565, 0.00275}, {570, 0.0021}, {575, 0.0018}, {580, 0.00165}, {585, 0.0014},
    {590, 0.0011}, {595, 0.001}, {600, 0.0008}, {605, 0.0006}, {610, 0.00034}, {615, 0.00024},
    {620, 0.00019}, {625, 0.0001}, {630, 0.00005}, {635, 0.00003}, {640, 0.00002}, {645, 0.00001},
    {650, 0},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_1931_standard_observer_z{
    "1",
    "CIE 15:2004, Table T.4",
    Standing::PRINTED,
    R"doc(
  CIE 1931 standard colorimetric observer (CIE 1931 2° Standard Observer)
  Color Matching Function z
)doc",
};

const Scan& cie_1931_standard_observer_z() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
