#include "quantities/record_parts.hpp"

#include <algorithm>
#include <stdexcept>

namespace vekanalysis::quantities {

namespace {

namespace data = colorimetry::data;

std::string filled(std::string_view pattern, std::string_view word) {
    std::string text(pattern);
    const std::size_t place = text.find("{}");
    if (place != std::string::npos) text.replace(place, 2, word);
    return text;
}

std::vector<const data::Table*> tables_of(std::initializer_list<const char*> names,
                                          std::string_view word) {
    std::vector<const data::Table*> tables;
    for (const char* const name : names) {
        const data::Table* const table = data::find_table(filled(name, word));
        if (table == nullptr) throw std::logic_error(filled(name, word) + ": no such table");
        tables.push_back(table);
    }
    return tables;
}

Range overlap(Range range, std::span<const data::Table* const> weights, const OwnTables* own) {
    for (const auto* const table : weights) {
        const bool is_replaced = own != nullptr && own->contains(table);
        const Scan& weight = is_replaced ? *own->at(table) : table->spectrum();
        range.from = std::max(range.from, weight.min_wavelength());
        range.to = std::min(range.to, weight.max_wavelength());
    }
    return range;
}

Quantity with_weights(Quantity quantity, std::initializer_list<const char*> names,
                      std::string_view word) {
    quantity.weights = tables_of(names, word);
    if (std::any_of(quantity.weights.begin(), quantity.weights.end(), [](const auto* table) {
            return table->facts.standing == data::Standing::RECONSTRUCTION;
        })) {
        quantity.notes.insert(quantity.notes.begin(), internal::reconstructed);
    }
    return quantity;
}

}  // namespace

Range Part::needed(const OwnTables* own) const {
    return overlap(band, weights, own);
}

std::optional<Range> Quantity::needed() const {
    if (!band) return std::nullopt;
    if (parts.empty()) return overlap(*band, weights, own.get());
    Range range = parts.front().needed(own.get());
    for (const Part& part : parts) {
        const auto [from, to] = part.needed(own.get());
        range = {std::min(range.from, from), std::max(range.to, to)};
    }
    return range;
}

bool Quantity::is_of_visible_light() const noexcept {
    if (!band || (kind != "light" && kind != "irradiance" && kind != "radiance")) return false;
    const double shared =
        std::min(band->to, internal::visible.to) - std::max(band->from, internal::visible.from);
    return shared > 0.5 * (band->to - band->from);
}

bool Quantity::is_possible(double result) const noexcept {
    return !(result < 0.0) || (kind != "irradiance" && kind != "radiance");
}

namespace internal {

void append(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
            std::span<const Field> fields, std::initializer_list<const char*> weights) {
    std::size_t i = 0;
    for (const auto& [name, symbol] : fields) {
        Quantity& quantity = all.emplace_back(with_weights(pattern, weights, name));
        quantity.key = std::string(function.name) + "." + name;
        quantity.symbol = symbol;
        quantity.name = filled(pattern.name, name);
        quantity.function = &function;
        quantity.field = i++;
    }
}

void append(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
            std::initializer_list<const char*> weights) {
    Quantity& quantity = all.emplace_back(with_weights(pattern, weights, {}));
    quantity.key = function.name;
    quantity.function = &function;
}

void append_quotients(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
                      std::span<const Field> fields, const Weighting& numerator,
                      const Weighting& denominator) {
    const std::size_t first = all.size();
    append(all, function, pattern, fields, numerator.tables);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        Quantity& quantity = all[first + i];
        const auto below = tables_of(denominator.tables, {});
        quantity.parts = {{numerator.band, quantity.weights}, {denominator.band, below}};
        for (const auto* const table : below) {
            if (std::ranges::find(quantity.weights, table) == quantity.weights.end()) {
                quantity.weights.push_back(table);
            }
        }
    }
}

}  // namespace internal

}  // namespace vekanalysis::quantities
