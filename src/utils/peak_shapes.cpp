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
    std::size_t index = 0;
    double wavelength = 0.0;
    double height = 0.0;
    double prominence = 0.0;
    bool is_kept = true;
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

/// Finds the peaks of one scan and measures them.
class PeakSearch {
public:
    PeakSearch(const Scan& scan, const PeakOptions& options)
        : scan_(scan),
          options_(options),
          keys_(scan.data().keys()),
          values_(scan.data().values()),
          value_at_(scan) {}

    std::vector<PeakShape> shapes() {
        find_tops();
        set_valleys();
        set_prominences();
        drop([this](const Top& top) { return top.height < options_.height; });
        drop_close_ones();
        drop([this](const Top& top) { return top.prominence < options_.prominence; });
        std::vector<PeakShape> shapes;
        shapes.reserve(tops_.size());
        for (std::size_t i = 0; i < tops_.size(); ++i) {
            const PeakShape shape = measured(i);
            // Without a limit a peak that has no width stays.
            if (options_.width > 0.0 && !(shape.width >= options_.width)) continue;
            shapes.push_back(shape);
        }
        return shapes;
    }

private:
    /// Stored points between which the curve meets a line, counted outwards from a peak.
    struct Edge {
        std::size_t outer;
        double inner;
    };

