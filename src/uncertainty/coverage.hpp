#pragma once

namespace vekanalysis::uncertainty {

/// Factor k by which a standard uncertainty is multiplied for a two-sided interval: the quantile
/// (1 + coverage) / 2 of Student's t distribution.
///
/// Source: JCGM 100:2008 (GUM), annex G, table G.2.
/// @param coverage            probability of the interval, above 0 and below 1
/// @param degrees_of_freedom  above 0; infinity gives the normal distribution
/// @throws std::invalid_argument  "uncertainty::coverage_factor: coverage must lie between 0 and 1"
///                                or "uncertainty::coverage_factor: degrees of freedom must be
///                                above 0"
[[nodiscard]] double coverage_factor(double coverage, double degrees_of_freedom);

}  // namespace vekanalysis::uncertainty
