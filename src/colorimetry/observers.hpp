#pragma once

#include <array>

#include "../core/scan.hpp"

namespace vekanalysis {

/// The three colour-matching functions of an observer, dimensionless over wavelengths in nm.
///
/// Owns nothing: the scans must outlive it, and a later change of one of them is seen here.
struct Observer {
    const Scan& x;
    const Scan& y;
    const Scan& z;
};

namespace observers::data {

/// CIE 1931 standard colorimetric observer, 2 degrees. Source: CIE 15:2004, Table T.4.
[[nodiscard]] const Observer& cie_1931_standard();

/// CIE 1964 standard colorimetric observer, 10 degrees. Source: CIE 15:2004, Table T.5.
[[nodiscard]] const Observer& cie_1964_standard();

/// Both, the 1931 observer first.
[[nodiscard]] const std::array<const Observer*, 2>& dataset();

}  // namespace observers::data

}  // namespace vekanalysis
