#include "lighting/planckian.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "lighting/chebyshev.hpp"
#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting {

Scan planckian(double T) {
    if (!(T >= 1000.0 && T <= 1e6)) {
        throw std::invalid_argument("lighting::planckian: T must be between 1000 and 1000000 K");
    }
    std::vector<double> wavelengths(531);
    std::vector<double> values(531);
    for (std::size_t i = 0; i < wavelengths.size(); ++i) {
        wavelengths[i] = 300.0 + static_cast<double>(i);
        values[i] = 100.0 * internal::planckian_value(wavelengths[i], T);
    }
    return {std::move(wavelengths), std::move(values), default_epsilon, spline::Type::LINEAR};
}

namespace internal {

namespace {

constexpr double lowest_mired = 0.9;
constexpr double highest_mired = 1010.0;
constexpr int most_steps = 40;

PlanckianLocus locus_of(const data::Table& table, std::size_t first, std::size_t last) {
    std::vector<double> wavelengths;
    std::array<std::vector<double>, 3> matching;
    for (std::size_t i = first; i < last; ++i) {
        wavelengths.push_back(table.wl(i));
        for (std::size_t k = 0; k < 3; ++k) matching[k].push_back(table(i, k));
    }
    return {std::move(wavelengths), matching};
}

PlanckianLocus locus_in_5_nm() {
    const ColourMatching& functions = colour_matching(1931, 5);
    std::vector<double> wavelengths;
    std::array<std::vector<double>, 3> matching;
    for (std::size_t i = 0; i < functions.points; ++i) {
        wavelengths.push_back(visible_from + 5.0 * static_cast<double>(i));
        for (std::size_t k = 0; k < 3; ++k) matching[k].push_back(functions.functions[k][i]);
    }
    return {std::move(wavelengths), matching};
}

/// Half the derivative of the squared distance to a place, sign turned.
double pull(const UV& colour, const UV& at, const UV& slope) noexcept {
    return (colour.u - at.u) * slope.u + (colour.v - at.v) * slope.v;
}

}  // namespace

double planckian_value(double wl, double T) noexcept {
    // Where 1 is not lost in the exponential std::exp does, which is four times as fast.
    const auto less_one = [](double x) { return x > 1.0 ? std::exp(x) - 1.0 : std::expm1(x); };
    const double ratio = 560.0 / wl;
    const double square = ratio * ratio;
    return square * square * ratio * less_one(second_radiation_constant / (560.0 * T)) /
           less_one(second_radiation_constant / (wl * T));
}

PlanckianLocus::PlanckianLocus(std::vector<double> wavelengths,
                               const std::array<std::vector<double>, 3>& matching) {
    const auto colour = [&](double mired) {
        std::array<double, 3> sums{};
        for (std::size_t i = 0; i < wavelengths.size(); ++i) {
            const double value = planckian_value(wavelengths[i], 1e6 / mired);
            for (std::size_t k = 0; k < 3; ++k) sums[k] += matching[k][i] * value;
        }
        return uv_of({sums[0], sums[1], sums[2]});
    };
    constexpr double half_width = 0.5 * (highest_mired - lowest_mired) / intervals;
    for (std::size_t i = 0; i < intervals; ++i) {
        const double middle = lowest_mired + half_width * (2.0 * static_cast<double>(i) + 1.0);
        std::array<double, terms> u{};
        std::array<double, terms> v{};
        for (std::size_t j = 0; j < terms; ++j) {
            const UV at = colour(middle + half_width * chebyshev_point<terms>(j));
            u[j] = at.u;
            v[j] = at.v;
        }
        const auto u_powers = powers_through(u);
        const auto v_powers = powers_through(v);
        for (std::size_t j = 0; j < terms; ++j) coefficients_[i][j] = {u_powers[j], v_powers[j]};
    }
    for (std::size_t i = 0; i < intervals; ++i) ends_[i] = place(i, -1.0);
    ends_[intervals] = place(intervals - 1, 1.0);
}

PlanckianLocus::Place PlanckianLocus::place(std::size_t interval, double t) const noexcept {
    const auto& c = coefficients_[interval];
    Place p{c[terms - 1], {0.0, 0.0}, {0.0, 0.0}};
    for (std::size_t j = terms - 1; j-- > 0;) {
        p.curvature.u = p.curvature.u * t + p.slope.u;
        p.curvature.v = p.curvature.v * t + p.slope.v;
        p.slope.u = p.slope.u * t + p.at.u;
        p.slope.v = p.slope.v * t + p.at.v;
        p.at.u = p.at.u * t + c[j].u;
        p.at.v = p.at.v * t + c[j].v;
    }
    p.curvature.u *= 2.0;
    p.curvature.v *= 2.0;
    return p;
}

/// Where in an interval the foot lies, by the inverse of the pull and its derivative at both ends.
double PlanckianLocus::guess(std::size_t interval, const UV& colour) const noexcept {
    const auto inverse = [&colour](const Place& p) {
        return 1.0 /
               (pull(colour, p.at, p.curvature) - (p.slope.u * p.slope.u + p.slope.v * p.slope.v));
    };
    const Place& low = ends_[interval];
    const Place& high = ends_[interval + 1];
    const double from = pull(colour, low.at, low.slope);
    const double to = pull(colour, high.at, high.slope);
    const double width = to - from;
    const double s = -from / width;
    const double r = 1.0 - s;
    return s * s * (1.0 + 2.0 * r) - r * r * (1.0 + 2.0 * s) +
           s * r * width * (r * inverse(low) - s * inverse(high));
}

/// The last interval that begins before the foot.
std::size_t PlanckianLocus::interval_of(const UV& colour) const noexcept {
    std::size_t low = 0;
    for (std::size_t left = intervals; left > 1;) {
        const std::size_t half = left / 2;
        const Place& middle = ends_[low + half];
        // No branch: which way it goes cannot be foretold.
        low += half * static_cast<std::size_t>(pull(colour, middle.at, middle.slope) > 0.0);
        left -= half;
    }
    return low;
}

PlanckianLocus::Search PlanckianLocus::begin(const UV& colour) const noexcept {
    Search search{colour, interval_of(colour)};
    const double t = guess(search.interval, colour);
    if (t >= search.from && t <= search.to) search.t = t;
    search.p = place(search.interval, search.t);
    return search;
}

/// A step of Newton's method.
void PlanckianLocus::advance(Search& search) const noexcept {
    Place& p = search.p;
    const double g = pull(search.colour, p.at, p.slope);
    (g > 0.0 ? search.from : search.to) = search.t;
    const double g_slope =
        pull(search.colour, p.at, p.curvature) - (p.slope.u * p.slope.u + p.slope.v * p.slope.v);
    double next = search.t - g / g_slope;
    if (!(next >= search.from && next <= search.to)) next = 0.5 * (search.from + search.to);
    const double move = next - search.t;
    search.t = next;
    if (std::abs(move) > 1e-8) {
        p = place(search.interval, next);
        return;
    }
    // The error that is left is of the order of the square of the last move; the place follows
    // from the one before.
    p.at.u += move * p.slope.u;
    p.at.v += move * p.slope.v;
    p.slope.u += move * p.curvature.u;
    p.slope.v += move * p.curvature.v;
    search.is_over = true;
}

PlanckianLocus::Foot PlanckianLocus::foot_of(const Search& search) noexcept {
    constexpr double half_width = 0.5 * (highest_mired - lowest_mired) / intervals;
    const double mired =
        lowest_mired + half_width * (2.0 * static_cast<double>(search.interval) + 1.0 + search.t);
    // The locus runs towards larger u all along, so the side is that of the turn.
    const Place& p = search.p;
    const UV& colour = search.colour;
    const double turn = p.slope.u * (colour.v - p.at.v) - p.slope.v * (colour.u - p.at.u);
    const double away = internal::distance(colour, p.at);
    return {mired, turn < 0.0 ? -away : away};
}

PlanckianLocus::Foot PlanckianLocus::nearest(const UV& colour) const noexcept {
    Search search = begin(colour);
    for (int i = 0; i < most_steps && !search.is_over; ++i) advance(search);
    return foot_of(search);
}

void PlanckianLocus::nearest(std::span<const UV> colours, std::span<Foot> feet) const noexcept {
    std::array<Search, at_once> searches;
    for (std::size_t k = 0; k < colours.size(); ++k) searches[k] = begin(colours[k]);
    const std::span<Search> begun(searches.data(), colours.size());
    for (int i = 0; i < most_steps; ++i) {
        bool are_over = true;
        for (Search& search : begun) {
            if (!search.is_over) advance(search);
            are_over = are_over && search.is_over;
        }
        if (are_over) break;
    }
    for (std::size_t k = 0; k < colours.size(); ++k) feet[k] = foot_of(searches[k]);
}

const PlanckianLocus& planckian_locus(int step) {
    static const PlanckianLocus in_5_nm = locus_in_5_nm();
    if (step == 5) return in_5_nm;
    static const PlanckianLocus in_1_nm = locus_of(data::observer_1931_1nm(), 20, 421);
    return in_1_nm;
}

const PlanckianLocus& full_planckian_locus() {
    static const PlanckianLocus locus = locus_of(data::observer_1931_1nm(), 0, 471);
    return locus;
}

}  // namespace internal

}  // namespace vekanalysis::lighting
