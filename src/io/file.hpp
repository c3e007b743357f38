#pragma once

#include <string>
#include <vector>

namespace vekanalysis::internal {

/// Every byte of a file; none for an empty one.
///
/// @param path  UTF-8 on every system
/// @throws std::ios_base::failure  a text that begins "Could not open file for reading: " + path,
///                                 for a folder and for a file that cannot be read, too
[[nodiscard]] std::vector<unsigned char> load_binary_file(const std::string& path);

}  // namespace vekanalysis::internal
