#pragma once

#include <array>
#include <initializer_list>
#include <span>
#include <vector>

#include "colorimetry/tristimulus.hpp"
#include "quantities/quantity.hpp"

/// What the catalogues are put together from.
namespace vekanalysis::quantities::internal {

inline constexpr Range visible{380.0, 780.0};
inline constexpr const char* CIE_15 = "CIE 15:2004";
inline constexpr const char* stored_points =
    "The smallest of the measured points; nothing between them is interpolated.";

inline constexpr const char* reconstructed =
    "The signal table is a reconstruction, not the printed one: not for conformity decisions.";

/// A field of a function's result: what follows the point in its key, and its symbol.
struct Field {
    const char* name;
    const char* symbol;
};

inline constexpr std::array xy_fields{Field{"x", "x"}, Field{"y", "y"}};
inline constexpr std::array xyz_fields{Field{"X", "X"}, Field{"Y", "Y"}, Field{"Z", "Z"}};
inline constexpr std::array lab_fields{Field{"L_star", "L*"}, Field{"a_star", "a*"},
                                       Field{"b_star", "b*"}};

/// Function whose result is one number.
template <double (*function)(const Scan&)>
[[nodiscard]] constexpr Function number(const char* name,
                                        Form (*form)(const Scan&, const OwnTables&) = nullptr) {
    return {name, 1,
            [](const Scan& spectrum, const Scan&, std::span<double> fields) {
                fields[0] = function(spectrum);
            },
            form};
}

/// The given fields of a result, in their order.
template <class Record, class... Members>
void put(const Record& record, std::span<double> fields, Members... members) {
    std::size_t i = 0;
    ((fields[i++] = record.*members), ...);
}

inline void put(const colorimetry::CIEXYZ& xyz, std::span<double> fields) {
    using colorimetry::CIEXYZ;
    put(xyz, fields, &CIEXYZ::X, &CIEXYZ::Y, &CIEXYZ::Z);
}

inline void put(const colorimetry::CIELAB& lab, std::span<double> fields) {
    using colorimetry::CIELAB;
    put(lab, fields, &CIELAB::L_star, &CIELAB::a_star, &CIELAB::b_star);
}

/// Appends a quantity for each of the fields, which are the first of the function's.
///
/// @param pattern  what they share; "{}" in its name stands for the field
/// @param weights  names of tables, with "{}" likewise; where one of them is a reconstruction, the
///                 notes begin with a warning
void append(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
            std::span<const Field> fields, std::initializer_list<const char*> weights = {});

/// The same for a function of one number, whose key is its name.
void append(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
            std::initializer_list<const char*> weights = {});

/// A band and the names of the tables that weight it.
struct Weighting {
    Range band;
    std::initializer_list<const char*> tables;
};

/// The same as the first for quotients.
///
/// @param numerator    with "{}" as in `append`
/// @param denominator  of all fields the same; no reconstruction
void append_quotients(std::vector<Quantity>& all, const Function& function, const Quantity& pattern,
                      std::span<const Field> fields, const Weighting& numerator,
                      const Weighting& denominator);

}  // namespace vekanalysis::quantities::internal
