#include "utils/peak_shapes.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <span>
#include <stdexcept>
#include <utility>

#include "numerical/cubic.hpp"
#include "utils/extremes.hpp"

namespace vekanalysis::utils {

namespace {

/// A local maximum of the stored points, refined.
struct Top {
    std::size_t index = 0;     ///< of the stored point
    std::size_t interval = 0;  ///< with the wavelength in it, or at its lower end
    double wavelength = 0.0;
    double height = 0.0;
    double prominence = 0.0;
};

/// Indices of the first and the last of the lowest points between two peaks.
using Valley = std::pair<std::size_t, std::size_t>;

/// A straight line through a point.
struct Line {
    double at = 0.0;
    double value = 0.0;
    double slope = 0.0;

    [[nodiscard]] double operator()(double wl) const noexcept { return value + slope * (wl - at); }
};

void check(const PeakOptions& options) {
    for (const double v : {options.height, options.prominence, options.distance, options.width}) {
        if (std::isnan(v)) throw std::invalid_argument("utils::peaks: an option is not a number");
    }
    if (options.prominence < 0.0 || options.distance < 0.0 || options.width < 0.0) {
        throw std::invalid_argument(
            "utils::peaks: distance, prominence and width must not be negative");
    }
}

void check_finite(const Scan& scan) {
    constexpr double largest = std::numeric_limits<double>::max();
    bool finite = true;
    for (const double v : scan.data().values()) finite &= std::abs(v) <= largest;
    for (const double wl : {scan.min_wavelength(), scan.max_wavelength()}) {
        finite &= std::abs(wl) <= largest;
    }
    if (!finite) throw std::invalid_argument("utils::peaks: a point is not finite");
}

/// Where curves meet lines, many at once.
///
/// Newton's method, from where the chord meets the line, kept within an interval with the place in
/// it, which is halved where a step would leave it. How many steps a place needs cannot be
/// predicted: all take them together and without a branch, and a place that is found stays.
class Crossings {
public:
    /// @param outer, inner  ends of the interval, where the curve is below and above the line
    /// @param start         where to begin
    /// @param place         receives the result
    void add(const numerical::Spline::Piece& curve, const Line& line, double outer, double inner,
             double start, double& place) {
        const std::size_t k = count_++;
        knot_[k] = curve.knot;
        y_[k] = curve.y;
        b_[k] = curve.b;
        c_[k] = curve.c;
        d_[k] = curve.d;
        line_at_[k] = line.at;
        line_value_[k] = line.value;
        line_slope_[k] = line.slope;
        outer_[k] = outer;
        inner_[k] = inner;
        wl_[k] = start;
        places_[k] = &place;
        if (count_ == lanes) solve();
    }

    /// Finds the places that are left.
    void solve() {
        // What stands in the other lanes has been found.
        constexpr int most_steps = 100;
        for (int i = 0; i < most_steps && count_ > 0 && step(); ++i) continue;
        for (std::size_t k = 0; k < count_; ++k) *places_[k] = wl_[k];
        count_ = 0;
    }

private:
    static constexpr std::size_t lanes = 16;
    using Lanes = std::array<double, lanes>;

    /// Whether a place has moved.
    bool step() noexcept {
        double moved = 0.0;
        for (std::size_t k = 0; k < lanes; ++k) {
            const double wl = wl_[k];
            const double t = wl - knot_[k];
            const double value = y_[k] + t * (b_[k] + t * (c_[k] + t * d_[k]));
            const double above = value - (line_value_[k] + line_slope_[k] * (wl - line_at_[k]));
            const double slope = b_[k] + t * (2.0 * c_[k] + 3.0 * d_[k] * t) - line_slope_[k];
            const double inner = above > 0.0 ? wl : inner_[k];
            const double outer = above > 0.0 ? outer_[k] : wl;
            const double low = outer < inner ? outer : inner;
            const double high = outer < inner ? inner : outer;
            const double step = above / slope;
            const double next = wl - step;
            const double tolerance = std::numeric_limits<double>::epsilon() * std::abs(wl);
            double candidate = 0.5 * outer + 0.5 * inner;
            candidate = next > low ? (next < high ? next : candidate) : candidate;
            candidate = std::abs(next - wl) <= tolerance ? wl : candidate;
            candidate = above == 0.0 ? wl : candidate;
            inner_[k] = inner;
            outer_[k] = outer;
            next_[k] = candidate;
        }
        for (std::size_t k = 0; k < lanes; ++k) moved += std::abs(next_[k] - wl_[k]);
        wl_ = next_;
        return moved != 0.0;
    }

