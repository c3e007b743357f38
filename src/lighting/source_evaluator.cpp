#include "lighting/source_evaluator.hpp"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <tuple>

#include "lighting/alpha_opic.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/lanes.hpp"
#include "lighting/planckian.hpp"
#include "lighting/visible_sums.hpp"

namespace vekanalysis::lighting {

namespace internal {

namespace {

numerical::InterpolationType kernel_type(spline::Type type) noexcept {
    switch (type) {
        case spline::Type::AKIMA:
            return numerical::InterpolationType::AKIMA;
        case spline::Type::CUBIC:
            return numerical::InterpolationType::CUBIC;
        case spline::Type::POLYNOMIAL:
            return numerical::InterpolationType::POLYNOMIAL;
        default:
            return numerical::InterpolationType::LINEAR;
    }
}

double dot(std::span<const double> a, std::span<const double> b) noexcept {
    return sum_in_lanes(a.size(), [a, b](std::size_t i) { return a[i] * b[i]; });
}

}  // namespace

VisibleGrid::VisibleGrid(std::span<const double> wavelengths, int step, spline::Type type,
                         double epsilon)
    : step_(step),
      n_(visible_points(step)),
      wavelengths_(wavelengths.begin(), wavelengths.end()),
      type_(kernel_type(type)),
      is_possible_(!wavelengths.empty() && reaches(wavelengths.front(), wavelengths.back()) &&
                   is_close(widest_gap(wavelengths))) {
    std::tie(first_, last_) = visible_range(wavelengths);
    if (!is_possible_) return;
    widths_ = visible_widths(wavelengths);
    for (std::size_t i = 0; i < n_; ++i) {
        double wl = visible_from + static_cast<double>(i) * static_cast<double>(step);
        if (wl < wavelengths.front() && wavelengths.front() - wl <= end_reach) {
            wl = wavelengths.front();
        }
        if (wl > wavelengths.back() && wl - wavelengths.back() <= end_reach) {
            wl = wavelengths.back();
        }
        const auto at = std::lower_bound(wavelengths.begin(), wavelengths.end(), wl,
                                         [epsilon](double a, double b) { return a + epsilon < b; });
        if (at != wavelengths.end() && *at <= wl + epsilon) {
            source_[i] = static_cast<std::int32_t>(at - wavelengths.begin());
        } else if (wl < wavelengths.front() || wl > wavelengths.back()) {
            source_[i] = zero;
        } else {
            source_[i] = between;
            needs_interpolant_ = true;
        }
    }
    if (needs_interpolant_ && type == spline::Type::NONE) is_possible_ = false;
    is_run_ = source_[0] >= 0;
    std::size_t stored = 0;
    for (std::size_t i = 0; i < n_; ++i) {
        stored += source_[i] >= 0 ? 1 : 0;
        is_run_ = is_run_ && source_[i] == source_[0] + static_cast<std::int32_t>(i);
    }
    takes_all_ = stored == last_ - first_;
    if (!takes_all_) zeros_.assign(last_ - first_, 0.0);
    const auto visible = wavelengths.subspan(first_, last_ - first_);
    if (!is_finer(visible, step_)) return;
    for (std::size_t i = 0; i < visible.size(); ++i) {
        const auto weight = own_weight(visible, i);
        for (std::size_t k = 0; k < 3; ++k) own_weights_[k].push_back(weight[k]);
    }
}

void VisibleGrid::fill(std::span<const double> values, const numerical::Spline& interpolant,
                       std::span<double> grid) const noexcept {
    for (std::size_t i = 0; i < n_; ++i) {
        if (source_[i] >= 0) {
            grid[i] = values[static_cast<std::size_t>(source_[i])];
        } else if (source_[i] == zero) {
            grid[i] = 0.0;
        } else {
            grid[i] = interpolant.eval(visible_from +
                                       static_cast<double>(i) * static_cast<double>(step_));
        }
    }
}

std::span<const double> VisibleGrid::sample(std::span<const double> values,
                                            numerical::Spline* scratch,
                                            std::span<double> memory) const {
    if (!is_possible_) return {};
    if (const auto begin = run()) return values.subspan(*begin, n_);
    if (needs_interpolant_ && !scratch->reset(wavelengths_, values, type_)) return {};
    fill(values, *scratch, memory);
    return memory.first(n_);
}

bool VisibleGrid::accepts(std::span<const double> values, std::span<const double> grid,
                          const VisibleSums& sums, bool* has_amounts) const {
    const auto visible = values.subspan(first_, last_ - first_);
    // What is not finite makes any sum so.
    if (!takes_all_ && !std::isfinite(dot(zeros_, visible))) return false;
    if ((!takes_all_ || sums.lowest < 0.0) && is_mostly_negative(widths_, visible)) return false;
    if (judge(grid, sums) != Obstacle::NONE) return false;
    *has_amounts = true;
    if (own_weights_[0].empty()) return true;
    const colorimetry::CIEXYZ own{dot(own_weights_[0], visible), dot(own_weights_[1], visible),
                                  dot(own_weights_[2], visible)};
    *has_amounts = !is_amount_shifted(amount_shift(sums.xyz, step_, own));
    return !is_shifted(sums.xyz, own);
}

}  // namespace internal

namespace {

using internal::VisibleGrid;

// The functions, in the order of their keys.
enum : std::size_t { TEMPERATURE, CHROMATICITY, RENDERING, FIDELITY, ALPHA_OPIC, RATIO };

struct Key {
    std::string name;
    std::size_t function;
    std::size_t field;
};

std::vector<Key> all_keys() {
    std::vector<Key> result;
    const auto add = [&result](std::size_t function, const std::string& name,
                               const std::vector<std::string>& fields) {
        for (std::size_t i = 0; i < fields.size(); ++i) {
            result.push_back({name + "." + fields[i], function, i});
        }
    };
    add(TEMPERATURE, "correlated_colour_temperature", {"cct", "duv"});
    add(CHROMATICITY, "chromaticity", {"x", "y", "u", "v", "u_prime", "v_prime"});
    std::vector<std::string> indices{"Ra"};
    for (int i = 1; i <= 15; ++i) indices.push_back(std::string("R").append(std::to_string(i)));
    indices.emplace_back("distance");
    add(RENDERING, "colour_rendering", indices);
    std::vector<std::string> figures{"Rf", "Rg"};
    for (int i = 1; i <= 16; ++i) {
        for (const char* figure : {".Rf", ".Rcs", ".Rhs"}) {
            figures.push_back(std::string("bins.").append(std::to_string(i)).append(figure));
        }
    }
    add(FIDELITY, "colour_fidelity", figures);
    std::vector<std::string> channels;
    for (const char* channel : {"s_cone", "m_cone", "l_cone", "rhodopic", "melanopic"}) {
        for (const char* field : {"irradiance", "elr", "edi", "der"}) {
            channels.push_back(std::string(channel) + "." + field);
        }
    }
    add(ALPHA_OPIC, "alpha_opic", channels);
    result.push_back({"scotopic_photopic_ratio", RATIO, 0});
    return result;
}

const std::vector<Key>& key_list() {
    static const std::vector<Key> keys = all_keys();
    return keys;
}

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
constexpr std::size_t max_fields = 50;
using Fields = std::array<double, max_fields>;

/// What the functions give for values on a grid; each is called when first asked for.
class Results {
public:
    /// @param has_amounts  whether its sums are those of its own points in amount, too
    /// @param temperature  its temperature, limits not held
    /// @param under  the rendering samples under it
    /// Neither is read where nothing that follows from it is asked for.
    Results(std::span<const double> grid, int step, const colorimetry::CIEXYZ& xyz,
            bool has_amounts, const CorrelatedColourTemperature& temperature,
            const internal::Colours<15>& under) noexcept
        : grid_(grid),
          step_(step),
          xyz_(xyz),
          has_amounts_(has_amounts),
          temperature_(temperature),
          under_(under) {}

