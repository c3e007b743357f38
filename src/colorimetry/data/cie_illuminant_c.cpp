// CIE illuminant C, relative spectral power, scaled to 1 at 560 nm (not 100). 380 to 780 nm, step
// 10 nm, 41 points.
//
// Source: CIE 15:2004, Table T.1, every 10 nm, each value divided in double precision by the value
// at 560 nm, 105.30; hence the long decimals, which read back to the same double. Six public copies
// of the table agree.
//
// Checks: exactly 1 at 560 nm; 105.3 times the value gives the tabulated one within 1e-12.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 41> points{{
    {380, 0.3133903133903134}, {390, 0.45014245014245013}, {400, 0.6011396011396011},
    {410, 0.7654320987654321}, {420, 0.9316239316239316}, {430, 1.0674264007597343},
    {440, 1.153846153846154}, {450, 1.177587844254511}, {460, 1.1690408357075024},
    {470, 1.1756885090218423}, {480, 1.1766381766381768}, {490, 1.1462488129154795},
    {500, 1.0645773979107311}, {510, 0.9715099715099715}, {520, 0.9202279202279203},
    {530, 0.9306742640075973}, {540, 0.9696106362773029}, {550, 0.9990503323836658}, {560, 1.0},
    {570, 0.9715099715099715}, {580, 0.9287749287749287}, {590, 0.8850902184235518},
    {600, 0.8518518518518519}, {610, 0.8395061728395062}, {620, 0.8366571699905033},
    {630, 0.835707502374169}, {640, 0.8338081671415005}, {650, 0.8376068376068376},
    {660, 0.8347578347578348}, {670, 0.8195631528964862}, {680, 0.7977207977207977},
    {690, 0.7616334283000951}, {700, 0.724596391263058}, {710, 0.687559354226021},
    {720, 0.6486229819563153}, {730, 0.6115859449192783}, {740, 0.584045584045584},
    {750, 0.5622032288698956}, {760, 0.5517568850902185}, {770, 0.5527065527065528},
    {780, 0.5612535612535613},
}};
// clang-format on

}  // namespace

constinit const Facts about::cie_illuminant_c{
    "relative",
    "CIE 15:2004, Table T.1, divided by its value at 560 nm",
    Standing::SCALED,
    R"doc(
  Relative spectral power distribution of CIE Standard Illuminant C
)doc",
};

const Scan& cie_illuminant_c() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