    Lanes knot_{};
    Lanes y_{};
    Lanes b_{};
    Lanes c_{};
    Lanes d_{};
    Lanes line_at_{};
    Lanes line_value_{};
    Lanes line_slope_{};
    Lanes outer_{};
    Lanes inner_{};
    Lanes wl_{};
    Lanes next_{};
    std::array<double*, lanes> places_{};
    std::size_t count_ = 0;
};

/// Finds the peaks of one scan and measures them.
class PeakSearch {
public:
    PeakSearch(const Scan& scan, const PeakOptions& options)
        : options_(options),
          keys_(scan.data().keys()),
          values_(scan.data().values()),
          curve_(ScanCursor(scan).interpolant()) {}

    std::vector<PeakShape> shapes() {
        find_tops();
        set_valleys();
        set_prominences();
        drop([this](const Top& top) { return top.height < options_.height; });
        drop_close_ones();
        drop([this](const Top& top) { return top.prominence < options_.prominence; });
        std::vector<PeakShape> shapes;
        shapes.reserve(tops_.size());
        std::array<Sides, block> sides{};
        for (std::size_t start = 0; start < tops_.size(); start += block) {
            const std::size_t count = std::min(block, tops_.size() - start);
            for (std::size_t k = 0; k < count; ++k) find_sides(start + k, sides[k]);
            crossings_.solve();
            for (std::size_t k = 0; k < count; ++k) {
                const PeakShape shape = shape_of(tops_[start + k], sides[k]);
                // Without a limit a peak that has no width stays.
                if (options_.width > 0.0 && !(shape.width >= options_.width)) continue;
                shapes.push_back(shape);
            }
        }
        return shapes;
    }

private:
    /// Stored points between which the curve meets a line, counted outwards from a peak.
    struct Edge {
        std::size_t outer;
        std::size_t interval;
        double inner;
    };

    /// Where the curve meets the baseline of a peak and the line halfway up.
    struct Sides {
        Line base;
        bool has_half = false;
        bool has_area = false;
        double left = 0.0;
        double right = 0.0;
        double from = 0.0;
        double to = 0.0;
        std::size_t first_interval = 0;
        std::size_t last_interval = 0;
    };

    static constexpr std::size_t block = 64;

    void find_tops() {
        const std::size_t n = values_.size();
        const auto may_begin = [this](std::size_t i) {
            const auto rises = static_cast<std::size_t>(values_[i - 1] < values_[i]);
            const auto falls = static_cast<std::size_t>(values_[i] >= values_[i + 1]);
            return rises & falls;
        };
        std::size_t most = 0;
        for (std::size_t i = 1; i + 1 < n; ++i) most += may_begin(i);
        tops_.reserve(most);
        // Blocks, without a branch for each point: noise cannot be predicted.
        constexpr std::size_t length = 1024;
        std::array<std::size_t, length> candidates{};
        for (std::size_t start = 1; start + 1 < n; start += length) {
            const std::size_t end = std::min(start + length, n - 1);
            std::size_t count = 0;
            for (std::size_t i = start; i < end; ++i) {
                candidates[count] = i;
                count += may_begin(i);
            }
            for (std::size_t k = 0; k < count; ++k) add_top(candidates[k]);
        }
    }