    /// @param rendering_samples  how many of the rendering indices are wanted
    [[nodiscard]] const Fields& operator()(std::size_t function, std::size_t rendering_samples) {
        Fields& fields = fields_[function];
        if (is_known_[function]) return fields;
        is_known_[function] = true;
        fields.fill(std::numeric_limits<double>::quiet_NaN());
        if (function == TEMPERATURE) put_temperature(fields);
        if (function == CHROMATICITY) put_chromaticity(fields);
        if (function == RENDERING) put_rendering(fields, rendering_samples);
        if (function == FIDELITY) put_fidelity(fields);
        if (function == ALPHA_OPIC && has_amounts_) put_alpha_opic(fields);
        if (function == RATIO) fields[0] = internal::scotopic_photopic_ratio(grid_);
        return fields;
    }

private:
    void put_temperature(Fields& fields) const noexcept {
        if (!internal::is_defined(temperature_)) return;
        fields[0] = temperature_.cct;
        fields[1] = temperature_.duv;
    }

    void put_chromaticity(Fields& fields) const noexcept {
        const internal::UV uv = internal::uv_of(xyz_);
        const double sum = xyz_.Z + (xyz_.X + xyz_.Y);
        const std::array<double, 6> values{xyz_.X / sum, xyz_.Y / sum, uv.u,
                                           uv.v,         uv.u,         1.5 * uv.v};
        std::copy(values.begin(), values.end(), fields.begin());
    }

