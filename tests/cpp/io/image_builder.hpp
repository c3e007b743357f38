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
/// fuzzers. It writes what the reader reads, no more; tests/python/vekwriter.py makes whole files.
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

struct ContainerOptions {
    /// 3: sectors of 512 bytes; 4: of 4096.
    std::uint16_t major_version = 3;
    std::uint32_t mini_stream_cutoff = 4096;
    /// Scatters the sectors and mini sectors of every chain over the file.
    bool fragmented = false;
    std::u16string name = u"Contents";
};

/// A container whose directory holds the root and one stream (entry 1).
class Container {
public:
    std::size_t sector_size;
    std::uint32_t directory = 0;
    std::uint32_t first_fat = 0;
    Bytes bytes;

    explicit Container(const Bytes& stream, ContainerOptions options = {})
        : sector_size(options.major_version == 3 ? 512 : 4096),
          options_(std::move(options)),
          mini_(stream.size() < options_.mini_stream_cutoff) {
        Bytes mini_fat;
        Bytes data = mini_ ? mini_stream(stream, mini_fat) : stream;
        const std::size_t directory_size = sector_size;
        const std::size_t counts[]{directory_size / sector_size, sectors(data.size()),
                                   sectors(mini_fat.size())};
        const std::size_t used = counts[0] + counts[1] + counts[2];
        std::size_t total = used;
        do {
            total = used + fat_count_ + difat_count_;
            fat_count_ = (total + per_sector() - 1) / per_sector();
            difat_count_ =
                fat_count_ <= 109 ? 0 : (fat_count_ - 109 + per_sector() - 2) / (per_sector() - 1);
        } while (total != used + fat_count_ + difat_count_);

        bytes.assign(sector_size * (total + 1), 0);
        fat_.assign(fat_count_ * per_sector(), free_sector);
        order_ = spread(used);
        directory = add_chain(Bytes(directory_size));
        const std::uint32_t data_start = add_chain(data);
        const std::uint32_t mini_fat_start = add_chain(mini_fat);

        put(bytes, 0, std::uint64_t{0xE11AB1A1E011CFD0});
        put(bytes, 26, options_.major_version);
        put(bytes, 48, directory);
        put(bytes, 56, options_.mini_stream_cutoff);
        put(bytes, 60, mini_fat_start);
        put(bytes, 68, end_of_chain);
        write_fat(used);
        write_entry(0, u"Root Entry", mini_ ? data_start : end_of_chain, mini_ ? data.size() : 0);
        write_entry(1, options_.name, mini_ ? mini_start_ : data_start, stream.size());
    }

    [[nodiscard]] std::size_t sector_address(std::size_t sector) const {
        return sector_size * (sector + 1);
    }
    [[nodiscard]] std::size_t entry_address(std::size_t id) const {
        return sector_address(directory) + 128 * id;
    }
    /// Place of the FAT entry of a sector.
    [[nodiscard]] std::size_t fat_address(std::size_t sector) const {
        return sector_address(first_fat + sector / per_sector()) + 4 * (sector % per_sector());
    }
    [[nodiscard]] std::size_t per_sector() const { return sector_size / 4; }

private:
    [[nodiscard]] std::size_t sectors(std::size_t size) const {
        return (size + sector_size - 1) / sector_size;
    }

    /// 0..n-1, in steps that jump about when the file is fragmented.
    [[nodiscard]] std::vector<std::uint32_t> spread(std::size_t n) const {
        std::size_t step = options_.fragmented ? n * 5 / 8 + 1 : 1;
        while (std::gcd(step, n) != 1) ++step;
        std::vector<std::uint32_t> numbers(n);
        for (std::size_t i = 0; i < n; ++i) {
            numbers[i] = static_cast<std::uint32_t>((i + 1) * step % n);
        }
        return numbers;
    }

    std::uint32_t add_chain(const Bytes& data) {
        const std::size_t count = sectors(data.size());
        if (count == 0) return end_of_chain;
        const std::uint32_t start = order_[taken_];
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t sector = order_[taken_++];
            const auto from = data.begin() + static_cast<std::ptrdiff_t>(i * sector_size);
            const auto length = std::min(sector_size, data.size() - i * sector_size);
            std::copy_n(from, length,
                        bytes.begin() + static_cast<std::ptrdiff_t>(sector_address(sector)));
            fat_[sector] = i + 1 < count ? order_[taken_] : end_of_chain;
        }
        return start;
    }

    [[nodiscard]] Bytes mini_stream(const Bytes& stream, Bytes& mini_fat) {
        // One mini sector more than needed, so that the stream does not begin at number 0.
        const std::size_t count = (stream.size() + 63) / 64;
        Bytes data((count + 1) * 64);
        mini_fat.assign((count + 1) * 4, 0xFF);
        const auto order = spread(count + 1);
        mini_start_ = count == 0 ? end_of_chain : order[0];
        for (std::size_t i = 0; i < count; ++i) {
            const auto length = std::min<std::size_t>(64, stream.size() - 64 * i);
            std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(64 * i), length,
                        data.begin() + static_cast<std::ptrdiff_t>(64 * order[i]));
            put(mini_fat, 4 * order[i], i + 1 < count ? order[i + 1] : end_of_chain);
        }
        return data;
    }

    void write_fat(std::size_t used) {
        first_fat = static_cast<std::uint32_t>(used);
        const std::size_t first_difat = used + fat_count_;
        for (std::size_t i = 0; i < fat_.size(); ++i) put(bytes, fat_address(i), fat_[i]);
        for (std::size_t i = 0; i < 109; ++i) {
            put(bytes, 76 + 4 * i,
                i < fat_count_ ? static_cast<std::uint32_t>(used + i) : free_sector);
        }
        if (difat_count_ > 0) put(bytes, 68, static_cast<std::uint32_t>(first_difat));
        for (std::size_t i = 109; i < fat_count_; ++i) {
            const std::size_t sector = first_difat + (i - 109) / (per_sector() - 1);
            put(bytes, sector_address(sector) + 4 * ((i - 109) % (per_sector() - 1)),
                static_cast<std::uint32_t>(used + i));
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

    ContainerOptions options_;
    bool mini_;
    std::uint32_t mini_start_ = end_of_chain;
    std::size_t fat_count_ = 0;
    std::size_t difat_count_ = 0;
    std::vector<std::uint32_t> fat_;
    std::vector<std::uint32_t> order_;
    std::size_t taken_ = 0;
};

struct DataSet {
    std::string name;
    std::vector<double> x;
    std::vector<double> y;
};

struct ContentsOptions {
    std::uint32_t file_version = 5;
    std::uint32_t gv_version = 5;
    /// Above 1 it leaves out two blocks of the graph view (from version 4).
    std::uint32_t graph_flag = 0;
    std::uint32_t has_timestamps = 1;
    std::uint32_t x_type = 0;
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
    if (o.gv_version >= 4) {
        w.zeros(8).u32(o.graph_flag);
        if (o.graph_flag <= 1) w.zeros(40);
    }
    if (o.gv_version < 4 || o.graph_flag <= 1) w.zeros(4);
    w.zeros(8).text("font").zeros(60).text("").zeros(16).text("title").zeros(8).text("subtitle");
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
    w.u32(o.x_type).zeros(2);
    put(w.bytes, size_at, static_cast<std::uint32_t>(w.bytes.size()));
    return w.bytes;
}

/// A whole measurement file.
inline Bytes vekfile(const ContentsOptions& options = {}, const ContainerOptions& container = {}) {
    return Container(contents(options), container).bytes;
}

}  // namespace image