    /// Adds the peak that begins at a point, unless it is the step of a slope or reaches the end.
    void add_top(std::size_t first) {
        std::size_t last = first;
        while (last + 1 < values_.size() && values_[last + 1] == values_[first]) ++last;
        if (last + 1 == values_.size() || values_[last + 1] > values_[first]) return;
        tops_.push_back(refined(first, last));
    }

    /// The highest place of the curve from the point before a plateau to the one behind it.
    Top refined(std::size_t first, std::size_t last) {
        Top top;
        top.index = first + (last - first) / 2;
        top.interval = top.index;
        top.wavelength = keys_[top.index];
        top.height = values_[top.index];
        for (std::size_t i = first - 1; i <= last; ++i) {
            refine(i, keys_[i + 1] - keys_[i], top);
        }
        return top;
    }

    /// Where the derivative b + 2 c t + 3 d t^2 falls through 0 inside of an interval.
    void refine(std::size_t interval, double length, Top& top) const {
        const numerical::Spline::Piece piece = curve_.piece(interval);
        const double discriminant = piece.c * piece.c - 3.0 * piece.b * piece.d;
        if (!(discriminant >= 0.0)) return;
        // Of the two roots that of the maximum, without cancellation.
        const double q = -(piece.c + std::copysign(std::sqrt(discriminant), piece.c));
        const bool is_concave = std::signbit(piece.c);
        const double t = (is_concave ? piece.b : q) / (is_concave ? q : 3.0 * piece.d);
        if (!(t > 0.0 && t < length)) return;
        const double wl = piece.knot + t;
        const double value = numerical::cubic(piece, wl);
        if (value > top.height) {
            top.interval = interval;
            top.wavelength = wl;
            top.height = value;
        }
    }

    /// Each side reaches to a higher peak, or to the end. A stack holds the peaks that no higher
    /// one follows yet, each with the lowest value between it and the one before it in the stack.
    void set_prominences() {
        std::vector<std::pair<Top*, double>> stack;
        const auto finish = [&stack](double lowest_behind) {
            Top& top = *stack.back().first;
            top.prominence = top.height - std::max(top.prominence, lowest_behind);
            const double lowest = std::min(lowest_behind, stack.back().second);
            stack.pop_back();
            return lowest;
        };
        for (std::size_t k = 0; k < tops_.size(); ++k) {
            Top& top = tops_[k];
            double lowest = values_[valleys_[k].first];
            while (!stack.empty() && stack.back().first->height < top.height) {
                lowest = finish(lowest);
            }
            // Equal ones let each other pass.
            const bool is_equal = !stack.empty() && stack.back().first->height == top.height;
            top.prominence = is_equal ? std::min(lowest, stack.back().first->prominence) : lowest;
            stack.emplace_back(&top, lowest);
        }
        double lowest = values_[valleys_.back().first];
        while (!stack.empty()) lowest = finish(lowest);
    }

    void drop_close_ones() {
        if (options_.distance == 0.0) return;
        std::vector<std::size_t> order(tops_.size());
        // The highest first, of equal ones the last.
        std::iota(order.rbegin(), order.rend(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return tops_[a].height > tops_[b].height;
        });
        std::vector<bool> is_close(tops_.size());
        for (const std::size_t highest : order) {
            if (is_close[highest]) continue;
            const double wl = tops_[highest].wavelength;
            for (std::size_t k = highest;
                 k-- > 0 && wl - tops_[k].wavelength < options_.distance;) {
                is_close[k] = true;
            }
            for (std::size_t k = highest + 1;
                 k < tops_.size() && tops_[k].wavelength - wl < options_.distance; ++k) {
                is_close[k] = true;
            }
        }
        auto close = is_close.cbegin();
        drop([&close](const Top& /*top*/) { return *close++; });
    }