    void put_rendering(Fields& fields, std::size_t samples) {
        internal::RenderingReference reference;
        if (!internal::is_defined(temperature_) ||
            !internal::rendering_reference(temperature_.cct, step_, &reference, samples))
            return;
        const auto R = internal::rendering_indices(under_, reference, samples);
        fields[0] = internal::general_index(R);
        std::copy(R.begin(), R.end(), fields.begin() + 1);
        fields[16] = internal::distance(internal::uv_of(xyz_), reference.white());
    }

    void put_fidelity(Fields& fields) {
        if (!internal::is_defined(temperature_)) return;
        internal::Colours<99> source;
        internal::evaluation_samples(step_).under(grid_, &source);
        ColourFidelity found;
        if (!internal::fidelity_of(source, temperature_.cct, step_, &found)) return;
        fields[0] = found.Rf;
        fields[1] = found.Rg;
        std::size_t i = 2;
        for (const HueBin& bin : found.bins) {
            for (const double value : {bin.Rf, bin.Rcs, bin.Rhs}) fields[i++] = value;
        }
    }

    void put_alpha_opic(Fields& fields) const {
        const AlphaOpic found = internal::alpha_opic(grid_);
        std::size_t i = 0;
        for (const AlphaOpicQuantity& q :
             {found.s_cone, found.m_cone, found.l_cone, found.rhodopic, found.melanopic}) {
            for (const double value : {q.irradiance, q.elr, q.edi, q.der}) fields[i++] = value;
        }
    }

    std::span<const double> grid_;
    int step_;
    colorimetry::CIEXYZ xyz_;
    bool has_amounts_;
    CorrelatedColourTemperature temperature_;
    const internal::Colours<15>& under_;
    std::array<bool, RATIO + 1> is_known_{};
    std::array<Fields, RATIO + 1> fields_;
};

std::span<const double> checked(std::span<const double> wavelengths, double epsilon) {
    bool ascends = true;
    for (std::size_t i = 0; i < wavelengths.size(); ++i) {
        ascends = ascends && std::isfinite(wavelengths[i]) &&
                  (i == 0 || wavelengths[i - 1] + epsilon < wavelengths[i]);
    }
    if (ascends) return wavelengths;
    throw std::invalid_argument("lighting::SourceEvaluator: wavelengths must ascend and be finite");
}

}  // namespace

SourceEvaluator::SourceEvaluator(std::span<const double> wavelengths,
                                 std::span<const std::string> keys, spline::Type type,
                                 double epsilon)
    : points_(wavelengths.size()),
      key_count_(keys.size()),
      natural_(checked(wavelengths, epsilon), natural_step(wavelengths), type, epsilon),
      fine_(wavelengths, 1, type, epsilon) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto& all = key_list();
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&keys, i](const Key& key) { return key.name == keys[i]; });
        if (found == all.end()) {
            throw std::invalid_argument("lighting::SourceEvaluator: no quantity " + keys[i]);
        }
        const bool is_natural = found->function < FIDELITY;
        (is_natural ? in_natural_step_ : in_1_nm_).push_back({found->function, found->field, i});
    }
    if (natural_.step() == 1) {
        in_natural_step_.insert(in_natural_step_.end(), in_1_nm_.begin(), in_1_nm_.end());
        in_1_nm_.clear();
    }
    for (const Item& item : in_natural_step_) {
        if (item.function == RENDERING && item.field > 8 && item.field <= 15)
            rendering_samples_ = 15;
    }
}

const std::vector<std::string>& SourceEvaluator::keys() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const Key& key : key_list()) result.push_back(key.name);
        return result;
    }();
    return names;
}

