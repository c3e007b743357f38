#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "../../core/scan.hpp"
#include "table_list.hpp"

/// The reference spectra: one function a table, wavelengths in nm.
///
/// Each scan is built on the first call, with its spline ready (epsilon 1e-20, AKIMA), and lives to
/// the end of the process; every call returns the same object. Building is thread-safe and so is
/// reading from several threads. Range, step, source and every doubt about a table stand at the
/// head of its own file, which has the name of the function.
///
/// Tables marked as a reconstruction are not the printed figures of their standard: they keep what
/// is certain (grid, peak or sum, end entries) and estimate the rest. Not for conformity decisions.
namespace vekanalysis::colorimetry::data {

/// Where the figures of a table are from.
enum class Standing {
    PRINTED,
    SCALED,  // printed, then multiplied by one number
    RECONSTRUCTION,
};

/// "printed figures", "printed figures, scaled" or "reconstruction".
[[nodiscard]] const char* to_string(Standing standing) noexcept;

/// What a table is of.
struct Facts {
    const char* unit;
    const char* source;
    Standing standing;
    const char* description;  // for Python's `help`
};

/// A reference spectrum with what is known about it.
struct Table {
    const char* name;  // of its accessor
    const Scan& (*spectrum)();
    const Facts& facts;
};

#define VEKANALYSIS_DECLARE(name)     \
    [[nodiscard]] const Scan& name(); \
    namespace about {                 \
    extern const Facts name;          \
    }
VEKANALYSIS_REFERENCE_TABLES(VEKANALYSIS_DECLARE)
#undef VEKANALYSIS_DECLARE

#define VEKANALYSIS_COUNT(name) +1
inline constexpr std::size_t table_count = 0 VEKANALYSIS_REFERENCE_TABLES(VEKANALYSIS_COUNT);
#undef VEKANALYSIS_COUNT

/// All tables.
[[nodiscard]] std::span<const Table, table_count> tables() noexcept;

/// The table of that name; null when there is none.
[[nodiscard]] const Table* find_table(std::string_view name) noexcept;

/// The spectra of all tables.
[[nodiscard]] const std::array<const Scan*, table_count>& dataset();

}  // namespace vekanalysis::colorimetry::data
