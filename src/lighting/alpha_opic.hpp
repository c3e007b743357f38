#pragma once

#include <span>
#include <string>

#include "../core/scan.hpp"

namespace vekanalysis::lighting {

/// One alpha-opic quantity of a light.
struct AlphaOpicQuantity {
    double irradiance = 0.0;  ///< alpha-opic irradiance, the spectrum's unit times nm (W/m2)
    double elr = 0.0;         ///< efficacy of luminous radiation, mW/lm
    double edi = 0.0;         ///< equivalent daylight (D65) illuminance, lx
    double der = 0.0;         ///< daylight (D65) efficacy ratio
    friend bool operator==(const AlphaOpicQuantity&, const AlphaOpicQuantity&) = default;
};

/// The five alpha-opic quantities after CIE S 026.
struct AlphaOpic {
    AlphaOpicQuantity s_cone;
    AlphaOpicQuantity m_cone;
    AlphaOpicQuantity l_cone;
    AlphaOpicQuantity rhodopic;
    AlphaOpicQuantity melanopic;
    friend bool operator==(const AlphaOpic&, const AlphaOpic&) = default;
};

[[nodiscard]] std::string to_string(const AlphaOpicQuantity& quantity);
[[nodiscard]] std::string to_string(const AlphaOpic& quantities);

/// Alpha-opic quantities of a spectral irradiance (W m-2 nm-1).
///
/// E_alpha = sum of E(wl) s_alpha(wl) over 380, 381, ..., 780 nm; ELR = 1e3 E_alpha / E_v with
/// E_v = 683.002 lm/W times the sum of E V; DER = ELR / ELR of D65; EDI = E_alpha / ELR of D65.
/// Of a relative spectrum only ELR and DER mean anything. Source: CIE S 026:2018.
/// @throws std::invalid_argument  those of `internal::VisibleSpectrum` and its `require_amounts`
[[nodiscard]] AlphaOpic alpha_opic(const Scan& scan);

/// Ratio of scotopic to photopic quantities, S/P: 1700 lm/W times the sum of E V' over 683.002 lm/W
/// times the sum of E V, sums in 1 nm from 380 to 780 nm. Source: CIE 018:2019; CIE 191:2010.
///
/// Throws as `alpha_opic`.
[[nodiscard]] double scotopic_photopic_ratio(const Scan& scan);

namespace internal {

// The same of values at 380, 381, ..., 780 nm.
[[nodiscard]] AlphaOpic alpha_opic(std::span<const double> values);
[[nodiscard]] double scotopic_photopic_ratio(std::span<const double> values);

}  // namespace internal

}  // namespace vekanalysis::lighting