/// The spectra that are lights, side by side.
struct SourceEvaluator::Lights {
    std::array<const double*, group> values{};  // on the grid
    std::array<colorimetry::CIEXYZ, group> xyz{};
    std::size_t count = 0;
    std::array<bool, group> has_amounts{};
    std::array<std::size_t, group> of_spectrum{};  // none where it is not one
};

void SourceEvaluator::find_lights(const VisibleGrid& grid, std::span<const double* const> spectra,
                                  Lights* lights, Scratch* scratch) const {
    std::array<const double*, group> sampled{};
    std::array<std::size_t, group> spectrum_of{};
    std::size_t count = 0;
    lights->of_spectrum.fill(none);
    for (std::size_t k = 0; k < spectra.size(); ++k) {
        const auto values = grid.sample({spectra[k], points_}, &scratch->spline, scratch->grids[k]);
        if (values.empty()) continue;
        sampled[count] = values.data();
        spectrum_of[count++] = k;
    }
    std::array<internal::VisibleSums, group> sums;
    std::array<const double*, group> upcoming{};
    std::size_t upcoming_count = 0;
    if (const auto begin = grid.run()) {
        for (const double* const next : scratch->upcoming)
            upcoming[upcoming_count++] = next + *begin;
    }
    internal::colour_matching(1931, grid.step())
        .sums(std::span(sampled).first(count), std::span(upcoming).first(upcoming_count), sums);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t k = spectrum_of[i];
        if (!grid.accepts({spectra[k], points_},
                          {sampled[i], internal::visible_points(grid.step())}, sums[i],
                          &lights->has_amounts[lights->count])) {
            continue;
        }
        lights->values[lights->count] = sampled[i];
        lights->xyz[lights->count] = sums[i].xyz;
        lights->of_spectrum[k] = lights->count++;
    }
}

void SourceEvaluator::evaluate(const VisibleGrid& grid, std::span<const Item> items,
                               std::span<const double* const> spectra, std::span<double> results,
                               Scratch* scratch) const {
    static_assert(group == internal::lights_at_once && group <= internal::PlanckianLocus::at_once);
    const auto wants = [items](std::initializer_list<std::size_t> functions) {
        return std::any_of(items.begin(), items.end(), [functions](const Item& item) {
            return std::find(functions.begin(), functions.end(), item.function) != functions.end();
        });
    };
    Lights lights;
    find_lights(grid, spectra, &lights, scratch);
    const std::size_t count = lights.count;
    std::array<CorrelatedColourTemperature, group> temperatures{};
    if (count > 0 && wants({TEMPERATURE, RENDERING, FIDELITY})) {
        std::array<internal::UV, group> colours;
        for (std::size_t k = 0; k < count; ++k) colours[k] = internal::uv_of(lights.xyz[k]);
        internal::nearest_temperatures(std::span(colours).first(count), grid.step(), temperatures);
    }
    std::array<internal::Colours<15>, group> under;
    if (count > 0 && wants({RENDERING})) {
        internal::rendering_colours(std::span(lights.values).first(count), lights.xyz, grid.step(),
                                    rendering_samples_, under);
    }
    for (std::size_t k = 0; k < spectra.size(); ++k) {
        const auto of_spectrum = results.subspan(k * key_count_, key_count_);
        const std::size_t light = lights.of_spectrum[k];
        if (light == none) {
            for (const Item& item : items) {
                of_spectrum[item.result] = std::numeric_limits<double>::quiet_NaN();
            }
            continue;
        }
        Results of({lights.values[light], internal::visible_points(grid.step())}, grid.step(),
                   lights.xyz[light], lights.has_amounts[light], temperatures[light], under[light]);
        for (const Item& item : items) {
            of_spectrum[item.result] = of(item.function, rendering_samples_)[item.field];
        }
    }
}

void SourceEvaluator::operator()(std::span<const double* const> spectra, std::span<double> results,
                                 Scratch* scratch) const {
    if (!in_natural_step_.empty()) evaluate(natural_, in_natural_step_, spectra, results, scratch);
    if (!in_1_nm_.empty()) evaluate(fine_, in_1_nm_, spectra, results, scratch);
}

void SourceEvaluator::operator()(std::span<const double> values, std::span<double> results,
                                 Scratch* scratch) const {
    const double* const spectrum = values.data();
    (*this)({&spectrum, 1}, results, scratch);
}

}  // namespace vekanalysis::lighting
