#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "../core/scan.hpp"

namespace vekanalysis::io {

/// How the cells of a row of numbers are written.
struct CellFormat {
    /// Between cells; " " is any run of blanks and tabs.
    std::string delimiter;
    char decimal = '.';
    /// Between thousands, which are groups of three digits; empty for none.
    std::string group = {};
};

/// Why a cell of a row of numbers is none.
enum class CellFault { none, too_large, malformed };

/// Columns of numbers of equal length, row by row as in a text; NaN where a cell has no number.
class TextColumns {
public:
    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

    struct Facts {
        std::size_t missing = 0;
        std::size_t first_missing = none;
        /// Of the numbers there are; NaN if there are none.
        double lowest = std::numeric_limits<double>::quiet_NaN();
        double highest = std::numeric_limits<double>::quiet_NaN();
        /// The first row with a number at or below zero.
        std::size_t first_not_positive = none;
        /// Whether each number is the one before plus 1.
        bool counts = true;
    };
    struct Order {
        bool descending = false;
        /// The first row with the number of the row before, and the first that turns around.
        std::size_t first_repeat = none;
        std::size_t first_turn = none;
    };

    struct Steps {
        double first = 0.0;
        double widest_behind = 0.0;
    };

    struct Problem {
        CellFault fault = CellFault::none;
        /// The index of the line in the text, and of the column here.
        std::size_t line = none;
        std::size_t column = none;
    };

    explicit TextColumns(std::size_t width) : columns_(width) {}

    [[nodiscard]] std::size_t rows() const noexcept {
        return columns_.empty() ? 0 : columns_.front().size();
    }
    [[nodiscard]] std::size_t width() const noexcept { return columns_.size(); }
    /// @throws std::out_of_range  for a column that there is not
    [[nodiscard]] const std::vector<double>& column(std::size_t index) const {
        return columns_.at(index);
    }
    [[nodiscard]] std::vector<double>& column(std::size_t index) { return columns_.at(index); }

    [[nodiscard]] Facts facts(std::size_t index) const;
    /// How a column is ordered, rows without a number aside.
    [[nodiscard]] Order order(std::size_t index) const;
    /// How far neighbours in a column are apart, rows without a number aside.
    [[nodiscard]] Steps steps(std::size_t index) const;

    /// Wavelengths times `multiplier` over `divisor`, rounded to 1e-9: 0.5876 um is 587.6 nm.
    void convert(std::size_t index, double multiplier, double divisor);

    /// The rows that have both numbers.
    [[nodiscard]] std::pair<std::vector<double>, std::vector<double>> points(std::size_t x,
                                                                             std::size_t y) const;
    /// The first row that has y but not x; `none` if all have.
    [[nodiscard]] std::size_t first_without(std::size_t x, std::size_t y) const;

    /// The cell that could not be read, at which the columns end.
    [[nodiscard]] const Problem& problem() const noexcept { return problem_; }
    void set_problem(const Problem& problem) noexcept { problem_ = problem; }

private:
    std::vector<std::vector<double>> columns_;
    Problem problem_;
};

/// The lines of a text, told apart by their shapes.
///
/// In a shape a 0 stands for each run of digits and one blank for each run of blanks; those at its
/// ends are left out. A file of a hundred thousand lines has a handful of shapes, so that what is
/// to be found out about lines costs next to nothing. Lines end with LF, CR LF or CR. The text is
/// not copied and must outlive this object. Time is in proportion to the length of the text.
class TextLines {
public:
    struct Shape {
        std::string text;
        std::size_t count = 0;
        std::size_t first = 0;
        std::size_t last = 0;
    };
    /// Shapes that are meant, by their index.
    using Selection = std::vector<bool>;

    /// @param left_out  indices of lines that shall have no shape, ascending
    explicit TextLines(std::string_view text, const std::vector<std::size_t>& left_out = {});

    /// How many lines there are; an empty one after the last line end does not count.
    [[nodiscard]] std::size_t size() const noexcept { return shape_of_.size(); }
    [[nodiscard]] const std::vector<Shape>& shapes() const noexcept { return shapes_; }

    /// The text of a line; empty if there is none of that index. Takes a walk to it.
    [[nodiscard]] std::string_view line(std::size_t index) const;

    /// Lines with their indices: those of the selected shapes, or left out where `with_left_out`.
    [[nodiscard]] std::vector<std::pair<std::size_t, std::string_view>> lines_of(
        const Selection& selected, bool with_left_out) const;

    /// The index of the line that is the given row of the selected ones; size() if there is none.
    [[nodiscard]] std::size_t line_of_row(const Selection& selected, std::size_t row) const;

    /// The numbers of the selected lines. Reading ends at a cell that cannot be read, which the
    /// result names; a cell that does not begin with a number has none, and text behind a number
    /// is passed over.
    ///
    /// @param columns  which cells of a line, counted from 0; one beyond the end has no number
    [[nodiscard]] TextColumns columns(const Selection& selected, const CellFormat& format,
                                      const std::vector<std::size_t>& columns) const;

private:
    [[nodiscard]] bool is_selected(std::size_t line, const Selection& selected) const {
        const std::uint32_t shape = shape_of_[line];
        return shape != no_shape && selected[shape];
    }

    static constexpr std::uint32_t no_shape = std::numeric_limits<std::uint32_t>::max();

    std::string_view text_;
    std::vector<Shape> shapes_;
    std::vector<std::uint32_t> shape_of_;
};

/// Pairs of numbers, one a line: blanks, a number, a run of blanks, commas, tabs and semicolons, a
/// number, blanks. Empty lines are passed over.
///
/// Stricter than `parse_csv`, which takes the numbers two by two whatever lines they stand on.
/// @return nothing where a line is anything else, a number is too large, or there is no pair
[[nodiscard]] std::optional<TextColumns> read_pairs(std::string_view text);

}  // namespace vekanalysis::io
