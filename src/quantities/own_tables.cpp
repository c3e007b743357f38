#include "quantities/own_tables.hpp"

#include <algorithm>
#include <stdexcept>

#include "quantities/form.hpp"
#include "quantities/record_parts.hpp"

namespace vekanalysis::quantities {

namespace {

namespace data = colorimetry::data;
using data::Table;

/// The weights that a quantity's figure depends on; none where its function has no form.
std::vector<Weight> weights_of(const Quantity& quantity, const OwnTables& own) {
    if (quantity.function->form == nullptr) return {};
    const Form form = quantity.function->form(data::cie_illuminant_d65(), own);
    std::vector<Weight> weights = form.divided_by;
    const bool by_field =
        form.finish == Form::Finish::NUMBERS || form.finish == Form::Finish::QUOTIENTS;
    for (std::size_t i = 0; i < form.integrals.size(); ++i) {
        const bool is_denominator =
            form.finish == Form::Finish::QUOTIENTS && i + 1 == form.integrals.size();
        if (by_field && i != quantity.field && !is_denominator) continue;
        for (const Factor& factor : form.integrals[i].factors) {
            weights.insert(weights.end(), factor.tables.begin(), factor.tables.end());
        }
    }
    return weights;
}

void add(std::vector<const Table*>& tables, const Table* table) {
    if (std::ranges::find(tables, table) == tables.end()) tables.push_back(table);
}

}  // namespace

std::vector<const Table*> Quantity::tables() const {
    std::vector<const Table*> all = weights;
    for (const Weight& weight : weights_of(*this, own ? *own : OwnTables())) {
        add(all, weight.table);
    }
    return all;
}

bool is_replaceable(std::string_view table) noexcept {
    return table.rfind("cie_", 0) != 0 &&
           std::ranges::any_of(lens(), [&](const Quantity& quantity) {
               return std::ranges::any_of(quantity.weights,
                                          [&](const Table* each) { return each->name == table; });
           });
}

std::vector<Quantity> with_tables(std::span<const Quantity> quantities,
                                  std::span<const OwnTable> tables) {
    const auto own = std::make_shared<OwnTables>();
    std::map<const Table*, const std::string*> notes;
    for (const OwnTable& table : tables) {
        if (!is_replaceable(table.name)) {
            throw std::invalid_argument("with_tables: '" + table.name +
                                        "' is no table that can be replaced");
        }
        const Table* const built_in = data::find_table(table.name);
        const Scan& model = built_in->spectrum();
        auto spectrum =
            std::make_shared<Scan>(table.spectrum.data().keys(), table.spectrum.data().values(),
                                   model.get_wavelength_epsilon(), model.get_interpolation_type());
        spectrum->ensure_spline();
        if (!own->emplace(built_in, std::move(spectrum)).second) {
            throw std::invalid_argument("with_tables: '" + table.name + "' is there twice");
        }
        notes.emplace(built_in, &table.note);
    }
    std::vector<Quantity> all(quantities.begin(), quantities.end());
    for (Quantity& quantity : all) {
        bool is_certain = true;
        std::vector<std::string> told;
        for (const Table* const table : quantity.tables()) {
            const auto note = notes.find(table);
            if (note != notes.end()) {
                told.push_back(*note->second);
            } else if (table->facts.standing == data::Standing::RECONSTRUCTION) {
                is_certain = false;
            }
        }
        if (told.empty()) continue;
        quantity.own = own;
        if (is_certain) std::erase(quantity.notes, internal::reconstructed);
        quantity.notes.insert(quantity.notes.begin(), told.begin(), told.end());
    }
    return all;
}

}  // namespace vekanalysis::quantities
