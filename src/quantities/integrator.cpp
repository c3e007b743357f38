#include "quantities/integrator.hpp"

#include <algorithm>
#include <cmath>

#include "quantities/even_sum.hpp"

namespace vekanalysis::quantities::internal {

namespace {

bool same(const PlannedIntegral& a, const PlannedIntegral& b) noexcept {
    return a.product == b.product && a.is_zero == b.is_zero && a.first == b.first &&
           a.last == b.last && a.from == b.from && a.to == b.to;
}

bool close(double a, double b) noexcept {
    return std::abs(a - b) <= 4.0 * std::numeric_limits<double>::epsilon() * std::abs(a);
}

/// Whether two sums differ at most by the order in which factors were multiplied.
bool close(const EvenSum& a, const EvenSum& b) {
    if (!a.slopes.empty() || !b.slopes.empty() || a.step != b.step) return false;
    const auto same_correction = [](const auto& c, const auto& d) {
        return c.index == d.index && close(c.weight, d.weight);
    };
    return a.factors.begin == b.factors.begin &&
           std::equal(a.factors.weights.begin(), a.factors.weights.end(), b.factors.weights.begin(),
                      b.factors.weights.end(), [](double c, double d) { return close(c, d); }) &&
           std::equal(a.corrections.begin(), a.corrections.end(), b.corrections.begin(),
                      b.corrections.end(), same_correction);
}

/// The lanes of `exact` that the mask names, those of `four` elsewhere.
void replace_lanes(Four& four, const Four& exact, LaneMask mask) noexcept {
    for (std::size_t i = 0; i < lane_count; ++i) {
        if ((mask >> i & 1U) != 0) four.lanes[i] = exact.lanes[i];
    }
}

/// The first point of a product that a piece of its interpolant depends on.
std::size_t first_point_of(const Product& product, std::size_t piece) noexcept {
    if (product.type == spline::Type::CUBIC) return 0;
    return piece - std::min<std::size_t>(piece, 2);
}

/// Behind the last of these.
std::size_t end_point_of(const Product& product, std::size_t piece) noexcept {
    if (product.type == spline::Type::CUBIC) return product.size();
    return std::min(piece + 4, product.size());
}

Pieces pieces_in(std::span<Four> memory) noexcept {
    const std::size_t count = memory.size() / 3;
    return {memory.first(count), memory.subspan(count, count), memory.last(count)};
}

}  // namespace

double change_for(double largest) noexcept {
    return largest > 0.0 ? 1e-6 * largest : 1e-6;
}

double change_for(std::span<const double> values) noexcept {
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::abs(value));
    return change_for(largest);
}

Integrator::Integrator(std::span<const double> wavelengths, double epsilon, spline::Type type)
    : size_(wavelengths.size()), products_(wavelengths, epsilon, type) {}

std::optional<std::size_t> Integrator::add(const Integral& integral) {
    PlannedIntegral planned;
    if (!products_.add(integral, planned)) return std::nullopt;
    const auto found = std::find_if(planned_.begin(), planned_.end(),
                                    [&](const Plan& plan) { return same(plan.integral, planned); });
    if (found != planned_.end()) return static_cast<std::size_t>(found - planned_.begin());
    planned_.push_back({planned});
    return planned_.size() - 1;
}

void Integrator::finish() {
    products_.finish();
    for (Plan& plan : planned_) choose_way(plan);
}

std::vector<std::size_t> Integrator::chain_to(std::size_t product) const {
    std::vector<std::size_t> chain;
    for (; product != 0; product = products_.all()[product].parent) chain.push_back(product);
    std::reverse(chain.begin(), chain.end());
    return chain;
}

