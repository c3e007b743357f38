// Relative spectral effectiveness of ultraviolet radiation S(lambda), dimensionless. 280 to 400 nm,
// step 5 nm, 25 points.
//
// Source: ICNIRP, Guidelines on limits of exposure to ultraviolet radiation, Health Phys. 87 (2004)
// 171-186. EN 62471, IEC 62471-6 and the S column of ISO 8980-3 (280 to 380 nm) agree in every
// value; ISO 15004-2 rounds 310 nm to 0.02.
//
// ICNIRP's closed formula is only an approximation (up to 29 % off at 325 nm) and was not used.

#include <array>

#include "colorimetry/data/make_table.hpp"
#include "colorimetry/data/reference_spectra.hpp"

namespace vekanalysis::colorimetry::data {

namespace {

// clang-format off
constexpr std::array<internal::Point, 25> points{{
    {280, 0.88}, {285, 0.77}, {290, 0.64}, {295, 0.54}, {300, 0.3}, {305, 0.06}, {310, 0.015},
    {315, 0.003}, {320, 0.001}, {325, 0.0005}, {330, 0.00041}, {335, 0.00034}, {340, 0.00028},
    {345, 0.00024}, {350, 0.0002}, {355, 0.00016}, {360, 0.00013}, {365, 0.00011}, {370, 0.000093},
    {375, 0.000077}, {380, 0.000064}, {385, 0.000053}, {390, 0.000044}, {395, 0.000036},
    {400, 0.00003},
}};
// clang-format on

}  // namespace

constinit const Facts about::relative_spectral_effectiveness{
    "1",
    "ICNIRP, Health Phys. 87 (2004) 171-186",
    Standing::PRINTED,
    R"doc(
  Relative spectral effectiveness function S(λ)
  280nm to 400nm steps 5nm
  ICNIRP, Guidelines on limits of exposure to ultraviolet radiation of wavelengths
  between 180 nm and 400 nm (incoherent optical radiation),
  Health Phys. 2004, 87 (2) pp. 171-186
)doc",
};

const Scan& relative_spectral_effectiveness() {
    static Scan scan = internal::make_table(points);  // not const: see make_table
    return scan;
}

}  // namespace vekanalysis::colorimetry::data
