// CIE 1964 standard colorimetric observer (10 degrees), colour-matching function y(lambda),
// dimensionless. 380 to 780 nm, step 5 nm, 81 points.
//
// Source: CIE 15:2004, Table T.5 (the function of ISO/CIE 11664-1), six decimals, trailing zeros
// dropped. Two independent copies of that table agree digit for digit; the CIE 1 nm data and ASTM
// E308 agree when rounded.
//
// Doubt (digits only): the CIE 1 nm data carry more digits at both ends of the range and differ
// from the printed ones by less than 5e-7 in 28 of the 81 entries.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 81> points{{
    {380, 0.000017}, {385, 0.000072}, {390, 0.000253}, {395, 0.000769}, {400, 0.002004},
    {405, 0.004509}, {410, 0.008756}, {415, 0.014456}, {420, 0.021391}, {425, 0.029497},
    {430, 0.038676}, {435, 0.049602}, {440, 0.062077}, {445, 0.074704}, {450, 0.089456},
    {455, 0.106256}, {460, 0.128201}, {465, 0.152761}, {470, 0.18519}, {475, 0.21994},
    {480, 0.253589}, {485, 0.297665}, {490, 0.339133}, {495, 0.395379}, {500, 0.460777},
    {505, 0.53136}, {510, 0.606741}, {515, 0.68566}, {520, 0.761757}, {525, 0.82333},
    {530, 0.875211}, {535, 0.92381}, {540, 0.961988}, {545, 0.9822}, {550, 0.991761},
    {555, 0.99911}, {560, 0.99734}, {565, 0.98238}, {570, 0.955552}, {575, 0.915175},
    {580, 0.868934}, {585, 0.825623}, {590, 0.777405}, {595, 0.720353}, {600, 0.658341},
    {605, 0.593878}, {610, 0.527963}, {615, 0.461834}, {620, 0.398057}, {625, 0.339554},
    {630, 0.283493}, {635, 0.228254}, {640, 0.179828}, {645, 0.140211}, {650, 0.107633},
    {655, 0.081187}, {660, 0.060281}, {665, 0.044096}, {670, 0.0318}, {675, 0.022602},
    {680, 0.015905}, {685, 0.01113}, {690, 0.007749}, {695, 0.005375}, {700, 0.003718},
    {705, 0.002565}, {710, 0.001768}, {715, 0.001222}, {720, 0.000846}, {725, 0.000586},
    {730, 0.000407}, {735, 0.000284}, {740, 0.000199}, {745, 0.00014}, {750, 0.000098},
    {755, 0.00007}, {760, 0.00005}, {765, 0.000036}, {770, 0.000025}, {775, 0.000018},
    {780, 0.000013},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_1964_standard_observer_y{
    "1",
    "CIE 15:2004, Table T.5",
    Standing::PRINTED,
    R"doc(
  CIE 1964 standard colorimetric observer (CIE 1964 10° Standard Observer)
  Color Matching Function y
)doc",
};

const Scan& cie_1964_standard_observer_y() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
