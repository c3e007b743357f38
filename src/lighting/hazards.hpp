#pragma once

#include <map>
#include <optional>
#include <string>

#include "../core/scan.hpp"

namespace vekanalysis::lighting {

/// Hazard-weighted irradiances (W/m2) or radiances (W m-2 sr-1), as the spectrum is one or the
/// other.
struct HazardWeighted {
    std::optional<double> actinic_uv;           ///< weighted with S(lambda), 200 to 400 nm
    std::optional<double> uv_a;                 ///< not weighted, 315 to 400 nm
    std::optional<double> blue_light;           ///< weighted with B(lambda), 300 to 700 nm
    std::optional<double> retinal_thermal;      ///< weighted with R(lambda), 380 to 1400 nm
    std::map<std::string, std::string> absent;  ///< why each that is missing is missing
    friend bool operator==(const HazardWeighted&, const HazardWeighted&) = default;
};

[[nodiscard]] std::string to_string(const HazardWeighted& weighted);

/// Edition of the weighting functions.
enum class HazardEdition { IEC_62471_2006, ICNIRP_2013 };

/// Hazard-weighted quantities of a spectrum in W m-2 nm-1 or W m-2 sr-1 nm-1, by the trapezoidal
/// rule in steps of 1 nm, the functions interpolated logarithmically between the printed points.
///
/// R(lambda) of IEC 62471 is ten times that of ICNIRP 2013. A quantity whose band the data do not
/// cover wholly is absent, and one of which sums in that step miss 0.01 of what the data's own,
/// closer points give. No risk group: that takes the size of the source, the distance (200 mm,
/// or that of 500 lx), the field of view and the duration, none of which a spectrum has.
/// Sources: IEC 62471:2006 (CIE S 009:2002); ICNIRP, Health Phys. 87 (2004) 171 and 105 (2013) 74.
/// @throws std::runtime_error  the errors of the interpolant
[[nodiscard]] HazardWeighted hazard_weighted(const Scan& scan,
                                             HazardEdition edition = HazardEdition::IEC_62471_2006);

}  // namespace vekanalysis::lighting
