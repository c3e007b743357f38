#pragma once

#include "quantities/form.hpp"

/// The forms of the catalogues' functions, one a function of the library.
namespace vekanalysis::quantities::forms {

[[nodiscard]] Form mean_uva(const Scan&);
[[nodiscard]] Form mean_uvb(const Scan&);
[[nodiscard]] Form solar_uva(const Scan&);
[[nodiscard]] Form solar_uva_400(const Scan&);
[[nodiscard]] Form solar_uvb(const Scan&);
[[nodiscard]] Form luminous_d65(const Scan&);
[[nodiscard]] Form luminous_c(const Scan&);
[[nodiscard]] Form signal_incandescent(const Scan&);
[[nodiscard]] Form signal_led(const Scan&);
[[nodiscard]] Form traffic_signal(const Scan&);
[[nodiscard]] Form spectral_min(const Scan&);
[[nodiscard]] Form solar_blue(const Scan&);

[[nodiscard]] Form chromaticity_1931(const Scan&);
[[nodiscard]] Form chromaticity_1964(const Scan&);
[[nodiscard]] Form chromaticity_daylight(const Scan&);
[[nodiscard]] Form chromaticity_yellow(const Scan&);
[[nodiscard]] Form chromaticity_green(const Scan&);

[[nodiscard]] Form tristimulus(const Scan&);
[[nodiscard]] Form tristimulus_d65(const Scan&);
[[nodiscard]] Form cielab(const Scan& white);
[[nodiscard]] Form cielab_d65(const Scan&);
[[nodiscard]] Form cielab_scaled(const Scan& white);
[[nodiscard]] Form illuminance(const Scan&);

}  // namespace vekanalysis::quantities::forms
