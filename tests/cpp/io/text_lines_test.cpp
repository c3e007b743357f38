#include "io/text_lines.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "rows.hpp"

namespace vekanalysis::io {

namespace {

using Doubles = std::vector<double>;

std::vector<std::string> shapes(const std::string& text, const std::vector<std::size_t>& out = {}) {
    std::vector<std::string> found;
    const TextLines lines(text, out);
    for (const TextLines::Shape& shape : lines.shapes()) found.push_back(shape.text);
    return found;
}

/// Columns 0 and 1 of all lines.
TextColumns columns(const std::string& text, const CellFormat& format) {
    const TextLines lines(text);
    return lines.columns(TextLines::Selection(lines.shapes().size(), true), format, {0, 1});
}

TEST(TextLines, TellsLinesApartByTheirShapes) {
    EXPECT_EQ(shapes("400;0.25\r\n9;123.5\n\n  a  b 12\r-1e-05"),
              (std::vector<std::string>{"0;0.0", "", "a b 0", "-0e-0"}));
    EXPECT_EQ(shapes("a\n1\nb\n", {0, 2}), std::vector<std::string>{"0"});
    const std::string text = "nm\n1\n2\n\n34";
    const TextLines lines(text);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines.shapes()[1].count, 3U);
    EXPECT_EQ(lines.shapes()[1].first, 1U);
    EXPECT_EQ(lines.shapes()[1].last, 4U);
    EXPECT_EQ(lines.line(4), "34");
    EXPECT_EQ(lines.line(5), "");
    const TextLines::Selection numbers{false, true, false};
    EXPECT_EQ(lines.line_of_row(numbers, 2), 4U);
    EXPECT_EQ(lines.line_of_row(numbers, 3), 5U);
    EXPECT_EQ(lines.lines_of({true, false, true}, false).size(), 2U);
}

TEST(TextLines, ReadsCellsInTheirFormat) {
    for (const auto& [text, delimiter, decimal, group, numbers] :
         rows<std::string, std::string, std::string, std::string, Doubles>("cells")) {
        const TextColumns found = columns(text, {delimiter, decimal.at(0), group});
        ASSERT_EQ(found.rows(), 1U) << text;
        EXPECT_EQ(found.column(0)[0], numbers.at(0)) << text;
        const double y = found.column(1)[0];
        EXPECT_TRUE(numbers.size() > 1 ? y == numbers[1] : std::isnan(y)) << text << ": " << y;
    }
}

TEST(TextLines, NamesTheCellThatCannotBeRead) {
    const std::pair<std::string, CellFault> cases[]{
        {"1;1e999", CellFault::too_large},    {"1;1'00", CellFault::malformed},
        {"1;1'0000", CellFault::malformed},   {"1;1000'000", CellFault::malformed},
        {"1;1'000'00", CellFault::malformed},
    };
    for (const auto& [row, fault] : cases) {
        const TextColumns found = columns("1;2\n" + row + "\n3;4", {";", '.', "'"});
        EXPECT_EQ(found.problem().fault, fault) << row;
        EXPECT_EQ(found.problem().line, 1U);
        EXPECT_EQ(found.problem().column, 1U);
    }
    EXPECT_EQ(columns("1;2", {";"}).problem().fault, CellFault::none);
}

TEST(TextColumns, SayWhatTheyHold) {
    const TextColumns found = columns("3;-\n4;0\n5;7\n;1", {";"});
    const TextColumns::Facts x = found.facts(0);
    const TextColumns::Facts y = found.facts(1);
    EXPECT_EQ(x.missing, 1U);
    EXPECT_EQ(x.first_missing, 3U);
    EXPECT_EQ(x.first_not_positive, TextColumns::none);
    EXPECT_FALSE(x.counts);
    EXPECT_EQ(y.lowest, 0.0);
    EXPECT_EQ(y.highest, 7.0);
    EXPECT_EQ(y.first_not_positive, 1U);
    EXPECT_TRUE(columns("1;1\n2;1\n3;1", {";"}).facts(0).counts);
    EXPECT_EQ(found.first_without(0, 1), 3U);
    EXPECT_EQ(found.first_without(1, 1), TextColumns::none);
    const auto [keys, values] = found.points(0, 1);
    EXPECT_EQ(keys, (Doubles{4, 5}));
    EXPECT_EQ(values, (Doubles{0, 7}));
    EXPECT_THROW((void)found.facts(2), std::out_of_range);
}

TEST(TextColumns, FindTheFirstBreakOfTheOrder) {
    const auto order = [](const std::string& text) { return columns(text, {";"}).order(0); };
    EXPECT_FALSE(order("1;\n2;\n3;").descending);
    EXPECT_EQ(order("1;\n2;\n3;").first_turn, TextColumns::none);
    EXPECT_TRUE(order("3;\n3;\n2;").descending);
    EXPECT_EQ(order("3;\n3;\n2;").first_repeat, 1U);
    EXPECT_EQ(order("3;\n2;\n-;\n2.5;\n1;").first_turn, 3U);
    const auto steps = columns("9;\n-;\n400;\n395;\n397;", {";"}).steps(0);
    EXPECT_EQ(steps.first, 391.0);
    EXPECT_EQ(steps.widest_behind, 5.0);
}

TEST(TextColumns, ConvertWavelengthsWithoutRoundingErrors) {
    TextColumns found = columns("0.5876;1\n0.3801;1\n1e300;1", {";"});
    found.convert(0, 1e3, 1.0);
    EXPECT_EQ(found.column(0), (Doubles{587.6, 380.1, 1e303}));
}

TEST(ReadPairs, TakesLinesOfTwoNumbersOnly) {
    const auto pairs = read_pairs(" +400 0.5 \r410,.60\r\n\n\v420;;\t7e-1\n");
    ASSERT_TRUE(pairs.has_value());
    EXPECT_EQ(pairs->column(0), (Doubles{400, 410, 420}));
    EXPECT_EQ(pairs->column(1), (Doubles{0.5, 0.6, 0.7}));
    for (const std::string text : {"", "\n \n", "nm;T\n400;1", "400", "400;1;2", "400-1", "400;nan",
                                   "400;1e999", "400\n1", "400;1x", "400;1\n410;", ";400;1",
                                   "\xEF\xBB\xBF"
                                   "400;1"}) {
        EXPECT_FALSE(read_pairs(text).has_value()) << text;
    }
}

}  // namespace

}  // namespace vekanalysis::io
