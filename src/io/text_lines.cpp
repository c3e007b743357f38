#include "io/text_lines.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>

#include "io/csv.hpp"

namespace vekanalysis::io {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_blank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

bool is_line_end(char c) {
    return c == '\n' || c == '\r';
}

std::string_view without_blanks_before(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view trimmed(std::string_view text) {
    text = without_blanks_before(text);
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    return text;
}

/// Hands out the lines of a text one after the other.
class LineCursor {
public:
    explicit LineCursor(std::string_view text) noexcept
        : rest_(text), has_returns_(text.find('\r') != std::string_view::npos) {}

    [[nodiscard]] bool at_end() const noexcept { return rest_.empty(); }

    std::string_view next() {
        const std::size_t length = std::min(length_of_line(), rest_.size());
        const std::string_view line = rest_.substr(0, length);
        rest_.remove_prefix(length);
        if (rest_.empty()) return line;
        rest_.remove_prefix(rest_.front() == '\r' && rest_.size() > 1 && rest_[1] == '\n' ? 2 : 1);
        return line;
    }

private:
    [[nodiscard]] std::size_t length_of_line() const noexcept {
        if (!has_returns_) return rest_.find('\n');
        return static_cast<std::size_t>(std::find_if(rest_.begin(), rest_.end(), is_line_end) -
                                        rest_.begin());
    }

    std::string_view rest_;
    bool has_returns_;
};

/// The shape of a line, into `shape`.
void write_shape(std::string_view line, std::string& shape) {
    shape.resize(line.size());
    char* end = shape.data();
    char last = ' ';  // so that blanks at the start are left out
    for (const char c : line) {
        const char kind = is_digit(c) ? '0' : c;
        if (kind == last && (kind == '0' || kind == ' ')) continue;
        *end++ = kind;
        last = kind;
    }
    shape.resize(static_cast<std::size_t>(end - shape.data()));
    if (!shape.empty() && shape.back() == ' ') shape.pop_back();
}

/// Reads the numbers of cells, in a format of its own.
class NumberReader {
public:
    explicit NumberReader(const CellFormat& format) noexcept : format_(format) {}

    /// @return NaN where the cell does not begin with a number
    double read(std::string_view cell, CellFault* fault) {
        cell = trimmed(cell);
        if (!begins_with_number(cell)) return std::numeric_limits<double>::quiet_NaN();
        if ((format_.decimal != '.' || !format_.group.empty()) && !normalise(cell)) {
            *fault = CellFault::malformed;
            return 0.0;
        }
        internal::TextCursor cursor(cell);
        double value = 0.0;
        if (!cursor.read_number(&value)) *fault = CellFault::too_large;
        return value;
    }

private:
    [[nodiscard]] bool begins_with_number(std::string_view cell) const {
        std::size_t i = !cell.empty() && (cell[0] == '+' || cell[0] == '-') ? 1 : 0;
        if (i < cell.size() && cell[i] == format_.decimal) ++i;
        return i < cell.size() && is_digit(cell[i]);
    }

    /// Makes of the number that `cell` begins with one that has a point and no groups.
    /// @return false where a group has not three digits
    bool normalise(std::string_view& cell) {
        written_.clear();
        std::size_t i = 0;
        const auto copy_digits = [&] {
            const std::size_t first = i;
            while (i < cell.size() && is_digit(cell[i])) written_.push_back(cell[i++]);
            return i - first;
        };
        if (cell[0] == '+' || cell[0] == '-') written_.push_back(cell[i++]);
        std::size_t digits = copy_digits();
        const std::string& group = format_.group;
        bool grouped = false;
        while (!group.empty() && cell.substr(i, group.size()) == group &&
               i + group.size() < cell.size() && is_digit(cell[i + group.size()])) {
            if (digits == 0 || digits > 3 || (grouped && digits != 3)) return false;
            grouped = true;
            i += group.size();
            digits = copy_digits();
        }
        if (grouped && digits != 3) return false;
        if (i < cell.size() && cell[i] == format_.decimal) {
            written_.push_back('.');
            ++i;
            copy_digits();
        }
        copy_exponent(cell, i);
        cell = written_;
        return true;
    }

    void copy_exponent(std::string_view cell, std::size_t i) {
        if (i >= cell.size() || (cell[i] != 'e' && cell[i] != 'E')) return;
        std::size_t first = i + 1;
        if (first < cell.size() && (cell[first] == '+' || cell[first] == '-')) ++first;
        std::size_t end = first;
        while (end < cell.size() && is_digit(cell[end])) ++end;
        if (end > first) written_.append(cell.substr(i, end - i));
    }

    const CellFormat& format_;
    std::string written_;
};

/// Hands out the cells of a line one after the other.
class CellCursor {
public:
    CellCursor(std::string_view line, std::string_view delimiter)
        : rest_(line), delimiter_(delimiter), by_blanks_(delimiter == " ") {
        has_quotes_ = !by_blanks_ && line.find('"') != std::string_view::npos;
        if (by_blanks_) rest_ = trimmed(rest_);
        at_end_ = by_blanks_ && rest_.empty();
    }

    [[nodiscard]] bool at_end() const noexcept { return at_end_; }

    std::string_view next() {
        if (by_blanks_) return next_by_blanks();
        if (has_quotes_) {
            const std::string_view quoted = without_blanks_before(rest_);
            if (!quoted.empty() && quoted.front() == '"') return next_quoted();
        }
        return up_to(delimiter_.size() == 1 ? rest_.find(delimiter_.front())
                                            : rest_.find(delimiter_));
    }

private:
    std::string_view up_to(std::size_t end) {
        const std::string_view cell = rest_.substr(0, end);
        at_end_ = end == std::string_view::npos;
        rest_.remove_prefix(at_end_ ? rest_.size() : end + delimiter_.size());
        return cell;
    }

    std::string_view next_quoted() {
        const std::size_t open = rest_.find('"');
        const std::size_t close = rest_.find('"', open + 1);
        if (close == std::string_view::npos) return up_to(close);
        const std::string_view cell = rest_.substr(open + 1, close - open - 1);
        up_to(rest_.find(delimiter_, close + 1));
        return cell;
    }

    std::string_view next_by_blanks() {
        const auto length = static_cast<std::size_t>(
            std::find_if(rest_.begin(), rest_.end(), is_blank) - rest_.begin());
        const std::string_view cell = rest_.substr(0, length);
        rest_ = without_blanks_before(rest_.substr(length));
        at_end_ = rest_.empty();
        return cell;
    }

    std::string_view rest_;
    std::string_view delimiter_;
    bool by_blanks_;
    bool has_quotes_ = false;
    bool at_end_ = false;
};

}  // namespace

TextColumns::Facts TextColumns::facts(std::size_t index) const {
    Facts facts;
    const std::vector<double>& numbers = column(index);
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        const double number = numbers[row];
        if (std::isnan(number)) {
            if (facts.missing++ == 0) facts.first_missing = row;
            facts.counts = false;
            continue;
        }
        // Written so that the first number replaces NaN.
        if (!(number >= facts.lowest)) facts.lowest = number;
        if (!(number <= facts.highest)) facts.highest = number;
        if (number <= 0.0 && facts.first_not_positive == none) facts.first_not_positive = row;
        if (row > 0 && number != numbers[row - 1] + 1.0) facts.counts = false;
    }
    return facts;
}