    /// The lowest points before, between and behind the peaks, of equal ones the outermost two.
    void set_valleys() {
        valleys_.reserve(tops_.size() + 1);
        std::size_t from = 0;
        for (std::size_t k = 0; k <= tops_.size(); ++k) {
            const std::size_t to = k < tops_.size() ? tops_[k].index : values_.size() - 1;
            Valley lowest{from, from};
            double value = values_[from];
            for (std::size_t i = from + 1; i <= to; ++i) {
                if (values_[i] > value) continue;
                if (values_[i] < value) lowest.first = i;
                lowest.second = i;
                value = values_[i];
            }
            valleys_.push_back(lowest);
            from = to;
        }
    }

    /// Leaves peaks out; valleys on both sides of one become one.
    template <class F>
    void drop(const F& is_unwanted) {
        std::size_t kept = 0;
        for (std::size_t k = 0; k < tops_.size(); ++k) {
            if (is_unwanted(tops_[k])) {
                valleys_[kept] = joined(valleys_[kept], valleys_[k + 1]);
                continue;
            }
            tops_[kept] = tops_[k];
            valleys_[++kept] = valleys_[k + 1];
        }
        tops_.resize(kept);
        valleys_.resize(kept + 1);
    }

    [[nodiscard]] Valley joined(const Valley& a, const Valley& b) const noexcept {
        const double of_a = values_[a.first];
        const double of_b = values_[b.first];
        return {of_a <= of_b ? a.first : b.first, of_b <= of_a ? b.second : a.second};
    }

    void find_sides(std::size_t place, Sides& sides) {
        const Top& top = tops_[place];
        const std::size_t first = valleys_[place].second;
        const std::size_t last = valleys_[place + 1].first;
        Line base;
        if (options_.baseline == Baseline::VALLEYS) {
            const double slope = (values_[last] - values_[first]) / (keys_[last] - keys_[first]);
            base = {keys_[first], values_[first], slope};
        } else if (options_.baseline == Baseline::PROMINENCE) {
            base.value = top.height - top.prominence;
        }
        sides.base = base;
        const double level = base(top.wavelength);
        Line half = base;
        half.value += 0.5 * (top.height - level);
        std::size_t left_start = before(top);
        std::size_t right_start = top.interval + 1;
        sides.has_area = top.height > level;
        if (options_.baseline == Baseline::ZERO) {
            sides.has_half = find_half_of_zero(top, half, sides);
        } else {
            sides.has_half = true;
            const Edge left = left_edge(top, half, left_start, 0);
            const Edge right = right_edge(top, half, right_start, values_.size() - 1);
            meet(left, half, sides.left);
            meet(right, half, sides.right);
            // What is above the line halfway up is above the baseline.
            left_start = std::max(left.outer, first);
            right_start = std::min(right.outer, last);
        }
        if (!sides.has_area) return;
        const Edge left = left_edge(top, base, left_start, first);
        const Edge right = right_edge(top, base, right_start, last);
        sides.first_interval = left.interval;
        sides.last_interval = right.interval;
        meet(left, base, sides.from);
        meet(right, base, sides.to);
    }

    /// Half of the height over 0, looked for beyond neighbours: there may be none.
    bool find_half_of_zero(const Top& top, const Line& half, Sides& sides) {
        if (!(top.height > 0.0)) return false;
        if (!extremes_) extremes_.emplace(values_);
        const std::size_t left = extremes_->outside_before(before(top) + 1, half.value, top.height);
        const std::size_t right = extremes_->outside_from(top.interval + 1, half.value, top.height);
        const std::size_t none = values_.size();
        if (left == none || right == none || values_[left] > top.height ||
            values_[right] > top.height) {
            return false;
        }
        meet(left_of(left, top), half, sides.left);
        meet(right_of(right, top), half, sides.right);
        return true;
    }

    /// The stored point before the peak; the one behind it is that behind its interval.
    [[nodiscard]] std::size_t before(const Top& top) const {
        return keys_[top.interval] < top.wavelength ? top.interval : top.interval - 1;
    }

