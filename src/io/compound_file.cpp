#include "io/compound_file.hpp"

#include <algorithm>

namespace CFB {

namespace {

constexpr std::uint64_t file_signature = 0xE11AB1A1E011CFD0;
constexpr std::size_t no_entry = 0xFFFFFFFF;
/// From here on sector numbers are marks: end of chain, free, FAT, DIFAT.
constexpr std::uint64_t first_mark = 0xFFFFFFFA;
constexpr std::size_t header_difat_count = 109;

std::string latin1_to_utf8(std::span<const unsigned char> text) {
    const auto wide = std::count_if(text.begin(), text.end(), [](auto c) { return c >= 0x80; });
    std::string result;
    result.reserve(text.size() + static_cast<std::size_t>(wide));
    for (const unsigned char c : text) {
        if (c < 0x80) {
            result.push_back(static_cast<char>(c));
        } else {
            result.push_back(static_cast<char>(0xC0 | (c >> 6)));
            result.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return result;
}

void append_utf8(std::string& text, char32_t c) {
    const auto push = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        push(c);
    } else if (c < 0x800) {
        push(0xC0 | (c >> 6));
        push(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        push(0xE0 | (c >> 12));
        push(0x80 | ((c >> 6) & 0x3F));
        push(0x80 | (c & 0x3F));
    } else {
        push(0xF0 | (c >> 18));
        push(0x80 | ((c >> 12) & 0x3F));
        push(0x80 | ((c >> 6) & 0x3F));
        push(0x80 | (c & 0x3F));
    }
}

bool is_high_surrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool is_low_surrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

/// The part of the FAT that a walk used last, so that a walk looks up the DIFAT once per FAT sector
/// and not once per step.
struct CompoundFileReader::FatPosition {
    std::uint64_t index = ~std::uint64_t{0};
    std::uint64_t sector = 0;
};

/// The sectors of a chain in order, found as far as they are asked for. It lives for one call: mini
/// sectors may follow each other in any order, and walking the chain anew for each would make the
/// time quadratic.
class CompoundFileReader::Chain {
public:
    Chain(const CompoundFileReader& reader, std::uint32_t start)
        : reader_(reader), sectors_{start} {}

    [[nodiscard]] std::uint32_t sector(std::uint64_t index) {
        if (index > reader_.bufferLen / reader_.sectorSize) throw FileCorrupted();
        while (sectors_.size() <= index) {
            sectors_.push_back(reader_.next_sector(sectors_.back(), position_));
        }
        return sectors_[static_cast<std::size_t>(index)];
    }

private:
    const CompoundFileReader& reader_;
    FatPosition position_;
    std::vector<std::uint32_t> sectors_;
};

CompoundFileReader::CompoundFileReader(const void* image, std::size_t len)
    : buffer(static_cast<const unsigned char*>(image)),
      bufferLen(len),
      hdr(static_cast<const COMPOUND_FILE_HDR*>(image)) {
    if (image == nullptr || len == 0) throw std::invalid_argument("");
    if (len < sizeof(COMPOUND_FILE_HDR) || hdr->signature() != file_signature) throw WrongFormat();
    sectorSize = hdr->major_version() == 3 ? 512 : 4096;
    if (3 * sectorSize > bufferLen) throw FileCorrupted();
    const COMPOUND_FILE_ENTRY* root = GetEntry(0);
    if (root == nullptr) throw FileCorrupted();
    miniStreamStartSector = root->start_sector();
}

/// Address of `len` bytes at `offset` of a sector, all of which lie inside the image.
const unsigned char* CompoundFileReader::address(std::uint64_t sector, std::uint64_t offset,
                                                 std::uint64_t len) const {
    if (sector >= first_mark || offset >= sectorSize) throw FileCorrupted();
    const std::uint64_t start = sectorSize * (sector + 1) + offset;
    if (start >= bufferLen || len > bufferLen - start) throw FileCorrupted();
    return buffer + start;
}

/// A chain that does not loop holds no more bytes than the image has in its sectors.
void CompoundFileReader::require_capacity(std::uint64_t offset, std::uint64_t len) const {
    const std::uint64_t capacity = stream_capacity();
    if (offset > capacity || len > capacity - offset) throw FileCorrupted();
}

const COMPOUND_FILE_ENTRY* CompoundFileReader::GetEntry(std::size_t entryID) const {
    if (entryID == no_entry) return nullptr;
    constexpr std::uint64_t entry_size = sizeof(COMPOUND_FILE_ENTRY);
    if (entryID >= bufferLen / entry_size) throw std::invalid_argument("");
    std::uint64_t offset = entryID * entry_size;
    std::uint64_t sector = hdr->first_directory_sector();
    FatPosition position;
    for (; offset >= sectorSize; offset -= sectorSize) sector = next_sector(sector, position);
    return reinterpret_cast<const COMPOUND_FILE_ENTRY*>(address(sector, offset, entry_size));
}

std::size_t CompoundFileReader::GetFATSectorLocation(std::size_t fatSectorNumber) const {
    if (fatSectorNumber < header_difat_count) return hdr->difat(fatSectorNumber);
    const std::uint64_t index = fatSectorNumber - header_difat_count;
    const std::uint64_t per_sector = sectorSize / 4 - 1;
    if (index / per_sector > bufferLen / sectorSize) throw FileCorrupted();
    std::uint64_t sector = hdr->first_difat_sector();
    for (std::uint64_t left = index / per_sector; left > 0; --left) {
        sector = load_little_endian<std::uint32_t>(address(sector, sectorSize - 4, 4));
    }
    return load_little_endian<std::uint32_t>(address(sector, 4 * (index % per_sector), 4));
}

std::uint32_t CompoundFileReader::next_sector(std::uint64_t sector, FatPosition& position) const {
    static_cast<void>(address(sector, 0, 1));
    const std::uint64_t per_sector = sectorSize / 4;
    const std::uint64_t index = sector / per_sector;
    if (position.index != index) {
        position.sector = GetFATSectorLocation(static_cast<std::size_t>(index));
        position.index = index;
    }
    const std::uint64_t slot = sector % per_sector;
    return load_little_endian<std::uint32_t>(address(position.sector, 4 * slot, 4));
}

std::size_t CompoundFileReader::GetNextSector(std::size_t sector) const {
    FatPosition position;
    return next_sector(sector, position);
}

std::uint32_t CompoundFileReader::next_mini_sector(std::uint64_t mini_sector,
                                                   Chain& mini_fat) const {
    // A mini sector beyond this is a mark, and so are all the numbers that would wrap below.
    if (mini_sector >= first_mark) throw FileCorrupted();
    const std::uint64_t offset = 4 * mini_sector;
    const std::uint64_t sector = mini_fat.sector(offset / sectorSize);
    return load_little_endian<std::uint32_t>(address(sector, offset % sectorSize, 4));
}

std::size_t CompoundFileReader::GetNextMiniSector(std::size_t miniSector) const {
    Chain mini_fat(*this, hdr->first_mini_fat_sector());
    return next_mini_sector(miniSector, mini_fat);
}

const unsigned char* CompoundFileReader::mini_address(std::uint64_t mini_sector,
                                                      std::uint64_t offset, std::uint64_t len,
                                                      Chain& mini_stream) const {
    if (mini_sector >= first_mark || offset >= miniSectorSize) throw FileCorrupted();
    const std::uint64_t position = miniSectorSize * mini_sector + offset;
    if (position >= bufferLen) throw FileCorrupted();
    return address(mini_stream.sector(position / sectorSize), position % sectorSize, len);
}

const unsigned char* CompoundFileReader::MiniSectorOffsetToAddress(std::size_t miniSector,
                                                                   std::size_t offset) const {
    Chain mini_stream(*this, static_cast<std::uint32_t>(miniStreamStartSector));
    return mini_address(miniSector, offset, 1, mini_stream);
}

void CompoundFileReader::ReadStream(std::size_t sector, std::size_t offset, char* dst,
                                    std::size_t len) const {
    require_capacity(offset, len);
    FatPosition position;
    std::uint64_t current = sector;
    std::uint64_t skipped = offset;
    for (; skipped >= sectorSize; skipped -= sectorSize) current = next_sector(current, position);
    while (len > 0) {
        const std::uint64_t piece = std::min<std::uint64_t>(sectorSize - skipped, len);
        std::memcpy(dst, address(current, skipped, piece), static_cast<std::size_t>(piece));
        dst += piece;
        len -= static_cast<std::size_t>(piece);
        skipped = 0;
        if (len > 0) current = next_sector(current, position);
    }
}

void CompoundFileReader::ReadMiniStream(std::size_t miniSector, std::size_t offset, char* dst,
                                        std::size_t len) const {
    require_capacity(offset, len);
    Chain mini_fat(*this, hdr->first_mini_fat_sector());
    Chain mini_stream(*this, static_cast<std::uint32_t>(miniStreamStartSector));
    std::uint64_t current = miniSector;
    std::uint64_t skipped = offset;
    for (; skipped >= miniSectorSize; skipped -= miniSectorSize) {
        current = next_mini_sector(current, mini_fat);
    }
    while (len > 0) {
        const std::uint64_t piece = std::min<std::uint64_t>(miniSectorSize - skipped, len);
        std::memcpy(dst, mini_address(current, skipped, piece, mini_stream),
                    static_cast<std::size_t>(piece));
        dst += piece;
        len -= static_cast<std::size_t>(piece);
        skipped = 0;
        if (len > 0) current = next_mini_sector(current, mini_fat);
    }
}

void CompoundFileReader::ReadFile(const COMPOUND_FILE_ENTRY* entry, std::size_t offset, char* dst,
                                  std::size_t len) const {
    const std::uint64_t size = entry->size();
    if (size < offset || size - offset < len) throw std::invalid_argument("");
    if (size >= hdr->mini_stream_cutoff()) {
        ReadStream(entry->start_sector(), offset, dst, len);
    } else {
        ReadMiniStream(entry->start_sector(), offset, dst, len);
    }
}

std::string CompoundFileParser::get_entry_name(std::size_t id) const {
    const COMPOUND_FILE_ENTRY* entry = GetEntry(id);
    if (entry == nullptr) throw InvalidEntryId();
    constexpr std::size_t unit_count = 32;
    std::string name;
    for (std::size_t i = 0; i < unit_count; ++i) {
        const char16_t unit = entry->name_unit(i);
        if (unit == 0) break;
        const char16_t next = i + 1 < unit_count ? entry->name_unit(i + 1) : u'\0';
        if (is_high_surrogate(unit) && is_low_surrogate(next)) {
            append_utf8(name, 0x10000 + ((unit - 0xD800U) << 10) + (next - 0xDC00U));
            ++i;
        } else if (!is_high_surrogate(unit) && !is_low_surrogate(unit)) {
            append_utf8(name, unit);
        }
    }
    return name;
}

std::uint64_t CompoundFileParser::get_entry_size(std::size_t id) const {
    const COMPOUND_FILE_ENTRY* entry = GetEntry(id);
    if (entry == nullptr) throw InvalidEntryId();
    return entry->size();
}

void CompoundFileParser::read_file(std::size_t id) {
    const COMPOUND_FILE_ENTRY* entry = GetEntry(id);
    if (entry == nullptr) throw InvalidEntryId();
    const std::uint64_t size = entry->size();
    if (size > stream_capacity()) throw FileCorrupted();
    std::vector<unsigned char> stream(static_cast<std::size_t>(size));
    ReadFile(entry, 0, reinterpret_cast<char*>(stream.data()), stream.size());
    buffer = std::move(stream);
    pos = 0;
}

bool CompoundFileParser::seek_past_bytes(std::span<const unsigned char> pattern) {
    std::size_t matched = 0;
    while (matched < pattern.size()) {
        if (pos >= buffer.size()) return false;
        matched = buffer[static_cast<std::size_t>(pos)] == pattern[matched] ? matched + 1 : 0;
        ++pos;
    }
    return true;
}

void CompoundFileParser::require(std::uint64_t count) const {
    if (pos > buffer.size() || count >= buffer.size() - pos) throw OutOfRange();
}

void CompoundFileParser::skip(std::uint64_t count) {
    require(count);
    pos += count;
}

std::uint32_t CompoundFileParser::read_u32() {
    require(4);
    const auto value = load_little_endian<std::uint32_t>(buffer.data() + pos);
    pos += 4;
    return value;
}

double CompoundFileParser::read_f64() {
    require(8);
    const auto value = load_little_endian<double>(buffer.data() + pos);
    pos += 8;
    return value;
}

std::uint16_t CompoundFileParser::get_string_len() {
    require(1);
    const unsigned char length = buffer[static_cast<std::size_t>(pos)];
    pos += 1;
    if (length < 0xFF) return length;
    require(2);
    const auto long_length = load_little_endian<std::uint16_t>(buffer.data() + pos);
    pos += 2;
    return long_length;
}

std::string CompoundFileParser::read_string() {
    const std::size_t length = get_string_len();
    require(length);
    const auto rest = std::span<const unsigned char>(buffer).subspan(static_cast<std::size_t>(pos));
    if (length == 0) {
        const auto zero = std::find(rest.begin(), rest.end(), 0);
        return latin1_to_utf8({rest.begin(), zero});
    }
    pos += length;
    return latin1_to_utf8(rest.first(length));
}

void CompoundFileParser::skip_string(std::size_t count) {
    for (; count > 0; --count) skip(get_string_len());
}

}  // namespace CFB
