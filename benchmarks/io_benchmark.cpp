#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core/scan.hpp"
#include "fuzz/image_builder.hpp"
#include "io/csv.hpp"
#include "io/io.hpp"

// Each piece of work stands beside its floor: the same, written by hand for this one file, without
// a check.

namespace {

using image::Bytes;
using vekanalysis::Scan;

constexpr std::size_t points_per_set = 4000;
constexpr std::size_t sets_of_1_mb = 16;
/// With DIFAT sectors.
constexpr std::size_t sets_of_20_mb = 327;

struct Measurement {
    std::size_t sets;
    Bytes file;
    /// Where the first point stands in the stream.
    std::size_t points_at;
};

Measurement make_measurement(std::size_t sets, bool descending) {
    image::ContentsOptions options;
    options.has_timestamps = 0;
    options.data_sets.clear();
    for (std::size_t set = 0; set < sets; ++set) {
        image::DataSet data{"Lens " + std::to_string(set), {}, {}};
        for (std::size_t i = 0; i < points_per_set; ++i) {
            const std::size_t step = descending ? points_per_set - i : i;
            data.x.push_back(200.0 + 0.25 * static_cast<double>(step));
            data.y.push_back(0.5 + 0.3 * std::sin(data.x.back() / 17.0 + static_cast<double>(set)));
        }
        options.data_sets.push_back(std::move(data));
    }
    const Bytes stream = image::contents(options);
    const Bytes first_point =
        image::Writer().f64(options.data_sets[0].x[0]).f64(options.data_sets[0].y[0]).bytes;
    const auto place =
        std::search(stream.begin(), stream.end(), first_point.begin(), first_point.end());
    return {sets, image::Container(stream).bytes, static_cast<std::size_t>(place - stream.begin())};
}

const Measurement& measurement(std::size_t sets, bool descending = false) {
    static std::map<std::pair<std::size_t, bool>, Measurement> made;
    const auto key = std::pair(sets, descending);
    auto found = made.find(key);
    if (found == made.end()) found = made.emplace(key, make_measurement(sets, descending)).first;
    return found->second;
}

/// A file that is gone at the end of the benchmark.
class TemporaryFile {
public:
    template <class Container>
    explicit TemporaryFile(const Container& bytes)
        : path_((std::filesystem::temp_directory_path() / "vekanalysis_benchmark").string()) {
        std::ofstream(path_, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

Bytes read_plainly(const std::string& path) {
    Bytes bytes(std::filesystem::file_size(path));
    std::FILE* file = std::fopen(path.c_str(), "rb");
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    return bytes;
}

template <class T>
T load(const unsigned char* address) {
    T value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

/// Copies the stream out along its chain, decodes the doubles, moves the arrays into scans.
std::map<std::string, Scan> load_plainly(const Bytes& image, const Measurement& from) {
    constexpr std::size_t sector_size = 512;
    const auto sector = [&image](std::uint32_t number) {
        return image.data() + sector_size * (std::size_t{number} + 1);
    };
    const unsigned char* entry = sector(load<std::uint32_t>(&image[48])) + 128;
    const auto first_fat = load<std::uint32_t>(&image[76]);
    Bytes stream(load<std::uint64_t>(entry + 120));
    auto current = load<std::uint32_t>(entry + 116);
    for (std::size_t done = 0; done < stream.size(); done += sector_size) {
        std::memcpy(&stream[done], sector(current), std::min(sector_size, stream.size() - done));
        current = load<std::uint32_t>(sector(first_fat + current / 128) + 4 * (current % 128));
    }

    std::map<std::string, Scan> scans;
    const unsigned char* source = &stream[from.points_at];
    for (std::size_t set = 0; set < from.sets; ++set) {
        std::vector<double> x(points_per_set);
        std::vector<double> y(points_per_set);
        for (std::size_t i = 0; i < points_per_set; ++i, source += 16) {
            x[i] = load<double>(source);
            y[i] = load<double>(source + 8);
        }
        auto points =
            vekanalysis::PointMap::adopt(std::move(x), std::move(y), vekanalysis::default_epsilon);
        scans.emplace("Lens " + std::to_string(set),
                      Scan(std::move(points), vekanalysis::spline::Type::AKIMA));
    }
    return scans;
}

void VekFile1MbFromBytes_Floor(benchmark::State& state) {
    const Measurement& from = measurement(sets_of_1_mb);
    for (auto _ : state) benchmark::DoNotOptimize(load_plainly(from.file, from));
}
BENCHMARK(VekFile1MbFromBytes_Floor);

void VekFile1MbFromBytes(benchmark::State& state) {
    const Measurement& from = measurement(sets_of_1_mb);
    for (auto _ : state) benchmark::DoNotOptimize(vekanalysis::io::load_vekfile(from.file));
}
BENCHMARK(VekFile1MbFromBytes);

void VekFile1MbDescendingFromBytes(benchmark::State& state) {
    const Measurement& from = measurement(sets_of_1_mb, true);
    for (auto _ : state) benchmark::DoNotOptimize(vekanalysis::io::load_vekfile(from.file));
}
BENCHMARK(VekFile1MbDescendingFromBytes);

void VekScanData20MbFromPath_Floor(benchmark::State& state) {
    const Measurement& from = measurement(sets_of_20_mb);
    const TemporaryFile file(from.file);
    for (auto _ : state) {
        benchmark::DoNotOptimize(load_plainly(read_plainly(file.path()), from));
    }
}
BENCHMARK(VekScanData20MbFromPath_Floor)->Unit(benchmark::kMillisecond);

void VekScanData20MbFromPath(benchmark::State& state) {
    const TemporaryFile file(measurement(sets_of_20_mb).file);
    for (auto _ : state) {
        benchmark::DoNotOptimize(vekanalysis::io::load_vek_scan_data(file.path()));
    }
}
BENCHMARK(VekScanData20MbFromPath)->Unit(benchmark::kMillisecond);

void JsonExport20Mb_Floor(benchmark::State& state) {
    const auto document = nlohmann::json::parse(
        vekanalysis::io::vekfile_to_json(measurement(sets_of_20_mb).file, -1, false));
    for (auto _ : state) benchmark::DoNotOptimize(document.dump(2));
}
BENCHMARK(JsonExport20Mb_Floor)->Unit(benchmark::kMillisecond);

void JsonExport20Mb(benchmark::State& state) {
    const TemporaryFile file(measurement(sets_of_20_mb).file);
    for (auto _ : state) {
        benchmark::DoNotOptimize(vekanalysis::io::vekfile_to_json(file.path(), 2, false));
    }
}
BENCHMARK(JsonExport20Mb)->Unit(benchmark::kMillisecond);

std::string csv_lines(std::size_t count) {
    std::string text;
    char line[64];
    for (std::size_t i = 0; i < count; ++i) {
        const double x = 200.0 + 0.01 * static_cast<double>(i);
        std::snprintf(line, sizeof line, "%.2f,%.6f\n", x, 0.5 + 0.3 * std::sin(x / 17.0));
        text += line;
    }
    return text;
}

void Csv100000Lines_Floor(benchmark::State& state) {
    const TemporaryFile file(csv_lines(100'000));
    for (auto _ : state) {
        const Bytes bytes = read_plainly(file.path());
        const char* at = reinterpret_cast<const char*>(bytes.data());
        const char* const end = at + bytes.size();
        double sum = 0.0;
        while (at != end) {
            double number = 0.0;
            at = std::from_chars(at, end, number).ptr + 1;
            sum += number;
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(Csv100000Lines_Floor)->Unit(benchmark::kMicrosecond);

void Csv100000Lines(benchmark::State& state) {
    const TemporaryFile file(csv_lines(100'000));
    for (auto _ : state) benchmark::DoNotOptimize(vekanalysis::io::load_csv(file.path()));
}
BENCHMARK(Csv100000Lines)->Unit(benchmark::kMicrosecond);

}  // namespace
