#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quantity.hpp"

/// Quantities with tables of a laboratory's own in place of built-in ones.
namespace vekanalysis::quantities {

/// A table in place of the built-in one of that name, and what the readers of figures are told.
struct OwnTable {
    std::string name;
    Scan spectrum;
    std::string note;
};

/// Whether a built-in table may give way to one of one's own: those by which lens quantities are
/// weighted, but for the observers and illuminants of the CIE.
[[nodiscard]] bool is_replaceable(std::string_view table) noexcept;

/// The quantities with these tables where they depend on them, the others as they are.
///
/// The built-in tables stay as they are. A note that a table is a reconstruction goes with it.
/// @param tables  with the built-in tables' interpolation, whatever theirs
/// @throws std::invalid_argument  "with_tables: '...' is no table that can be replaced" or
///                                "with_tables: '...' is there twice"
/// @throws std::runtime_error      as Scan, for a table with too few points
[[nodiscard]] std::vector<Quantity> with_tables(std::span<const Quantity> quantities,
                                                std::span<const OwnTable> tables);

}  // namespace vekanalysis::quantities
