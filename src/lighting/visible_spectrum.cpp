#include "lighting/visible_spectrum.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "colorimetry/observers.hpp"
#include "core/text.hpp"
#include "lighting/data/tables.hpp"
#include "lighting/lanes.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

using internal::max_visible_points;
using internal::visible_from;

constexpr double needed_from = 400.0;
constexpr double needed_to = 700.0;
// A shift that an observer would see side by side; far above what noise of 1 % does.
constexpr double max_uv_shift = 0.001;
constexpr double max_amount_shift = 0.01;
// Between them neither sums with other weights nor their reciprocals leave the range of doubles.
constexpr double smallest_sum = 1e-290;
constexpr double largest_sum = 1e300;

internal::ColourMatching make_functions(const Observer& observer) {
    internal::ColourMatching result{};
    result.points = 81;
    const std::array<const Scan*, 3> scans{&observer.x, &observer.y, &observer.z};
    for (std::size_t k = 0; k < 3; ++k) {
        for (std::size_t i = 0; i < 81; ++i) {
            result.functions[k][i] = (*scans[k])(visible_from + 5.0 * static_cast<double>(i));
        }
    }
    return result;
}

internal::ColourMatching make_functions(const data::Table& table) {
    internal::ColourMatching result{};
    result.points = max_visible_points;
    const auto offset = static_cast<std::size_t>(visible_from - table.first);
    for (std::size_t k = 0; k < 3; ++k) {
        for (std::size_t i = 0; i < max_visible_points; ++i) {
            result.functions[k][i] = table(offset + i, k);
        }
    }
    return result;
}

void check_reach(const Scan& scan) {
    if (scan.empty()) throw std::invalid_argument("lighting: the spectrum has no points");
    const double from = scan.min_wavelength();
    const double to = scan.max_wavelength();
    if (!internal::reaches(from, to)) {
        throw std::invalid_argument("lighting: the spectrum covers " + general(from) + " to " +
                                    general(to) + " nm; at least 400 to 700 nm are needed");
    }
    const double gap = internal::widest_gap(scan.data().keys());
    if (!internal::is_close(gap)) {
        throw std::invalid_argument("lighting: points are " + general(gap) +
                                    " nm apart; at most 20 nm from 400 to 700 nm are allowed");
    }
}

const char* remedy_for(int step) noexcept {
    return step == 1 ? "; average it over 1 nm" : "; use step 1";
}

/// @return the `amount_shift`
double check_structure(std::span<const double> wavelengths, std::span<const double> values,
                       const colorimetry::CIEXYZ& on_grid, int step) {
    colorimetry::CIEXYZ own{};
    for (std::size_t i = 0; i < wavelengths.size(); ++i) {
        const auto [x, y, z] = internal::own_weight(wavelengths, i);
        own.X += x * values[i];
        own.Y += y * values[i];
        own.Z += z * values[i];
    }
    if (!internal::is_shifted(on_grid, own)) return internal::amount_shift(on_grid, step, own);
    const double shift = internal::distance(internal::uv_of(on_grid), internal::uv_of(own));
    throw std::invalid_argument("lighting: the spectrum has structure finer than the step of " +
                                std::to_string(step) + " nm: sums in that step shift its uv by " +
                                general(shift) + remedy_for(step));
}

void check_finite(std::span<const double> wavelengths, std::span<const double> values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::isfinite(values[i])) continue;
        throw std::invalid_argument("lighting: the value at " + general(wavelengths[i]) +
                                    " nm is not finite");
    }
}

/// Whether wavelengths are those of the grid themselves.
bool is_grid(std::span<const double> wavelengths, std::size_t points, int step) noexcept {
    if (wavelengths.size() != points) return false;
    std::size_t same = 0;
    for (std::size_t i = 0; i < points; ++i) {
        const int wl = static_cast<int>(visible_from) + static_cast<int>(i) * step;
        same += wavelengths[i] == static_cast<double>(wl) ? 1 : 0;
    }
    return same == points;
}

void require(internal::Obstacle obstacle) {
    switch (obstacle) {
        case internal::Obstacle::DARK:
            throw std::invalid_argument("lighting: no light between 380 and 780 nm");
        case internal::Obstacle::TOO_LARGE:
            throw std::invalid_argument("lighting: the values are too large to be summed");
        case internal::Obstacle::TOO_SMALL:
            throw std::invalid_argument("lighting: the values are too small to be summed");
        case internal::Obstacle::NOISY:
            throw std::invalid_argument(
                "lighting: what is below zero is more than a third of what is above");
        default:
            break;
    }
}

}  // namespace

