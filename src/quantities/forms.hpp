#pragma once

#include "quantities/form.hpp"

/// The forms of the catalogues' functions, one a function of the library.
namespace vekanalysis::quantities::forms {

[[nodiscard]] Form mean_uva(const Scan& white, const OwnTables& own);
[[nodiscard]] Form mean_uvb(const Scan& white, const OwnTables& own);
[[nodiscard]] Form solar_uva(const Scan& white, const OwnTables& own);
[[nodiscard]] Form solar_uva_400(const Scan& white, const OwnTables& own);
[[nodiscard]] Form solar_uvb(const Scan& white, const OwnTables& own);
[[nodiscard]] Form luminous_d65(const Scan& white, const OwnTables& own);
[[nodiscard]] Form luminous_c(const Scan& white, const OwnTables& own);
[[nodiscard]] Form signal_incandescent(const Scan& white, const OwnTables& own);
[[nodiscard]] Form signal_led(const Scan& white, const OwnTables& own);
[[nodiscard]] Form traffic_signal(const Scan& white, const OwnTables& own);
[[nodiscard]] Form spectral_min(const Scan& white, const OwnTables& own);
[[nodiscard]] Form solar_blue(const Scan& white, const OwnTables& own);
[[nodiscard]] Form relative_signal(const Scan& white, const OwnTables& own);
[[nodiscard]] Form attenuation_incandescent(const Scan& white, const OwnTables& own);
[[nodiscard]] Form attenuation_led(const Scan& white, const OwnTables& own);
[[nodiscard]] Form attenuation_traffic(const Scan& white, const OwnTables& own);
[[nodiscard]] Form spectral_min_quotient(const Scan& white, const OwnTables& own);

[[nodiscard]] Form chromaticity_1931(const Scan& white, const OwnTables& own);
[[nodiscard]] Form chromaticity_1964(const Scan& white, const OwnTables& own);
[[nodiscard]] Form chromaticity_daylight(const Scan& white, const OwnTables& own);
[[nodiscard]] Form chromaticity_yellow(const Scan& white, const OwnTables& own);
[[nodiscard]] Form chromaticity_green(const Scan& white, const OwnTables& own);

[[nodiscard]] Form tristimulus(const Scan& white, const OwnTables& own);
[[nodiscard]] Form tristimulus_d65(const Scan& white, const OwnTables& own);
[[nodiscard]] Form cielab(const Scan& white, const OwnTables& own);
[[nodiscard]] Form cielab_d65(const Scan& white, const OwnTables& own);
[[nodiscard]] Form cielab_scaled(const Scan& white, const OwnTables& own);
[[nodiscard]] Form illuminance(const Scan& white, const OwnTables& own);

}  // namespace vekanalysis::quantities::forms
