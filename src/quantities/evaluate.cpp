#include "quantities/evaluate.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <new>
#include <stdexcept>
#include <utility>

#include "core/text.hpp"
#include "lighting/visible_spectrum.hpp"
#include "quantities/by_form.hpp"

namespace vekanalysis::quantities {

using vekanalysis::internal::general;

namespace {

/// "315-380".
std::string interval(const Range& range) {
    constexpr int digits = 10;
    std::array<char, 64> text{};
    char* const end = text.data() + text.size();
    char* place =
        std::to_chars(text.data(), end, range.from, std::chars_format::general, digits).ptr;
    *place++ = '-';
    place = std::to_chars(place, end, range.to, std::chars_format::general, digits).ptr;
    return {text.data(), place};
}

/// The functions' results for one spectrum, each computed on first need.
class Results {
public:
    Results(const Scan& spectrum, const Scan& white) noexcept
        : spectrum_(spectrum), white_(white) {}

    /// @throws std::runtime_error  what the function has thrown
    double of(const Quantity& quantity) {
        const auto [place, is_new] =
            computed_.try_emplace(std::pair(quantity.function, quantity.own.get()));
        Result& result = place->second;
        if (is_new) {
            result.fields.resize(quantity.function->field_count);
            try {
                internal::compute(*quantity.function, quantity.own.get(), spectrum_, white_,
                                  result.fields);
            } catch (const std::bad_alloc&) {
                throw;
            } catch (const std::exception& error) {
                result.error = error.what();
                result.failed = true;
            }
        }
        if (result.failed) throw std::runtime_error(result.error);
        return result.fields[quantity.field];
    }

    /// Why a quantity is NaN where others of its function are not; empty where nobody knows.
    [[nodiscard]] std::string why_missing(const Quantity& quantity) const {
        const auto why = quantity.function->why_missing;
        if (why == nullptr) return {};
        return quantity.own ? internal::why_missing_with(*quantity.function, *quantity.own,
                                                         spectrum_, white_)
                            : why(spectrum_, quantity.field);
    }

    /// Whether the spectrum is below zero over most of the visible.
    bool is_mostly_negative() {
        if (!is_negative_) is_negative_ = lighting::internal::is_mostly_negative(spectrum_);
        return *is_negative_;
    }

private:
    struct Result {
        std::vector<double> fields;
        std::string error;
        bool failed = false;
    };
    const Scan& spectrum_;
    const Scan& white_;
    std::map<std::pair<const Function*, const OwnTables*>, Result> computed_;
    std::optional<bool> is_negative_;
};

/// What a function has thrown, without its name in front where that is of `lighting`: a report says
/// what the reason is of.
std::string reason(const std::string& thrown) {
    const std::size_t colon = thrown.find(": ");
    const bool is_named = thrown.rfind("lighting", 0) == 0 && colon != std::string::npos;
    return is_named ? thrown.substr(colon + 2) : thrown;
}

/// The part of a range that has data, if there is one.
std::optional<Range> covered_of(const Range& range, const Scan& spectrum) {
    if (spectrum.empty()) return std::nullopt;
    const Range covered{std::max(range.from, spectrum.min_wavelength()),
                        std::min(range.to, spectrum.max_wavelength())};
    return covered.from < covered.to ? std::optional(covered) : std::nullopt;
}

Scan clear_lens_at(const Scan& spectrum) {
    return {spectrum.get_wavelengths(), std::vector<double>(spectrum.size(), 1.0),
            spectrum.get_wavelength_epsilon(), spectrum.get_interpolation_type()};
}

Value evaluate_one(const Quantity& quantity, const Scan& spectrum, Results& results,
                   Results* clear) {
    Value value;
    value.needed = quantity.needed();
    if (value.needed) {
        const OwnTables* const own = quantity.own.get();
        const auto lacks = [&](const Range& range) { return !covered_of(range, spectrum); };
        const auto part = std::ranges::find_if(
            quantity.parts, [&](const Part& each) { return lacks(each.needed(own)); });
        if (part != quantity.parts.end() || lacks(*value.needed)) {
            const Range missing = part != quantity.parts.end() ? part->needed(own) : *value.needed;
            value.problem = "No data within " + interval(missing) + " nm";
            return value;
        }
        value.covered = covered_of(*value.needed, spectrum);
    }
    if (quantity.is_of_visible_light() && results.is_mostly_negative()) {
        value.problem = "Not computable: " + reason(lighting::internal::mostly_negative);
        return value;
    }
    try {
        const double number = results.of(quantity);
        if (!std::isfinite(number)) {
            const std::string why = std::isnan(number) ? results.why_missing(quantity) : "";
            value.problem =
                why.empty() ? "The result is not a finite number" : "Not computable: " + why;
            return value;
        }
        if (!quantity.is_possible(number)) {
            value.problem = "Not computable: the result is below zero, " + general(number) + " " +
                            quantity.unit;
            return value;
        }
        if (clear != nullptr && quantity.is_transmittance) value.clear_lens = clear->of(quantity);
        value.value = number;
    } catch (const std::runtime_error& error) {
        value.problem = "Not computable: " + reason(error.what());
    }
    return value;
}

}  // namespace

std::vector<Value> evaluate(const Scan& spectrum,
                            std::span<const std::reference_wrapper<const Quantity>> quantities,
                            const Scan& white, bool of_clear_lens) {
    const Scan clear = of_clear_lens ? clear_lens_at(spectrum) : Scan();
    Results results(spectrum, white);
    Results results_of_clear(clear, white);
    std::vector<Value> values;
    values.reserve(quantities.size());
    for (const Quantity& quantity : quantities) {
        values.push_back(
            evaluate_one(quantity, spectrum, results, of_clear_lens ? &results_of_clear : nullptr));
    }
    return values;
}

}  // namespace vekanalysis::quantities
