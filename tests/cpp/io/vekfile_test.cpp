#include "io/vekfile.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "fuzz/image_builder.hpp"
#include "io/io.hpp"
#include "io/vekfile_reader.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::vekfile {

namespace {

using image::Bytes;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

__VekFile<__DataSet<Scan>> read(const Bytes& bytes) {
    return VekFileReader(bytes.data(), bytes.size()).vekfile();
}

__VekFile<__DataSet<DataNative>> read_native(const Bytes& bytes) {
    return VekFileReaderJSON(bytes.data(), bytes.size()).vekfile();
}

/// Reads an image that may be damaged: it loads, or the exception is one that the reader names.
void expect_survival(const Bytes& bytes) {
    static const std::set<std::string> named{"no exception",
                                             "Wrong file format",
                                             "File corrupted",
                                             "Attempt to read past end of __buffer.",
                                             "",
                                             "Contents entry missing.",
                                             "16 byte GUID header missing.",
                                             "Size does not match entry size."};
    const std::string text = thrown_text([&] { static_cast<void>(read(bytes)); });
    EXPECT_TRUE(named.contains(text)) << text;
}

TEST(TypeAndUnits, AreSplitAtTheFirstDividerAndTrimmed) {
    const struct {
        std::string text, codes, type, units;
        int type_code, units_code;
    } cases[]{
        {"Signal / V  ", "3 7", "Signal", "V", 3, 7},
        {"Counts", "", "Counts", "", -1, -1},
        {"A / B / C", " -4\t12 x", "A", "B / C", -4, 12},
        {"A/B", "x", "A/B", "", 0, -1},
        {"", "5", "", "", 5, -1},
        {" a  /  \t\r\n", "1 x", " a ", "", 1, 0},
        {" / ", " ", "", "", -1, -1},
        {"Absorbance / \xC2\xA0", "99999999999 1", "Absorbance", "\xC2\xA0", 2147483647, -1},
    };
    for (const auto& [text, codes, type, units, type_code, units_code] : cases) {
        const MeasurementTypeUnits result = parse_type_and_units_strings(text, codes);
        EXPECT_EQ(result.measurement_type, type) << text;
        EXPECT_EQ(result.units, units) << text;
        EXPECT_EQ(result.measurement_type_code, type_code) << codes;
        EXPECT_EQ(result.units_code, units_code) << codes;
    }
}

TEST(VekFileReader, NamesWhatIsMissing) {
    for (const char16_t* name : {u"Content", u"Contents2"}) {
        EXPECT_EQ(thrown_text([&] { read(image::vekfile({}, {.name = name})); }),
                  "Contents entry missing.");
    }
    Bytes stream = image::contents();
    stream[4] = 0;
    EXPECT_EQ(thrown_text([&] { read(image::Container(stream).bytes); }),
              "16 byte GUID header missing.");
    stream = image::contents();
    stream.push_back(0);
    EXPECT_EQ(thrown_text([&] { read(image::Container(stream).bytes); }),
              "Size does not match entry size.");
}

TEST(VekFileReader, KeepsFileOrderEmptySetsAndRepeatedNames) {
    const auto bytes =
        image::vekfile({.data_sets = {{"B", {}, {}}, {"A", {1.0}, {2.0}}, {"B", {}, {}}}});
    const VekFileReader reader(bytes.data(), bytes.size());
    EXPECT_EQ(reader.get_dataset_names(), (std::vector<std::string>{"B", "A", "B"}));
    const auto sets = reader.vekfile().data_sets;
    ASSERT_EQ(sets.size(), 3U);
    EXPECT_TRUE(sets[0].data.empty());
    EXPECT_EQ(sets[0].data.get_interpolation_type(), spline::Type::AKIMA);
    EXPECT_EQ(sets[1].data, Scan({{1.0, 2.0}}));
    EXPECT_TRUE(read(image::vekfile({.data_sets = {}})).data_sets.empty());
}

TEST(LoadVekScanData, KeepsTheLastOfEqualNames) {
    const auto scans = io::load_vek_scan_data(image::vekfile(
        {.data_sets = {{"A", {1.0}, {1.0}}, {"B", {1.0}, {2.0}}, {"A", {1.0}, {3.0}}}}));
    EXPECT_EQ(scans.size(), 2U);
    EXPECT_EQ(scans.at("A").at(1.0), 3.0);
}

TEST(VekFileReader, OnlyTheNativeFlavourKeepsRepeatedAndNanKeys) {
    const auto repeated = image::vekfile({.data_sets = {{"r", {5.0, 4.0, 5.0}, {1.0, 2.0, 3.0}}}});
    const auto file = read(repeated);
    EXPECT_EQ(file.data_sets.at(0).no_of_points, 3U);
    EXPECT_EQ(file.data_sets.at(0).data, Scan({{4.0, 2.0}, {5.0, 3.0}}));
    const DataNative native = read_native(repeated).data_sets.at(0).data;
    EXPECT_EQ(native.x, (std::vector<double>{5.0, 4.0, 5.0}));
    EXPECT_EQ(native.y, (std::vector<double>{1.0, 2.0, 3.0}));

    const auto with_nan = image::vekfile({.data_sets = {{"n", {nan, 5.0, nan}, {1.0, 2.0, 3.0}},
                                                        {"all", {nan}, {1.0}},
                                                        {"none", {1.0}, {nan}}}});
    const auto sets = read(with_nan).data_sets;
    EXPECT_EQ(sets.at(0).data, Scan({{5.0, 2.0}}));
    EXPECT_EQ(sets.at(0).no_of_points, 3U);
    EXPECT_EQ(sets.at(0).left_out, 2U);
    EXPECT_TRUE(sets.at(1).data.empty());
    EXPECT_EQ(sets.at(1).left_out, 1U);
    EXPECT_EQ(sets.at(2).data.size(), 1U);
    EXPECT_EQ(sets.at(2).left_out, 0U);
    const auto natives = read_native(with_nan).data_sets;
    EXPECT_TRUE(std::isnan(natives.at(0).data.x.at(2)));
    EXPECT_EQ(natives.at(0).left_out, 0U);
}

TEST(VekFileReader, SurvivesEveryCutOfTheStream) {
    for (const std::uint32_t version : {1U, 3U, 5U}) {
        const Bytes good = image::contents({.file_version = version, .gv_version = version});
        const std::size_t size_at = 4 + image::contents_marker.size();
        for (std::size_t length = size_at + 4; length + 1 < good.size(); ++length) {
            Bytes stream(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
            image::put(stream, size_at, static_cast<std::uint32_t>(length));
            EXPECT_THROW(read(image::Container(stream).bytes), CFB::OutOfRange) << length;
        }
        Bytes stream(good.begin(), good.end() - 1);
        image::put(stream, size_at, static_cast<std::uint32_t>(stream.size()));
        EXPECT_NO_THROW(read(image::Container(stream).bytes)) << "one byte to spare is enough";
    }
}

TEST(VekFileReader, SurvivesDamageToTheContainer) {
    for (const std::uint32_t cutoff : {0U, 4096U}) {
        const image::Container container(image::contents(),
                                         {.mini_stream_cutoff = cutoff, .fragmented = true});
        const Bytes& good = container.bytes;
        for (std::size_t length = 1; length < good.size(); ++length) {
            // In memory of its own, so that the address sanitizer sees the end.
            expect_survival(Bytes(good.data(), good.data() + length));
        }
        Bytes bytes = good;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            for (const unsigned change : {0x01U, 0x80U, 0xFFU, good[i] ^ 0xFFU}) {
                bytes[i] = static_cast<unsigned char>(good[i] ^ change);
                if (bytes[i] != good[i]) expect_survival(bytes);
            }
            bytes[i] = good[i];
        }
        for (std::size_t sector = 0; sector <= container.first_fat; ++sector) {
            for (std::uint32_t target = 0; target <= container.first_fat + 1; ++target) {
                image::put(bytes, container.fat_address(sector), target);
                expect_survival(bytes);
            }
            bytes = good;
        }
    }
}

}  // namespace

}  // namespace vekanalysis::vekfile
