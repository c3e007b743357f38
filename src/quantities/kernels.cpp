#include "quantities/kernels.hpp"

#include <cstring>
#include <limits>

#include "numerical/lanes.hpp"

namespace vekanalysis::quantities::internal {

namespace {

using numerical::abs_of;
using numerical::any_within;
using numerical::bits_of;
using numerical::Lanes;
using numerical::larger_of;
using numerical::Magnitudes;
using numerical::magnitudes_of;
using numerical::Mask;
using numerical::prefetch;
using numerical::read;
using numerical::select;
using numerical::smaller_of;
using numerical::splat;
using numerical::Square;
using numerical::transposed;

static_assert(lane_count == numerical::lane_count);

// Everything below is inlined by force into the kernels at the end, so that it is compiled for the
// same machine as they are: a vector must not pass from a function for one to one for another.

VEKANALYSIS_INLINE Lanes load(const Four& four) {
    return read<double>(four.lanes.data());
}

VEKANALYSIS_INLINE void store(const Lanes& lanes, Four& four) {
    numerical::write(lanes, four.lanes.data());
}

VEKANALYSIS_INLINE Lanes larger_magnitude(Lanes x, Lanes largest) {
    return larger_of(abs_of(x), largest);
}

VEKANALYSIS_INLINE void find_largest_body(std::span<const Four> spectrum, Four& result) {
    Lanes largest = splat(0.0);
    for (const Four& four : spectrum) largest = larger_magnitude(load(four), largest);
    store(largest, result);
}

VEKANALYSIS_INLINE void smallest_body(std::span<const Four> values, Four& result) {
    Lanes smallest = splat(std::numeric_limits<double>::infinity());
    Mask are_numbers = splat(0.0) <= smallest;
    for (const Four& four : values) {
        const Lanes value = load(four);
        smallest = smaller_of(value, smallest);
        // NOLINTNEXTLINE(misc-redundant-expression): false for NaN
        const Mask is_number = value == value;
        are_numbers = are_numbers & is_number;
    }
    store(select(are_numbers, smallest, splat(std::numeric_limits<double>::quiet_NaN())), result);
}

template <class Number>
VEKANALYSIS_INLINE double number_at(const std::byte* row, std::size_t i) {
    Number number;
    std::memcpy(&number, row + i * sizeof number, sizeof number);
    return static_cast<double>(number);
}

template <class Number>
VEKANALYSIS_INLINE void load_rows(const std::array<const std::byte*, lane_count>& rows,
                                  std::span<Four> spectrum, Four& result) {
    const auto [a, b, c, d] = rows;
    // One of each column of a square, so that none waits for another.
    Square largest{splat(0.0), splat(0.0), splat(0.0), splat(0.0)};
    std::size_t i = 0;
    for (; i + lane_count <= spectrum.size(); i += lane_count) {
        const std::size_t place = i * sizeof(Number);
        Square square{read<Number>(a + place), read<Number>(b + place), read<Number>(c + place),
                      read<Number>(d + place)};
        square = transposed(square);
        store(square.a, spectrum[i]);
        store(square.b, spectrum[i + 1]);
        store(square.c, spectrum[i + 2]);
        store(square.d, spectrum[i + 3]);
        largest.a = larger_magnitude(square.a, largest.a);
        largest.b = larger_magnitude(square.b, largest.b);
        largest.c = larger_magnitude(square.c, largest.c);
        largest.d = larger_magnitude(square.d, largest.d);
    }
    for (; i < spectrum.size(); ++i) {
        for (std::size_t lane = 0; lane < lane_count; ++lane) {
            spectrum[i].lanes[lane] = number_at<Number>(rows[lane], i);
        }
        largest.a = larger_magnitude(load(spectrum[i]), largest.a);
    }
    store(larger_of(larger_of(largest.a, largest.b), larger_of(largest.c, largest.d)), result);
}

VEKANALYSIS_INLINE void load_body(const std::array<const std::byte*, lane_count>& rows,
                                  bool is_single, std::span<Four> spectrum, Four& largest) {
    is_single ? load_rows<float>(rows, spectrum, largest)
              : load_rows<double>(rows, spectrum, largest);
}

VEKANALYSIS_INLINE void dot_body(std::span<const Four> values, const double* factors,
                                 Four& result) {
    Lanes even = splat(0.0);
    Lanes odd = splat(0.0);
    std::size_t i = 0;
    for (; i + 1 < values.size(); i += 2) {
        even = even + load(values[i]) * splat(factors[i]);
        odd = odd + load(values[i + 1]) * splat(factors[i + 1]);
    }
    if (i < values.size()) even = even + load(values[i]) * splat(factors[i]);
    store(even + odd, result);
}

/// The second difference of three neighbours.
VEKANALYSIS_INLINE Lanes bend_of(Lanes outer_two, Lanes middle) {
    return outer_two - (middle + middle);
}

/// The products of an even sum.
class EvenProducts {
public:
    VEKANALYSIS_INLINE EvenProducts(const EvenSum& sum, const Four* spectrum)
        : values_(spectrum + sum.factors.begin), factors_(sum.factors.weights.data()) {}

