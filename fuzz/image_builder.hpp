#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Makes compound files and Contents streams in memory for the reader's tests, benchmarks and
/// fuzzers. It writes what the reader reads, no more; tools/vekwriter.py makes whole files.
namespace image {

using Bytes = std::vector<unsigned char>;

inline constexpr std::uint32_t end_of_chain = 0xFFFFFFFE;
inline constexpr std::uint32_t free_sector = 0xFFFFFFFF;

template <class T>
void put(Bytes& bytes, std::size_t offset, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes.at(offset + i) = static_cast<unsigned char>(value >> (8 * i));
    }
}

/// Appends little-endian values.
class Writer {
public:
    Bytes bytes;

    Writer& zeros(std::size_t count) {
        bytes.insert(bytes.end(), count, 0);
        return *this;
    }
    Writer& raw(std::initializer_list<unsigned char> values) {
        bytes.insert(bytes.end(), values);
        return *this;
    }
    Writer& u32(std::uint64_t value) {
        zeros(4);
        put(bytes, bytes.size() - 4, static_cast<std::uint32_t>(value));
        return *this;
    }
    Writer& f64(double value) {
        zeros(8);
        put(bytes, bytes.size() - 8, std::bit_cast<std::uint64_t>(value));
        return *this;
    }
    /// With its length prefix. A zero byte follows an empty one in real files, or another field.
    Writer& text(std::string_view latin1) {
        if (latin1.size() < 0xFF) {
            bytes.push_back(static_cast<unsigned char>(latin1.size()));
        } else {
            zeros(3);
            bytes[bytes.size() - 3] = 0xFF;
            put(bytes, bytes.size() - 2, static_cast<std::uint16_t>(latin1.size()));
        }
        for (const char c : latin1) bytes.push_back(static_cast<unsigned char>(c));
        return *this;
    }
};

/// Sectors of one size with the links that chain them.
class Sectors {
public:
    Bytes data;
    Writer links;

    /// @param scattered  the numbers of a chain jump about instead of counting up
    Sectors(std::size_t size, std::size_t count, bool scattered)
        : data(size * count), size_(size), order_(count) {
        std::size_t step = scattered ? count * 5 / 8 + 1 : 1;
        while (std::gcd(step, count) != 1) ++step;
        for (std::size_t i = 0; i < count; ++i) {
            order_[i] = static_cast<std::uint32_t>((i + 1) * step % count);
            links.u32(free_sector);
        }
    }

    /// Stores a chain; returns its start.
    std::uint32_t add(const Bytes& chain) {
        const auto number_at = [&](std::size_t offset) {
            return offset < chain.size() ? order_[taken_] : end_of_chain;
        };
        const std::uint32_t start = number_at(0);
        for (std::size_t offset = 0; offset < chain.size(); offset += size_) {
            const std::uint32_t sector = order_[taken_++];
            std::copy_n(&chain[offset], std::min(size_, chain.size() - offset),
                        &data[size_ * sector]);
            put(links.bytes, 4 * sector, number_at(offset + size_));
        }
        return start;
    }

private:
    std::size_t size_;
    std::vector<std::uint32_t> order_;
    std::size_t taken_ = 0;
};

struct ContainerOptions {
    /// 3: sectors of 512 bytes; 4: of 4096.
    std::uint16_t major_version = 3;
    std::uint32_t mini_stream_cutoff = 4096;
    /// Scatters the sectors and mini sectors of every chain over the file.
    bool fragmented = false;
    std::u16string name = u"Contents";
};

/// A container whose directory, of one sector, holds the root and one stream (entry 1). The FAT
/// follows the sectors it describes, then the DIFAT.
class Container {
public:
    std::size_t sector_size;
    std::uint32_t first_fat;
    Bytes bytes;

    explicit Container(const Bytes& stream, const ContainerOptions& options = {})
        : sector_size(options.major_version == 3 ? 512 : 4096) {
        const bool mini = stream.size() < options.mini_stream_cutoff;
        // More mini sectors than needed, so that the stream does not begin at number 0.
        Sectors minis(64, mini ? stream.size() / 64 + 2 : 0, options.fragmented);
        const std::uint32_t mini_start = mini ? minis.add(stream) : end_of_chain;
        const Bytes& data = mini ? minis.data : stream;

        const auto count = [&](const Bytes& b) {
            return (b.size() + sector_size - 1) / sector_size;
        };
        const std::size_t used = 1 + count(data) + count(minis.links.bytes);
        Sectors sectors(sector_size, used, options.fragmented);
        directory_ = sectors.add(Bytes(sector_size));
        const std::uint32_t data_start = sectors.add(data);

        bytes.assign(76, 0);
        put(bytes, 0, std::uint64_t{0xE11AB1A1E011CFD0});
        put(bytes, 26, options.major_version);
        put(bytes, 48, directory_);
        put(bytes, 56, options.mini_stream_cutoff);
        put(bytes, 60, sectors.add(minis.links.bytes));
        bytes.resize(sector_size, 0xFF);
        bytes.insert(bytes.end(), sectors.data.begin(), sectors.data.end());
        bytes.insert(bytes.end(), sectors.links.bytes.begin(), sectors.links.bytes.end());
        first_fat = static_cast<std::uint32_t>(used);
        write_difat(used / per_sector() + 1);
        write_entry(0, u"Root Entry", mini ? data_start : end_of_chain, mini ? data.size() : 0);
        write_entry(1, options.name, mini ? mini_start : data_start, stream.size());
    }

