#include "io/vekfile_reader.hpp"

#include <array>
#include <cmath>
#include <stdexcept>
#include <type_traits>

namespace vekanalysis::vekfile {

namespace {

constexpr std::size_t contents_entry = 1;
constexpr std::array<unsigned char, 16> marker{0x4E, 0xD0, 0xDF, 0x71, 0x88, 0xCB, 0x02, 0x45,
                                               0x88, 0xEB, 0xD9, 0x43, 0xA3, 0x09, 0x1A, 0x1A};
constexpr std::uint64_t point_size = 16;

/// Erases the points whose x is NaN; their number.
std::size_t erase_nan(DataNative& points) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < points.x.size(); ++i) {
        if (std::isnan(points.x[i])) continue;
        points.x[kept] = points.x[i];
        points.y[kept++] = points.y[i];
    }
    const std::size_t erased = points.x.size() - kept;
    points.x.resize(kept);
    points.y.resize(kept);
    return erased;
}

}  // namespace

template <class T>
__VekFileReader<T>::__VekFileReader(const void* data, std::size_t len)
    : CompoundFileParser(data, len) {
    __init();
}

template <class T>
void __VekFileReader<T>::__init() {
    if (get_entry_name(contents_entry) != "Contents") {
        throw std::runtime_error("Contents entry missing.");
    }
    read_file(contents_entry);
    if (!seek_past_bytes(marker)) throw std::runtime_error("16 byte GUID header missing.");
    if (read_u32() != get_entry_size(contents_entry)) {
        throw std::runtime_error("Size does not match entry size.");
    }
    __read_version();
    __read_graphview();
    __read_data_sets();
    __skip_annotations();
    __skip_arrows();
    __skip_timestamps();
    __read_data_info();
    __read_x_type();
    __fill_data_sets();
}

template <class T>
void __VekFileReader<T>::__read_version() {
    Meta& meta = record_.meta;
    meta.file_version = read_u32();
    skip(4);
    if (meta.file_version >= 3) meta.has_timestamps = read_u32() != 0;
    if (meta.file_version >= 4) skip(4);
}

template <class T>
void __VekFileReader<T>::__read_graphview() {
    Graph& graph = record_.graph;
    // A NaN announces a version. Older files begin with the first of the four doubles.
    if (std::isnan(read_f64())) {
        graph.gv_version = read_u32();
        skip(4 * 8);
    } else {
        graph.gv_version = 1;
        skip(3 * 8);
    }
    bool has_extra_word = true;
    if (graph.gv_version >= 4) {
        skip(4 + 4);
        // Deliberate: a flag above 1 leaves out the word after this block, too.
        has_extra_word = read_u32() <= 1;
        if (has_extra_word) skip(4 * 8 + 4 + 4);
    }
    if (has_extra_word) skip(4);
    skip(8);
    skip_string(1);
    skip(13 * 4 + 8);
    skip_string(1);
    skip(4 * 4);
    skip_string(1);
    skip(8);
    skip_string(1);
    skip(4 * 4);
    graph.x_axis_title = read_string();
    skip(4);
    graph.y_axis_title = read_string();
    skip(4 * 4 + 4 * 8 + 5 * 4);
    constexpr std::uint64_t record_size = 40;
    skip(record_size * read_u32());
    if (graph.gv_version >= 3) {
        skip(3 * 4 + 8);
        skip_string(1);
        skip(6 * 4 + 4 * 8 + 6 * 4);
    }
}

/// Walks over the headers of the data sets and adds up their points.
///
/// @throws CFB::OutOfRange  the headers or the points do not fit into the stream
template <class T>
std::uint64_t __VekFileReader<T>::count_points(std::uint32_t count) {
    std::uint64_t total = 0;
    const std::uint64_t most = buffer.size() / point_size;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t points = read_u32();
        if (points > most - total) throw CFB::OutOfRange();
        total += points;
        skip(4);
        skip_string(1);
    }
    return total;
}

template <class T>
void __VekFileReader<T>::__read_data_sets() {
    skip_string(1);
    const std::uint32_t count = read_u32();
    skip(4 + 16 + 40);

    const std::uint64_t headers = pos;
    require(point_size * count_points(count));
    pos = headers;
    record_.data_sets.resize(count);
    for (auto& data_set : record_.data_sets) {
        data_set.no_of_points = read_u32();
        skip(4);
        data_set.name = read_string();
    }
    __read_points();
}