    [[nodiscard]] VEKANALYSIS_INLINE Lanes operator[](std::size_t i) const {
        return load(values_[i]) * splat(factors_[i]);
    }

    [[nodiscard]] VEKANALYSIS_INLINE EvenProducts from(std::size_t i) const {
        EvenProducts rest = *this;
        rest.values_ += i;
        rest.factors_ += i;
        return rest;
    }

private:
    const Four* values_;
    const double* factors_;
};

/// What the products of an even sum add up to, and the least bends of those looked at.
class EvenTotal {
public:
    VEKANALYSIS_INLINE EvenTotal(const EvenSum& sum, const EvenTask& task)
        : products_(sum, task.spectrum) {}

    VEKANALYSIS_INLINE void add(std::size_t i) { even_ = even_ + products_[i]; }

    /// Adds the four from `i` on and looks at the bends at the inner two.
    VEKANALYSIS_INLINE void add_four(std::size_t i) {
        const EvenProducts products = products_.from(i);
        const Lanes p1 = products[1];
        const Lanes p2 = products[2];
        const Lanes outer = products[0] + p2;
        const Lanes inner = p1 + products[3];
        even_ = even_ + outer;
        odd_ = odd_ + inner;
        least_bends_ =
            smaller_of(magnitudes_of(bend_of(outer, p1), bend_of(inner, p2)), least_bends_);
    }

    /// The same without adding.
    VEKANALYSIS_INLINE void look_at_four(std::size_t i) {
        EvenTotal unused = *this;
        unused.add_four(i);
        least_bends_ = unused.least_bends_;
    }

    [[nodiscard]] VEKANALYSIS_INLINE const EvenProducts& products() const { return products_; }
    [[nodiscard]] VEKANALYSIS_INLINE Lanes sum() const { return even_ + odd_; }
    [[nodiscard]] VEKANALYSIS_INLINE bool may_be_straight(Lanes tolerance) const {
        return any_within(least_bends_, magnitudes_of(tolerance, tolerance));
    }

private:
    EvenProducts products_;
    Lanes even_ = splat(0.0);
    Lanes odd_ = splat(0.0);
    Magnitudes least_bends_ = magnitudes_of(splat(std::numeric_limits<double>::infinity()),
                                            splat(std::numeric_limits<double>::infinity()));
};

/// Where products have a kink: the bends on either side of a point are 0 within the tolerance, and
/// its own is not.
VEKANALYSIS_INLINE Mask kinks_of(const EvenProducts& products, std::size_t size, Lanes tolerance) {
    Lanes left = products[0];
    Lanes middle = products[1];
    const Mask none = splat(1.0) <= splat(0.0);
    Mask before = none;
    Mask here = none;
    Mask found = none;
    for (std::size_t i = 2; i < size; ++i) {
        const Lanes right = products[i];
        const Mask after = abs_of(bend_of(left + right, middle)) <= tolerance;
        found = found | (before & ~here & after);
        before = here;
        here = after;
        left = middle;
        middle = right;
    }
    return found;
}

/// The slopes of the intervals of an Akima interpolant, those beyond the ends extrapolated.
class Slopes {
public:
    VEKANALYSIS_INLINE Slopes(const Product& product, std::span<const Four> values)
        : x_(product.wavelengths), y_(values) {}

