#include "lighting/daylight.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "lighting/chebyshev.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting {

namespace {

constexpr double lowest_daylight = 4000.0;
constexpr double seam = 7000.0;
constexpr double highest_daylight = 25000.0;

void check(double T) {
    if (T >= lowest_daylight && T <= highest_daylight) return;
    throw std::invalid_argument("lighting::daylight: T must be between 4000 and 25000 K");
}

/// x_D by the polynomial below the seam at 7000 K, or by that above it.
ChromaticityPoint chromaticity_at(double T, bool below) noexcept {
    const double t = 1e3 / T;
    const double x = below ? 0.244063 + t * (0.09911 + t * (2.9678 + t * -4.6070))
                           : 0.237040 + t * (0.24748 + t * (1.9018 + t * -2.0064));
    return {x, -3.0 * x * x + 2.87 * x - 0.275};
}

std::array<double, 3> weights_at(double T, bool below) noexcept {
    const auto [x, y] = chromaticity_at(T, below);
    const double M = 0.0241 + 0.2562 * x - 0.7341 * y;
    return {1.0, (-1.3515 - 1.7703 * x + 5.9114 * y) / M, (0.0300 - 31.4424 * x + 30.0717 * y) / M};
}

internal::DaylightComponents components_in(int step) {
    const data::Table table = data::daylight_components();
    internal::DaylightComponents result{};
    const auto per_row = static_cast<std::size_t>(5 / step);
    const auto offset = static_cast<std::size_t>((internal::visible_from - table.first) / 5.0);
    for (std::size_t i = 0; i < internal::visible_points(step); ++i) {
        const std::size_t row = offset + i / per_row;
        const double t = static_cast<double>(i % per_row) / static_cast<double>(per_row);
        for (std::size_t k = 0; k < 3; ++k) {
            result[k][i] = table(row, k) + t * (table(row + 1, k) - table(row, k));
        }
    }
    return result;
}

/// T of the formula less the correlated colour temperature of its result, over the reciprocal of
/// the latter; one polynomial on either side of the seam.
class FormulaOffset {
public:
    explicit FormulaOffset(int step) : step_(step) {
        const auto& components = internal::daylight_components(step);
        const auto& matching = internal::colour_matching(1931, step);
        for (std::size_t k = 0; k < 3; ++k) {
            component_xyz_[k] = matching({components[k].data(), matching.points});
        }
        below_ = piece(lowest_daylight, seam, true);
        above_ = piece(seam, highest_daylight, false);
    }

    [[nodiscard]] bool apply(double cct, double* T) const noexcept {
        // So near its end a phase belongs to the piece in spite of rounding.
        constexpr double slack = 1e-6;
        if (!(cct <= above_.to + slack)) return false;
        if (cct <= below_.to + slack) {
            *T = std::min(below_.apply(cct), seam);
        } else {
            // No phase has a temperature between the pieces, 0.03 K apart.
            *T = std::clamp(above_.apply(cct), std::nextafter(seam, highest_daylight),
                            highest_daylight);
        }
        return true;
    }

private:
    static constexpr std::size_t terms = 16;
    struct Piece {
        double from;  ///< correlated colour temperatures at its ends
        double to;
        std::array<double, terms> powers;

        [[nodiscard]] double apply(double cct) const noexcept {
            const double t = (2e6 / cct - 1e6 / from - 1e6 / to) / (1e6 / to - 1e6 / from);
            return cct + internal::polynomial(powers, t);
        }
    };

    [[nodiscard]] double temperature(double T, bool below) const {
        const auto weights = weights_at(T, below);
        colorimetry::CIEXYZ sum{};
        for (std::size_t k = 0; k < 3; ++k) {
            sum.X += weights[k] * component_xyz_[k].X;
            sum.Y += weights[k] * component_xyz_[k].Y;
            sum.Z += weights[k] * component_xyz_[k].Z;
        }
        return internal::nearest_temperature(internal::uv_of(sum), step_).cct;
    }

    [[nodiscard]] Piece piece(double T_from, double T_to, bool below) const {
        Piece p{temperature(T_from, below), temperature(T_to, below), {}};
        std::array<double, terms> offsets{};
        for (std::size_t j = 0; j < terms; ++j) {
            const double t = internal::chebyshev_point<terms>(j);
            const double cct = 2e6 / (1e6 / p.from + 1e6 / p.to + t * (1e6 / p.to - 1e6 / p.from));
            double T = cct;
            for (int i = 0; i < 30; ++i) T += cct - temperature(T, below);
            offsets[j] = T - cct;
        }
        p.powers = internal::powers_through(offsets);
        return p;
    }

    int step_;
    std::array<colorimetry::CIEXYZ, 3> component_xyz_;
    Piece below_;
    Piece above_;
};

}  // namespace

Scan daylight(double T) {
    check(T);
    const auto weights = internal::daylight_weights(T);
    const data::Table table = data::daylight_components();
    std::vector<double> wavelengths(table.rows());
    std::vector<double> values(table.rows());
    for (std::size_t i = 0; i < table.rows(); ++i) {
        wavelengths[i] = table.wl(i);
        values[i] = table(i, 0) + weights[1] * table(i, 1) + weights[2] * table(i, 2);
    }
    return {std::move(wavelengths), std::move(values), default_epsilon, spline::Type::LINEAR};
}

ChromaticityPoint daylight_chromaticity(double T) {
    check(T);
    return chromaticity_at(T, T <= seam);
}

namespace internal {

std::array<double, 3> daylight_weights(double T) noexcept {
    return weights_at(T, T <= seam);
}

const DaylightComponents& daylight_components(int step) {
    static const DaylightComponents in_5_nm = components_in(5);
    static const DaylightComponents in_1_nm = components_in(1);
    return step == 5 ? in_5_nm : in_1_nm;
}

bool daylight_of_temperature(double cct, int step, double* T) {
    static const FormulaOffset in_5_nm(5);
    if (step == 5) return in_5_nm.apply(cct, T);
    static const FormulaOffset in_1_nm(1);
    return in_1_nm.apply(cct, T);
}

}  // namespace internal

}  // namespace vekanalysis::lighting
