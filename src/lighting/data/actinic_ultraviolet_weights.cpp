// Actinic ultraviolet hazard function S(lambda). 200 to 400 nm, uneven steps (5 nm and the lines
// of mercury), 54 points.
//
// Source: IEC 62471:2006, Table 4.1; ICNIRP, Health Phys. 87 (2004) 171.
//
// Checks: three copies equal; a fourth rounds two figures. The 1 nm list of IEC 62471-6:2022 is
// the logarithmic interpolation of these, to its six decimals.

#include <array>

#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting::data {

namespace {

// clang-format off
constexpr std::array<double, 54 * 2> figures{
    200, 0.03, 205, 0.051, 210, 0.075, 215, 0.095, 220, 0.12, 225, 0.15, 230, 0.19, 235, 0.24,
    240, 0.3, 245, 0.36, 250, 0.43, 254, 0.5, 255, 0.52, 260, 0.65, 265, 0.81, 270, 1, 275, 0.96,
    280, 0.88, 285, 0.77, 290, 0.64, 295, 0.54, 297, 0.46, 300, 0.3, 303, 0.12, 305, 0.06,
    308, 0.026, 310, 0.015, 313, 0.006, 315, 0.003, 316, 0.0024, 317, 0.002, 318, 0.0016,
    319, 0.0012, 320, 0.001, 322, 0.00067, 323, 0.00054, 325, 0.0005, 328, 0.00044, 330, 0.00041,
    333, 0.00037, 335, 0.00034, 340, 0.00028, 345, 0.00024, 350, 0.0002, 355, 0.00016, 360, 0.00013,
    365, 0.00011, 370, 0.000093, 375, 0.000077, 380, 0.000064, 385, 0.000053, 390, 0.000044,
    395, 0.000036, 400, 0.00003,
};
// clang-format on

}  // namespace

PairTable actinic_ultraviolet_weights() noexcept {
    return {figures};
}

}  // namespace vekanalysis::lighting::data
