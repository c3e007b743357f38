#include "fitting/models.hpp"

#include <cmath>

#include "colorimetry/physics.hpp"

namespace vekanalysis {

double GratingEquationInverse::operator()(double wl) const {
    const auto& [d, omega_t, omega_m, cos_K, theta_z, alpha, a, phi] = p;
    const double y = (theta_z + alpha * std::asin(wl / (2.0 * d * cos_K))) / omega_t;
    const double u = omega_m * y + phi;
    return y - a * std::sin(u) * (1.0 - a * omega_m * std::cos(u));
}

double BlackBodyEquation::operator()(double x) const {
    return p[0] * planks_law_sr(p[1], x);
}

double BlackBodyEquation::derivative_wrt_param(double x, unsigned int i) const {
    switch (i) {
        case 0:
            return planks_law_sr(p[1], x);
        case 1:
            return p[0] * planks_law_sr_deriv_T(p[1], x);
        default:
            return 0.0;
    }
}

double LineEquation::operator()(double x) const {
    return p[0] + p[1] * x;
}

double LineEquation::derivative_wrt_param(double x, unsigned int i) const {
    switch (i) {
        case 0:
            return 1.0;
        case 1:
            return x;
        default:
            return 0.0;
    }
}

}  // namespace vekanalysis