int natural_step(std::span<const double> wavelengths) noexcept {
    const auto [first, last] = internal::visible_range(wavelengths);
    return internal::is_finer(wavelengths.subspan(first, last - first), 5) ? 1 : 5;
}

namespace internal {

UV uv_of(const colorimetry::CIEXYZ& xyz) noexcept {
    const double sum = xyz.X + 15.0 * xyz.Y + 3.0 * xyz.Z;
    return {4.0 * xyz.X / sum, 6.0 * xyz.Y / sum};
}

double distance(const UV& a, const UV& b) noexcept {
    const double du = a.u - b.u;
    const double dv = a.v - b.v;
    return std::sqrt(du * du + dv * dv);
}

std::size_t visible_points(int step) {
    if (step == 5) return 81;
    if (step == 1) return max_visible_points;
    throw std::invalid_argument("lighting: step must be 1 or 5");
}

const ColourMatching& colour_matching(int observer, int step) {
    static const ColourMatching two_degrees_5 =
        make_functions(observers::data::cie_1931_standard());
    static const ColourMatching two_degrees_1 = make_functions(data::observer_1931_1nm());
    static const ColourMatching ten_degrees_5 =
        make_functions(observers::data::cie_1964_standard());
    static const ColourMatching ten_degrees_1 = make_functions(data::observer_1964_1nm());
    const bool in_5_nm = visible_points(step) == 81;
    if (observer == 1931) return in_5_nm ? two_degrees_5 : two_degrees_1;
    if (observer == 1964) return in_5_nm ? ten_degrees_5 : ten_degrees_1;
    throw std::invalid_argument("lighting: observer must be 1931 or 1964");
}

std::pair<std::size_t, std::size_t> visible_range(std::span<const double> wavelengths) noexcept {
    const auto first = std::lower_bound(wavelengths.begin(), wavelengths.end(), visible_from);
    const auto last = std::upper_bound(first, wavelengths.end(), visible_to);
    return {static_cast<std::size_t>(first - wavelengths.begin()),
            static_cast<std::size_t>(last - wavelengths.begin())};
}

std::vector<double> visible_widths(std::span<const double> wavelengths) {
    const auto [first, last] = visible_range(wavelengths);
    std::vector<double> widths(last - first);
    for (std::size_t i = first; i + 1 < last; ++i) {
        const double half = 0.5 * (wavelengths[i + 1] - wavelengths[i]);
        widths[i - first] += half;
        widths[i + 1 - first] += half;
    }
    return widths;
}

bool is_mostly_negative(std::span<const double> widths, std::span<const double> values) noexcept {
    if (!(lowest_in_lanes(values) < 0.0)) return false;
    // Negative below zero, so that either side of the balance has its sign.
    return sum_in_lanes(widths.size(), [&](std::size_t i) {
               return values[i] < 0.0 ? -widths[i] : widths[i];
           }) < 0.0;
}

bool is_mostly_negative(const Scan& scan) {
    const auto keys = scan.data().keys();
    const auto [first, last] = visible_range(keys);
    return is_mostly_negative(visible_widths(keys),
                              scan.data().values().subspan(first, last - first));
}

bool is_finer(std::span<const double> wavelengths, int step) noexcept {
    for (std::size_t i = 3; i < wavelengths.size(); ++i) {
        if (wavelengths[i] - wavelengths[i - 3] < 2.0 * step) return true;
    }
    return false;
}

bool reaches(double from, double to) noexcept {
    return from <= needed_from + end_reach && to >= needed_to - end_reach;
}

double widest_gap(std::span<const double> wavelengths) noexcept {
    double widest = 0.0;
    for (std::size_t i = 1; i < wavelengths.size(); ++i) {
        if (wavelengths[i] <= needed_from || wavelengths[i - 1] >= needed_to) continue;
        widest = std::max(widest, wavelengths[i] - wavelengths[i - 1]);
    }
    return widest;
}

bool is_close(double gap) noexcept {
    // Wavelengths in other units are converted, and then not quite even.
    return gap <= 20.0 + 1e-6;
}

std::array<double, 3> own_weight(std::span<const double> wavelengths, std::size_t i) {
    static const ColourMatching& matching = colour_matching(1931, 1);
    const double before = i > 0 ? wavelengths[i - 1] : wavelengths[i];
    const double after = i + 1 < wavelengths.size() ? wavelengths[i + 1] : wavelengths[i];
    const double width = 0.5 * (after - before);
    const double place = wavelengths[i] - visible_from;
    const std::size_t left = std::min(static_cast<std::size_t>(place), max_visible_points - 2);
    const double t = place - static_cast<double>(left);
    std::array<double, 3> result{};
    for (std::size_t k = 0; k < 3; ++k) {
        const auto& f = matching.functions[k];
        result[k] = width * (f[left] + t * (f[left + 1] - f[left]));
    }
    return result;
}

bool is_shifted(const colorimetry::CIEXYZ& on_grid, const colorimetry::CIEXYZ& own) noexcept {
    return !(distance(uv_of(on_grid), uv_of(own)) < max_uv_shift);
}

double amount_shift(const colorimetry::CIEXYZ& on_grid, int step,
                    const colorimetry::CIEXYZ& own) noexcept {
    const double width = step;
    const double most =
        std::max({std::abs(width * on_grid.X - own.X), std::abs(width * on_grid.Y - own.Y),
                  std::abs(width * on_grid.Z - own.Z)});
    return most / (own.X + own.Y + own.Z);
}

bool is_amount_shifted(double shift) noexcept {
    return !(std::abs(shift) < max_amount_shift);
}

Obstacle judge(std::span<const double> values, const VisibleSums& sums) noexcept {
    const colorimetry::CIEXYZ& xyz = sums.xyz;
    if (!(xyz.Y > 0.0)) return Obstacle::DARK;
    const double sum_of_all = xyz.X + 15.0 * xyz.Y + 3.0 * xyz.Z;
    if (!(sum_of_all < largest_sum)) return Obstacle::TOO_LARGE;
    if (sum_of_all < smallest_sum) return Obstacle::TOO_SMALL;
    // Few spectra have a value below zero, and only those are summed again.
    if (!(sums.lowest < 0.0)) return Obstacle::NONE;
    const auto sum_of = [values](const auto& term) {
        return sum_in_lanes(values.size(), [&](std::size_t i) { return term(values[i]); });
    };
    const double below = sum_of([](double value) { return value < 0.0 ? -value : 0.0; });
    const double sum = sum_of([](double value) { return value; });
    // The sum has what is below zero in it once, with its sign.
    return 2.0 * below > sum ? Obstacle::NOISY : Obstacle::NONE;
}

/// The values of the interpolant on the grid.
void VisibleSpectrum::take_from(const Scan& scan) {
    const double low = scan.min_wavelength();
    const double high = scan.max_wavelength();
    ScanCursor at(scan);
    for (std::size_t i = 0; i < n_; ++i) {
        double wl = visible_from + static_cast<double>(i) * static_cast<double>(step_);
        if (wl < low && low - wl <= end_reach) wl = low;
        if (wl > high && wl - high <= end_reach) wl = high;
        values_[i] = at(wl);
    }
}

VisibleSpectrum::VisibleSpectrum(const Scan& scan, int step)
    : step_(step), n_(visible_points(step)) {
    check_reach(scan);
    const auto [first, last] = visible_range(scan.data().keys());
    const auto own_wavelengths = scan.data().keys().subspan(first, last - first);
    const auto own_values = scan.data().values().subspan(first, last - first);
    const bool on_grid = is_grid(own_wavelengths, n_, step);
    if (on_grid) {
        std::copy(own_values.begin(), own_values.end(), values_.begin());
    } else {
        check_finite(own_wavelengths, own_values);
        take_from(scan);
    }
    const VisibleSums sums = colour_matching(1931, step).sums(values());
    // Any value that is not finite makes the sums so, with a weight of 0, too.
    if (on_grid && !std::isfinite(sums.xyz.X)) check_finite(own_wavelengths, own_values);
    if ((!on_grid || sums.lowest < 0.0) &&
        is_mostly_negative(visible_widths(own_wavelengths), own_values)) {
        throw std::invalid_argument(mostly_negative);
    }
    require(judge(values(), sums));
    if (!on_grid && is_finer(own_wavelengths, step)) {
        amount_shift_ = check_structure(own_wavelengths, own_values, sums.xyz, step);
    }
}

void VisibleSpectrum::require_amounts() const {
    if (!is_amount_shifted(amount_shift_)) return;
    throw std::invalid_argument("lighting: the spectrum has structure finer than the step of " +
                                std::to_string(step_) +
                                " nm: sums in that step miss its amount of light by " +
                                general(100.0 * amount_shift_) + " %" + remedy_for(step_));
}

}  // namespace internal

}  // namespace vekanalysis::lighting
