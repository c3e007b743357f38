#include "colorimetry/data/reference_spectra.hpp"

#include <algorithm>

namespace vekanalysis::colorimetry::data {

namespace {

#define VEKANALYSIS_ENTRY(name) Table{#name, &name, about::name},
constinit const std::array<Table, table_count> all_tables{
    VEKANALYSIS_REFERENCE_TABLES(VEKANALYSIS_ENTRY)};
#undef VEKANALYSIS_ENTRY

}  // namespace

const char* to_string(Standing standing) noexcept {
    switch (standing) {
        case Standing::PRINTED:
            return "printed figures";
        case Standing::SCALED:
            return "printed figures, scaled";
        case Standing::RECONSTRUCTION:
            break;
    }
    return "reconstruction";
}

std::span<const Table, table_count> tables() noexcept {
    return all_tables;
}

const Table* find_table(std::string_view name) noexcept {
    const auto* const found =
        std::find_if(all_tables.begin(), all_tables.end(),
                     [name](const Table& table) { return name == table.name; });
    return found == all_tables.end() ? nullptr : found;
}

const std::array<const Scan*, table_count>& dataset() {
    static const auto scans = [] {
        std::array<const Scan*, table_count> all{};
        std::transform(all_tables.begin(), all_tables.end(), all.begin(),
                       [](const Table& table) { return &table.spectrum(); });
        return all;
    }();
    return scans;
}

}  // namespace vekanalysis::colorimetry::data
