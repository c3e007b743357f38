#include "quantities/evaluator.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "lighting/source_evaluator.hpp"
#include "lighting/visible_spectrum.hpp"
#include "quantities/by_form.hpp"
#include "quantities/finish.hpp"
#include "quantities/integrator.hpp"

namespace vekanalysis::quantities {

namespace {

using internal::change_for;
using internal::Four;
using internal::Integrator;
using internal::lane_count;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

/// A function of which some quantities are wanted.
struct PlannedFunction {
    const Function* function;
    std::shared_ptr<const OwnTables> own{};
    Form form{};
    std::vector<std::size_t> integrals{};
    std::size_t first = 0;  // of the points that count, for the smallest of them
    std::size_t last = 0;   // behind the last of these
    std::size_t place = 0;  // of its first field among the numbers of a spectrum
    bool by_function = false;
};

/// Where the number of a quantity comes from, and when it is none.
struct Outlet {
    std::size_t place = 0;  // among the numbers of a spectrum
    bool is_of_light = false;
    bool is_never_negative = false;
};

/// In place of an index.
constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

/// A quantity that `lighting::SourceEvaluator` has.
bool is_of_source(const Quantity& quantity) {
    const auto& keys = lighting::SourceEvaluator::keys();
    return quantity.function->form == nullptr &&
           std::find(keys.begin(), keys.end(), quantity.key) != keys.end();
}

/// A reference table as it was.
struct Snapshot {
    const colorimetry::data::Table* table;
    Scan scan;
};

void check_grid(std::span<const double> wavelengths, double epsilon) {
    for (std::size_t i = 0; i < wavelengths.size(); ++i) {
        const bool ascends = i == 0 || wavelengths[i - 1] + epsilon < wavelengths[i];
        if (!std::isfinite(wavelengths[i]) || !ascends) {
            throw std::invalid_argument(
                "Evaluator: wavelengths must be finite and ascend by more than epsilon");
        }
    }
}

double value_at(const Evaluator::Row& row, std::size_t i) noexcept {
    const std::byte* const place = row.values + static_cast<std::ptrdiff_t>(i) * row.step;
    if (row.is_single) {
        float value = 0.0F;
        std::memcpy(&value, place, sizeof value);
        return static_cast<double>(value);
    }
    double value = 0.0;
    std::memcpy(&value, place, sizeof value);
    return value;
}

/// How many fours so many spectra fill, the last in part.
constexpr std::size_t fours_in(std::size_t count) noexcept {
    return (count + lane_count - 1) / lane_count;
}

/// One of the fours of an array, or what there is of it.
template <class T>
std::span<const T> four_of(std::span<const T> all, std::size_t index) noexcept {
    const auto rest = all.subspan(index * lane_count);
    return rest.first(std::min(lane_count, rest.size()));
}

/// The spectra side by side; a place without a spectrum gets the last, so that no other is looked
/// at.
void load(std::span<const Evaluator::Row> rows, Integrator::Workspace& workspace) noexcept {
    std::array<Evaluator::Row, lane_count> lanes;
    for (std::size_t i = 0; i < lane_count; ++i) lanes[i] = rows[std::min(i, rows.size() - 1)];
    const bool is_single = lanes[0].is_single;
    const auto step = static_cast<std::ptrdiff_t>(is_single ? sizeof(float) : sizeof(double));
    const std::span<Four> spectrum = workspace.spectrum;
    if (std::ranges::all_of(lanes, [&](const Evaluator::Row& row) {
            return row.is_single == is_single && row.step == step;
        })) {
        internal::kernels().load(
            {lanes[0].values, lanes[1].values, lanes[2].values, lanes[3].values}, is_single,
            spectrum, workspace.largest);
        return;
    }
    for (std::size_t lane = 0; lane < lane_count; ++lane) {
        for (std::size_t i = 0; i < spectrum.size(); ++i) {
            spectrum[i].lanes[lane] = value_at(lanes[lane], i);
        }
    }
    internal::kernels().find_largest(spectrum, workspace.largest);
}

/// Where the next spectra are, as far as their values lie side by side.
internal::Upcoming memory_of(std::span<const Evaluator::Row> rows, std::size_t size) noexcept {
    internal::Upcoming upcoming;
    for (std::size_t i = 0; i < std::min(upcoming.size(), rows.size()); ++i) {
        const std::size_t bytes = rows[i].is_single ? sizeof(float) : sizeof(double);
        if (rows[i].step == static_cast<std::ptrdiff_t>(bytes)) {
            upcoming[i] = {rows[i].values, size * bytes};
        }
    }
    return upcoming;
}

void store(const Evaluator::Results& results, std::size_t i, double value) noexcept {
    std::memcpy(results.values + static_cast<std::ptrdiff_t>(i) * results.step, &value,
                sizeof value);
}

bool is_smallest(const Form& form) noexcept {
    return form.finish == Form::Finish::SMALLEST || form.finish == Form::Finish::SMALLEST_QUOTIENT;
}

/// A group of spectra as arrays, read where they are if they are such.
class RowValues {
public:
    explicit RowValues(std::size_t size) : size_(size) {}

