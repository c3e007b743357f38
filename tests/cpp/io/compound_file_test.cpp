#include "io/compound_file.hpp"
#include "thrown_text.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <string>

#include "fuzz/image_builder.hpp"

namespace {

using image::Bytes;
using image::Container;

Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
    return bytes;
}

/// The parser over an image of its own, with a way to look at what it loaded.
class Parser : private std::unique_ptr<const Bytes>, public CFB::CompoundFileParser {
public:
    explicit Parser(const Bytes& image)
        : unique_ptr(std::make_unique<const Bytes>(image)),
          CompoundFileParser((*this)->data(), (*this)->size()) {}

    [[nodiscard]] const Bytes& stream() const { return buffer; }
    [[nodiscard]] std::uint64_t position() const { return pos; }
};

TEST(CompoundFileReader, RefusesWhatIsNoContainer) {
    const Bytes good = Container(pattern(5000)).bytes;
    const auto open = [](const Bytes& image, std::size_t len) {
        static_cast<void>(CFB::CompoundFileReader(image.data(), len));
    };
    EXPECT_THROW(CFB::CompoundFileReader(nullptr, 4096), std::invalid_argument);
    EXPECT_THROW(open(good, 0), std::invalid_argument);
    EXPECT_EQ(thrown_text([&] { open(good, 511); }), "Wrong file format");
    EXPECT_EQ(thrown_text([&] { open(good, 1535); }), "File corrupted");
    Bytes other_signature = good;
    other_signature[7] = 0;
    EXPECT_THROW(open(other_signature, good.size()), CFB::WrongFormat);
    const Bytes version_4 = Container(pattern(5000), {.major_version = 4}).bytes;
    EXPECT_THROW(open(version_4, 3 * 4096 - 1), CFB::FileCorrupted);
    EXPECT_NO_THROW(open(version_4, version_4.size()));
}

TEST(CompoundFileReader, FindsEntriesByIndex) {
    Container container(pattern(100));
    const Parser parser(container.bytes);
    EXPECT_EQ(parser.GetEntry(0xFFFFFFFF), nullptr);
    EXPECT_EQ(thrown_text([&] { return parser.get_entry_name(0xFFFFFFFF); }), "Invalid entry id");
    EXPECT_EQ(parser.get_entry_name(0), "Root Entry");
    EXPECT_EQ(parser.get_entry_size(1), 100U);
    // The directory has one sector, four entries; the image would have room for more.
    EXPECT_EQ(parser.get_entry_name(3), "");
    EXPECT_THROW(static_cast<void>(parser.GetEntry(4)), CFB::FileCorrupted);
    EXPECT_THROW(static_cast<void>(parser.GetEntry(container.bytes.size() / 128)),
                 std::invalid_argument);

    // A directory at the end of the image, which ends inside its third entry.
    const std::uint32_t last = static_cast<std::uint32_t>(container.bytes.size() / 512 - 1);
    image::put(container.bytes, 48, last);
    container.bytes.resize(container.sector_address(last) + 2 * 128 + 127);
    const Parser cut(container.bytes);
    EXPECT_NO_THROW(static_cast<void>(cut.GetEntry(1)));
    EXPECT_THROW(static_cast<void>(cut.GetEntry(2)), CFB::FileCorrupted);
}

TEST(CompoundFileReader, ConvertsNamesToUtf8) {
    const std::pair<std::u16string, std::string> cases[]{
        {u"Contents", "Contents"},
        {u"\u00B5\u20AC", "\xC2\xB5\xE2\x82\xAC"},
        {u"\U0001F600!", "\xF0\x9F\x98\x80!"},
        {std::u16string{u'a', 0xD800, u'b', 0xDC00, u'c'}, "abc"},
        {std::u16string(31, u'x') + char16_t{0xD83D}, std::string(31, 'x')},
    };
    for (const auto& [name, expected] : cases) {
        const Bytes bytes = Container(pattern(10), {.name = name}).bytes;
        EXPECT_EQ(Parser(bytes).get_entry_name(1), expected);
    }
}

