#include "io/file.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <ios>
#include <new>
#include <string>
#include <vector>

namespace vekanalysis::internal {

namespace {

/// A source that gives at most `piece` characters at a time, and throws after `size` of them.
template <class Error>
class Faulty : public std::streambuf {
public:
    Faulty(std::size_t size, std::size_t piece) : left_(size), piece_(piece) {}

protected:
    std::streamsize xsgetn(char* to, std::streamsize count) override {
        if (left_ == 0) throw Error();
        const std::size_t given = std::min({left_, piece_, static_cast<std::size_t>(count)});
        std::fill_n(to, given, 'x');
        left_ -= given;
        return static_cast<std::streamsize>(given);
    }

private:
    std::size_t left_;
    std::size_t piece_;
};

struct End {};

/// A source that ends after its characters.
class Short : public Faulty<End> {
public:
    using Faulty<End>::Faulty;

protected:
    std::streamsize xsgetn(char* to, std::streamsize count) override {
        try {
            return Faulty<End>::xsgetn(to, count);
        } catch (const End&) {
            return 0;
        }
    }
};

struct DeviceError : std::ios_base::failure {
    DeviceError() : std::ios_base::failure("device") {}
};

TEST(ReadAll, PutsPiecesOfAnySizeTogether) {
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 300000U}) {
        for (const std::size_t piece : {7U, 4096U, 1U << 30}) {
            for (const std::size_t expected : {0U, 1U, 300000U}) {
                Short source(size, piece);
                EXPECT_EQ(read_all(source, expected, "a"), std::vector<unsigned char>(size, 'x'))
                    << size << " in " << piece << ", expected " << expected;
            }
        }
    }
}

TEST(ReadAll, GivesNothingOfASourceThatFails) {
    for (const std::size_t size : {0U, 1U, 70000U}) {
        Faulty<DeviceError> broken(size, 4096);
        try {
            static_cast<void>(read_all(broken, 100000, "a.vek"));
            ADD_FAILURE() << "it was read";
        } catch (const std::ios_base::failure& error) {
            const std::string text = error.what();
            EXPECT_EQ(text.find("Could not open file for reading: a.vek"), 0U) << text;
        }
        Faulty<std::bad_alloc> poor(size, 4096);
        EXPECT_THROW(static_cast<void>(read_all(poor, 100000, "a.vek")), std::bad_alloc);
    }
}

}  // namespace

}  // namespace vekanalysis::internal