    /// What becomes of rows that are not arrays.
    enum class Others { COPY, LEAVE };

    void take(std::span<const Evaluator::Row> rows, Others others = Others::COPY) {
        count_ = 0;
        for (const Evaluator::Row& row : rows) {
            const auto address = reinterpret_cast<std::uintptr_t>(row.values);
            const bool is_array =
                !row.is_single && row.step == sizeof(double) && address % alignof(double) == 0;
            if (is_array) {
                first_[count_++] = reinterpret_cast<const double*>(row.values);
                continue;
            }
            if (others == Others::LEAVE) continue;
            auto& copy = copies_[count_];
            copy.resize(size_);
            for (std::size_t i = 0; i < size_; ++i) copy[i] = value_at(row, i);
            first_[count_++] = copy.data();
        }
    }

    [[nodiscard]] std::span<const double> operator[](std::size_t k) const {
        return {first_[k], size_};
    }
    [[nodiscard]] std::span<const double* const> first_of_each() const {
        return std::span(first_).first(count_);
    }

private:
    std::size_t size_;
    std::size_t count_ = 0;
    std::array<const double*, lane_count> first_{};
    std::array<std::vector<double>, lane_count> copies_;
};

/// Of a spectrum what `lighting::internal::is_mostly_negative` says.
class NegativeLight {
public:
    explicit NegativeLight(std::span<const double> wavelengths)
        : first_(lighting::internal::visible_range(wavelengths).first),
          widths_(lighting::internal::visible_widths(wavelengths)) {}

    [[nodiscard]] bool operator()(std::span<const double> spectrum) const {
        return lighting::internal::is_mostly_negative(widths_,
                                                      spectrum.subspan(first_, widths_.size()));
    }

private:
    std::size_t first_;
    std::vector<double> widths_;
};

}  // namespace

struct Evaluator::Plan {
    std::vector<double> wavelengths;
    std::vector<Quantity> quantities;
    double epsilon;
    spline::Type type;
    Scan white;
    std::vector<Value> coverage{};
    std::vector<PlannedFunction> functions{};
    std::vector<std::size_t> function_of{};   // of each quantity
    std::vector<std::size_t> source_of{};     // of each quantity, its place among those of `source`
    std::vector<char> refused{};              // of each quantity
    std::vector<Outlet> outlets{};            // of each quantity
    std::optional<NegativeLight> negative{};  // where one of them is, and not of `source`
    std::optional<lighting::SourceEvaluator> source{};
    std::size_t source_count = 0;
    std::size_t source_place = 0;  // of the first of these among the numbers of a spectrum
    std::vector<Snapshot> tables{};
    Integrator integrator;

    [[nodiscard]] Scan scan_of(std::span<const double> values) const {
        return {wavelengths, values, epsilon, type};
    }

    /// Whether a quantity's function throws, which for those that have a form the grid decides.
    [[nodiscard]] bool throws(const Quantity& quantity, const Scan& spectrum) const {
        std::vector<double> fields(quantity.function->field_count);
        try {
            internal::compute(*quantity.function, quantity.own.get(), spectrum, white, fields);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            return true;
        }
        return false;
    }

