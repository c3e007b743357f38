#include "colorimetry/srgb.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>

#include "core/text.hpp"

namespace vekanalysis::colorimetry {

namespace {

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;

constexpr Vector operator*(const Matrix& m, const Vector& v) noexcept {
    Vector product{};
    for (std::size_t i = 0; i < 3; ++i) {
        product[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    }
    return product;
}

constexpr double minor_of(const Matrix& m, std::size_t row, std::size_t column) noexcept {
    const std::size_t i = (row + 1) % 3;
    const std::size_t j = (row + 2) % 3;
    const std::size_t k = (column + 1) % 3;
    const std::size_t l = (column + 2) % 3;
    return m[i][k] * m[j][l] - m[i][l] * m[j][k];
}

constexpr Matrix inverse(const Matrix& m) noexcept {
    double determinant = 0.0;
    for (std::size_t k = 0; k < 3; ++k) determinant += m[0][k] * minor_of(m, 0, k);
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) result[i][k] = minor_of(m, k, i) / determinant;
    }
    return result;
}

constexpr Matrix bradford{
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
constexpr Matrix from_bradford = inverse(bradford);
constexpr Matrix to_rgb{{{3.2406255, -1.5372080, -0.4986286},
                         {-0.9689307, 1.8757561, 0.0415175},
                         {0.0557101, -0.2040211, 1.0569959}}};
// The white of the standard's own matrix, so that white gives 1, 1, 1.
constexpr Vector d65{0.9505, 1.0, 1.0890};
// Relative luminance of linear sRGB: the middle row of the standard's matrix.
constexpr Vector luminance{0.2126, 0.7152, 0.0722};

double encoded(double linear) noexcept {
    if (linear <= 0.0031308) return 12.92 * linear;
    // Else the last bit of 1.055 - 0.055 would be missing.
    if (linear >= 1.0) return 1.0;
    return 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

bool are_above_zero(const Vector& v) noexcept {
    return std::all_of(v.begin(), v.end(),
                       [](double value) { return value > 0.0 && std::isfinite(value); });
}

}  // namespace

std::string to_string(const SRGB& colour) {
    using vekanalysis::internal::general;
    return "red:" + general(colour.red) + " green:" + general(colour.green) +
           " blue:" + general(colour.blue);
}

std::string to_hex(const SRGB& colour) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text = "#";
    for (const double value : {colour.red, colour.green, colour.blue}) {
        if (!(value >= 0.0 && value <= 1.0)) {
            throw std::invalid_argument("to_hex: values must be 0 to 1");
        }
        const auto level = static_cast<unsigned>(std::lround(value * 255.0));
        text += digits[level / 16];
        text += digits[level % 16];
    }
    return text;
}

SRGB CIEXYZ_to_linear_sRGB(const CIEXYZ& xyz, const CIEXYZ& white) {
    const double k = 1.0 / white.Y;
    const Vector source = bradford * Vector{k * white.X, 1.0, k * white.Z};
    if (!are_above_zero({white.X, white.Y, white.Z}) || !are_above_zero(source)) {
        throw std::invalid_argument(
            "CIEXYZ_to_linear_sRGB: white must be finite and a light that the eye can adapt to");
    }
    const Vector target = bradford * d65;
    Vector cones = bradford * Vector{k * xyz.X, k * xyz.Y, k * xyz.Z};
    for (std::size_t i = 0; i < 3; ++i) cones[i] *= target[i] / source[i];
    const Vector rgb = to_rgb * (from_bradford * cones);
    return {rgb[0], rgb[1], rgb[2]};
}

SRGB CIEXYZ_to_sRGB(const CIEXYZ& xyz, const CIEXYZ& white) {
    const SRGB linear = CIEXYZ_to_linear_sRGB(xyz, white);
    Vector rgb{linear.red, linear.green, linear.blue};
    if (!std::all_of(rgb.begin(), rgb.end(), [](double v) { return std::isfinite(v); })) {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        return {nan, nan, nan};
    }
    const double grey = luminance[0] * rgb[0] + luminance[1] * rgb[1] + luminance[2] * rgb[2];
    const double lowest = std::min({rgb[0], rgb[1], rgb[2]});
    if (lowest < 0.0) {
        // grey + share (value - grey) is 0 for the lowest value; grey <= 0 leaves black.
        const double share = grey > 0.0 ? grey / (grey - lowest) : 0.0;
        for (double& value : rgb)
            value = std::max(0.0, std::max(grey, 0.0) + share * (value - grey));
    }
    for (double& value : rgb) value = encoded(value);
    return {rgb[0], rgb[1], rgb[2]};
}

SRGB sRGB_values(const Scan& scan, const Scan& white_point_reference, const Observer& observer) {
    return CIEXYZ_to_sRGB(CIE_tristimulus_values(scan, observer),
                          CIE_tristimulus_values(white_point_reference, observer));
}

}  // namespace vekanalysis::colorimetry