template <class T>
void __VekFileReader<T>::__read_points() {
    for (const auto& data_set : record_.data_sets) {
        const std::size_t points = data_set.no_of_points;
        if (points == 0) continue;
        std::vector<double> x(points);
        std::vector<double> y(points);
        const unsigned char* source = buffer.data() + pos;
        skip(point_size * points);
        for (std::size_t i = 0; i < points; ++i) {
            x[i] = CFB::load_little_endian<double>(source + point_size * i);
            y[i] = CFB::load_little_endian<double>(source + point_size * i + 8);
        }
        points_.emplace_back(std::move(x), std::move(y));
    }
}

/// Leaves in each container what inserting the points one by one in file order would leave there,
/// those left out that a Scan refuses.
template <class T>
void __VekFileReader<T>::__fill_data_sets() {
    // Sorting points into a scan takes memory of its own; the stream's is given back first.
    std::vector<unsigned char>().swap(buffer);
    pos = 0;
    auto points = points_.begin();
    for (auto& data_set : record_.data_sets) {
        if (data_set.no_of_points == 0) continue;
        if constexpr (std::is_same_v<T, Scan>) {
            data_set.left_out = static_cast<std::uint32_t>(erase_nan(*points));
        }
        data_set.data = T(std::move(points->x), std::move(points->y));
        ++points;
    }
    std::vector<DataNative>().swap(points_);
}

template <class T>
void __VekFileReader<T>::__skip_annotations() {
    if (record_.graph.gv_version < 2) return;
    for (std::uint32_t annotations = read_u32(); annotations > 0; --annotations) {
        constexpr std::uint32_t kind_with_extra_words = 999;
        if (read_u32() == kind_with_extra_words) skip(8);
        skip(24);
        skip(64);
        skip_string(1);
        for (std::uint32_t groups = read_u32(); groups > 0; --groups) {
            for (std::uint32_t texts = read_u32(); texts > 0; --texts) {
                skip(4);
                skip_string(1);
            }
        }
    }
}

template <class T>
void __VekFileReader<T>::__skip_arrows() {
    if (record_.graph.gv_version < 3) return;
    skip(std::uint64_t{60} * read_u32());
    skip(std::uint64_t{108} * read_u32());
}

template <class T>
void __VekFileReader<T>::__skip_timestamps() {
    // Deliberate: whether they are there depends on the graph view's version, not the file's.
    if (record_.graph.gv_version < 3 || !record_.meta.has_timestamps) return;
    for (const auto& data_set : record_.data_sets) skip(point_size * data_set.no_of_points);
}

template <class T>
MeasurementTypeUnits __VekFileReader<T>::read_type_and_units() {
    const std::string text = read_string();
    const std::string codes = read_string();
    return parse_type_and_units_strings(text, codes);
}

template <class T>
void __VekFileReader<T>::__read_data_info() {
    DataInfo& info = record_.data_info;
    info.date_and_time = read_string();
    info.scan_summary = read_string();
    info.apply_data_calibration = read_u32() != 0;
    info.data_calibration_file = read_string();
    info.certificate_file = read_string();
    info.system_file = read_string();
    info.pre_scan_addon_description = read_string();
    info.post_scan_addon_description = read_string();
    info.pre_scan_addon_filename = read_string();
    info.post_scan_addon_filename = read_string();
    info.type_and_units = read_type_and_units();
    info.auxiliary_type_and_units = read_type_and_units();
    info.apply_reference = read_u32() != 0;
    info.reference_type = read_string();
    info.reference_file = read_string();
    info.reference_parameter = read_string();
    skip(16 + 16 + 4);
    skip(std::uint64_t{4} * record_.data_sets.size());
}

template <class T>
void __VekFileReader<T>::__read_x_type() {
    constexpr std::array<const char*, 5> x_types{"Wavelength / nm", "Time / s", "Time / ms",
                                                 "Arbitrary units", "Wavelength / \xC2\xB5m"};
    const std::uint32_t code = read_u32();
    if (code < x_types.size()) record_.meta.x_type = x_types[code];
}

template class __VekFileReader<Scan>;
template class __VekFileReader<DataNative>;

std::vector<std::string> VekFileReader::get_dataset_names() const {
    std::vector<std::string> names;
    names.reserve(reader_.record().data_sets.size());
    for (const auto& data_set : reader_.record().data_sets) names.push_back(data_set.name);
    return names;
}

}  // namespace vekanalysis::vekfile
