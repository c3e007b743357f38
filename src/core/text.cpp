#include "core/text.hpp"

#include <ios>
#include <locale>
#include <sstream>

namespace vekanalysis::internal {

namespace {

/// In the classic locale. Memory that runs out is an error here; a stream would lose the text.
std::ostringstream text_stream() {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios::badbit);
    return stream;
}

}  // namespace

std::string general(double value) {
    std::ostringstream stream = text_stream();
    stream << value;
    return stream.str();
}

std::string fixed(double value) {
    std::ostringstream stream = text_stream();
    stream << std::fixed << value;
    return stream.str();
}

}  // namespace vekanalysis::internal
