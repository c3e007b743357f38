// Solar spectral irradiance Es(lambda) at sea level, air mass 2, mW m-2 nm-1. 290 to 500 nm, step 5
// nm, 43 points.
//
// Source: ISO 8980-3, Annex B, Table B.1, read from two public lists of Es and of the products Es *
// S and Es * B, which agree wherever they overlap.
//
// Doubt: 385 to 405 nm and 490 to 500 nm are only loosely bounded by the (integer) products and
// rest mainly on one list.
//
// Checks: 0 at 290 nm (the standard sets it to 0 from 280 nm on), 0.000209 at 295 nm, 1215 at 500
// nm.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 43> points{{
    {290, 0}, {295, 0.000209}, {300, 0.081}, {305, 1.91}, {310, 11}, {315, 30}, {320, 54},
    {325, 79.2}, {330, 101}, {335, 128}, {340, 151}, {345, 170}, {350, 188}, {355, 210}, {360, 233},
    {365, 253}, {370, 279}, {375, 306}, {380, 336}, {385, 365}, {390, 397}, {395, 432}, {400, 470},
    {405, 562}, {410, 672}, {415, 705}, {420, 733}, {425, 760}, {430, 787}, {435, 849}, {440, 911},
    {445, 959}, {450, 1006}, {455, 1037}, {460, 1080}, {465, 1109}, {470, 1138}, {475, 1161},
    {480, 1183}, {485, 1197}, {490, 1210}, {495, 1213}, {500, 1215},
}};
// clang-format on

}  // namespace

// Deliberate: 250nm, although the table begins at 290 nm.
constinit const Facts about::solar_spectral_irradiance{
    "mW m-2 nm-1",
    "ISO 8980-3, Table B.1",
    Standing::PRINTED,
    R"doc(
  Solar Spectral Irradiance (mW m-2 nm-1)
  250nm to 500nm steps 5nm
)doc",
};

const Scan& solar_spectral_irradiance() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
