#include "lighting/illuminants.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>

#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting {

namespace {

constexpr std::array<const char*, 3> daylight_names{"S0", "S1", "S2"};
constexpr std::array<const char*, 1> scotopic_names{"scotopic_luminous_efficiency"};
constexpr std::array<const char*, 5> alpha_opic_names{
    "s_cone_action_spectrum", "m_cone_action_spectrum", "l_cone_action_spectrum",
    "rhodopic_action_spectrum", "melanopic_action_spectrum"};

struct Column {
    Reference reference;
    data::Table table;
    std::size_t column;
};

std::vector<Column> all_columns() {
    std::vector<Column> result;
    const auto add = [&result](const data::Table& table, std::span<const char* const> names,
                               const char* unit, const char* source) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            result.push_back({{names[i], unit, source}, table, i});
        }
    };
    const data::Table d = data::illuminants_d();
    add(d, d.names.first(1), "relative", "ISO/CIE 11664-2:2022, Table B.1");
    for (std::size_t i = 1; i < 3; ++i) {
        result.push_back({{d.names[i], "relative", "CIE 15:2018, Table 5"}, d, i});
    }
    const data::Table fl = data::illuminants_fl();
    add(fl, fl.names, "relative", "CIE 15:2018, Tables 10.1 and 10.2");
    const data::Table fl3 = data::illuminants_fl3();
    add(fl3, fl3.names, "relative", "CIE 15:2018, Table 10.3");
    const data::Table led = data::illuminants_led();
    add(led, led.names, "relative", "CIE 15:2018, Tables 12.1 and 12.2");
    add(data::daylight_components(), daylight_names, "relative", "CIE 15:2018, Table 6");
    add(data::scotopic_luminous_efficiency(), scotopic_names, "1", "CIE 018:2019, Table 2");
    add(data::alpha_opic_action_spectra(), alpha_opic_names, "1", "CIE S 026:2018, Table 2");
    return result;
}

const std::vector<Column>& columns() {
    static const std::vector<Column> all = all_columns();
    return all;
}

}  // namespace

std::string to_string(const Reference& reference) {
    return reference.name + ", unit " + reference.unit + ", " + reference.source;
}

std::vector<Reference> references() {
    std::vector<Reference> result;
    for (const Column& column : columns()) result.push_back(column.reference);
    return result;
}

Scan reference(std::string_view name) {
    const auto& all = columns();
    const auto found = std::find_if(all.begin(), all.end(), [name](const Column& column) {
        return column.reference.name == name;
    });
    if (found == all.end()) {
        throw std::invalid_argument("lighting::reference: no spectrum is named " +
                                    std::string(name));
    }
    const data::Table& table = found->table;
    std::vector<double> wavelengths(table.rows());
    std::vector<double> values(table.rows());
    for (std::size_t i = 0; i < table.rows(); ++i) {
        wavelengths[i] = table.wl(i);
        values[i] = table(i, found->column);
    }
    return {std::move(wavelengths), std::move(values), default_epsilon, spline::Type::LINEAR};
}

}  // namespace vekanalysis::lighting
