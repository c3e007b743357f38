#include "quantities/even_sum.hpp"

#include <algorithm>
#include <cmath>

namespace vekanalysis::quantities::internal {

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr std::size_t fewest_points = 8;
/// What counts as no weight, of that of a whole step.
constexpr double negligible = 1e-9;

/// Antiderivatives of the cubic Hermite polynomials on 0..1: of the two values and the two slopes.
struct Hermite {
    double left;
    double right;
    double left_slope;
    double right_slope;

    explicit Hermite(double u) noexcept {
        const double u2 = u * u;
        const double u3 = u2 * u;
        const double u4 = u2 * u2;
        left = u4 / 2.0 - u3 + u;
        right = u3 - u4 / 2.0;
        left_slope = u4 / 4.0 - 2.0 * u3 / 3.0 + u2 / 2.0;
        right_slope = u4 / 4.0 - u3 / 3.0;
    }
};

/// Where the integral gets its weights from: one each for the values and the slopes of the knots.
struct Weights {
    std::vector<double> values;
    std::vector<double> slopes;
};

Weights weights_of(std::span<const double> x, const PlannedIntegral& integral) {
    Weights weights{std::vector<double>(x.size(), 0.0), std::vector<double>(x.size(), 0.0)};
    for (std::size_t i = integral.first; i <= integral.last; ++i) {
        const double h = x[i + 1] - x[i];
        const Hermite low(i == integral.first ? integral.from / h : 0.0);
        const Hermite high(i == integral.last ? integral.to / h : 1.0);
        weights.values[i] += h * (high.left - low.left);
        weights.values[i + 1] += h * (high.right - low.right);
        weights.slopes[i] += h * h * (high.left_slope - low.left_slope);
        weights.slopes[i + 1] += h * h * (high.right_slope - low.right_slope);
    }
    return weights;
}

/// Adds the slope at an end of the product to the weights of the values: it is linear there,
/// 3/2 of the slope of the interval at the end less 1/2 of the next.
void add_end_slope(Weights& weights, std::span<const double> x, std::size_t knot) {
    const bool left = knot == 0;
    const std::size_t end = left ? 0 : x.size() - 2;
    const std::size_t next = left ? 1 : x.size() - 3;
    const auto add = [&](std::size_t interval, double share) {
        const double weight = share * weights.slopes[knot] / (x[interval + 1] - x[interval]);
        weights.values[interval] -= weight;
        weights.values[interval + 1] += weight;
    };
    add(end, 1.5);
    add(next, -0.5);
    weights.slopes[knot] = 0.0;
}

/// For each point of the product that of the spectrum; nothing where one has none, or where they
/// do not follow on each other.
std::optional<std::size_t> first_in_spectrum(std::span<const Product* const> chain) {
    if (chain.empty()) return 0;
    std::optional<std::size_t> first;
    const std::size_t size = chain.back()->size();
    for (std::size_t i = 0; i < size; ++i) {
        std::size_t index = i;
        for (std::size_t above = chain.size(); above-- > 0;) {
            const auto& source = chain[above]->sources[index];
            if (source.interpolated) return std::nullopt;
            index = source.index;
        }
        if (i == 0) first = index;
        if (index != *first + i) return std::nullopt;
    }
    return first;
}

/// The factor of a multiplication at a point of the last product.
double factor_at(std::span<const Product* const> chain, std::size_t step, std::size_t point) {
    std::size_t index = point;
    for (std::size_t k = chain.size(); k-- > step + 1;) index = chain[k]->sources[index].index;
    return chain[step]->factors[index];
}

KnotOfSpectrum knot_of_spectrum(std::span<const Product* const> chain, std::span<const double> x,
                                std::size_t knot, std::size_t offset, double weight) {
    KnotOfSpectrum result{.weight = weight};
    result.left_missing = knot == 1;
    result.right_missing = knot + 2 == x.size();
    const std::size_t begin = knot - (result.left_missing ? 1 : 2);
    const std::size_t end = knot + (result.right_missing ? 2 : 3);
    result.begin = offset + begin;
    result.count = end - begin;
    for (std::size_t i = begin; i + 1 < end; ++i) result.steps[i - begin] = x[i + 1] - x[i];
    for (std::size_t step = 0; step < chain.size(); ++step) {
        auto& factors = result.factors.emplace_back();
        for (std::size_t i = begin; i < end; ++i) {
            factors[i - begin] = factor_at(chain, step, i);
        }
    }
    return result;
}

/// Largest distance of a step from the mean one; nothing where that is more than rounding.
std::optional<double> unevenness(std::span<const double> x, std::size_t begin, std::size_t end,
                                 double step) {
    const double rounding = 8.0 * epsilon * std::max(std::abs(x.front()), std::abs(x.back()));
    double largest = 0.0;
    for (std::size_t i = begin; i + 1 < end; ++i) {
        largest = std::max(largest, std::abs(x[i + 1] - x[i] - step));
    }
    if (!(largest <= rounding && largest <= 1e-9 * step)) return std::nullopt;
    return largest;
}

/// Kinks are looked for up to two points beyond the factors that are not 0. Further out all is
/// straight, which would look like the one side of a kink.
void find_where_to_look(EvenSum& sum) {
    const auto& weights = sum.factors.weights;
    const auto counts = [](double weight) { return weight != 0.0; };
    const auto first = std::find_if(weights.begin(), weights.end(), counts);
    const auto last = std::find_if(weights.rbegin(), weights.rend(), counts);
    const auto before = static_cast<std::size_t>(first - weights.begin());
    const auto behind = static_cast<std::size_t>(last - weights.rbegin());
    const std::size_t from = before - std::min<std::size_t>(before, 2);
    const std::size_t to = weights.size() - (behind - std::min<std::size_t>(behind, 2));
    // With fewer only the first or the last factor is not 0, and there is no kink.
    if (from + 4 > to) return;
    sum.look_from = from;
    sum.look_to = to;
}

}  // namespace

