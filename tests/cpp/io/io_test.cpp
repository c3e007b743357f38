#include "io/io.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "image_builder.hpp"
#include "io/csv.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::io {

namespace {

const std::string could_not_open = "Could not open file for reading: ";

/// A folder of its own, whose name is not ASCII, for the files of one test.
class FileTest : public testing::Test {
protected:
    FileTest()
        : folder_(
              std::filesystem::path(testing::TempDir()) /
              (std::u8string(u8"m\u00E4\u00DFung \u6E2C\u5B9A ") +
               std::filesystem::path(testing::UnitTest::GetInstance()->current_test_info()->name())
                   .u8string())) {
        std::filesystem::create_directories(folder_);
    }
    ~FileTest() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] static std::string utf8(const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }

    template <class Range>
    std::string write(const std::string& name, const Range& bytes) {
        const std::filesystem::path path = folder_ / name;
        std::ofstream stream(path, std::ios::binary);
        for (const auto byte : bytes) stream.put(static_cast<char>(byte));
        return utf8(path);
    }

    std::filesystem::path folder_;
};

TEST_F(FileTest, LoadsTheSameFromPathAndBytes) {
    const image::Bytes bytes = image::vekfile();
    const std::string path = write("lens.vek", bytes);
    EXPECT_EQ(load_vekfile(path).data_sets.at(1).data, load_vekfile(bytes).data_sets.at(1).data);
    EXPECT_EQ(load_vek_scan_data(path).at("Lens A"), load_vekfile(bytes).data_sets.at(0).data);
    EXPECT_EQ(vekfile_to_json(path, 2, true), vekfile_to_json(bytes, 2, true));
}

TEST_F(FileTest, SaysWhichFileCannotBeRead) {
    const std::string folder = utf8(folder_);
    for (const std::string& path : {utf8(folder_ / "missing.vek"), folder, std::string(),
                                    write("real.csv", std::string("1 2")) + '\0' + "suffix"}) {
        for (const auto& text :
             {thrown_text([&] { static_cast<void>(load_vekfile(path)); }),
              thrown_text([&] { static_cast<void>(load_vek_scan_data(path)); }),
              thrown_text([&] { static_cast<void>(vekfile_to_json(path, 0, 0)); }),
              thrown_text([&] { static_cast<void>(load_csv(path)); })}) {
            const std::string expected = (could_not_open + path).c_str();
            EXPECT_EQ(text.substr(0, expected.size()), expected);
        }
    }
    EXPECT_THROW(static_cast<void>(load_csv(folder)), std::ios_base::failure);
}

TEST_F(FileTest, AnEmptyFileIsAnEmptyBuffer) {
    const image::Bytes none;
    const std::string path = write("empty", none);
    EXPECT_EQ(thrown_text([&] { static_cast<void>(load_vekfile(path)); }), "Buffer is empty");
    EXPECT_EQ(thrown_text([&] { static_cast<void>(load_vek_scan_data(none)); }), "Buffer is empty");
    EXPECT_EQ(thrown_text([&] { static_cast<void>(vekfile_to_json(none, 2000, true)); }),
              "Buffer is empty");
    EXPECT_TRUE(load_csv(path).empty());
}

TEST_F(FileTest, LoadsCsv) {
    const Scan scan =
        load_csv(write("a.csv", std::string("400,1.5\r\n401;2.5\n402\t3.5\n403 4.5")));
    EXPECT_EQ(scan, Scan({{400.0, 1.5}, {401.0, 2.5}, {402.0, 3.5}, {403.0, 4.5}}));
    EXPECT_EQ(scan.get_interpolation_type(), spline::Type::AKIMA);
}

TEST(LoadVekScanData, KeepsTheLastOfEqualNames) {
    const auto scans = load_vek_scan_data(image::vekfile(
        {.data_sets = {{"A", {1.0}, {1.0}}, {"B", {1.0}, {2.0}}, {"A", {1.0}, {3.0}}}}));
    EXPECT_EQ(scans.size(), 2U);
    EXPECT_EQ(scans.at("A").at(1.0), 3.0);
}

}  // namespace

}  // namespace vekanalysis::io