    void find_coverage() {
        const Scan clear = scan_of(std::vector<double>(wavelengths.size(), 1.0));
        const std::vector<std::reference_wrapper<const Quantity>> all(quantities.begin(),
                                                                      quantities.end());
        coverage = quantities::evaluate(clear, all, white, false);
        for (std::size_t i = 0; i < coverage.size(); ++i) {
            Value& value = coverage[i];
            const bool uncovered = value.needed && !value.covered;
            // A quotient or an amount may be impossible for a clear lens alone.
            const bool fails = quantities[i].function->form != nullptr &&
                               value.problem.rfind("Not computable", 0) == 0 &&
                               throws(quantities[i], clear);
            refused.push_back(uncovered || fails ? 1 : 0);
            if (refused.back() == 0) value.problem.clear();
            if (quantities[i].is_transmittance) value.clear_lens = value.value;
            value.value.reset();
        }
    }

    /// The place of a quantity's function among those planned; planned now if it is not yet.
    std::size_t place_of(const Quantity& quantity) {
        const Function& function = *quantity.function;
        const auto found = std::find_if(functions.begin(), functions.end(), [&](const auto& f) {
            return f.function == &function && f.own == quantity.own;
        });
        if (found != functions.end()) return static_cast<std::size_t>(found - functions.begin());
        PlannedFunction& planned = functions.emplace_back(PlannedFunction{&function, quantity.own});
        planned.by_function = function.form == nullptr;
        if (planned.by_function) return functions.size() - 1;
        planned.form = function.form(white, planned.own ? *planned.own : OwnTables());
        for (const Integral& integral : planned.form.integrals) {
            for (const Factor& factor : integral.factors) keep_tables(factor);
            const auto index = integrator.add(integral);
            planned.by_function |= !index;
            planned.integrals.push_back(index.value_or(0));
        }
        if (is_smallest(planned.form)) {
            const double from = planned.form.band.from;
            const double to = planned.form.band.to;
            const auto place = [&](const auto& before) {
                return static_cast<std::size_t>(
                    std::partition_point(wavelengths.begin(), wavelengths.end(), before) -
                    wavelengths.begin());
            };
            planned.first = place([&](double wl) { return wl + epsilon < from; });
            planned.last = place([&](double wl) { return !(wl > to + epsilon); });
        }
        return functions.size() - 1;
    }

    void keep_tables(const Factor& factor) {
        for (const auto& [table, own] : factor.tables) {
            if (own) continue;
            const auto* const wanted = table;
            const bool known = std::any_of(tables.begin(), tables.end(),
                                           [&](const Snapshot& s) { return s.table == wanted; });
            if (!known) tables.push_back({wanted, wanted->spectrum()});
        }
    }

    void plan() {
        find_coverage();
        std::vector<std::string> keys;
        for (std::size_t i = 0; i < quantities.size(); ++i) {
            const bool by_source = refused[i] == 0 && is_of_source(quantities[i]);
            source_of.push_back(by_source ? keys.size() : nowhere);
            if (by_source) keys.push_back(quantities[i].key);
            const bool is_planned = refused[i] == 0 && !by_source;
            function_of.push_back(is_planned ? place_of(quantities[i]) : nowhere);
        }
        plan_outlets();
        for (std::size_t i = 0; i < quantities.size() && !negative; ++i) {
            // `source` looks for itself.
            const bool looks = outlets[i].is_of_light && function_of[i] != nowhere;
            if (looks) negative.emplace(wavelengths);
        }
        integrator.finish();
        source_count = keys.size();
        if (!keys.empty()) source.emplace(wavelengths, keys, type, epsilon);
    }

    /// The numbers of a spectrum are first none, for what is refused, then the fields of the
    /// functions, then what `source` has.
    void plan_outlets() {
        std::size_t place = 1;
        for (PlannedFunction& planned : functions) {
            planned.place = std::exchange(place, place + planned.function->field_count);
        }
        source_place = place;
        for (std::size_t i = 0; i < quantities.size(); ++i) {
            const Quantity& quantity = quantities[i];
            Outlet& outlet = outlets.emplace_back();
            outlet.is_of_light = quantity.is_of_visible_light();
            outlet.is_never_negative = !quantity.is_possible(-1.0);
            if (source_of[i] != nowhere) outlet.place = source_place + source_of[i];
            if (function_of[i] != nowhere) {
                outlet.place = functions[function_of[i]].place + quantity.field;
            }
        }
    }