TextColumns::Order TextColumns::order(std::size_t index) const {
    Order order;
    const std::vector<double>& numbers = column(index);
    std::size_t before = none;
    bool is_decided = false;
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        if (std::isnan(numbers[row])) continue;
        const std::size_t last = std::exchange(before, row);
        if (last == none) continue;
        if (numbers[row] == numbers[last]) {
            if (order.first_repeat == none) order.first_repeat = row;
            continue;
        }
        const bool descends = numbers[row] < numbers[last];
        if (!std::exchange(is_decided, true)) order.descending = descends;
        if (descends != order.descending && order.first_turn == none) order.first_turn = row;
    }
    return order;
}

TextColumns::Steps TextColumns::steps(std::size_t index) const {
    Steps steps;
    std::size_t count = 0;
    double before = 0.0;
    for (const double number : column(index)) {
        if (std::isnan(number)) continue;
        const double step = std::abs(number - std::exchange(before, number));
        if (count == 1) steps.first = step;
        if (count > 1) steps.widest_behind = std::max(steps.widest_behind, step);
        ++count;
    }
    return steps;
}

void TextColumns::convert(std::size_t index, double multiplier, double divisor) {
    constexpr double steps = 1e9;
    // Beyond it a double has no fraction that could be rounded.
    constexpr double largest = 4503599627370496.0;
    for (double& number : column(index)) {
        const double converted = number * multiplier / divisor;
        const double scaled = converted * steps;
        number = std::abs(scaled) < largest ? std::nearbyint(scaled) / steps : converted;
    }
}

std::pair<std::vector<double>, std::vector<double>> TextColumns::points(std::size_t x,
                                                                        std::size_t y) const {
    const std::vector<double>& keys = column(x);
    const std::vector<double>& numbers = column(y);
    std::pair<std::vector<double>, std::vector<double>> points;
    points.first.reserve(keys.size());
    points.second.reserve(keys.size());
    for (std::size_t row = 0; row < keys.size(); ++row) {
        if (std::isnan(keys[row]) || std::isnan(numbers[row])) continue;
        points.first.push_back(keys[row]);
        points.second.push_back(numbers[row]);
    }
    return points;
}

