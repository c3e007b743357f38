#include "python/docstring.hpp"

#include <cstddef>

namespace vekanalysis::python {

namespace {

constexpr std::size_t line_length = 84;
constexpr std::string_view indent = "    ";

/// Characters of UTF-8 text.
std::size_t length_of(std::string_view text) noexcept {
    std::size_t n = 0;
    for (const char c : text) n += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
    return n;
}

/// The words of `text` in indented lines.
std::string wrapped(std::string_view text) {
    std::string lines;
    std::size_t column = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (word.empty()) continue;
        if (column == 0 || column + 1 + length_of(word) > line_length) {
            if (column > 0) lines += '\n';
            lines += indent;
            column = indent.size();
        } else {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += length_of(word);
    }
    return lines.empty() ? lines : lines + '\n';
}

}  // namespace

Docstring& Docstring::parameter(std::string_view name, std::string_view type,
                                std::string_view meaning) {
    entry("Parameters", std::string(name) + " : " + std::string(type), meaning);
    return *this;
}

Docstring& Docstring::returns(std::string_view type, std::string_view meaning) {
    entry("Returns", type, meaning);
    return *this;
}

Docstring& Docstring::raises(std::string_view error, std::string_view when) {
    entry("Raises", error, when);
    return *this;
}

Docstring& Docstring::section(std::string_view heading, std::string_view text) {
    open(heading);
    text_ += text;
    return *this;
}

Docstring& Docstring::paragraph(std::string_view text) {
    open({});
    text_ += text;
    return *this;
}

Docstring& Docstring::indented(std::size_t blanks) {
    std::string indented = "\n";
    const std::string_view text = text_;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        if (end > start) indented.append(blanks, ' ').append(text, start, end - start);
        indented += '\n';
        start = end + 1;
    }
    text_ = std::move(indented);
    return *this;
}

void Docstring::entry(std::string_view heading, std::string_view title, std::string_view text) {
    if (heading_ != heading) open(heading);
    text_.append(title).append("\n").append(wrapped(text));
}

void Docstring::open(std::string_view heading) {
    while (text_.ends_with('\n')) text_.pop_back();
    text_ += "\n\n";
    if (!heading.empty()) {
        text_.append(heading).append("\n").append(heading.size(), '-').append("\n");
    }
    heading_ = heading;
}

}  // namespace vekanalysis::python