    /// Whether something follows from spectra side by side.
    [[nodiscard]] bool needs_lanes() const noexcept {
        return std::any_of(functions.begin(), functions.end(),
                           [](const PlannedFunction& planned) { return !planned.by_function; });
    }

    /// Whether something is had from its function alone.
    [[nodiscard]] bool needs_functions() const noexcept {
        return std::any_of(functions.begin(), functions.end(),
                           [](const PlannedFunction& planned) { return planned.by_function; });
    }

    /// Whether something follows from spectra as they are.
    [[nodiscard]] bool needs_rows() const noexcept {
        return source || negative || needs_functions();
    }

    void compute(const PlannedFunction& planned, const Scan& scan, std::span<double> fields) const {
        try {
            internal::compute(*planned.function, planned.own.get(), scan, white, fields);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            std::fill(fields.begin(), fields.end(), none);
        }
    }

    /// Memory for what four spectra give.
    struct Scratch {
        RowValues values;
        RowValues upcoming;
        std::vector<Scan> scans;  // where functions need them
        std::vector<double> of_source;
        lighting::SourceEvaluator::Scratch of_lighting;
        std::vector<double> fields;  // of a function
        std::vector<Four> numbers;
    };
    [[nodiscard]] Scratch make_scratch() const {
        std::size_t most_fields = 0;
        for (const PlannedFunction& planned : functions) {
            most_fields = std::max(most_fields, planned.function->field_count);
        }
        return {.values = RowValues(wavelengths.size()),
                .upcoming = RowValues(wavelengths.size()),
                .scans = {},
                .of_source = std::vector<double>(lane_count * source_count),
                .of_lighting = {},
                .fields = std::vector<double>(most_fields),
                .numbers =
                    std::vector<Four>(source_place + source_count, Four{{none, none, none, none}})};
    }

    /// The fields of a function for the first lanes of the workspace.
    void fields_of(const PlannedFunction& planned, const Integrator::Workspace& workspace,
                   std::size_t lanes, Scratch& scratch) const {
        const Form& form = planned.form;
        const std::span<Four> numbers = std::span(scratch.numbers).subspan(planned.place);
        if (!planned.by_function && form.finish == Form::Finish::NUMBERS) {
            for (std::size_t i = 0; i < planned.integrals.size(); ++i) {
                const double scale = form.scales[i];
                const double divisor = form.divisors[i];
                Four number = workspace.integrals[planned.integrals[i]];
                for (double& lane : number.lanes) lane = lane * scale / divisor;
                numbers[i] = number;
            }
            return;
        }
        Four smallest;
        if (!planned.by_function && is_smallest(form)) {
            const std::span<const Four> spectrum = workspace.spectrum;
            internal::kernels().smallest(
                spectrum.subspan(planned.first, planned.last - planned.first), smallest);
        }
        const auto fields = std::span(scratch.fields).first(planned.function->field_count);
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            if (planned.by_function) {
                compute(planned, scratch.scans[lane], fields);
            } else {
                finish_lane(planned, workspace, smallest, lane, fields);
            }
            for (std::size_t i = 0; i < fields.size(); ++i) numbers[i].lanes[lane] = fields[i];
        }
    }

    /// The fields of a function that has a form.
    static void finish_lane(const PlannedFunction& planned, const Integrator::Workspace& workspace,
                            const Four& smallest, std::size_t lane, std::span<double> fields) {
        double integrals[internal::most_fields];
        for (std::size_t i = 0; i < planned.integrals.size(); ++i) {
            integrals[i] = workspace.integrals[planned.integrals[i]].lanes[lane];
        }
        if (!is_smallest(planned.form)) {
            internal::finish(planned.form, integrals, fields);
            return;
        }
        fields[0] = smallest.lanes[lane];
        if (planned.form.finish == Form::Finish::SMALLEST_QUOTIENT) {
            fields[0] =
                internal::quotient(fields[0], internal::number_of(planned.form, integrals, 0));
        }
    }

