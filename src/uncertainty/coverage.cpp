#include "uncertainty/coverage.hpp"

#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

#include <cmath>
#include <stdexcept>

namespace vekanalysis::uncertainty {

namespace {

/// From so many degrees of freedom on, and up to this quantile of the normal distribution, the
/// series below is exact to the last digit of a double.
constexpr double many = 1e4;
constexpr long double farthest = 4.0L;

/// Quantile of Student's t distribution from that of the normal distribution, for many degrees of
/// freedom.
///
/// Source: M. Abramowitz and I. A. Stegun, Handbook of Mathematical Functions, 26.7.5.
double from_normal(long double z, long double degrees_of_freedom) noexcept {
    const long double z2 = z * z;
    const long double g1 = (z2 + 1.0L) / 4.0L;
    const long double g2 = ((5.0L * z2 + 16.0L) * z2 + 3.0L) / 96.0L;
    const long double g3 = (((3.0L * z2 + 19.0L) * z2 + 17.0L) * z2 - 15.0L) / 384.0L;
    const long double g4 =
        ((((79.0L * z2 + 776.0L) * z2 + 1482.0L) * z2 - 1920.0L) * z2 - 945.0L) / 92160.0L;
    const long double h = 1.0L / degrees_of_freedom;
    return static_cast<double>(z + z * h * (g1 + h * (g2 + h * (g3 + h * g4))));
}

}  // namespace

double coverage_factor(double coverage, double degrees_of_freedom) {
    if (!(coverage > 0.0 && coverage < 1.0)) {
        throw std::invalid_argument(
            "uncertainty::coverage_factor: coverage must lie between 0 and 1");
    }
    if (!(degrees_of_freedom > 0.0)) {
        throw std::invalid_argument(
            "uncertainty::coverage_factor: degrees of freedom must be above 0");
    }
    namespace math = boost::math;
    const double tail = 0.5 - 0.5 * coverage;
    if (std::isinf(degrees_of_freedom)) return math::quantile(complement(math::normal(), tail));
    if (degrees_of_freedom >= many) {
        const math::normal_distribution<long double> normal;
        const long double z = math::quantile(complement(normal, static_cast<long double>(tail)));
        if (z < farthest) return from_normal(z, degrees_of_freedom);
    }
    return math::quantile(complement(math::students_t(degrees_of_freedom), tail));
}

}  // namespace vekanalysis::uncertainty
