#include "core/text.hpp"

#include <ios>
#include <locale>
#include <sstream>

namespace vekanalysis::internal {

std::string general(double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

std::string fixed(double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::fixed << value;
    return stream.str();
}

}  // namespace vekanalysis::internal
