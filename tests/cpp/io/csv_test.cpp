#include "io/csv.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "stream_reader.hpp"

namespace vekanalysis::io {

namespace {

using Pairs = std::vector<std::pair<double, double>>;

Pairs pairs(const Scan& scan) {
    return {scan.begin(), scan.end()};
}

TEST(ParseCsv, StopsAtTheFirstTextThatIsNoPair) {
    for (const std::string text : {"", "1,", "wavelength,value\n400,1",
                                   "\xEF\xBB\xBF"
                                   "400,1",
                                   ",400,1", "400\n,1", "1,nan", "1,-inf", "1,.", "1,1.5e",
                                   "1,1.5e+", "1,+-2", "1,e5", "1,-1e999"}) {
        EXPECT_TRUE(parse_csv(text).empty()) << text;
        EXPECT_EQ(pairs(parse_csv("400,1\n" + text)), Pairs({{400, 1}})) << text;
    }
}

TEST(ParseCsv, TakesTheNumbersThatAStreamTakes) {
    const std::pair<std::string, Pairs> cases[]{
        {"400,1\n400,2", {{400, 2}}},
        {"400,1 401,2\n\n402\n3", {{400, 1}, {401, 2}, {402, 3}}},
        {"400 , ;;\t 1\r\n401,2\r\n", {{400, 1}, {401, 2}}},
        {"400,1,\n401,2", {{400, 1}}},
        {"400, \n1", {{400, 1}}},
        {"400-1", {{400, -1}}},
        {"+1,.5 -2.,+.25", {{-2, 0.25}, {1, 0.5}}},
        {"1.2.3", {{1.2, 0.3}}},
        {"1e5.3", {{1e5, 0.3}}},
        {"1e2-3", {{100, -3}}},
        {"1,2 3,0x10", {{1, 2}, {3, 0}}},
        {"1e-400,1e-320", {{0, 1e-320}}},
        {"1,2 1e400,3 4,5", {{1, 2}}},
        {"1,5.E1", {{1, 50}}},
        {"1,1e5e3", {{1, 1e5}}},
        {"1,2\v3\f4", {{1, 2}, {3, 4}}},
        {std::string("1,2\0003,4", 7), {{1, 2}}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(pairs(parse_csv(text)), expected) << text;
}

Pairs read_with_cursor(const std::string& text) {
    internal::TextCursor cursor(text);
    Pairs result;
    double x = 0.0;
    double y = 0.0;
    while (cursor.read_number(&x) && internal::consume_separator(cursor).read_number(&y)) {
        result.emplace_back(x, y);
    }
    return result;
}

/// Signed zeros apart, too.
bool same_bits(const Pairs& a, const Pairs& b) {
    return a == b && std::equal(a.begin(), a.end(), b.begin(), [](const auto& p, const auto& q) {
               return std::signbit(p.first) == std::signbit(q.first) &&
                      std::signbit(p.second) == std::signbit(q.second);
           });
}

TEST(TextCursor, ReadsBackWrittenNumbers) {
    std::mt19937_64 random(7);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(17);
    Pairs written;
    for (int i = 0; i < 20'000; ++i) {
        const std::pair numbers(std::bit_cast<double>(std::uint64_t{random()}),
                                std::ldexp(static_cast<double>(random()), -60));
        if (!std::isfinite(numbers.first)) continue;
        written.push_back(numbers);
        text << numbers.first << " ,;\t"[i % 4] << numbers.second << (i % 3 == 0 ? "\r\n" : "\n");
    }
    EXPECT_TRUE(same_bits(read_with_cursor(text.str()), written));
}

#ifdef __GLIBCXX__

TEST(TextCursor, AgreesWithTheStreamOnRandomText) {
    std::mt19937 random(20240301);
    const auto pick = [&random](std::size_t n) { return random() % n; };
    const std::vector<std::string> pieces{
        "0",    "1",     "7",    "42",    "400.25", "12345678901234567890123",
        ".",    ".",     "e",    "E",     "e",      "+",
        "-",    "-",     "e-",   "e+3",   "e40",    "e-320",
        "e308", "e-400", "e999", "1e400", "000",    "x",
        "nan",  "inf",   ",",    ",",     " ",      " ",
        "\t",   ";",     "\n",   "\r\n",  "\f",     "0x1p3"};
    const std::string good = "400,1.5 +401;\t-2e-3\r\n.5 , 6.\n-1e300-7";
    std::size_t read = 0;
    for (int round = 0; round < 60'000; ++round) {
        // Either pieces alone, or good pairs with pieces put into them.
        const bool damaged = round % 2 == 0;
        std::string text = damaged ? good : "";
        for (std::size_t left = 1 + pick(damaged ? 2 : 12); left > 0; --left) {
            text.insert(damaged ? pick(text.size() + 1) : text.size(), pieces[pick(pieces.size())]);
        }
        const Pairs expected = read_pairs_with_streams(text);
        const Pairs actual = read_with_cursor(text);
        ASSERT_TRUE(same_bits(actual, expected)) << text;
        read += actual.size();
    }
    EXPECT_GT(read, 40'000U) << "most of the texts should not fail at once";
}

#endif

}  // namespace

}  // namespace vekanalysis::io