    /// The quantities of up to four spectra, which the workspace has the integrals of.
    ///
    /// @param after  the spectra that come next
    void take_results(std::span<const Row> rows, std::span<const Row> after,
                      std::span<const Results> results, const Integrator::Workspace& workspace,
                      Scratch& scratch) const {
        if (needs_rows()) scratch.values.take(rows);
        if (source) {
            scratch.upcoming.take(four_of(after, 0), RowValues::Others::LEAVE);
            take_from_source(rows.size(), scratch);
        }
        scratch.scans.clear();
        if (needs_functions()) {
            for (std::size_t i = 0; i < rows.size(); ++i) {
                scratch.scans.push_back(scan_of(scratch.values[i]));
            }
        }
        for (const PlannedFunction& planned : functions) {
            fields_of(planned, workspace, rows.size(), scratch);
        }
        const std::span<const Outlet> all = outlets;
        const std::span<const Four> numbers = scratch.numbers;
        for (std::size_t lane = 0; lane < rows.size(); ++lane) {
            const bool is_negative = negative && (*negative)(scratch.values[lane]);
            const Results result = results[lane];
            for (std::size_t i = 0; i < all.size(); ++i) {
                const Outlet outlet = all[i];
                const double value = numbers[outlet.place].lanes[lane];
                const bool is_none = (is_negative && outlet.is_of_light) ||
                                     (outlet.is_never_negative && value < 0.0);
                store(result, i, is_none ? none : value);
            }
        }
    }

    void take_from_source(std::size_t lanes, Scratch& scratch) const {
        scratch.of_lighting.upcoming = scratch.upcoming.first_of_each();
        (*source)(scratch.values.first_of_each(), scratch.of_source, &scratch.of_lighting);
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            for (std::size_t i = 0; i < source_count; ++i) {
                scratch.numbers[source_place + i].lanes[lane] =
                    scratch.of_source[lane * source_count + i];
            }
        }
    }

    struct Derivatives;
    void gradients_of(const PlannedFunction& planned, std::span<const double> values,
                      Derivatives& derivatives, std::span<double> gradients) const;
    static void smallest_gradient(const PlannedFunction& planned, std::span<const double> values,
                                  Derivatives& derivatives, std::span<double> gradient);
    void source_gradients(std::span<const double> values, std::span<double> gradients) const;
};

Evaluator::Evaluator(std::span<const double> wavelengths, std::span<const Quantity> quantities,
                     double epsilon, spline::Type type, const Scan& white) {
    const Scan settings(epsilon, type);
    check_grid(wavelengths, epsilon);
    auto plan = std::make_unique<Plan>(Plan{
        .wavelengths = {wavelengths.begin(), wavelengths.end()},
        .quantities = {quantities.begin(), quantities.end()},
        .epsilon = epsilon,
        .type = type,
        .white = white,
        .integrator = Integrator(wavelengths, epsilon, type),
    });
    plan->plan();
    plan_ = std::move(plan);
}

Evaluator::Evaluator(Evaluator&&) noexcept = default;
Evaluator::~Evaluator() = default;

std::span<const double> Evaluator::wavelengths() const noexcept {
    return plan_->wavelengths;
}

std::span<const Quantity> Evaluator::quantities() const noexcept {
    return plan_->quantities;
}

double Evaluator::epsilon() const noexcept {
    return plan_->epsilon;
}

spline::Type Evaluator::interpolation() const noexcept {
    return plan_->type;
}

std::span<const Value> Evaluator::coverage() const noexcept {
    return plan_->coverage;
}

bool Evaluator::is_linear(std::size_t quantity) const noexcept {
    if (plan_->function_of[quantity] == nowhere) return false;
    const PlannedFunction& planned = plan_->functions[plan_->function_of[quantity]];
    return !planned.by_function && planned.form.finish == Form::Finish::NUMBERS &&
           plan_->integrator.is_linear(planned.integrals[plan_->quantities[quantity].field]);
}

bool Evaluator::needs_functions() const noexcept {
    return plan_->needs_functions();
}

const char* Evaluator::changed_table() const {
    for (const auto& [table, before] : plan_->tables) {
        const Scan& now = table->spectrum();
        const auto same = [](std::span<const double> a, std::span<const double> b) {
            return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
        };
        if (!same(now.data().keys(), before.data().keys()) ||
            !same(now.data().values(), before.data().values()) ||
            now.get_wavelength_epsilon() != before.get_wavelength_epsilon() ||
            now.get_interpolation_type() != before.get_interpolation_type()) {
            return table->name;
        }
    }
    return nullptr;
}