TEST(CompoundFileReader, ReadsStreamsWholeAndInPieces) {
    const struct {
        std::uint16_t version;
        std::size_t size;
        bool fragmented;
        std::uint32_t cutoff = 4096;
    } cases[]{{3, 0, false},   {3, 1, false},    {3, 64, false},       {3, 4095, true},
              {3, 4096, true}, {3, 9000, false}, {3, 999, true, 1000}, {3, 1000, true, 1000},
              {4, 4095, true}, {4, 4096, false}, {4, 100'000, true}};
    for (const auto& [version, size, fragmented, cutoff] : cases) {
        SCOPED_TRACE(testing::Message() << "v" << version << " " << size);
        const Bytes stream = pattern(size);
        const Container container(stream, {version, cutoff, fragmented});
        Parser parser(container.bytes);
        parser.read_file(1);
        EXPECT_TRUE(parser.stream() == stream);
        EXPECT_EQ(parser.position(), 0U);

        const CFB::COMPOUND_FILE_ENTRY* entry = parser.GetEntry(1);
        for (const std::size_t offset : {std::size_t{0}, std::size_t{63}, std::size_t{64}, size / 2,
                                         size / 512 * 512, size - std::min<std::size_t>(size, 1)}) {
            for (const std::size_t len : {std::size_t{1}, std::size_t{513}, size - offset}) {
                if (offset > size || len > size - offset) continue;
                Bytes piece(len);
                parser.ReadFile(entry, offset, reinterpret_cast<char*>(piece.data()), len);
                EXPECT_TRUE(std::equal(piece.begin(), piece.end(), stream.data() + offset))
                    << offset << " " << len;
            }
        }
        char byte = 0;
        EXPECT_THROW(parser.ReadFile(entry, size, &byte, 1), std::invalid_argument);
        EXPECT_THROW(parser.ReadFile(entry, size + 1, &byte, 0), std::invalid_argument);
    }
}

TEST(CompoundFileReader, FindsTheFatBeyondTheHeaderThroughTheDifat) {
    // 16 MB of 512-byte sectors: 257 parts of the FAT, 109 in the header, 127 in the first DIFAT
    // sector.
    const Bytes stream = pattern(16 << 20);
    const Container container(stream, {.fragmented = true});
    Parser parser(container.bytes);
    for (const std::size_t part : {0U, 108U, 109U, 235U, 236U, 256U}) {
        EXPECT_EQ(parser.GetFATSectorLocation(part), container.first_fat + part);
    }
    parser.read_file(1);
    EXPECT_TRUE(parser.stream() == stream);
}

TEST(CompoundFileReader, TableEntriesMayEndWithTheImageButNotBeyond) {
    // The FAT is the last sector; the image is cut behind the entry of the sector before it.
    Container container(pattern(9000));
    const std::size_t sector = container.first_fat - 1;
    image::put(container.bytes, container.fat_address(sector), std::uint32_t{77});
    container.bytes.resize(container.fat_address(sector) + 4);
    EXPECT_EQ(Parser(container.bytes).GetNextSector(sector), 77U);
    for (int cut = 1; cut <= 4; ++cut) {
        container.bytes.pop_back();
        EXPECT_THROW(static_cast<void>(Parser(container.bytes).GetNextSector(sector)),
                     CFB::FileCorrupted);
    }
}

TEST(CompoundFileReader, NeverFollowsSectorsOutsideTheImage) {
    const Container container(pattern(9000));
    const Parser parser(container.bytes);
    const std::size_t count = container.bytes.size() / 512 - 1;
    EXPECT_NO_THROW(static_cast<void>(parser.GetNextSector(count - 1)));
    for (const std::size_t sector : {count, std::size_t{0xFFFFFFF9}, std::size_t{0xFFFFFFFA},
                                     std::size_t{0xFFFFFFFE}, ~std::size_t{0}}) {
        char byte = 0;
        EXPECT_THROW(static_cast<void>(parser.GetNextSector(sector)), CFB::FileCorrupted);
        EXPECT_THROW(parser.ReadStream(sector, 0, &byte, 1), CFB::FileCorrupted);
        EXPECT_THROW(parser.ReadMiniStream(sector, 0, &byte, 1), CFB::FileCorrupted);
        EXPECT_THROW(static_cast<void>(parser.GetNextMiniSector(sector)), CFB::FileCorrupted);
        EXPECT_THROW(static_cast<void>(parser.MiniSectorOffsetToAddress(sector, 0)),
                     CFB::FileCorrupted);
    }
}

TEST(CompoundFileReader, AFullLastSectorIsRead) {
    // The stream's only sector moves to the very end of the image.
    Container container(pattern(300), {.mini_stream_cutoff = 0});
    const auto last = static_cast<std::uint32_t>(container.bytes.size() / 512 - 1);
    const Bytes stream = pattern(512);
    container.bytes.insert(container.bytes.end(), stream.begin(), stream.end());
    image::put(container.bytes, container.entry_address(1) + 116, last);
    image::put(container.bytes, container.entry_address(1) + 120, std::uint64_t{512});
    Parser parser(container.bytes);
    parser.read_file(1);
    EXPECT_TRUE(parser.stream() == stream);
    container.bytes.pop_back();
    EXPECT_THROW(Parser(container.bytes).read_file(1), CFB::FileCorrupted);
}

TEST(CompoundFileReader, RefusesSizesThatTheImageCannotHold) {
    Container container(pattern(9000));
    for (const std::uint64_t size :
         {std::uint64_t{container.bytes.size() - 511}, std::uint64_t{1} << 32,
          std::uint64_t{1} << 40, ~std::uint64_t{0}}) {
        image::put(container.bytes, container.entry_address(1) + 120, size);
        Parser parser(container.bytes);
        EXPECT_THROW(parser.read_file(1), CFB::FileCorrupted) << size;
    }
    const CFB::CompoundFileReader reader(container.bytes.data(), container.bytes.size());
    char byte = 0;
    EXPECT_THROW(reader.ReadFile(reader.GetEntry(1), std::size_t{1} << 50, &byte, 1),
                 CFB::FileCorrupted);
}

/// Fails when its scope takes long: a walk over every sector is neither quadratic nor endless.
struct Deadline {
    using Clock = std::chrono::steady_clock;
    Clock::time_point end = Clock::now() + std::chrono::seconds(2);
    ~Deadline() { EXPECT_LT(Clock::now(), end); }
};

TEST(CraftedImage, ADifatThatNamesItselfEnds) {
    const Deadline deadline;
    Container container(pattern(8 << 20));
    const auto difat = static_cast<std::uint32_t>(container.bytes.size() / 512 - 2);
    image::put(container.bytes, container.bytes.size() - 4, difat);
    Parser parser(container.bytes);
    EXPECT_THROW(static_cast<void>(parser.GetFATSectorLocation(std::size_t{1} << 40)),
                 CFB::FileCorrupted);
    EXPECT_NO_THROW(parser.read_file(1));
}

TEST(CraftedImage, AGiantMiniStreamOutOfOrderEnds) {
    // Each mini sector is far from the one before in the mini FAT and in the mini stream.
    const Deadline deadline;
    const Bytes stream = pattern(9 << 20);
    const Container container(stream, {.mini_stream_cutoff = 0xFFFFFFFF, .fragmented = true});
    Parser parser(container.bytes);
    parser.read_file(1);
    EXPECT_TRUE(parser.stream() == stream);
}

TEST(CraftedImage, ChainsThatLoopEnd) {
    const Deadline deadline;
    Container container(pattern(4 << 20));
    // Every sector is followed by itself, the directory's included.
    for (std::uint32_t i = 0; i < container.first_fat; ++i) {
        image::put(container.bytes, container.fat_address(i), i);
    }
    const CFB::CompoundFileReader reader(container.bytes.data(), container.bytes.size());
    EXPECT_NO_THROW(static_cast<void>(reader.GetEntry(container.bytes.size() / 128 - 1)));
    Bytes rest(container.bytes.size());
    const auto read = [&](std::size_t len) {
        reader.ReadStream(1, 0, reinterpret_cast<char*>(rest.data()), len);
    };
    EXPECT_NO_THROW(read(container.bytes.size() - 512));
    EXPECT_THROW(read(container.bytes.size() - 511), CFB::FileCorrupted);

    // A mini FAT of one sector, again and again.
    image::put(container.bytes, 60, std::uint32_t{1});
    EXPECT_NO_THROW(static_cast<void>(reader.GetNextMiniSector(1'000'000)));
    EXPECT_THROW(static_cast<void>(reader.GetNextMiniSector(1'060'000)), CFB::FileCorrupted);
}

/// A parser whose stream holds exactly these bytes.
Parser parser_over(const Bytes& stream) {
    Parser parser(Container(stream).bytes);
    parser.read_file(1);
    return parser;
}

TEST(CompoundFileParser, ReadsStringsWithShortAndLongPrefixes) {
    image::Writer writer;
    const std::string texts[]{"plain", std::string(254, 'x'), std::string(255, 'y'),
                              std::string(0x1234, 'z')};
    for (const std::string& text : texts) writer.text(text);
    writer.text("\xB5m\xFF").zeros(1);
    Parser parser = parser_over(writer.bytes);
    for (const std::string& text : texts) EXPECT_EQ(parser.read_string(), text);
    EXPECT_EQ(parser.read_string(), "\xC2\xB5m\xC3\xBF");

    Parser skipping = parser_over(writer.bytes);
    skipping.skip_string(4);
    EXPECT_EQ(skipping.get_string_len(), 3);
    // Deliberate: an empty one gives what follows up to the next zero and leaves the cursor there.
    Parser empty = parser_over({0, 'a', 0xE9, 0, 'b'});
    EXPECT_EQ(empty.read_string(), "a\xC3\xA9");
    EXPECT_EQ(empty.position(), 1U);
    EXPECT_EQ(parser_over({0, 'a', 'b'}).read_string(), "ab") << "no zero before the end";
}

TEST(CompoundFileParser, NothingMayEndWithTheStream) {
    const auto read = [](const Bytes& stream) {
        return thrown_text([&] { return parser_over(stream).read_string(); });
    };
    const std::string past_end = "Attempt to read past end of __buffer.";
    for (const Bytes& fits : {Bytes{2, 'a', 'b', 0}, {0xFF, 0, 0, 0}}) {
        EXPECT_EQ(read(fits), "no exception");
        for (Bytes cut = fits; !cut.empty();) {
            cut.pop_back();
            EXPECT_EQ(read(cut), past_end) << cut.size();
        }
    }
    EXPECT_THROW(static_cast<void>(parser_over({1, 2, 3, 4}).read_u32()), CFB::OutOfRange);
    EXPECT_EQ(parser_over({1, 2, 3, 4, 5}).read_u32(), 0x04030201U);
    EXPECT_THROW(static_cast<void>(parser_over(Bytes(8)).read_f64()), CFB::OutOfRange);
    EXPECT_THROW(parser_over(Bytes(8)).skip(8), CFB::OutOfRange);
    EXPECT_THROW(parser_over(Bytes(8)).skip(~std::uint64_t{0}), CFB::OutOfRange);
    EXPECT_THROW(parser_over({1, 'a', 0xFF, 0xFF}).skip_string(2), CFB::OutOfRange);
}

TEST(CompoundFileParser, SeeksPastAPattern) {
    const unsigned char aab[]{'a', 'a', 'b'};
    Parser parser = parser_over({'x', 'a', 'a', 'b', 'c'});
    EXPECT_TRUE(parser.seek_past_bytes({}));
    EXPECT_EQ(parser.position(), 0U);
    EXPECT_TRUE(parser.seek_past_bytes(aab));
    EXPECT_EQ(parser.position(), 4U);
    EXPECT_FALSE(parser.seek_past_bytes(aab));
    EXPECT_EQ(parser.position(), 5U);
    // The second a breaks the match and is not tried as a first byte.
    EXPECT_FALSE(parser_over({'a', 'a', 'b'}).seek_past_bytes(std::span(aab).last(2)));
}

}  // namespace