void Integrator::choose_way(Plan& plan) {
    if (plan.integral.is_zero) {
        plan.way = Way::ZERO;
    } else if (is_piecewise_linear(plan.integral)) {
        plan.way = Way::SUM;
        plan.index = sums_.size();
        sums_.push_back(weighted_sum(plan.integral));
    } else if (product_of(plan.integral).type == spline::Type::AKIMA) {
        std::vector<const Product*> chain;
        for (const std::size_t i : chain_to(plan.integral.product)) {
            chain.push_back(&products_.all()[i]);
        }
        auto sum = make_even_sum(chain, product_of(plan.integral).wavelengths, plan.integral);
        if (!sum) return;
        plan.way = Way::EVEN;
        plan.index = keep(std::move(*sum));
    }
}

/// Index of the sum, which is left out when there is an equal one.
std::size_t Integrator::keep(EvenSum sum) {
    const auto found = std::find_if(even_sums_.begin(), even_sums_.end(),
                                    [&](const EvenSum& other) { return close(sum, other); });
    if (found != even_sums_.end()) return static_cast<std::size_t>(found - even_sums_.begin());
    even_sums_.push_back(std::move(sum));
    return even_sums_.size() - 1;
}

/// Whether straight lines are all that is between points on the way to an integral.
bool Integrator::is_piecewise_linear(const PlannedIntegral& integral) const {
    if (product_of(integral).type != spline::Type::LINEAR) return false;
    for (const std::size_t i : chain_to(integral.product)) {
        const Product& product = products_.all()[i];
        const bool interpolates = std::any_of(product.sources.begin(), product.sources.end(),
                                              [](const auto& s) { return s.interpolated; });
        if (interpolates && products_.all()[product.parent].type != spline::Type::LINEAR) {
            return false;
        }
    }
    return true;
}

WeightedSum Integrator::weighted_sum(const PlannedIntegral& integral) const {
    const auto& x = product_of(integral).wavelengths;
    std::vector<double> weights(x.size(), 0.0);
    std::vector<char> counts(x.size(), 0);
    for (std::size_t i = integral.first; i <= integral.last; ++i) {
        const double h = x[i + 1] - x[i];
        const double low = i == integral.first ? integral.from : 0.0;
        const double high = i == integral.last ? integral.to : h;
        const double rise = (high - low) * (high + low) / (2.0 * h);
        weights[i] += high - low - rise;
        weights[i + 1] += rise;
        counts[i] = counts[i + 1] = 1;
    }
    auto chain = chain_to(integral.product);
    std::reverse(chain.begin(), chain.end());
    for (const std::size_t index : chain) {
        const Product& product = products_.all()[index];
        const Product& parent = products_.all()[product.parent];
        std::vector<double> of_parent(parent.size(), 0.0);
        std::vector<char> parent_counts(parent.size(), 0);
        for (std::size_t i = 0; i < product.size(); ++i) {
            const auto& [source, interpolated, offset] = product.sources[i];
            const double weight = weights[i] * product.factors[i];
            const std::size_t left = interpolated ? parent.wanted_pieces[source] : source;
            if (counts[i] == 0) continue;
            parent_counts[left] = 1;
            double share = 0.0;
            if (interpolated) {
                parent_counts[left + 1] = 1;
                share = offset / (parent.wavelengths[left + 1] - parent.wavelengths[left]);
                of_parent[left + 1] += weight * share;
            }
            of_parent[left] += weight * (1.0 - share);
        }
        weights = std::move(of_parent);
        counts = std::move(parent_counts);
    }
    const auto first = std::find(counts.begin(), counts.end(), 1) - counts.begin();
    const auto last = counts.rend() - std::find(counts.rbegin(), counts.rend(), 1);
    return {static_cast<std::size_t>(first), {weights.begin() + first, weights.begin() + last}};
}

bool Integrator::is_linear(std::size_t integral) const noexcept {
    const Plan& plan = planned_[integral];
    switch (plan.way) {
        case Way::ZERO:
        case Way::SUM:
            return true;
        case Way::EVEN:
            return even_sums_[plan.index].slopes.empty();
        case Way::GENERAL:
            break;
    }
    return false;
}