void Evaluator::evaluate(std::span<const Row> rows, std::span<const Results> results) const {
    const Plan& plan = *plan_;
    const std::size_t n = plan.wavelengths.size();
    std::vector<Integrator::Workspace> workspaces;
    for (std::size_t i = 0; i < std::min(internal::most_tasks, fours_in(rows.size())); ++i) {
        workspaces.push_back(plan.integrator.make_workspace());
    }
    Plan::Scratch scratch = plan.make_scratch();
    const bool needs_lanes = plan.needs_lanes();
    while (!rows.empty()) {
        const std::size_t count = std::min(internal::most_tasks * lane_count, rows.size());
        const auto used = std::span(workspaces).first(fours_in(count));
        if (needs_lanes) {
            for (std::size_t i = 0; i < used.size(); ++i) load(four_of(rows, i), used[i]);
            plan.integrator.integrate(used, memory_of(rows.subspan(count), n));
        }
        for (std::size_t i = 0; i < used.size(); ++i) {
            const auto four = four_of(rows, i);
            plan.take_results(four, rows.subspan(i * lane_count + four.size()), four_of(results, i),
                              used[i], scratch);
        }
        rows = rows.subspan(count);
        results = results.subspan(count);
    }
}

void Evaluator::evaluate(std::span<const double> values, std::span<double> results) const {
    const std::size_t n = wavelengths().size();
    const std::size_t q = quantities().size();
    const std::size_t count = n == 0 ? 0 : values.size() / n;
    std::vector<Row> rows;
    std::vector<Results> places;
    for (std::size_t i = 0; i < count; ++i) {
        rows.push_back(Row::of(values.subspan(i * n, n)));
        places.push_back(Results::of(results.subspan(i * q, q)));
    }
    evaluate(rows, places);
}

/// Gradients of the quantities that `source` has, one after another.
void Evaluator::Plan::source_gradients(std::span<const double> values,
                                       std::span<double> gradients) const {
    const std::size_t n = wavelengths.size();
    std::vector<double> changed(values.begin(), values.end());
    std::vector<double> up(source_count);
    std::vector<double> down(source_count);
    lighting::SourceEvaluator::Scratch scratch;
    const double change = change_for(values);
    for (std::size_t i = 0; i < n; ++i) {
        changed[i] = values[i] + change;
        (*source)(changed, up, &scratch);
        changed[i] = values[i] - change;
        (*source)(changed, down, &scratch);
        changed[i] = values[i];
        for (std::size_t k = 0; k < source_count; ++k) {
            gradients[k * n + i] = (up[k] - down[k]) / (2.0 * change);
        }
    }
}

/// The integrals of a spectrum and their gradients, each once for all functions.
struct Evaluator::Plan::Derivatives {
    const Integrator& integrator;
    std::span<const double> values;
    Integrator::Workspace workspace;
    std::vector<double> integrals;  // 0 without a spectrum
    std::vector<std::vector<double>> gradients;

    Derivatives(const Integrator& of, std::span<const double> spectrum)
        : integrator(of),
          values(spectrum),
          workspace(of.make_workspace()),
          integrals(of.size()),
          gradients(of.size()) {
        if (values.empty()) return;
        const Row row = Row::of(values);
        load({&row, 1}, workspace);
        integrator.integrate({&workspace, 1}, {});
        for (std::size_t i = 0; i < integrals.size(); ++i) {
            integrals[i] = workspace.integrals[i].lanes[0];
        }
    }

    std::span<const double> gradient(std::size_t integral) {
        auto& found = gradients[integral];
        if (found.empty()) {
            found.resize(workspace.spectrum.size());
            integrator.differentiate(integral, values, found, workspace);
        }
        return found;
    }
};

