#include "io/io.hpp"

#include <stdexcept>
#include <utility>

#include "io/file.hpp"
#include "io/vekfile_json.hpp"
#include "io/vekfile_reader.hpp"

namespace vekanalysis::io {

namespace {

/// The record alone: the reader, with its copy of the stream, is gone when this returns.
template <class Reader>
auto read(std::span<const unsigned char> buffer) {
    if (buffer.empty()) throw std::runtime_error("Buffer is empty");
    return Reader(buffer.data(), buffer.size()).vekfile();
}

}  // namespace

std::map<std::string, Scan> scans_by_name(VekFile file) {
    std::map<std::string, Scan> scans;
    for (auto& data_set : file.data_sets) {
        scans.insert_or_assign(std::move(data_set.name), std::move(data_set.data));
    }
    return scans;
}

VekFile load_vekfile(std::span<const unsigned char> buffer) {
    return read<vekfile::VekFileReader>(buffer);
}

VekFile load_vekfile(const std::string& file_path) {
    return load_vekfile(internal::load_binary_file(file_path));
}

std::map<std::string, Scan> load_vek_scan_data(std::span<const unsigned char> buffer) {
    return scans_by_name(load_vekfile(buffer));
}

std::map<std::string, Scan> load_vek_scan_data(const std::string& file_path) {
    return scans_by_name(load_vekfile(file_path));
}

std::string vekfile_to_json(std::span<const unsigned char> buffer, int indent, bool ensure_ascii) {
    const auto file = read<vekfile::VekFileReaderJSON>(buffer);
    return vekfile::vekfile_to_json(file, indent, ensure_ascii);
}

std::string vekfile_to_json(const std::string& file_path, int indent, bool ensure_ascii) {
    // The file's bytes are gone before the JSON text, which is larger, is made.
    const auto file = read<vekfile::VekFileReaderJSON>(internal::load_binary_file(file_path));
    return vekfile::vekfile_to_json(file, indent, ensure_ascii);
}

}  // namespace vekanalysis::io