Integrator::Workspace Integrator::make_workspace() const {
    Workspace workspace;
    workspace.spectrum.resize(size_);
    for (const Product& product : products_.all()) {
        workspace.values.emplace_back();
        workspace.pieces.emplace_back(3 * product.wanted_pieces.size());
    }
    workspace.has_values.resize(products_.all().size());
    workspace.sums.resize(even_sums_.size());
    workspace.unsure.resize(even_sums_.size());
    workspace.integrals.resize(planned_.size());
    return workspace;
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as a product has factors
std::span<const Four> Integrator::values_of(std::size_t index, Workspace& workspace) const {
    if (index == 0) return workspace.spectrum;
    auto& values = workspace.values[index];
    if (workspace.has_values[index] != 0) return values;
    const Product& product = products_.all()[index];
    const Product& parent = products_.all()[product.parent];
    const auto parent_values = values_of(product.parent, workspace);
    const Pieces pieces = pieces_in(workspace.pieces[product.parent]);
    // The spectrum's own mark tells whether its pieces are there.
    if (product.parent == 0 && workspace.has_values[0] == 0) {
        kernels().pieces(parent, parent_values, pieces);
        workspace.has_values[0] = 1;
    }
    values.resize(product.size());
    kernels().multiply(product, parent_values, pieces, parent.wanted_pieces, values);
    kernels().pieces(product, values, pieces_in(workspace.pieces[index]));
    workspace.has_values[index] = 1;
    return values;
}

void Integrator::general(const PlannedIntegral& integral, Workspace& workspace,
                         Four& result) const {
    kernels().integral(product_of(integral), values_of(integral.product, workspace), integral,
                       result);
}

void Integrator::integrate(std::span<Workspace> workspaces, const Upcoming& upcoming) const {
    std::array<EvenTask, most_tasks> tasks;
    for (std::size_t i = 0; i < workspaces.size(); ++i) {
        Workspace& workspace = workspaces[i];
        std::fill(workspace.has_values.begin(), workspace.has_values.end(), char{0});
        tasks[i] = {workspace.spectrum.data(), &workspace.largest, workspace.sums.data(),
                    workspace.unsure.data()};
    }
    kernels().even_sums(even_sums_, std::span(tasks).first(workspaces.size()), upcoming);
    for (Workspace& workspace : workspaces) take_integrals(workspace);
}

/// Each integral from its sum, or in the general way.
void Integrator::take_integrals(Workspace& workspace) const {
    for (std::size_t i = 0; i < planned_.size(); ++i) {
        const auto& [integral, way, index] = planned_[i];
        Four& result = workspace.integrals[i];
        switch (way) {
            case Way::ZERO:
                result = {};
                break;
            case Way::SUM: {
                const auto& [begin, weights] = sums_[index];
                const std::span<const Four> spectrum = workspace.spectrum;
                kernels().dot(spectrum.subspan(begin, weights.size()), weights.data(), result);
                break;
            }
            case Way::EVEN:
                result = workspace.sums[index];
                if (const LaneMask unsure = workspace.unsure[index]; unsure != 0) {
                    Four exact;
                    general(integral, workspace, exact);
                    replace_lanes(result, exact, unsure);
                }
                break;
            case Way::GENERAL:
                general(integral, workspace, result);
                break;
        }
    }
}

/// The points of the spectrum that an integral depends on.
Integrator::Range Integrator::range_of(const PlannedIntegral& integral) const {
    Range range{first_point_of(product_of(integral), integral.first),
                end_point_of(product_of(integral), integral.last)};
    auto chain = chain_to(integral.product);
    std::reverse(chain.begin(), chain.end());
    for (const std::size_t index : chain) {
        const Product& product = products_.all()[index];
        const Product& parent = products_.all()[product.parent];
        Range of_parent{parent.size(), 0};
        for (std::size_t i = range.begin; i < range.end; ++i) {
            const std::size_t source = product.sources[i].index;
            Range needed{source, source + 1};
            if (product.sources[i].interpolated) {
                const std::size_t piece = parent.wanted_pieces[source];
                needed = {first_point_of(parent, piece), end_point_of(parent, piece)};
            }
            of_parent.begin = std::min(of_parent.begin, needed.begin);
            of_parent.end = std::max(of_parent.end, needed.end);
        }
        range = of_parent;
    }
    return range;
}

void Integrator::differentiate(std::size_t integral, std::span<const double> values,
                               std::span<double> gradient, Workspace& workspace) const {
    std::fill(gradient.begin(), gradient.end(), 0.0);
    const PlannedIntegral& planned = planned_[integral].integral;
    const Way way = planned_[integral].way;
    const std::size_t index = planned_[integral].index;
    if (way == Way::ZERO) return;
    if (way == Way::SUM) {
        const auto& [begin, weights] = sums_[index];
        std::copy(weights.begin(), weights.end(),
                  gradient.begin() + static_cast<std::ptrdiff_t>(begin));
        return;
    }
    const double change = change_for(workspace.largest.lanes[0]);
    if (way == Way::EVEN) {
        const EvenSum& sum = even_sums_[index];
        for (std::size_t i = 0; i < sum.factors.weights.size(); ++i) {
            gradient[sum.factors.begin + i] = sum.step * sum.factors.weights[i];
        }
        for (const auto& [place, weight] : sum.corrections) gradient[place] += weight;
        if (is_linear(integral)) return;
        const bool holds =
            workspace.unsure[index] == 0 && std::isfinite(workspace.sums[index].lanes[0]);
        if (holds && add_slopes(sum, change, gradient, workspace)) return;
    }
    differentiate_generally(planned, values, change, gradient, workspace);
}

/// Adds what the slopes of a sum do by central differences.
///
/// @return false, with part of them added, where a change makes one undefined
bool Integrator::add_slopes(const EvenSum& sum, double change, std::span<double> gradient,
                            Workspace& workspace) {
    for (const KnotOfSpectrum& knot : sum.slopes) {
        for (std::size_t i = knot.begin; i < knot.begin + knot.count; ++i) {
            Four& point = workspace.spectrum[i];
            const Four unchanged = point;
            point.lanes[0] += change;
            point.lanes[1] -= change;
            Four slope;
            const LaneMask undefined = kernels().slope(knot, workspace.spectrum, slope);
            point = unchanged;
            if (undefined != 0) return false;
            gradient[i] += knot.weight * (slope.lanes[0] - slope.lanes[1]) / (2.0 * change);
        }
    }
    return true;
}

/// The derivative by central differences of the integral over all points that matter.
void Integrator::differentiate_generally(const PlannedIntegral& planned,
                                         std::span<const double> values, double change,
                                         std::span<double> gradient, Workspace& workspace) const {
    const auto integrate_anew = [&] {
        std::fill(workspace.has_values.begin(), workspace.has_values.end(), char{0});
        Four result;
        general(planned, workspace, result);
        return result.lanes;
    };
    // What no value beside these changes, is 0; or NaN, where the integral is no number.
    const double unchanged = integrate_anew()[0];
    std::fill(gradient.begin(), gradient.end(), unchanged - unchanged);
    // Two values at once, each up in one lane and down in the next.
    const auto [begin, end] = range_of(planned);
    for (std::size_t i = begin; i < end; i += 2) {
        const std::size_t count = std::min<std::size_t>(2, end - i);
        for (std::size_t k = 0; k < count; ++k) {
            workspace.spectrum[i + k].lanes[2 * k] += change;
            workspace.spectrum[i + k].lanes[2 * k + 1] -= change;
        }
        const auto lanes = integrate_anew();
        for (std::size_t k = 0; k < count; ++k) {
            gradient[i + k] = (lanes[2 * k] - lanes[2 * k + 1]) / (2.0 * change);
            workspace.spectrum[i + k].lanes.fill(values[i + k]);
        }
    }
}

}  // namespace vekanalysis::quantities::internal
