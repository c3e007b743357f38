#pragma once

#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "../core/scan.hpp"

namespace vekanalysis::io {

/// Two-column text as a Scan: pairs of numbers, wavelength and value.
///
/// Between the two numbers of a pair may stand a run of blanks, commas, tabs and semicolons, then
/// any white space; between pairs white space only. Neither is needed where a number cannot go on
/// with the next character, and line ends have no other meaning. The first text that is not of this
/// form, a header for instance, ends the reading, and so does a byte-order mark; what was read
/// before it is kept. No text is an error. Of equal wavelengths the last value wins.
///
/// A number is [+-] digits, with a decimal point before, in or after them, and then perhaps e or E,
/// [+-] and digits. It is taken as far as these characters go on: `400-1` is 400 and -1, `1.2.3` is
/// 1.2 and .3, `0x10` is 0 and then no number. What the reader accepts so far but cannot convert
/// ends the reading: `1.5e`, a lone `.` or sign, a magnitude beyond the largest double (1e400).
/// `nan` and `inf` are no numbers. Too small a magnitude (1e-400) gives 0.
///
/// @param file_path  UTF-8
/// @throws std::ios_base::failure  a text that begins "Could not open file for reading: " + path
[[nodiscard]] Scan load_csv(const std::string& file_path);

/// The same for text in memory. Never throws but for want of memory.
[[nodiscard]] Scan parse_csv(std::string_view text);

/// Does nothing. Kept for callers that are written for it.
void save_csv(const Scan& scan);

}  // namespace vekanalysis::io

namespace vekanalysis::internal {

/// A place in a text in memory, which reads numbers as a stream in the classic locale does
/// (`stream >> number`, GNU library), at the speed of std::from_chars.
class TextCursor {
public:
    explicit TextCursor(std::string_view text) noexcept : text_(text) {}

    /// Skips white space, then reads a number in the form that `io::load_csv` describes.
    ///
    /// @return false, leaving `*value` untouched, when there is none; a stream would have failed,
    ///         and nothing should be read any more
    [[nodiscard]] bool read_number(double* value);

    /// What has not been read.
    [[nodiscard]] std::string_view rest() const noexcept { return text_; }

private:
    friend TextCursor& consume_separator(TextCursor& cursor) noexcept;

    [[nodiscard]] bool read_by_stream(double* value);

    std::string_view text_;
    std::optional<std::istringstream> stream_;
};

/// Moves past blanks, commas, tabs and semicolons.
TextCursor& consume_separator(TextCursor& cursor) noexcept;

}  // namespace vekanalysis::internal
