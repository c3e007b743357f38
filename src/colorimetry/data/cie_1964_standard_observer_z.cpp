// CIE 1964 standard colorimetric observer (10 degrees), colour-matching function z(lambda),
// dimensionless. Cut on purpose at 560 nm, where the printed table first reads 0. 380 to 560 nm,
// step 5 nm, 37 points.
//
// Source: CIE 15:2004, Table T.5 (the function of ISO/CIE 11664-1), six decimals, trailing zeros
// dropped. Two independent copies of that table agree digit for digit; the CIE 1 nm data and ASTM
// E308 agree when rounded.
//
// Doubt (digits only): the CIE 1 nm data carry more digits at both ends of the range and differ
// from the printed ones by less than 5e-7 in 4 of the 37 entries.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 37> points{{
    {380, 0.000705}, {385, 0.002928}, {390, 0.010482}, {395, 0.032344}, {400, 0.086011},
    {405, 0.19712}, {410, 0.389366}, {415, 0.65676}, {420, 0.972542}, {425, 1.2825}, {430, 1.55348},
    {435, 1.7985}, {440, 1.96728}, {445, 2.0273}, {450, 1.9948}, {455, 1.9007}, {460, 1.74537},
    {465, 1.5549}, {470, 1.31756}, {475, 1.0302}, {480, 0.772125}, {485, 0.57006}, {490, 0.415254},
    {495, 0.302356}, {500, 0.218502}, {505, 0.159249}, {510, 0.112044}, {515, 0.082248},
    {520, 0.060709}, {525, 0.04305}, {530, 0.030451}, {535, 0.020584}, {540, 0.013676},
    {545, 0.007918}, {550, 0.003988}, {555, 0.001091}, {560, 0},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_1964_standard_observer_z{
    "1",
    "CIE 15:2004, Table T.5",
    Standing::PRINTED,
    R"doc(
  CIE 1964 standard colorimetric observer (CIE 1964 10° Standard Observer)
  Color Matching Function z
)doc",
};

const Scan& cie_1964_standard_observer_z() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
