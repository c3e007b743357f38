#include "io/vekfile.hpp"

#include <locale>
#include <sstream>

namespace vekanalysis::vekfile {

void rtrim(std::string& s) {
    // Not std::isspace: in some locales it takes a byte of a UTF-8 sequence for a space.
    s.erase(s.find_last_not_of(" \t\n\v\f\r") + 1);
}

MeasurementTypeUnits parse_type_and_units_strings(std::string_view text, std::string_view codes) {
    MeasurementTypeUnits result;
    constexpr std::string_view divider = " / ";
    const std::size_t place = text.find(divider);
    result.measurement_type = text.substr(0, place);
    if (place != std::string_view::npos) {
        result.units = text.substr(place + divider.size());
        rtrim(result.units);
    }
    if (!codes.empty()) {
        std::istringstream stream{std::string(codes)};
        stream.imbue(std::locale::classic());
        stream.exceptions(std::ios::badbit);  // a want of memory
        stream >> result.measurement_type_code >> result.units_code;
    }
    return result;
}

}  // namespace vekanalysis::vekfile
