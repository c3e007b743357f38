#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "../colorimetry/data/reference_spectra.hpp"
#include "../core/scan.hpp"

/// What reports say of a spectrum, each quantity as a record that the reports, tables and pages
/// read. The numbers are those of the functions that the records name.
namespace vekanalysis::quantities {

/// Wavelengths from one to another, nm.
struct Range {
    double from = 0.0;
    double to = 0.0;
    friend bool operator==(const Range&, const Range&) = default;
};

struct Form;

/// Tables in place of built-in ones.
using OwnTables = std::map<const colorimetry::data::Table*, std::shared_ptr<const Scan>>;

/// A function of the library with all that it gives for one spectrum.
struct Function {
    const char* name;
    std::size_t field_count;
    /// @param white   spectrum of the white point, for those that have one
    /// @param fields  shape (field_count), receives the results
    /// @throws what the function throws
    void (*compute)(const Scan& spectrum, const Scan& white, std::span<double> fields);
    /// How it follows from integrals of products, of the tables as they are but for those of one's
    /// own; null where it does not.
    Form (*form)(const Scan& white, const OwnTables& own) = nullptr;
    /// Why one field is NaN where the others have values; null where that does not happen.
    std::string (*why_missing)(const Scan& spectrum, std::size_t field) = nullptr;
};

/// What a quotient is made of: its numerator or its denominator.
struct Part {
    Range band{};
    std::vector<const colorimetry::data::Table*> weights{};

    /// The part of the band where the weights are.
    [[nodiscard]] Range needed(const OwnTables* own) const;
};

/// One quantity of a report.
struct Quantity {
    std::string key{};  // the library's function and, after a point, the field of its result
    std::string symbol{};
    std::string name{};
    std::string unit{};
    /// What the spectrum must be of: "transmittance", "irradiance", "responsivity", or "light" for
    /// any spectrum of a source.
    std::string kind{};
    std::optional<Range> band{};  // where it is defined; none for the whole spectrum
    std::string standard{};
    std::string section{};
    /// The tables that the spectrum is multiplied by; no data are needed beyond them.
    std::vector<const colorimetry::data::Table*> weights{};
    /// Numerator and denominator of a quotient, which needs data of both; empty for all else.
    std::vector<Part> parts{};
    std::vector<std::string> notes{};
    bool is_transmittance = false;  // whether a clear lens tells something of sampling and coverage
    bool is_integral = true;  // whether what the data do not cover counts as 0, not as nothing
    bool is_stored = false;   // whether it is a number of the data and has its digits
    bool is_detail = false;   // whether it stands in full reports alone

    const Function* function = nullptr;
    std::size_t field = 0;
    /// What it is computed with in place of built-in tables; null where with these alone.
    std::shared_ptr<const OwnTables> own{};

    /// The part of the band where the weights are, of a quotient all that one of its parts needs;
    /// none without a band.
    [[nodiscard]] std::optional<Range> needed() const;

    /// All tables that its figure depends on: the weights, and those of what it is divided by.
    [[nodiscard]] std::vector<const colorimetry::data::Table*> tables() const;

    /// Whether it tells of light that is mostly visible, so that a spectrum below zero over most of
    /// the visible has none.
    [[nodiscard]] bool is_of_visible_light() const noexcept;

    /// Whether a result can be one of the quantity: of light there is no less than none.
    [[nodiscard]] bool is_possible(double result) const noexcept;
};

/// The quantities of a lens or filter, of its spectral transmittance (fraction).
[[nodiscard]] std::span<const Quantity> lens();

/// The quantities of a lens that follow from others of it: signals relative to a clear lens,
/// attenuation quotients, the smallest value over the luminous one.
///
/// A quotient is NaN where its denominator is not above 0, and refused where one of its parts has
/// no data.
[[nodiscard]] std::span<const Quantity> derived();

/// The quantities of a light source, of any spectrum of it but where `kind` asks for more.
///
/// @param white_name  how the names call the white point
[[nodiscard]] std::vector<Quantity> light(std::string_view white_name);

/// The quantities of a photometer, of its relative spectral responsivity.
[[nodiscard]] std::span<const Quantity> photometer();

/// The quantity of that key: of a lens, else derived from those, else of a light source with white
/// D65, else of a photometer.
///
/// @throws std::invalid_argument  "quantities::find: no quantity '...'; the nearest is '...'"
[[nodiscard]] const Quantity& find(std::string_view key);

}  // namespace vekanalysis::quantities
