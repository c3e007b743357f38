#include "io/file.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ios>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace vekanalysis::internal {

namespace {

/// A source of `size` characters, at most `piece` at a time, with something to do after them.
class Source : public std::streambuf {
public:
    Source(std::size_t size, std::size_t piece, std::function<void()> at_end)
        : left_(size), piece_(piece), at_end_(std::move(at_end)) {}

protected:
    std::streamsize xsgetn(char* to, std::streamsize count) override {
        if (left_ == 0) at_end_();
        const std::size_t given = std::min({left_, piece_, static_cast<std::size_t>(count)});
        std::fill_n(to, given, 'x');
        left_ -= given;
        return static_cast<std::streamsize>(given);
    }

private:
    std::size_t left_;
    std::size_t piece_;
    std::function<void()> at_end_;
};

TEST(ReadAll, PutsPiecesOfAnySizeTogether) {
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 300000U}) {
        for (const std::size_t piece : {7U, 4096U, 1U << 30}) {
            for (const std::size_t expected : {0U, 1U, 300000U}) {
                Source source(size, piece, [] {});
                EXPECT_EQ(read_all(source, expected, "a"), std::vector<unsigned char>(size, 'x'))
                    << size << " in " << piece << ", expected " << expected;
            }
        }
    }
}

TEST(ReadAll, GivesNothingOfASourceThatFails) {
    for (const std::size_t size : {0U, 1U, 70000U}) {
        Source broken(size, 4096, [] { throw std::ios_base::failure("device"); });
        try {
            static_cast<void>(read_all(broken, 100000, "a.vek"));
            ADD_FAILURE() << "it was read";
        } catch (const std::ios_base::failure& error) {
            const std::string text = error.what();
            EXPECT_EQ(text.find("Could not open file for reading: a.vek"), 0U) << text;
        }
        Source poor(size, 4096, [] { throw std::bad_alloc(); });
        EXPECT_THROW(static_cast<void>(read_all(poor, 100000, "a.vek")), std::bad_alloc);
    }
}

}  // namespace

}  // namespace vekanalysis::internal
