#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// Reader of compound files (Microsoft CFB, "OLE structured storage"): a small file system of
/// sectors in one file. Read-only, in memory, and safe on any bytes.
///
/// Regular sectors are chained by the FAT, whose own sectors are listed in the DIFAT (109 places
/// in the header, then a chain of DIFAT sectors). Streams shorter than a cutoff lie in mini sectors
/// of 64 bytes inside the root entry's stream, chained by the mini FAT.
namespace CFB {

class WrongFormat : public std::runtime_error {
public:
    WrongFormat() : std::runtime_error("Wrong file format") {}
};

class FileCorrupted : public std::runtime_error {
public:
    FileCorrupted() : std::runtime_error("File corrupted") {}
};

class InvalidEntryId : public std::runtime_error {
public:
    InvalidEntryId() : std::runtime_error("Invalid entry id") {}
};

class OutOfRange : public std::runtime_error {
public:
    OutOfRange() : std::runtime_error("Attempt to read past end of __buffer.") {}
};

/// Little-endian integer or double at an address of any alignment.
template <class T>
[[nodiscard]] T load_little_endian(const unsigned char* address) noexcept {
    unsigned char bytes[sizeof(T)];
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(bytes, address, sizeof(T));
    } else {
        for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = address[sizeof(T) - 1 - i];
    }
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

/// The first 512 bytes of the file, as they stand there.
struct COMPOUND_FILE_HDR {
    unsigned char bytes[512];

    [[nodiscard]] std::uint64_t signature() const noexcept {
        return load_little_endian<std::uint64_t>(bytes);
    }
    [[nodiscard]] std::uint16_t major_version() const noexcept {
        return load_little_endian<std::uint16_t>(bytes + 26);
    }
    [[nodiscard]] std::uint32_t first_directory_sector() const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 48);
    }
    [[nodiscard]] std::uint32_t mini_stream_cutoff() const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 56);
    }
    [[nodiscard]] std::uint32_t first_mini_fat_sector() const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 60);
    }
    [[nodiscard]] std::uint32_t first_difat_sector() const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 68);
    }
    /// @param i  0..108
    [[nodiscard]] std::uint32_t difat(std::size_t i) const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 76 + 4 * i);
    }
};

/// A directory entry, as it stands in the file.
struct COMPOUND_FILE_ENTRY {
    unsigned char bytes[128];

    /// UTF-16 unit of the name, which ends at the first zero.
    ///
    /// @param i  0..31
    [[nodiscard]] char16_t name_unit(std::size_t i) const noexcept {
        return load_little_endian<char16_t>(bytes + 2 * i);
    }
    [[nodiscard]] std::uint32_t start_sector() const noexcept {
        return load_little_endian<std::uint32_t>(bytes + 116);
    }
    [[nodiscard]] std::uint64_t size() const noexcept {
        return load_little_endian<std::uint64_t>(bytes + 120);
    }
};

/// Walks the container in a file image that the caller keeps alive and unchanged. Nothing of the
/// image is copied but what the caller asks for.
///
/// Every item is held against the end of the image before it is read (it may end exactly there),
/// and a sector that starts outside the image is never followed. A walk of a chain ends after as
/// many sectors as the image has, so that a chain that bites its tail ends, too. The time of any
/// call is O(image size). Header fields that the walk does not need are not checked: byte order,
/// minor version, sector shifts, the directory's tree links.
///
/// Any number of readers may share an image; one reader belongs to one thread at a time.
class CompoundFileReader {
public:
    /// @throws std::invalid_argument  empty text: no image, or an empty one
    /// @throws WrongFormat            shorter than a header, or another signature
    /// @throws FileCorrupted          shorter than three sectors, or the root entry is missing
    CompoundFileReader(const void* image, std::size_t len);

    /// Directory entry of that index (0 is the root), null for 0xFFFFFFFF.
    ///
    /// @throws std::invalid_argument  empty text: more entries than the image could hold
    /// @throws FileCorrupted          the directory does not reach that far
    [[nodiscard]] const COMPOUND_FILE_ENTRY* GetEntry(std::size_t entryID) const;

    /// Copies `len` bytes from `offset` of the entry's stream.
    ///
    /// @param dst  has room for `len` bytes
    /// @throws std::invalid_argument  empty text: the range is not inside the stream
    /// @throws FileCorrupted          a chain that is too short, leaves the image or loops
    void ReadFile(const COMPOUND_FILE_ENTRY* entry, std::size_t offset, char* dst,
                  std::size_t len) const;

    /// The two ways of `ReadFile`: from a chain of sectors, from a chain of mini sectors.
    ///
    /// @throws FileCorrupted  as `ReadFile`, and when the range is larger than the image
    void ReadStream(std::size_t sector, std::size_t offset, char* dst, std::size_t len) const;
    void ReadMiniStream(std::size_t miniSector, std::size_t offset, char* dst,
                        std::size_t len) const;