std::size_t TextColumns::first_without(std::size_t x, std::size_t y) const {
    const std::vector<double>& keys = column(x);
    const std::vector<double>& numbers = column(y);
    for (std::size_t row = 0; row < keys.size(); ++row) {
        if (std::isnan(keys[row]) && !std::isnan(numbers[row])) return row;
    }
    return none;
}

TextLines::TextLines(std::string_view text, const std::vector<std::size_t>& left_out)
    : text_(text) {
    std::map<std::string, std::uint32_t, std::less<>> known;
    std::string shape;
    std::uint32_t last = no_shape;
    auto next_left_out = left_out.begin();
    for (LineCursor lines(text); !lines.at_end();) {
        const std::size_t index = shape_of_.size();
        const std::string_view line = lines.next();
        if (next_left_out != left_out.end() && *next_left_out == index) {
            ++next_left_out;
            shape_of_.push_back(no_shape);
            continue;
        }
        write_shape(line, shape);
        if (last == no_shape || shapes_[last].text != shape) {
            const auto [place, is_new] =
                known.try_emplace(shape, static_cast<std::uint32_t>(shapes_.size()));
            last = place->second;
            if (is_new) shapes_.push_back({shape, 0, index, index});
        }
        ++shapes_[last].count;
        shapes_[last].last = index;
        shape_of_.push_back(last);
    }
}

std::string_view TextLines::line(std::size_t index) const {
    if (index >= size()) return {};
    LineCursor lines(text_);
    for (; index > 0; --index) lines.next();
    return lines.next();
}

std::vector<std::pair<std::size_t, std::string_view>> TextLines::lines_of(
    const Selection& selected, bool with_left_out) const {
    std::vector<std::pair<std::size_t, std::string_view>> found;
    // Headers are at the start: no need to walk through the numbers.
    std::size_t end = with_left_out ? size() : 0;
    for (std::size_t shape = 0; shape < shapes_.size(); ++shape) {
        if (selected[shape]) end = std::max(end, shapes_[shape].last + 1);
    }
    LineCursor lines(text_);
    for (std::size_t index = 0; index < end; ++index) {
        const std::string_view line = lines.next();
        if (is_selected(index, selected) || (with_left_out && shape_of_[index] == no_shape)) {
            found.emplace_back(index, line);
        }
    }
    return found;
}

std::size_t TextLines::line_of_row(const Selection& selected, std::size_t row) const {
    std::size_t index = 0;
    for (; index < size(); ++index) {
        if (is_selected(index, selected) && row-- == 0) break;
    }
    return index;
}

TextColumns TextLines::columns(const Selection& selected, const CellFormat& format,
                               const std::vector<std::size_t>& columns) const {
    std::size_t rows = 0;
    for (std::size_t i = 0; i < shapes_.size(); ++i) rows += selected[i] ? shapes_[i].count : 0;
    TextColumns result(columns.size());
    std::vector<std::vector<double>*> wanted;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i] >= wanted.size()) wanted.resize(columns[i] + 1, nullptr);
        wanted[columns[i]] = &result.column(i);
        wanted[columns[i]]->reserve(rows);
    }
    NumberReader reader(format);
    LineCursor lines(text_);
    for (std::size_t index = 0; index < size(); ++index) {
        const std::string_view line = lines.next();
        if (!is_selected(index, selected)) continue;
        CellCursor cells(line, format.delimiter);
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const std::string_view cell = cells.at_end() ? std::string_view() : cells.next();
            if (wanted[i] == nullptr) continue;
            CellFault fault = CellFault::none;
            const double number = reader.read(cell, &fault);
            if (fault != CellFault::none) {
                result.set_problem({fault, index, i});
                return result;
            }
            wanted[i]->push_back(number);
        }
    }
    return result;
}

std::optional<TextColumns> read_pairs(std::string_view text) {
    TextColumns pairs(2);
    // A pair is rarely shorter, and the memory is not touched before it is needed.
    pairs.column(0).reserve(text.size() / 8);
    pairs.column(1).reserve(text.size() / 8);
    for (LineCursor lines(text); !lines.at_end();) {
        const std::string_view line = trimmed(lines.next());
        if (line.empty()) continue;
        internal::TextCursor cursor(line);
        double x = 0.0;
        double y = 0.0;
        if (!cursor.read_number(&x)) return std::nullopt;
        const std::size_t before = cursor.rest().size();
        internal::consume_separator(cursor);
        if (cursor.rest().size() == before || !cursor.read_number(&y)) return std::nullopt;
        if (!cursor.rest().empty()) return std::nullopt;
        pairs.column(0).push_back(x);
        pairs.column(1).push_back(y);
    }
    if (pairs.rows() == 0) return std::nullopt;
    return pairs;
}

}  // namespace vekanalysis::io
