#pragma once

#include <string>

#include "vekfile.hpp"

namespace vekanalysis::vekfile {

/// A measurement file as JSON text, one object whose members stand in the byte order of their keys.
///
/// Numbers have the shortest form that reads back the same; NaN and infinities become null. A file
/// without data sets has no member "data_sets".
/// @param indent        blanks per level, at most 1024; 0 gives line ends only, a negative number
///                      one line without blanks
/// @param ensure_ascii  characters beyond ASCII become \u sequences
/// @throws std::invalid_argument  "vekfile_to_json: indent must not exceed 1024"
/// @throws std::exception         a text is not UTF-8; the texts of a file that was read are
[[nodiscard]] std::string vekfile_to_json(const VekFile<DataSet<DataNative>>& file, int indent,
                                          bool ensure_ascii);

}  // namespace vekanalysis::vekfile
