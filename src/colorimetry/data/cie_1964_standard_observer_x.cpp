// CIE 1964 standard colorimetric observer (10 degrees), colour-matching function x(lambda),
// dimensionless. 380 to 780 nm, step 5 nm, 81 points.
//
// Source: CIE 15:2004, Table T.5 (the function of ISO/CIE 11664-1), six decimals, trailing zeros
// dropped. Two independent copies of that table agree digit for digit; the CIE 1 nm data and ASTM
// E308 agree when rounded.
//
// Doubt (digits only): the CIE 1 nm data carry more digits at both ends of the range and differ
// from the printed ones by less than 5e-7 in 25 of the 81 entries.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 81> points{{
    {380, 0.00016}, {385, 0.000662}, {390, 0.002362}, {395, 0.007242}, {400, 0.01911},
    {405, 0.0434}, {410, 0.084736}, {415, 0.140638}, {420, 0.204492}, {425, 0.264737},
    {430, 0.314679}, {435, 0.357719}, {440, 0.383734}, {445, 0.386726}, {450, 0.370702},
    {455, 0.342957}, {460, 0.302273}, {465, 0.254085}, {470, 0.195618}, {475, 0.132349},
    {480, 0.080507}, {485, 0.041072}, {490, 0.016172}, {495, 0.005132}, {500, 0.003816},
    {505, 0.015444}, {510, 0.037465}, {515, 0.071358}, {520, 0.117749}, {525, 0.172953},
    {530, 0.236491}, {535, 0.304213}, {540, 0.376772}, {545, 0.451584}, {550, 0.529826},
    {555, 0.616053}, {560, 0.705224}, {565, 0.793832}, {570, 0.878655}, {575, 0.951162},
    {580, 1.01416}, {585, 1.0743}, {590, 1.11852}, {595, 1.1343}, {600, 1.12399}, {605, 1.0891},
    {610, 1.03048}, {615, 0.95074}, {620, 0.856297}, {625, 0.75493}, {630, 0.647467},
    {635, 0.53511}, {640, 0.431567}, {645, 0.34369}, {650, 0.268329}, {655, 0.2043},
    {660, 0.152568}, {665, 0.11221}, {670, 0.081261}, {675, 0.05793}, {680, 0.040851},
    {685, 0.028623}, {690, 0.019941}, {695, 0.013842}, {700, 0.009577}, {705, 0.006605},
    {710, 0.004553}, {715, 0.003145}, {720, 0.002175}, {725, 0.001506}, {730, 0.001045},
    {735, 0.000727}, {740, 0.000508}, {745, 0.000356}, {750, 0.000251}, {755, 0.000178},
    {760, 0.000126}, {765, 0.00009}, {770, 0.000065}, {775, 0.000046}, {780, 0.000033},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_1964_standard_observer_x{
    "1",
    "CIE 15:2004, Table T.5",
    Standing::PRINTED,
    R"doc(
  CIE 1964 standard colorimetric observer (CIE 1964 10° Standard Observer)
  Color Matching Function x
)doc",
};

const Scan& cie_1964_standard_observer_x() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
