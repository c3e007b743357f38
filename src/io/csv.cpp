#include "io/csv.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <locale>
#include <system_error>
#include <utility>
#include <vector>
#include <version>

#include "io/file.hpp"

namespace vekanalysis::internal {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// Length of the text that a stream takes for a number: [+-] digits [. digits] [e [+-] digits],
/// where the exponent needs a digit before it and everything else may be missing.
std::size_t number_length(std::string_view text) {
    std::size_t i = 0;
    const auto at = [&](auto... any) { return i < text.size() && ((text[i] == any) || ...); };
    const auto digits = [&] {
        const std::size_t first = i;
        while (i < text.size() && is_digit(text[i])) ++i;
        return i > first;
    };
    if (at('+', '-')) ++i;
    bool mantissa = digits();
    if (at('.')) {
        ++i;
        mantissa = digits() || mantissa;
    }
    if (mantissa && at('e', 'E')) {
        ++i;
        if (at('+', '-')) ++i;
        digits();
    }
    return i;
}

}  // namespace

/// The way for what std::from_chars does not decide: numbers out of range, numbers followed by an
/// exponent mark, and everything where the library has no std::from_chars for double.
bool TextCursor::read_by_stream(double* value) {
    const std::string_view number = text_.substr(0, number_length(text_));
    if (number.empty() || !(is_digit(number.back()) || number.back() == '.')) return false;
    if (std::none_of(number.begin(), number.end(), is_digit)) return false;
    if (!stream_) {
        stream_.emplace().imbue(std::locale::classic());
        // It would keep a want of memory to itself, and the text would seem to end here.
        stream_->exceptions(std::ios::badbit);
    }
    stream_->clear();
    stream_->str(std::string(number));
    double result = 0.0;
    *stream_ >> result;
    // Some libraries report numbers that are too small, too.
    if (stream_->fail() && !(std::abs(result) < 1.0)) return false;
    text_.remove_prefix(number.size());
    *value = result;
    return true;
}

bool TextCursor::read_number(double* value) {
    constexpr std::string_view white_space = " \t\n\v\f\r";
    text_.remove_prefix(std::min(text_.find_first_not_of(white_space), text_.size()));
#if defined(__cpp_lib_to_chars) && __cpp_lib_to_chars >= 201611L
    // std::from_chars knows no plus sign, but knows inf and nan, which must not be read.
    const char* const end = text_.data() + text_.size();
    const char* first = text_.data();
    if (first != end && *first == '+') ++first;
    const char* mantissa = first;
    if (mantissa == text_.data() && mantissa != end && *mantissa == '-') ++mantissa;
    if (mantissa != end && (is_digit(*mantissa) || *mantissa == '.')) {
        double result = 0.0;
        const auto [last, error] = std::from_chars(first, end, result);
        // A stream would take an exponent mark after the number for part of it.
        if (error == std::errc() && (last == end || (*last != 'e' && *last != 'E'))) {
            text_.remove_prefix(static_cast<std::size_t>(last - text_.data()));
            *value = result;
            return true;
        }
    }
#endif
    return read_by_stream(value);
}

TextCursor& consume_separator(TextCursor& cursor) noexcept {
    constexpr std::string_view separators = " ,\t;";
    std::string_view& text = cursor.text_;
    text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
    return cursor;
}

}  // namespace vekanalysis::internal

namespace vekanalysis::io {

Scan parse_csv(std::string_view text) {
    internal::TextCursor cursor(text);
    std::vector<double> wavelengths;
    std::vector<double> values;
    double x = 0.0;
    double y = 0.0;
    while (cursor.read_number(&x) && internal::consume_separator(cursor).read_number(&y)) {
        wavelengths.push_back(x);
        values.push_back(y);
    }
    return {std::move(wavelengths), std::move(values)};
}

Scan load_csv(const std::string& file_path) {
    const std::vector<unsigned char> bytes = internal::load_binary_file(file_path);
    return parse_csv({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void save_csv(const Scan& /*scan*/) {}

}  // namespace vekanalysis::io