    [[nodiscard]] VEKANALYSIS_INLINE Lanes operator()(std::ptrdiff_t i) const {
        const auto last = static_cast<std::ptrdiff_t>(x_.size()) - 2;
        if (i < 0) return beyond(0, 1, i == -1);
        if (i > last) return beyond(last, last - 1, i == last + 1);
        return inside(static_cast<std::size_t>(i));
    }

private:
    [[nodiscard]] VEKANALYSIS_INLINE Lanes inside(std::size_t i) const {
        return (load(y_[i + 1]) - load(y_[i])) / splat(x_[i + 1] - x_[i]);
    }
    [[nodiscard]] VEKANALYSIS_INLINE Lanes beyond(std::ptrdiff_t end, std::ptrdiff_t next,
                                                  bool is_first) const {
        const Lanes m_end = inside(static_cast<std::size_t>(end));
        const Lanes m_next = inside(static_cast<std::size_t>(next));
        if (is_first) return splat(2.0) * m_end - m_next;
        return splat(3.0) * m_end - splat(2.0) * m_next;
    }

    std::span<const double> x_;
    std::span<const Four> y_;
};

/// The slope of an Akima interpolant at a knot, between the slopes m of the intervals around it.
/// The operations are those of numerical::Spline in their order: where the weight is near 0, the
/// slope is a matter of the last bit.
struct KnotSlope {
    Lanes slope;
    Mask is_straight;

    VEKANALYSIS_INLINE KnotSlope(Lanes m_0, Lanes m_1, Lanes m_2, Lanes m_3) {
        const Lanes left = abs_of(m_1 - m_0);
        const Lanes weight = abs_of(m_3 - m_2) + left;
        const Lanes alpha = left / weight;
        slope = (splat(1.0) - alpha) * m_1 + alpha * m_2;
        is_straight = weight == splat(0.0);
    }
};

VEKANALYSIS_INLINE KnotSlope slope_at(const KnotOfSpectrum& knot, const Four* spectrum) {
    // The last once more for the one that is missing: what it gives is not used.
    const std::size_t last = knot.count - 1;
    Lanes p[5];
    for (std::size_t i = 0; i < 5; ++i) p[i] = load(spectrum[knot.begin + (i < last ? i : last)]);
    for (const auto& factors : knot.factors) {
        for (std::size_t i = 0; i < 5; ++i) p[i] = p[i] * splat(factors[i < last ? i : last]);
    }
    Lanes m[4];
    for (std::size_t i = 0; i < 4; ++i) m[i] = (p[i + 1] - p[i]) / splat(knot.steps[i]);
    if (knot.left_missing) return {splat(2.0) * m[0] - m[1], m[0], m[1], m[2]};
    if (knot.right_missing) return {m[0], m[1], m[2], splat(2.0) * m[2] - m[1]};
    return {m[0], m[1], m[2], m[3]};
}

VEKANALYSIS_INLINE LaneMask slope_body(const KnotOfSpectrum& knot, std::span<const Four> spectrum,
                                       Four& slope) {
    const KnotSlope at_knot = slope_at(knot, spectrum.data());
    store(at_knot.slope, slope);
    return bits_of(at_knot.is_straight);
}

/// What is to be added to the sum of the products, and whether all that holds.
VEKANALYSIS_INLINE void finish_even_sum(const EvenSum& sum, const EvenTotal& total,
                                        const EvenTask& task, std::size_t index) {
    const Lanes largest = load(*task.largest);
    const Lanes tolerance = splat(sum.tolerance) * largest;
    // Rules that agree on numbers need not do so on what follows from infinities.
    Mask unsure = largest == splat(std::numeric_limits<double>::infinity());
    const bool looked = sum.look_from < sum.look_to;
    if (looked && total.may_be_straight(tolerance)) {
        unsure = unsure | kinks_of(total.products(), sum.factors.weights.size(), tolerance);
    }
    Lanes result = total.sum() * splat(sum.step);
    for (const auto& [point, weight] : sum.corrections) {
        result = result + splat(weight) * load(task.spectrum[point]);
    }
    for (const KnotOfSpectrum& knot : sum.slopes) {
        const KnotSlope at_knot = slope_at(knot, task.spectrum);
        result = result + splat(knot.weight) * at_knot.slope;
        unsure = unsure | at_knot.is_straight;
    }
    store(result, task.results[index]);
    task.unsure[index] = bits_of(unsure);
}

/// An even sum of one task, or of two that share the factors.
///
/// The bends are looked at in fours of points, at the inner two: of any two points that are two
/// apart one is among them, so no kink, which needs both its neighbours straight, escapes.
template <std::size_t tasks>
VEKANALYSIS_INLINE void even_sum(const EvenSum& sum, const EvenTask* task, std::size_t index) {
    EvenTotal a(sum, task[0]);
    EvenTotal b(sum, task[tasks - 1]);
    std::size_t i = 0;
    for (; i < sum.look_from; ++i) {
        a.add(i);
        if constexpr (tasks == 2) b.add(i);
    }
    for (; i + 4 <= sum.look_to; i += 4) {
        a.add_four(i);
        if constexpr (tasks == 2) b.add_four(i);
    }
    for (; i < sum.factors.weights.size(); ++i) {
        a.add(i);
        if constexpr (tasks == 2) b.add(i);
    }
    if (sum.look_from < sum.look_to) {
        // The last four once more, with those that were left over.
        a.look_at_four(sum.look_to - 4);
        if constexpr (tasks == 2) b.look_at_four(sum.look_to - 4);
    }
    finish_even_sum(sum, a, task[0], index);
    if constexpr (tasks == 2) finish_even_sum(sum, b, task[1], index);
}

/// Asks for memory to be brought near, in equal parts.
class Fetcher {
public:
    VEKANALYSIS_INLINE Fetcher(const Upcoming& rows, std::size_t parts) : rows_(rows) {
        std::size_t bytes = 0;
        for (const auto& row : rows) bytes += row.size();
        part_ = bytes / (line * parts) + 1;
    }