std::optional<EvenSum> make_even_sum(std::span<const Product* const> chain,
                                     std::span<const double> x, const PlannedIntegral& integral) {
    const std::size_t begin = integral.first == 0 ? 0 : integral.first - 1;
    const std::size_t end = std::min(integral.last + 3, x.size());
    if (end - begin < fewest_points) return std::nullopt;
    const auto offset = first_in_spectrum(chain);
    if (!offset) return std::nullopt;
    const auto intervals = static_cast<double>(integral.last + 1 - integral.first);
    const double step = (x[integral.last + 1] - x[integral.first]) / intervals;
    const auto uneven = unevenness(x, begin, end, step);
    if (!uneven) return std::nullopt;

    Weights weights = weights_of(x, integral);
    if (integral.first == 0) add_end_slope(weights, x, 0);
    if (integral.last + 2 == x.size()) add_end_slope(weights, x, x.size() - 1);
    EvenSum sum{.factors = {.begin = *offset + begin}, .step = step};
    double largest_factor = 0.0;
    for (std::size_t i = begin; i < end; ++i) {
        double factor = 1.0;
        for (std::size_t k = 0; k < chain.size(); ++k) factor *= factor_at(chain, k, i);
        largest_factor = std::max(largest_factor, std::abs(factor));
        sum.factors.weights.push_back(factor);
        if (const double excess = weights.values[i] - step; std::abs(excess) > negligible * step) {
            sum.corrections.push_back({*offset + i, excess * factor});
        }
        if (std::abs(weights.slopes[i]) > negligible * step * step) {
            sum.slopes.push_back(knot_of_spectrum(chain, x, i, *offset, weights.slopes[i]));
        }
    }
    // A second difference of products, each with a few roundings, of steps that are not quite even.
    sum.tolerance = largest_factor * (16.0 * epsilon + 4.0 * *uneven / step);
    find_where_to_look(sum);
    return sum;
}

}  // namespace vekanalysis::quantities::internal
