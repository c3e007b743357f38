#pragma once

#include <cstddef>
#include <streambuf>
#include <string>
#include <vector>

namespace vekanalysis::internal {

/// Every byte of a file; none for an empty one.
///
/// @param path  UTF-8 on every system
/// @throws std::ios_base::failure  a text that begins "Could not open file for reading: " + path,
///                                 for a folder and for a file that cannot be read, too
[[nodiscard]] std::vector<unsigned char> load_binary_file(const std::string& path);

/// Every byte that a source gives until it gives none, in however small pieces.
///
/// @param expected  a guess at how many, which saves memory
/// @param path      for the error's text
/// @throws std::ios_base::failure  as above, where the source throws one; what else it throws is
///                                 passed on
[[nodiscard]] std::vector<unsigned char> read_all(std::streambuf& source, std::size_t expected,
                                                  const std::string& path);

}  // namespace vekanalysis::internal
