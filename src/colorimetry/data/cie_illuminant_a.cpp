// CIE standard illuminant A, relative spectral power, 100 at 560 nm. 300 to 780 nm, step 5 nm, 97
// points.
//
// Source: CIE 15:2004, Table T.1 (ISO 11664-2), six digits. Copies of the table, the CIE 1 nm data
// set and ASTM E308 agree wherever they overlap.
//
// Checks: the defining formula (Planck, c2 = 1.435e7 nm K, T = 2848 K) is reproduced to 5e-6, the
// rounding of six digits.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 97> points{{
    {300, 0.930483}, {305, 1.12821}, {310, 1.35769}, {315, 1.62219}, {320, 1.92508}, {325, 2.2698},
    {330, 2.65981}, {335, 3.09861}, {340, 3.58968}, {345, 4.13648}, {350, 4.74238}, {355, 5.4107},
    {360, 6.14462}, {365, 6.9472}, {370, 7.82135}, {375, 8.7698}, {380, 9.7951}, {385, 10.8996},
    {390, 12.0853}, {395, 13.3543}, {400, 14.708}, {405, 16.148}, {410, 17.6753}, {415, 19.2907},
    {420, 20.995}, {425, 22.7883}, {430, 24.6709}, {435, 26.6425}, {440, 28.7027}, {445, 30.8508},
    {450, 33.0859}, {455, 35.4068}, {460, 37.8121}, {465, 40.3002}, {470, 42.8693}, {475, 45.5174},
    {480, 48.2423}, {485, 51.0418}, {490, 53.9132}, {495, 56.8539}, {500, 59.8611}, {505, 62.932},
    {510, 66.0635}, {515, 69.2525}, {520, 72.4959}, {525, 75.7903}, {530, 79.1326}, {535, 82.5193},
    {540, 85.947}, {545, 89.4124}, {550, 92.912}, {555, 96.4423}, {560, 100}, {565, 103.582},
    {570, 107.184}, {575, 110.803}, {580, 114.436}, {585, 118.08}, {590, 121.731}, {595, 125.386},
    {600, 129.043}, {605, 132.697}, {610, 136.346}, {615, 139.988}, {620, 143.618}, {625, 147.235},
    {630, 150.836}, {635, 154.418}, {640, 157.979}, {645, 161.516}, {650, 165.028}, {655, 168.51},
    {660, 171.963}, {665, 175.383}, {670, 178.769}, {675, 182.118}, {680, 185.429}, {685, 188.701},
    {690, 191.931}, {695, 195.118}, {700, 198.261}, {705, 201.359}, {710, 204.409}, {715, 207.411},
    {720, 210.365}, {725, 213.268}, {730, 216.12}, {735, 218.92}, {740, 221.667}, {745, 224.361},
    {750, 227}, {755, 229.585}, {760, 232.115}, {765, 234.589}, {770, 237.008}, {775, 239.37},
    {780, 241.675},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_illuminant_a{
    "relative",
    "CIE 15:2004, Table T.1",
    Standing::PRINTED,
    R"doc(
  Relative spectral power distribution of CIE Standard Illuminant A
)doc",
};

const Scan& cie_illuminant_a() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