    void find_tops() {
        const std::size_t n = values_.size();
        // Blocks, without a branch for each point: noise cannot be predicted.
        constexpr std::size_t block = 1024;
        std::array<std::size_t, block> candidates{};
        for (std::size_t start = 1; start + 1 < n; start += block) {
            const std::size_t end = std::min(start + block, n - 1);
            std::size_t count = 0;
            for (std::size_t i = start; i < end; ++i) {
                candidates[count] = i;
                const auto rises = static_cast<std::size_t>(values_[i - 1] < values_[i]);
                const auto falls = static_cast<std::size_t>(values_[i] >= values_[i + 1]);
                count += rises & falls;
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
        top.wavelength = keys_[top.index];
        top.height = values_[top.index];
        for (std::size_t i = first - 1; i <= last; ++i) {
            refine(piece(keys_[i], keys_[i + 1]), keys_[i + 1] - keys_[i], top);
        }
        return top;
    }

    /// Where the derivative b + 2 c t + 3 d t^2 is 0 inside of an interval.
    static void refine(const numerical::Spline::Piece& piece, double length, Top& top) {
        const double discriminant = piece.c * piece.c - 3.0 * piece.b * piece.d;
        if (!(discriminant >= 0.0)) return;
        // Both roots without cancellation.
        const double q = -(piece.c + std::copysign(std::sqrt(discriminant), piece.c));
        for (const double t : {q / (3.0 * piece.d), piece.b / q}) {
            if (!(t > 0.0 && t < length)) continue;
            const double wl = piece.knot + t;
            const double value = numerical::cubic(piece, wl);
            if (value > top.height) {
                top.wavelength = wl;
                top.height = value;
            }
        }
    }

    /// The interpolant between neighbouring points, or between two places of that interval.
    numerical::Spline::Piece piece(double left, double right) {
        numerical::Spline::Piece found{};
        (void)value_at_.evaluate(std::midpoint(left, right),
                                 [&found](const numerical::Spline::Piece& piece, double) {
                                     found = piece;
                                     return piece.y;
                                 });
        return found;
    }

    void set_prominences() {
        const std::size_t m = tops_.size();
        // Each side: peaks that are not yet covered by a higher one, with the lowest value between
        // each of them and the one before it in the stack.
        std::vector<std::pair<double, double>> stack;
        const auto base = [&](const Top& top, double value) {
            while (!stack.empty() && stack.back().first <= top.height) {
                value = std::min(value, stack.back().second);
                stack.pop_back();
            }
            stack.emplace_back(top.height, value);
            return value;
        };
        std::size_t before = 0;
        for (Top& top : tops_) top.prominence = base(top, values_[valleys_[before++].first]);
        stack.clear();
        for (std::size_t k = m; k-- > 0;) {
            Top& top = tops_[k];
            top.prominence =
                top.height - std::max(top.prominence, base(top, values_[valleys_[k + 1].first]));
        }
    }

    void drop_close_ones() {
        if (options_.distance == 0.0) return;
        std::vector<std::size_t> order(tops_.size());
        // The highest first, of equal ones the last.
        std::iota(order.rbegin(), order.rend(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
            return tops_[a].height > tops_[b].height;
        });
        for (const std::size_t highest : order) {
            if (!tops_[highest].is_kept) continue;
            const double wl = tops_[highest].wavelength;
            for (std::size_t k = highest;
                 k-- > 0 && wl - tops_[k].wavelength < options_.distance;) {
                tops_[k].is_kept = false;
            }
            for (std::size_t k = highest + 1;
                 k < tops_.size() && tops_[k].wavelength - wl < options_.distance; ++k) {
                tops_[k].is_kept = false;
            }
        }
        drop([](const Top& top) { return !top.is_kept; });
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

    PeakShape measured(std::size_t place) {
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
        PeakShape shape{.wavelength = top.wavelength,
                        .height = top.height,
                        .prominence = top.prominence,
                        .left = {},
                        .right = {},
                        .width = {},
                        .area = 0.0,
                        .baseline = base(top.wavelength)};
        Line half = base;
        half.value += 0.5 * (top.height - shape.baseline);
        if (options_.baseline == Baseline::ZERO) {
            measure_over_zero(top, half, shape);
        } else {
            shape.left = met(left_edge(top, half, 0), half);
            shape.right = met(right_edge(top, half, values_.size() - 1), half);
        }
        if (shape.left && shape.right) shape.width = *shape.right - *shape.left;
        if (top.height > shape.baseline) shape.area = area(top, base, first, last);
        return shape;
    }

    /// Half of the height over 0, looked for beyond neighbours: there may be none.
    void measure_over_zero(const Top& top, const Line& half, PeakShape& shape) {
        if (!(top.height > 0.0)) return;
        if (!extremes_) extremes_.emplace(values_);
        const std::size_t below = keys_[top.index] < top.wavelength ? top.index + 1 : top.index;
        const std::size_t above = keys_[top.index] > top.wavelength ? top.index : top.index + 1;
        const std::size_t left = extremes_->outside_before(below, half.value, top.height);
        const std::size_t right = extremes_->outside_from(above, half.value, top.height);
        const std::size_t none = values_.size();
        if (left == none || right == none || values_[left] > top.height ||
            values_[right] > top.height) {
            return;
        }
        shape.left = met({left, std::min(keys_[left + 1], top.wavelength)}, half);
        shape.right = met({right, std::max(keys_[right - 1], top.wavelength)}, half);
    }

    /// The first stored point to the left, from the peak down to `limit`, that is not above a line.
    [[nodiscard]] Edge left_edge(const Top& top, const Line& line, std::size_t limit) const {
        std::size_t i = keys_[top.index] < top.wavelength ? top.index : top.index - 1;
        while (i > limit && values_[i] > line(keys_[i])) --i;
        return {i, std::min(keys_[i + 1], top.wavelength)};
    }

    [[nodiscard]] Edge right_edge(const Top& top, const Line& line, std::size_t limit) const {
        std::size_t i = keys_[top.index] > top.wavelength ? top.index : top.index + 1;
        while (i < limit && values_[i] > line(keys_[i])) ++i;
        return {i, std::max(keys_[i - 1], top.wavelength)};
    }

    /// Where the curve meets a line between the points of an edge; at the outer one if it stays
    /// above.
    ///
    /// Newton's method, from where the chord meets the line, kept within an interval with the place
    /// in it, which is halved where a step would leave it.
    [[nodiscard]] double met(const Edge& edge, const Line& line) {
        double outer = keys_[edge.outer];
        const double at_outer = values_[edge.outer] - line(outer);
        if (!(at_outer < 0.0)) return outer;
        double inner = edge.inner;
        const numerical::Spline::Piece curve =
            piece(std::min(outer, inner), std::max(outer, inner));
        const double at_inner = numerical::cubic(curve, inner) - line(inner);
        if (!(at_inner > 0.0)) return inner;
        double wl = outer - at_outer * (inner - outer) / (at_inner - at_outer);
        constexpr int most_steps = 100;
        for (int i = 0; i < most_steps; ++i) {
            const double t = wl - curve.knot;
            const double above = numerical::cubic(curve, wl) - line(wl);
            if (above == 0.0) break;
            (above > 0.0 ? inner : outer) = wl;
            const double slope = curve.b + t * (2.0 * curve.c + 3.0 * curve.d * t) - line.slope;
            const double next = wl - above / slope;
            if (std::abs(next - wl) <= std::numeric_limits<double>::epsilon() * std::abs(wl)) break;
            const bool is_inside = next > std::min(outer, inner) && next < std::max(outer, inner);
            wl = is_inside ? next : std::midpoint(outer, inner);
        }
        return wl;
    }

    double area(const Top& top, const Line& base, std::size_t first, std::size_t last) {
        const double from = met(left_edge(top, base, first), base);
        const double to = met(right_edge(top, base, last), base);
        const double below = std::midpoint(base(from), base(to)) * (to - from);
        return scan_(from, to) - below;
    }

    const Scan& scan_;
    PeakOptions options_;
    std::span<const double> keys_;
    std::span<const double> values_;
    ScanCursor value_at_;
    std::vector<Top> tops_;
    // One more than peaks.
    std::vector<Valley> valleys_;
    // Made when it is needed.
    std::optional<internal::Extremes> extremes_;
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
