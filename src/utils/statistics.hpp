#pragma once

#include <string>

#include "../core/scan.hpp"

namespace vekanalysis {

/// Descriptive statistics of n values, in the unit of the values (variance in its square;
/// skewness and kurtosis are dimensionless).
template <class T>
struct Stat_Result {
    T mean;
    T min;
    T max;
    T variance;  ///< population variance (divisor n)
    T skewness;  ///< third standardised moment
    T kurtosis;  ///< excess kurtosis: fourth standardised moment minus 3
    T median;    ///< P-square estimate of the 0.5 quantile, approximate for more than five values

    bool operator==(const Stat_Result&) const = default;
};

/// "<ScanStatistics mean=... min=... max=... variance=... skewness=... kurtosis=... median=...>",
/// each number with six decimals.
[[nodiscard]] std::string to_string(const Stat_Result<double>& statistics);

namespace utils {

/// Statistics of all stored values, taken in ascending order of wavelength.
///
/// Of no values: mean, skewness and kurtosis NaN, min the largest double, max its negative,
/// variance and median 0. Of equal values: variance 0, skewness and kurtosis NaN. The median is a
/// streaming estimate; below five values it is the third value pushed, or 0. Source: R. Jain and I.
/// Chlamtac, Commun. ACM 28 (1985) 1076-1085 (median).
[[nodiscard]] Stat_Result<double> get_statistics(const Scan& scan);

/// The same of the values whose wavelength k satisfies lo <= k <= hi, compared exactly.
[[nodiscard]] Stat_Result<double> get_statistics(const Scan& scan, double lo, double hi);

}  // namespace utils

}  // namespace vekanalysis