/// Gradient of the smallest value or of its quotient, into zeros.
void Evaluator::Plan::smallest_gradient(const PlannedFunction& planned,
                                        std::span<const double> values, Derivatives& derivatives,
                                        std::span<double> gradient) {
    const auto inside = values.subspan(planned.first, planned.last - planned.first);
    const auto place = std::min_element(inside.begin(), inside.end()) - inside.begin();
    double share = 1.0;
    if (planned.form.finish == Form::Finish::SMALLEST_QUOTIENT) {
        const std::size_t integral = planned.integrals[0];
        const double scale = planned.form.scales[0] / planned.form.divisors[0];
        share = internal::quotient(1.0, derivatives.integrals[integral] * scale);
        const double smallest = inside[static_cast<std::size_t>(place)];
        const auto of_integral = derivatives.gradient(integral);
        for (std::size_t i = 0; i < gradient.size(); ++i) {
            gradient[i] = -smallest * share * share * scale * of_integral[i];
        }
    }
    gradient[planned.first + static_cast<std::size_t>(place)] += share;
}

/// Gradients of the fields of a function, one after another.
void Evaluator::Plan::gradients_of(const PlannedFunction& planned, std::span<const double> values,
                                   Derivatives& derivatives, std::span<double> gradients) const {
    const std::size_t n = wavelengths.size();
    std::fill(gradients.begin(), gradients.end(), 0.0);
    if (planned.by_function) {
        const std::size_t count = planned.function->field_count;
        std::vector<double> changed(values.begin(), values.end());
        std::vector<double> up(count);
        std::vector<double> down(count);
        const double change = change_for(values);
        for (std::size_t i = 0; i < n; ++i) {
            changed[i] = values[i] + change;
            compute(planned, scan_of(changed), up);
            changed[i] = values[i] - change;
            compute(planned, scan_of(changed), down);
            changed[i] = values[i];
            for (std::size_t k = 0; k < count; ++k) {
                gradients[k * n + i] = (up[k] - down[k]) / (2.0 * change);
            }
        }
        return;
    }
    if (is_smallest(planned.form)) {
        smallest_gradient(planned, values, derivatives, gradients);
        return;
    }
    double integrals[internal::most_fields] = {};
    for (std::size_t i = 0; i < planned.integrals.size(); ++i) {
        integrals[i] = derivatives.integrals[planned.integrals[i]];
    }
    for (std::size_t i = 0; i < planned.integrals.size(); ++i) {
        // Without a spectrum the fields that are not linear are not wanted.
        if (values.empty() && !integrator.is_linear(planned.integrals[i])) continue;
        double shares[internal::most_fields] = {};
        internal::differentiate_finish(planned.form, integrals, i, shares);
        const auto of_integral = derivatives.gradient(planned.integrals[i]);
        for (std::size_t k = 0; k < planned.function->field_count; ++k) {
            if (shares[k] == 0.0) continue;
            for (std::size_t j = 0; j < n; ++j) {
                gradients[k * n + j] += shares[k] * of_integral[j];
            }
        }
    }
}

void Evaluator::sensitivities(std::span<const double> values,
                              std::span<double> sensitivities) const {
    const Plan& plan = *plan_;
    const std::size_t n = plan.wavelengths.size();
    for (std::size_t i = 0; i < plan.quantities.size() && values.empty(); ++i) {
        if (is_linear(i) || plan.refused[i] != 0) continue;
        throw std::invalid_argument("Evaluator::sensitivities: '" + plan.quantities[i].key +
                                    "' is not linear on this grid; the values of a spectrum are "
                                    "needed");
    }
    Plan::Derivatives derivatives(plan.integrator, values);
    std::fill(sensitivities.begin(), sensitivities.end(), none);
    const auto copy = [&](std::span<const double> gradients, std::size_t place, std::size_t i) {
        std::copy_n(gradients.begin() + static_cast<std::ptrdiff_t>(place * n), n,
                    sensitivities.begin() + static_cast<std::ptrdiff_t>(i * n));
    };
    if (plan.source) {
        std::vector<double> gradients(plan.source_count * n);
        plan.source_gradients(values, gradients);
        for (std::size_t i = 0; i < plan.quantities.size(); ++i) {
            if (plan.source_of[i] != nowhere) copy(gradients, plan.source_of[i], i);
        }
    }
    for (std::size_t f = 0; f < plan.functions.size(); ++f) {
        std::vector<double> gradients(plan.functions[f].function->field_count * n);
        plan.gradients_of(plan.functions[f], values, derivatives, gradients);
        for (std::size_t i = 0; i < plan.quantities.size(); ++i) {
            if (plan.function_of[i] == f) copy(gradients, plan.quantities[i].field, i);
        }
    }
}

}  // namespace vekanalysis::quantities
