#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/evaluator_target.hpp"
#include "fuzz/targets.hpp"

namespace {

/// Hands every file of a fuzzer's corpus to what the fuzzer does; returns how many there were.
template <class F>
std::size_t replay(const char* target, const F& run) {
    std::size_t count = 0;
    const std::filesystem::path folder(VEKANALYSIS_FUZZ_CORPUS);
    for (const auto& file : std::filesystem::directory_iterator(folder / target)) {
        SCOPED_TRACE(file.path().filename().string());
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        run({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
        ++count;
    }
    return count;
}

TEST(FuzzCorpus, IsReadOrRefused) {
    EXPECT_GE(replay("container", fuzz::container), 10U);
    EXPECT_GE(replay("contents", fuzz::contents), 7U);
    EXPECT_GE(replay("csv", fuzz::csv), 5U);
}

TEST(FuzzCorpus, IsEvaluatedAsTheFunctionsDoIt) {
    EXPECT_GE(replay("evaluator", fuzz::evaluator), 10U);
}

}  // namespace
