#include "io/io.hpp"

#include <gtest/gtest.h>

#include <ios>
#include <string>

#include "image_builder.hpp"
#include "io/csv.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::io {

namespace {

TEST(Files, ThatCannotBeReadAreIoFailures) {
    // tests/python/test_io.py has the texts and all the ways in which a file cannot be read.
    const std::string folder = testing::TempDir();
    EXPECT_THROW(static_cast<void>(load_csv(folder)), std::ios_base::failure);
    EXPECT_THROW(static_cast<void>(load_vekfile(folder + "missing")), std::ios_base::failure);
}

TEST(Buffers, MustNotBeEmpty) {
    const image::Bytes none;
    for (const auto& text : {thrown_text([&] { return load_vekfile(none); }),
                             thrown_text([&] { return load_vek_scan_data(none); }),
                             thrown_text([&] { return vekfile_to_json(none, 2000, true); })}) {
        EXPECT_EQ(text, "Buffer is empty");
    }
}

TEST(LoadVekScanData, KeepsTheLastOfEqualNames) {
    const auto scans = load_vek_scan_data(image::vekfile(
        {.data_sets = {{"A", {1.0}, {1.0}}, {"B", {1.0}, {2.0}}, {"A", {1.0}, {3.0}}}}));
    EXPECT_EQ(scans.size(), 2U);
    EXPECT_EQ(scans.at("A").at(1.0), 3.0);
}

}  // namespace

}  // namespace vekanalysis::io