    /// Number of the sector that follows, as the FAT has it: it may be an end mark.
    ///
    /// @throws FileCorrupted  the sector or its place in the FAT is outside the image
    [[nodiscard]] std::size_t GetNextSector(std::size_t sector) const;

    /// Sector that holds part `fatSectorNumber` of the FAT: from the header up to 108, from the
    /// DIFAT sectors beyond.
    ///
    /// @throws FileCorrupted  its place in the DIFAT is outside the image
    [[nodiscard]] std::size_t GetFATSectorLocation(std::size_t fatSectorNumber) const;

    /// The same as `GetNextSector` for mini sectors and the mini FAT.
    [[nodiscard]] std::size_t GetNextMiniSector(std::size_t miniSector) const;

    /// Where a byte of a mini sector lies in the image.
    ///
    /// @throws FileCorrupted  outside the mini stream, the sector (64 bytes) or the image
    [[nodiscard]] const unsigned char* MiniSectorOffsetToAddress(std::size_t miniSector,
                                                                 std::size_t offset) const;

protected:
    /// Bytes of the image that can belong to streams: all sectors. A stream that claims more loops.
    [[nodiscard]] std::uint64_t stream_capacity() const noexcept { return bufferLen - sectorSize; }

private:
    struct FatPosition;
    class Chain;

    [[nodiscard]] const unsigned char* address(std::uint64_t sector, std::uint64_t offset,
                                               std::uint64_t len) const;
    [[nodiscard]] std::uint32_t next_sector(std::uint64_t sector, FatPosition& position) const;
    [[nodiscard]] std::uint32_t next_mini_sector(std::uint64_t mini_sector, Chain& mini_fat) const;
    [[nodiscard]] const unsigned char* mini_address(std::uint64_t mini_sector, std::uint64_t offset,
                                                    std::uint64_t len, Chain& mini_stream) const;
    void require_capacity(std::uint64_t offset, std::uint64_t len) const;

    const unsigned char* buffer;
    std::uint64_t bufferLen;
    const COMPOUND_FILE_HDR* hdr;
    std::uint64_t sectorSize = 512;
    std::uint64_t miniSectorSize = 64;
    std::uint64_t miniStreamStartSector = 0;
};

/// A compound file with one of its streams loaded, and a cursor that reads it front to back.
///
/// Deliberate: every read needs one more byte after what it takes. An item that ends exactly at the
/// end of the stream is refused; the streams read this way have bytes to spare.
class CompoundFileParser : public CompoundFileReader {
public:
    using CompoundFileReader::CompoundFileReader;

    /// The entry's name in UTF-8. Surrogates without their partner are left out.
    ///
    /// @throws InvalidEntryId  for 0xFFFFFFFF; otherwise as `GetEntry`
    [[nodiscard]] std::string get_entry_name(std::size_t id) const;

    /// Size in bytes of the entry's stream, as the directory claims it. Throws as `get_entry_name`.
    [[nodiscard]] std::uint64_t get_entry_size(std::size_t id) const;

    /// Loads the whole stream and puts the cursor at its start. On failure the stream loaded before
    /// stays.
    ///
    /// @throws InvalidEntryId  for 0xFFFFFFFF; otherwise as `GetEntry` and `ReadFile`
    /// @throws FileCorrupted   the size is more than the image can hold (nothing is allocated then)
    void read_file(std::size_t id);

    /// Moves the cursor just past the next occurrence of `pattern`; an empty one is found at once.
    ///
    /// Deliberate: a mismatch restarts the pattern after the byte that did not match, which may
    /// overlook an occurrence that begins there or before.
    /// @return false, with the cursor at the end of the stream, when there is none
    [[nodiscard]] bool seek_past_bytes(std::span<const unsigned char> pattern);

    /// Length prefix of a string: one byte, or 0xFF and two bytes.
    ///
    /// @throws OutOfRange
    [[nodiscard]] std::uint16_t get_string_len();

    /// String with a length prefix, from ISO 8859-1 to UTF-8.
    ///
    /// Deliberate: for length 0 it gives the bytes from the cursor up to the next zero byte or the
    /// end of the stream, and the cursor stays.
    /// @throws OutOfRange
    [[nodiscard]] std::string read_string();

    /// Moves past `count` strings with length prefixes.
    ///
    /// @throws OutOfRange
    void skip_string(std::size_t count);

    /// Fixed-width little-endian reads at the cursor.
    ///
    /// @throws OutOfRange
    [[nodiscard]] std::uint32_t read_u32();
    [[nodiscard]] double read_f64();
    void skip(std::uint64_t count);

protected:
    /// @throws OutOfRange  unless `count` bytes and one more follow the cursor
    void require(std::uint64_t count) const;

    std::vector<unsigned char> buffer;
    std::uint64_t pos = 0;
};

}  // namespace CFB