    /// The first stored point to the left, from `i` down to `limit`, that is not above a line.
    [[nodiscard]] Edge left_edge(const Top& top, const Line& line, std::size_t i,
                                 std::size_t limit) const {
        while (i > limit && values_[i] > line(keys_[i])) --i;
        return left_of(i, top);
    }

    [[nodiscard]] Edge right_edge(const Top& top, const Line& line, std::size_t i,
                                  std::size_t limit) const {
        while (i < limit && values_[i] > line(keys_[i])) ++i;
        return right_of(i, top);
    }

    [[nodiscard]] Edge left_of(std::size_t outer, const Top& top) const {
        return {outer, outer, std::min(keys_[outer + 1], top.wavelength)};
    }

    [[nodiscard]] Edge right_of(std::size_t outer, const Top& top) const {
        return {outer, outer - 1, std::max(keys_[outer - 1], top.wavelength)};
    }

    /// Where the curve meets a line between the points of an edge; at the outer one if it stays
    /// above. Known after `crossings_` is solved.
    void meet(const Edge& edge, const Line& line, double& place) {
        const double outer = keys_[edge.outer];
        place = outer;
        const double at_outer = values_[edge.outer] - line(outer);
        if (!(at_outer < 0.0)) return;
        const double inner = edge.inner;
        place = inner;
        const numerical::Spline::Piece curve = curve_.piece(edge.interval);
        const double at_inner = numerical::cubic(curve, inner) - line(inner);
        if (!(at_inner > 0.0)) return;
        const double start = outer - at_outer * (inner - outer) / (at_inner - at_outer);
        crossings_.add(curve, line, outer, inner, start, place);
    }

    [[nodiscard]] PeakShape shape_of(const Top& top, const Sides& sides) const {
        PeakShape shape{.wavelength = top.wavelength,
                        .height = top.height,
                        .prominence = top.prominence,
                        .left = {},
                        .right = {},
                        .width = {},
                        .area = 0.0,
                        .baseline = sides.base(top.wavelength)};
        if (sides.has_half) {
            shape.left = sides.left;
            shape.right = sides.right;
            shape.width = sides.right - sides.left;
        }
        if (sides.has_area) shape.area = area(sides);
        // Slopes of values near the largest overflow, and then widths and areas are of no curve.
        if (!std::isfinite(shape.area + shape.prominence + shape.width.value_or(0.0))) {
            throw std::invalid_argument("utils::peaks: the numbers are too large or too small");
        }
        return shape;
    }

    [[nodiscard]] double area(const Sides& sides) const {
        const Line& base = sides.base;
        const double from = sides.from;
        const double to = sides.to;
        const double below = std::midpoint(base(from), base(to)) * (to - from);
        return curve_.integ(sides.first_interval, from, sides.last_interval, to) - below;
    }

    PeakOptions options_;
    std::span<const double> keys_;
    std::span<const double> values_;
    const numerical::Spline& curve_;
    std::vector<Top> tops_;
    // One more than peaks.
    std::vector<Valley> valleys_;
    // Made when it is needed.
    std::optional<internal::Extremes> extremes_;
    Crossings crossings_;
};

}  // namespace

std::vector<PeakShape> peaks(const Scan& scan, const PeakOptions& options) {
    check(options);
    if (scan.empty()) return {};
    check_finite(scan);
    if (scan.get_interpolation_type() == spline::Type::POLYNOMIAL) {
        throw std::invalid_argument("utils::peaks: a polynomial through all points is not taken");
    }
    // Within a wide tolerance the curve is made of steps, and its interpolant may be of points that
    // have been merged since; a copy makes its own. The default one is less than any distance of
    // wavelengths above 0.001.
    if (scan.get_wavelength_epsilon() > default_epsilon || !(scan.min_wavelength() > 1e-3)) {
        Scan copy(scan);
        copy.set_wavelength_epsilon(0.0);
        copy.ensure_spline();
        return PeakSearch(copy, options).shapes();
    }
    scan.ensure_spline();
    return PeakSearch(scan, options).shapes();
}

}  // namespace vekanalysis::utils
