#include "io/csv.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

}  // namespace

}  // namespace vekanalysis::io
