#include "lighting/cam02.hpp"

#include <cmath>
#include <cstddef>

namespace vekanalysis::lighting::internal {

namespace {

using Matrix = double[3][3];

// CIE XYZ to the sharpened responses of CAT02, and to those of Hunt, Pointer and Estevez.
constexpr Matrix cat02{
    {0.7328, 0.4296, -0.1624}, {-0.7036, 1.6975, 0.0061}, {0.0030, 0.0136, 0.9834}};
constexpr Matrix hpe{
    {0.38971, 0.68898, -0.07868}, {-0.22981, 1.18340, 0.04641}, {0.00000, 0.00000, 1.00000}};

constexpr double adapting_luminance = 100.0;
constexpr double n = 20.0 / 100.0;  // background to white
constexpr double c = 0.69;
constexpr double Nc = 1.0;

double product(const Matrix& a, const Matrix& b, std::size_t row, std::size_t column) noexcept {
    return a[row][0] * b[0][column] + a[row][1] * b[1][column] + a[row][2] * b[2][column];
}

/// Inverse by cofactors.
void invert(const Matrix& m, Matrix& inverse) noexcept {
    const auto cofactor = [&m](std::size_t row, std::size_t column) {
        const std::size_t r1 = (row + 1) % 3;
        const std::size_t r2 = (row + 2) % 3;
        const std::size_t c1 = (column + 1) % 3;
        const std::size_t c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant =
        m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) inverse[i][j] = cofactor(j, i) / determinant;
    }
}

/// What depends on the viewing conditions alone.
struct Conditions {
    double F_L;
    double N_bb;
    double exponent;  ///< c z of lightness
    double chroma_factor;
    Matrix from_sharpened;  ///< HPE times the inverse of CAT02

    Conditions() noexcept {
        const double k = 1.0 / (5.0 * adapting_luminance + 1.0);
        const double k4 = k * k * k * k;
        F_L = 0.2 * k4 * (5.0 * adapting_luminance) +
              0.1 * (1.0 - k4) * (1.0 - k4) * std::cbrt(5.0 * adapting_luminance);
        N_bb = 0.725 * std::pow(1.0 / n, 0.2);
        exponent = c * (1.48 + std::sqrt(n));
        chroma_factor = std::pow(1.64 - std::pow(0.29, n), 0.73) * std::pow(F_L, 0.25);
        Matrix inverse;
        invert(cat02, inverse);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) from_sharpened[i][j] = product(hpe, inverse, i, j);
        }
    }
};

const Conditions& conditions() noexcept {
    static const Conditions the_one;
    return the_one;
}

double compressed(double response, double F_L) noexcept {
    const double p = std::pow(F_L * std::abs(response) / 100.0, 0.42);
    return std::copysign(400.0 * p / (p + 27.13), response) + 0.1;
}

}  // namespace

Cam02::Cam02(const colorimetry::CIEXYZ& white) noexcept {
    const Conditions& with = conditions();
    // Complete adaptation scales the sharpened responses to those of equal energy.
    Matrix adapted;
    for (std::size_t i = 0; i < 3; ++i) {
        const double of_white =
            cat02[i][0] * white.X + cat02[i][1] * white.Y + cat02[i][2] * white.Z;
        for (std::size_t j = 0; j < 3; ++j) adapted[i][j] = cat02[i][j] * (100.0 / of_white);
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            matrix_[i][j] = product(with.from_sharpened, adapted, i, j);
        }
    }
    const Cones w = responses(white.X, white.Y, white.Z);
    white_signal_ = (2.0 * w.rho + w.gamma + w.beta / 20.0 - 0.305) * with.N_bb;
}

Cam02::Cones Cam02::responses(double X, double Y, double Z) const noexcept {
    const double F_L = conditions().F_L;
    const auto row = [&](std::size_t i) {
        return compressed(matrix_[i][0] * X + matrix_[i][1] * Y + matrix_[i][2] * Z, F_L);
    };
    return {row(0), row(1), row(2)};
}

JabPrime Cam02::operator()(double X, double Y, double Z) const noexcept {
    const Conditions& with = conditions();
    const auto [rho, gamma, beta] = responses(X, Y, Z);
    const double a = rho - 12.0 * gamma / 11.0 + beta / 11.0;
    const double b = (rho + gamma - 2.0 * beta) / 9.0;
    const double radius = std::sqrt(a * a + b * b);
    const double cos_h = radius > 0.0 ? a / radius : 1.0;
    const double sin_h = radius > 0.0 ? b / radius : 0.0;
    static const double cos_2 = std::cos(2.0);
    static const double sin_2 = std::sin(2.0);
    const double eccentricity = 0.25 * (cos_h * cos_2 - sin_h * sin_2 + 3.8);
    const double signal = (2.0 * rho + gamma + beta / 20.0 - 0.305) * with.N_bb;
    const double J_root = std::pow(signal / white_signal_, 0.5 * with.exponent);
    const double t = 50000.0 / 13.0 * Nc * with.N_bb * eccentricity * radius /
                     (rho + gamma + 21.0 / 20.0 * beta);
    const double M = std::pow(t, 0.9) * J_root * with.chroma_factor;
    const double J = 100.0 * J_root * J_root;
    const double M_prime = std::log1p(0.0228 * M) / 0.0228;
    return {1.7 * J / (1.0 + 0.007 * J), M_prime * cos_h, M_prime * sin_h};
}

}  // namespace vekanalysis::lighting::internal
