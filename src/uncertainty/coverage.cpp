#include "uncertainty/coverage.hpp"

#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

#include <cmath>
#include <stdexcept>

namespace vekanalysis::uncertainty {

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
    return math::quantile(complement(math::students_t(degrees_of_freedom), tail));
}

}  // namespace vekanalysis::uncertainty