    VEKANALYSIS_INLINE void ask_for_part() {
        for (std::size_t left = part_; left > 0 && row_ < rows_.size();) {
            if (place_ >= rows_[row_].size()) {
                ++row_;
                place_ = 0;
                continue;
            }
            prefetch<2>(rows_[row_].data() + place_);
            place_ += line;
            --left;
        }
    }

private:
    static constexpr std::size_t line = 64;

    const Upcoming& rows_;
    std::size_t part_;  // in lines
    std::size_t row_ = 0;
    std::size_t place_ = 0;
};

VEKANALYSIS_INLINE void even_sums_body(std::span<const EvenSum> sums,
                                       std::span<const EvenTask> tasks, const Upcoming& upcoming) {
    if (sums.empty()) return;
    Fetcher fetcher(upcoming, sums.size());
    for (std::size_t i = 0; i < sums.size(); ++i) {
        tasks.size() == 1 ? even_sum<1>(sums[i], tasks.data(), i)
                          : even_sum<2>(sums[i], tasks.data(), i);
        fetcher.ask_for_part();
    }
}

struct Piece {
    Lanes y;
    Lanes b;
    Lanes c;
    Lanes d;

    /// Integral from the knot to t beyond it.
    [[nodiscard]] VEKANALYSIS_INLINE Lanes antiderivative(double t) const {
        const double t2 = t * t;
        return y * splat(t) + b * splat(t2 / 2.0) + c * splat(t2 * t / 3.0) +
               d * splat(t2 * t2 / 4.0);
    }
};

VEKANALYSIS_INLINE Piece akima_piece(Lanes y, Lanes m, double h, const KnotSlope& left,
                                     const KnotSlope& right) {
    const Lanes zero = splat(0.0);
    const Lanes end = select(right.is_straight, m, right.slope);
    const Lanes three_m = splat(3.0) * m;
    const Lanes c = (three_m - splat(2.0) * left.slope - end) / splat(h);
    const Lanes d = (left.slope + end - splat(2.0) * m) / splat(h * h);
    return {y, select(left.is_straight, m, left.slope), select(left.is_straight, zero, c),
            select(left.is_straight, zero, d)};
}

VEKANALYSIS_INLINE Piece akima_piece_at(const Product& product, std::span<const Four> values,
                                        std::size_t i) {
    const Slopes slopes(product, values);
    const auto k = static_cast<std::ptrdiff_t>(i);
    const Lanes m[5] = {slopes(k - 2), slopes(k - 1), slopes(k), slopes(k + 1), slopes(k + 2)};
    const double h = product.wavelengths[i + 1] - product.wavelengths[i];
    return akima_piece(load(values[i]), m[2], h, {m[0], m[1], m[2], m[3]},
                       {m[1], m[2], m[3], m[4]});
}

VEKANALYSIS_INLINE Lanes akima_integral(const Product& product, std::span<const Four> values,
                                        const PlannedIntegral& planned) {
    const auto& [index, is_zero, first, last, from, to] = planned;
    const Piece first_piece = akima_piece_at(product, values, first);
    if (first == last) return first_piece.antiderivative(to) - first_piece.antiderivative(from);
    const auto& x = product.wavelengths;
    Lanes sum =
        first_piece.antiderivative(x[first + 1] - x[first]) - first_piece.antiderivative(from);
    sum = sum + akima_piece_at(product, values, last).antiderivative(to);

    const Slopes slopes(product, values);
    const auto begin = static_cast<std::ptrdiff_t>(first) + 1;
    Lanes m_1 = slopes(begin - 1);
    Lanes m_2 = slopes(begin);
    Lanes m_3 = slopes(begin + 1);
    KnotSlope left(slopes(begin - 2), m_1, m_2, m_3);
    for (std::size_t i = first + 1; i < last; ++i) {
        const Lanes m_4 = slopes(static_cast<std::ptrdiff_t>(i) + 2);
        const KnotSlope right(m_1, m_2, m_3, m_4);
        const double h = x[i + 1] - x[i];
        const Lanes end = select(right.is_straight, m_2, right.slope);
        const Lanes bend = select(left.is_straight, splat(0.0), left.slope - end);
        sum = sum + (load(values[i]) + load(values[i + 1])) * splat(h / 2.0) +
              bend * splat(h * h / 12.0);
        left = right;
        m_1 = m_2;
        m_2 = m_3;
        m_3 = m_4;
    }
    return sum;
}

VEKANALYSIS_INLINE Piece linear_piece(const Product& product, std::span<const Four> values,
                                      std::size_t i) {
    const Slopes slopes(product, values);
    const Lanes zero = splat(0.0);
    return {load(values[i]), slopes(static_cast<std::ptrdiff_t>(i)), zero, zero};
}

/// The second derivatives, halved, of the natural cubic spline, as numerical::Spline has them.
VEKANALYSIS_INLINE std::vector<Four> cubic_curvatures(const Product& product,
                                                      std::span<const Four> values) {
    const auto& x = product.wavelengths;
    const std::size_t n = product.size();
    const Slopes slopes(product, values);
    std::vector<Four> c(n, Four{});
    std::vector<double> d(n, 0.0);
    for (std::size_t k = 1; k + 1 < n; ++k) {
        const double h_left = x[k] - x[k - 1];
        const double h_right = x[k + 1] - x[k];
        const double pivot = 2.0 * (h_left + h_right) - h_left * d[k - 1];
        d[k] = h_right / pivot;
        const auto i = static_cast<std::ptrdiff_t>(k);
        store((splat(3.0) * (slopes(i) - slopes(i - 1)) - splat(h_left) * load(c[k - 1])) /
                  splat(pivot),
              c[k]);
    }
    for (std::size_t k = n - 2; k >= 1; --k) {
        store(load(c[k]) - splat(d[k]) * load(c[k + 1]), c[k]);
    }
    return c;
}

VEKANALYSIS_INLINE Piece cubic_piece(const Product& product, std::span<const Four> values,
                                     std::span<const Four> curvatures, std::size_t i) {
    const Slopes slopes(product, values);
    const Lanes c = load(curvatures[i]);
    const Lanes c_next = load(curvatures[i + 1]);
    const double h = product.wavelengths[i + 1] - product.wavelengths[i];
    const Lanes b =
        slopes(static_cast<std::ptrdiff_t>(i)) - splat(h) * (splat(2.0) * c + c_next) / splat(3.0);
    return {load(values[i]), b, c, (c_next - c) / splat(3.0 * h)};
}

/// A piece of whatever interpolant the product has.
class PieceAt {
public:
    VEKANALYSIS_INLINE PieceAt(const Product& product, std::span<const Four> values)
        : product_(product), values_(values) {
        if (product.type == spline::Type::CUBIC) curvatures_ = cubic_curvatures(product, values);
    }

