#include "io/vekfile.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "image_builder.hpp"
#include "io/vekfile_json.hpp"
#include "io/vekfile_reader.hpp"
#include "thrown_text.hpp"

namespace vekanalysis::vekfile {

namespace {

using image::Bytes;
using image::ContentsOptions;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

__VekFile<__DataSet<Scan>> read(const Bytes& bytes) {
    return VekFileReader(bytes.data(), bytes.size()).vekfile();
}

__VekFile<__DataSet<DataNative>> read_native(const Bytes& bytes) {
    return VekFileReaderJSON(bytes.data(), bytes.size()).vekfile();
}

/// Reads an image that may be damaged: it loads, or the exception is one that the reader names.
void expect_survival(const Bytes& bytes) {
    try {
        static_cast<void>(read(bytes));
    } catch (const CFB::WrongFormat&) {
    } catch (const CFB::FileCorrupted&) {
    } catch (const CFB::OutOfRange&) {
    } catch (const std::invalid_argument& error) {
        const std::string text = error.what();
        EXPECT_TRUE(text.empty() || text == "Scan: wavelength must not be NaN") << text;
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        EXPECT_TRUE(text == "Contents entry missing." || text == "16 byte GUID header missing." ||
                    text == "Size does not match entry size.")
            << text;
    }
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
    for (const auto& c : cases) {
        const MeasurementTypeUnits result = parse_type_and_units_strings(c.text, c.codes);
        EXPECT_EQ(result.measurement_type, c.type) << c.text;
        EXPECT_EQ(result.units, c.units) << c.text;
        EXPECT_EQ(result.measurement_type_code, c.type_code) << c.codes;
        EXPECT_EQ(result.units_code, c.units_code) << c.codes;
    }
}

struct Layout {
    std::uint32_t file_version, gv_version, graph_flag, has_timestamps;
};

class LayoutTest : public testing::TestWithParam<Layout> {};

TEST_P(LayoutTest, IsReadToTheLastField) {
    const auto [file_version, gv_version, graph_flag, has_timestamps] = GetParam();
    const auto file = read(image::vekfile({.file_version = file_version,
                                           .gv_version = gv_version,
                                           .graph_flag = graph_flag,
                                           .has_timestamps = has_timestamps,
                                           .x_type = 4}));
    EXPECT_EQ(file.meta.file_version, file_version);
    EXPECT_EQ(file.meta.has_timestamps, file_version >= 3 && has_timestamps != 0);
    EXPECT_EQ(file.meta.x_type, "Wavelength / \u00B5m");
    EXPECT_EQ(file.graph.gv_version, gv_version);
    EXPECT_EQ(file.graph.x_axis_title, "Wavelength / nm");
    EXPECT_EQ(file.graph.y_axis_title, "Transmittance");
    ASSERT_EQ(file.data_sets.size(), 2U);
    EXPECT_EQ(file.data_sets[0].name, "Lens A");
    EXPECT_EQ(file.data_sets[0].no_of_points, 3U);
    EXPECT_EQ(file.data_sets[0].data, Scan({{400.0, 0.5}, {410.0, 0.625}, {420.0, 0.75}}));
    EXPECT_EQ(file.data_sets[1].data, Scan({{600.0, 0.125}, {700.0, 0.25}}));
    const DataInfo& info = file.data_info;
    EXPECT_EQ(info.date_and_time, "2024-03-01 10:15");
    EXPECT_EQ(info.scan_summary, "summary \u00B5m");
    EXPECT_TRUE(info.apply_data_calibration);
    EXPECT_EQ(info.data_calibration_file, "cal.dat");
    EXPECT_EQ(info.certificate_file, "cert.pdf");
    EXPECT_EQ(info.system_file, "system.ini");
    EXPECT_EQ(info.pre_scan_addon_description, "before");
    EXPECT_EQ(info.post_scan_addon_description, "after");
    EXPECT_EQ(info.pre_scan_addon_filename, "pre.cfg");
    EXPECT_EQ(info.post_scan_addon_filename, "post.cfg");
    EXPECT_EQ(info.type_and_units.measurement_type, "Transmittance");
    EXPECT_EQ(info.type_and_units.units, "%");
    EXPECT_EQ(info.type_and_units.units_code, 7);
    EXPECT_EQ(info.auxiliary_type_and_units.units, "A");
    EXPECT_EQ(info.auxiliary_type_and_units.measurement_type_code, 5);
    EXPECT_TRUE(info.apply_reference);
    EXPECT_EQ(info.reference_type, "file");
    EXPECT_EQ(info.reference_file, "ref.vek");
    EXPECT_EQ(info.reference_parameter, "1.5");
}

std::vector<Layout> layouts() {
    std::vector<Layout> all;
    for (std::uint32_t file = 1; file <= 5; ++file) {
        for (std::uint32_t gv = 1; gv <= 5; ++gv) {
            for (std::uint32_t flag : {0U, 1U, 2U}) {
                if (flag > 0 && gv < 4) continue;
                all.push_back({file, gv, flag, 1});
                all.push_back({file, gv, flag, 0});
            }
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Versions, LayoutTest, testing::ValuesIn(layouts()),
                         [](const auto& instance) {
                             return "file" + std::to_string(instance.param.file_version) + "_view" +
                                    std::to_string(instance.param.gv_version) + "_flag" +
                                    std::to_string(instance.param.graph_flag) +
                                    (instance.param.has_timestamps != 0 ? "_timestamps" : "");
                         });

TEST(VekFileReader, NamesTheXAxisByItsCode) {
    const std::string texts[]{"Wavelength / nm",      "Time / s", "Time / ms", "Arbitrary units",
                              "Wavelength / \u00B5m", "",         ""};
    for (std::uint32_t code = 0; code < std::size(texts); ++code) {
        EXPECT_EQ(read(image::vekfile({.x_type = code})).meta.x_type, texts[code]);
    }
}

TEST(VekFileReader, NamesWhatIsMissing) {
    EXPECT_EQ(thrown_text([] { read(image::vekfile({}, {.name = u"Content"})); }),
              "Contents entry missing.");
    EXPECT_EQ(thrown_text([] { read(image::vekfile({}, {.name = u"Contents2"})); }),
              "Contents entry missing.");
    Bytes stream = image::contents();
    stream[4] = 0;
    EXPECT_EQ(thrown_text([&] { read(image::Container(stream).bytes); }),
              "16 byte GUID header missing.");
    stream = image::contents();
    stream.push_back(0);
    EXPECT_EQ(thrown_text([&] { read(image::Container(stream).bytes); }),
              "Size does not match entry size.");
}

TEST(VekFileReader, KeepsSetsWithoutPointsAndTheirNames) {
    const auto file =
        read(image::vekfile({.data_sets = {{"none", {}, {}}, {"one", {1.0}, {2.0}}}}));
    ASSERT_EQ(file.data_sets.size(), 2U);
    EXPECT_EQ(file.data_sets[0].name, "none");
    EXPECT_TRUE(file.data_sets[0].data.empty());
    EXPECT_EQ(file.data_sets[0].data.get_interpolation_type(), spline::Type::AKIMA);
    EXPECT_EQ(file.data_sets[1].data.size(), 1U);
    EXPECT_TRUE(read(image::vekfile({.data_sets = {}})).data_sets.empty());
}

TEST(VekFileReader, OnlyTheNativeFlavourKeepsRepeatedAndNanKeys) {
    const auto repeated = image::vekfile({.data_sets = {{"r", {5.0, 4.0, 5.0}, {1.0, 2.0, 3.0}}}});
    const auto file = read(repeated);
    EXPECT_EQ(file.data_sets[0].no_of_points, 3U);
    EXPECT_EQ(file.data_sets[0].data, Scan({{4.0, 2.0}, {5.0, 3.0}}));
    const DataNative native = read_native(repeated).data_sets[0].data;
    EXPECT_EQ(native.x, (std::vector<double>{5.0, 4.0, 5.0}));
    EXPECT_EQ(native.y, (std::vector<double>{1.0, 2.0, 3.0}));

    const auto with_nan = image::vekfile({.data_sets = {{"n", {5.0, nan}, {1.0, 2.0}}}});
    EXPECT_EQ(thrown_text([&] { read(with_nan); }), "Scan: wavelength must not be NaN");
    EXPECT_TRUE(std::isnan(read_native(with_nan).data_sets[0].data.x[1]));
}

TEST(VekFileReader, ListsNamesInFileOrder) {
    const auto bytes =
        image::vekfile({.data_sets = {{"B", {}, {}}, {"A", {}, {}}, {"B", {1.0}, {1.0}}}});
    const VekFileReader reader(bytes.data(), bytes.size());
    EXPECT_EQ(reader.get_dataset_names(), (std::vector<std::string>{"B", "A", "B"}));
    EXPECT_EQ(reader.vekfile().data_sets.size(), 3U);
}

TEST(VekFileReader, CountsBeyondTheStreamEndWithoutAllocating) {
    // A place where each count stands, found by the bytes in front of it.
    const Bytes good = image::contents();
    const auto after = [&good](std::string_view text) {
        const auto found = std::search(good.begin(), good.end(), text.begin(), text.end(),
                                       [](unsigned char a, char b) { return char(a) == b; });
        return static_cast<std::size_t>(found - good.begin()) + text.size();
    };
    const std::size_t places[]{after("Transmittance") + 68, after("sets"),
                               after("sets") + 64,          after("note"),
                               after("note") + 4,           good.size() - 2};
    for (const std::size_t place : places) {
        for (const std::uint32_t count : {0x00010000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            Bytes stream = good;
            if (place + 4 <= stream.size()) image::put(stream, place, count);
            if (place + 4 > stream.size()) stream.resize(place);
            EXPECT_THROW(read(image::Container(stream).bytes), std::runtime_error) << place;
        }
    }
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

class DamageTest : public testing::TestWithParam<image::ContainerOptions> {
protected:
    const Bytes good_ = image::vekfile({}, GetParam());
};

TEST_P(DamageTest, SurvivesEveryCutOfTheImage) {
    for (std::size_t length = 1; length < good_.size(); ++length) {
        expect_survival(Bytes(good_.begin(), good_.begin() + static_cast<std::ptrdiff_t>(length)));
    }
}

TEST_P(DamageTest, SurvivesEveryChangedByte) {
    Bytes bytes = good_;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (const unsigned change : {0x01U, 0x80U, 0xFFU, good_[i] ^ 0xFFU}) {
            bytes[i] = static_cast<unsigned char>(good_[i] ^ change);
            if (bytes[i] != good_[i]) expect_survival(bytes);
        }
        bytes[i] = good_[i];
    }
}

TEST_P(DamageTest, SurvivesEveryLinkToEveryOtherSector) {
    const image::Container container(image::contents(), GetParam());
    Bytes bytes = container.bytes;
    for (std::size_t sector = 0; sector <= container.first_fat; ++sector) {
        const std::size_t place = container.fat_address(sector);
        for (std::uint32_t target = 0; target <= container.first_fat + 1; ++target) {
            image::put(bytes, place, target);
            expect_survival(bytes);
        }
        std::copy_n(good_.begin() + static_cast<std::ptrdiff_t>(place), 4,
                    bytes.begin() + static_cast<std::ptrdiff_t>(place));
    }
}

INSTANTIATE_TEST_SUITE_P(Containers, DamageTest,
                         testing::Values(image::ContainerOptions{.fragmented = true},
                                         image::ContainerOptions{.mini_stream_cutoff = 0,
                                                                 .fragmented = true}),
                         [](const auto& instance) {
                             return instance.param.mini_stream_cutoff == 0 ? "regular" : "mini";
                         });

__VekFile<__DataSet<DataNative>> small_file() {
    __VekFile<__DataSet<DataNative>> file;
    file.meta = {2, false, "Wavelength / \u00B5m"};
    file.graph = {1, "x \"title\"", "y"};
    file.data_sets.push_back({3, "A", DataNative({1.0, 1.0, nan}, {0.1, -0.0, 1e300})});
    file.data_info.type_and_units = {"T", "%", 3, -1};
    return file;
}

/// Written by hand from the format's description; the members stand in byte order.
const std::string small_json =
    R"({"data_info":{"apply_data_calibration":false,"apply_reference":false,)"
    R"("auxiliary_type_and_units":{"measurement_type":"","measurement_type_code":-1,"units":"",)"
    R"("units_code":-1},"certificate_file":"","data_calibration_file":"","date_and_time":"",)"
    R"("post_scan_addon_description":"","post_scan_addon_filename":"",)"
    R"("pre_scan_addon_description":"","pre_scan_addon_filename":"","reference_file":"",)"
    R"("reference_parameter":"","reference_type":"","scan_summary":"","system_file":"",)"
    R"("type_and_units":{"measurement_type":"T","measurement_type_code":3,"units":"%",)"
    R"("units_code":-1}},"data_sets":[{"data":{"x":[1.0,1.0,null],"y":[0.1,-0.0,1e+300]},)"
    R"("name":"A","no_of_points":3}],"graph":{"gv_version":1,"x_axis_title":"x \"title\"",)"
    R"("y_axis_title":"y"},"meta":{"file_version":2,"has_timestamps":false,"x_type":)"
    R"("Wavelength / )";

TEST(VekFileToJson, WritesEveryMemberInOrder) {
    EXPECT_EQ(vekfile_to_json(small_file(), -1, false), small_json + "\u00B5m\"}}");
    EXPECT_EQ(vekfile_to_json(small_file(), -1, true), small_json + "\\u00b5m\"}}");
    auto without_sets = small_file();
    without_sets.data_sets.clear();
    EXPECT_EQ(vekfile_to_json(without_sets, -1, true).find("data_sets"), std::string::npos);
}

TEST(VekFileToJson, IsLaidOutAsTheWholeDocumentWouldBe) {
    auto file = small_file();
    for (const std::size_t sets : {1U, 2U, 0U, 3U}) {
        file.data_sets.resize(sets, {0, "\"data_sets\": [", {}});
        for (const int indent : {-1, 0, 1, 3, 500, 1023, 1024}) {
            for (const bool ensure_ascii : {false, true}) {
                const std::string text = vekfile_to_json(file, indent, ensure_ascii);
                EXPECT_EQ(text, nlohmann::json::parse(text).dump(indent, ' ', ensure_ascii));
            }
        }
    }
}

TEST(VekFileToJson, RefusesIndentsThatTheWriterCannotDo) {
    for (const int indent : {1025, 5000, std::numeric_limits<int>::max()}) {
        EXPECT_THROW(static_cast<void>(vekfile_to_json(small_file(), indent, false)),
                     std::invalid_argument);
    }
    EXPECT_EQ(vekfile_to_json(small_file(), std::numeric_limits<int>::min(), false),
              vekfile_to_json(small_file(), -1, false));
}

}  // namespace

}  // namespace vekanalysis::vekfile
