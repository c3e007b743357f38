#include "io/csv.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "rows.hpp"

namespace vekanalysis::io {

namespace {

using Pairs = std::vector<std::pair<double, double>>;

Pairs pairs(const Scan& scan) {
    return {scan.begin(), scan.end()};
}

TEST(ParseCsv, TakesTheNumbersThatAStreamTakesUpToTheFirstTextThatIsNoPair) {
    for (const auto& [text, expected] : rows<std::string, Pairs>("csv-pairs")) {
        EXPECT_EQ(pairs(parse_csv(text)), expected) << text;
        if (!expected.empty()) continue;
        EXPECT_EQ(pairs(parse_csv("400,1\n" + text)), Pairs({{400, 1}})) << text;
    }
}

}  // namespace

}  // namespace vekanalysis::io
