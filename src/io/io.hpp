#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "../core/scan.hpp"
#include "vekfile.hpp"

/// Reads measurement files and CSV spectra.
///
/// The functions on measurement files come in two forms: on the bytes of a file, which are not
/// used after the call, and on a path in UTF-8. They throw
///
/// - std::runtime_error "Buffer is empty";
/// - what vekfile::ContentsReader throws, for a file that is damaged or no measurement file;
/// - the path forms and `load_csv`: std::ios_base::failure, whose text begins "Could not open file
///   for reading: " + path.
///
/// Safe to call from several threads at once.
namespace vekanalysis::io {

using DataSet = vekfile::DataSet<Scan>;
using VekFile = vekfile::VekFile<DataSet>;

/// Points whose x is NaN are left out of the scans; `left_out` of each data set counts them.
[[nodiscard]] VekFile load_vekfile(std::span<const unsigned char> buffer);
[[nodiscard]] VekFile load_vekfile(const std::string& file_path);

/// The data sets by name. Deliberate: of those with the same name the last one is kept.
[[nodiscard]] std::map<std::string, Scan> scans_by_name(VekFile file);

/// The same of a file.
[[nodiscard]] std::map<std::string, Scan> load_vek_scan_data(std::span<const unsigned char> buffer);
[[nodiscard]] std::map<std::string, Scan> load_vek_scan_data(const std::string& file_path);

/// The file as JSON text; `indent`, `ensure_ascii` and a further exception as
/// vekfile::vekfile_to_json has them. Points are given as they stand in the file.
[[nodiscard]] std::string vekfile_to_json(std::span<const unsigned char> buffer, int indent,
                                          bool ensure_ascii);
[[nodiscard]] std::string vekfile_to_json(const std::string& file_path, int indent,
                                          bool ensure_ascii);

/// The bytes as a vector, for callers that hold them so.
[[nodiscard]] inline VekFile load_vekfile(const std::vector<unsigned char>& buffer) {
    return load_vekfile(std::span(buffer));
}
[[nodiscard]] inline std::map<std::string, Scan> load_vek_scan_data(
    const std::vector<unsigned char>& buffer) {
    return load_vek_scan_data(std::span(buffer));
}
[[nodiscard]] inline std::string vekfile_to_json(const std::vector<unsigned char>& buffer,
                                                 int indent, bool ensure_ascii) {
    return vekfile_to_json(std::span(buffer), indent, ensure_ascii);
}

}  // namespace vekanalysis::io