    [[nodiscard]] std::size_t sector_address(std::size_t sector) const {
        return sector_size * (sector + 1);
    }
    [[nodiscard]] std::size_t entry_address(std::size_t id) const {
        return sector_address(directory_) + 128 * id;
    }
    /// Place of the FAT entry of a sector.
    [[nodiscard]] std::size_t fat_address(std::size_t sector) const {
        return sector_address(first_fat) + 4 * sector;
    }

private:
    [[nodiscard]] std::size_t per_sector() const { return sector_size / 4; }

    void write_difat(std::size_t fat_count) {
        const std::size_t first = first_fat + fat_count;
        const std::size_t per_difat = per_sector() - 1;
        const std::size_t difat_count = fat_count <= 109 ? 0 : (fat_count - 110) / per_difat + 1;
        bytes.resize(sector_address(first + difat_count), 0xFF);
        put(bytes, 68, difat_count == 0 ? end_of_chain : static_cast<std::uint32_t>(first));
        for (std::size_t i = 0; i < fat_count; ++i) {
            const auto number = static_cast<std::uint32_t>(first_fat + i);
            if (i < 109) {
                put(bytes, 76 + 4 * i, number);
                continue;
            }
            const std::size_t sector = first + (i - 109) / per_difat;
            put(bytes, sector_address(sector) + 4 * ((i - 109) % per_difat), number);
            put(bytes, sector_address(sector + 1) - 4, static_cast<std::uint32_t>(sector + 1));
        }
    }

    void write_entry(std::size_t id, const std::u16string& name, std::uint32_t start,
                     std::uint64_t size) {
        const std::size_t at = entry_address(id);
        for (std::size_t i = 0; i < name.size(); ++i) {
            put(bytes, at + 2 * i, static_cast<std::uint16_t>(name[i]));
        }
        put(bytes, at + 116, start);
        put(bytes, at + 120, size);
    }

    std::uint32_t directory_;
};

struct DataSet {
    std::string name;
    std::vector<double> x;
    std::vector<double> y;
};

struct ContentsOptions {
    std::uint32_t file_version = 5;
    std::uint32_t gv_version = 5;
    std::uint32_t has_timestamps = 1;
    std::vector<DataSet> data_sets{{"Lens A", {400.0, 410.0, 420.0}, {0.5, 0.625, 0.75}},
                                   {"Lens B", {700.0, 600.0}, {0.25, 0.125}}};
};

inline constexpr std::initializer_list<unsigned char> contents_marker{
    0x4E, 0xD0, 0xDF, 0x71, 0x88, 0xCB, 0x02, 0x45, 0x88, 0xEB, 0xD9, 0x43, 0xA3, 0x09, 0x1A, 0x1A};

/// Bytes before the marker are noise; skipped fields are zero or short texts; two trailing bytes.
inline Bytes contents(const ContentsOptions& o = {}) {
    Writer w;
    w.raw({0x07, 0x4E, 0xD0, 0x00}).raw(contents_marker);
    const std::size_t size_at = w.bytes.size();
    w.u32(0).u32(o.file_version).zeros(4);
    if (o.file_version >= 3) w.u32(o.has_timestamps);
    if (o.file_version >= 4) w.zeros(4);

    if (o.gv_version >= 2) {
        w.f64(std::numeric_limits<double>::quiet_NaN()).u32(o.gv_version).zeros(32);
    } else {
        w.f64(380.0).zeros(24);
    }
    if (o.gv_version >= 4) w.zeros(52);
    w.zeros(12).text("font").zeros(60).text("").zeros(16).text("title").zeros(8).text("subtitle");
    w.zeros(16).text("Wavelength / nm").zeros(4).text("Transmittance").zeros(68).u32(2).zeros(80);
    if (o.gv_version >= 3) w.zeros(20).text("legend").zeros(80);

    w.text("sets").u32(o.data_sets.size()).zeros(60);
    for (const DataSet& set : o.data_sets) w.u32(set.x.size()).zeros(4).text(set.name);
    for (const DataSet& set : o.data_sets) {
        for (std::size_t i = 0; i < set.x.size(); ++i) w.f64(set.x[i]).f64(set.y[i]);
    }
    if (o.gv_version >= 2) {
        // Two annotations: the first with two groups, of two and no texts; the second with none.
        w.u32(2).u32(999).zeros(8 + 88).text("note").u32(2);
        w.u32(2).zeros(4).text("a").zeros(4).text("b").u32(0);
        w.u32(1).zeros(88).text("").u32(0);
    }
    if (o.gv_version >= 3) {
        w.u32(2).zeros(120).u32(1).zeros(108);
        if (o.file_version >= 3 && o.has_timestamps != 0) {
            for (const DataSet& set : o.data_sets) w.zeros(16 * set.x.size());
        }
    }
    w.text("2024-03-01 10:15").text("summary \xB5m").u32(1).text("cal.dat").text("cert.pdf");
    w.text("system.ini").text("before").text("after").text("pre.cfg").text("post.cfg");
    w.text("Transmittance / %  ").text("3 7").text("Current / A").text("5").u32(2);
    w.text("file").text("ref.vek").text("1.5").zeros(36 + 4 * o.data_sets.size());
    w.zeros(4 + 2);
    put(w.bytes, size_at, static_cast<std::uint32_t>(w.bytes.size()));
    return w.bytes;
}

/// A whole measurement file.
inline Bytes vekfile(const ContentsOptions& options = {}, const ContainerOptions& container = {}) {
    return Container(contents(options), container).bytes;
}

}  // namespace image