    [[nodiscard]] VEKANALYSIS_INLINE Piece operator()(std::size_t i) const {
        if (product_.type == spline::Type::AKIMA) return akima_piece_at(product_, values_, i);
        if (product_.type == spline::Type::CUBIC) {
            return cubic_piece(product_, values_, curvatures_, i);
        }
        return linear_piece(product_, values_, i);
    }

private:
    const Product& product_;
    std::span<const Four> values_;
    std::vector<Four> curvatures_;
};

VEKANALYSIS_INLINE void integral_body(const Product& product, std::span<const Four> values,
                                      const PlannedIntegral& planned, Four& result) {
    if (product.type == spline::Type::AKIMA) {
        store(akima_integral(product, values, planned), result);
        return;
    }
    const PieceAt piece_at(product, values);
    const auto& x = product.wavelengths;
    Lanes sum = splat(0.0) - piece_at(planned.first).antiderivative(planned.from);
    for (std::size_t i = planned.first; i < planned.last; ++i) {
        sum = sum + piece_at(i).antiderivative(x[i + 1] - x[i]);
    }
    store(sum + piece_at(planned.last).antiderivative(planned.to), result);
}

VEKANALYSIS_INLINE void pieces_body(const Product& product, std::span<const Four> values,
                                    const Pieces& pieces) {
    if (product.wanted_pieces.empty()) return;
    const PieceAt piece_at(product, values);
    for (std::size_t k = 0; k < product.wanted_pieces.size(); ++k) {
        const Piece piece = piece_at(product.wanted_pieces[k]);
        store(piece.b, pieces.b[k]);
        store(piece.c, pieces.c[k]);
        store(piece.d, pieces.d[k]);
    }
}

VEKANALYSIS_INLINE void multiply_body(const Product& product, std::span<const Four> parent,
                                      const Pieces& pieces,
                                      std::span<const std::uint32_t> wanted_pieces,
                                      std::span<Four> values) {
    for (std::size_t i = 0; i < product.size(); ++i) {
        const auto& [index, interpolated, offset] = product.sources[i];
        Lanes value;
        if (interpolated) {
            const Lanes t = splat(offset);
            value = load(parent[wanted_pieces[index]]) +
                    t * (load(pieces.b[index]) +
                         t * (load(pieces.c[index]) + t * load(pieces.d[index])));
        } else {
            value = load(parent[index]);
        }
        store(value * splat(product.factors[i]), values[i]);
    }
}

#define VEKANALYSIS_KERNELS(name, attribute)                                                   \
    namespace name {                                                                           \
    attribute void load(const std::array<const std::byte*, lane_count>& rows, bool is_single,  \
                        std::span<Four> spectrum, Four& largest) {                             \
        load_body(rows, is_single, spectrum, largest);                                         \
    }                                                                                          \
    attribute void find_largest(std::span<const Four> spectrum, Four& largest) {               \
        find_largest_body(spectrum, largest);                                                  \
    }                                                                                          \
    attribute void smallest(std::span<const Four> values, Four& result) {                      \
        smallest_body(values, result);                                                         \
    }                                                                                          \
    attribute void dot(std::span<const Four> values, const double* factors, Four& result) {    \
        dot_body(values, factors, result);                                                     \
    }                                                                                          \
    attribute void even_sums(std::span<const EvenSum> sums, std::span<const EvenTask> tasks,   \
                             const Upcoming& upcoming) {                                       \
        even_sums_body(sums, tasks, upcoming);                                                 \
    }                                                                                          \
    attribute LaneMask slope(const KnotOfSpectrum& knot, std::span<const Four> spectrum,       \
                             Four& result) {                                                   \
        return slope_body(knot, spectrum, result);                                             \
    }                                                                                          \
    attribute void integral(const Product& product, std::span<const Four> values,              \
                            const PlannedIntegral& planned, Four& result) {                    \
        integral_body(product, values, planned, result);                                       \
    }                                                                                          \
    attribute void pieces(const Product& product, std::span<const Four> values,                \
                          const Pieces& wanted) {                                              \
        pieces_body(product, values, wanted);                                                  \
    }                                                                                          \
    attribute void multiply(const Product& product, std::span<const Four> parent,              \
                            const Pieces& coefficients, std::span<const std::uint32_t> wanted, \
                            std::span<Four> values) {                                          \
        multiply_body(product, parent, coefficients, wanted, values);                          \
    }                                                                                          \
    constexpr Kernels all{load,  find_largest, smallest, dot,     even_sums,                   \
                          slope, integral,     pieces,   multiply};                            \
    }

VEKANALYSIS_KERNELS(baseline, )
#if defined(__GNUC__) && defined(__x86_64__)
VEKANALYSIS_KERNELS(avx2, __attribute__((target("avx2"))))
#endif

}  // namespace

const Kernels& kernels() noexcept {
#if defined(__GNUC__) && defined(__x86_64__)
    static const bool has_avx2 = static_cast<bool>(__builtin_cpu_supports("avx2"));
    if (has_avx2) return avx2::all;
#endif
    return baseline::all;
}

}  // namespace vekanalysis::quantities::internal
