#include "fitting/models.hpp"

#include <cmath>

#include "colorimetry/physics.hpp"

namespace vekanalysis {

namespace {

constexpr double two_pi = 6.283185307179586;

// Order of the grating parameters.
enum Grating : unsigned int { D, OMEGA_T, OMEGA_M, COS_K, THETA_Z, ALPHA, A, PHI };

}  // namespace

double GratingEquation::theta(double x, double sin_s) const {
    return (p[OMEGA_T] * (x + p[A] * sin_s) - p[THETA_Z]) / p[ALPHA];
}

double GratingEquation::__theta(double x) const {
    return theta(x, std::sin(p[OMEGA_M] * x + p[PHI]));
}

GratingEquation::Terms GratingEquation::terms(double x) const {
    const double s = p[OMEGA_M] * x + p[PHI];
    const double sin_s = std::sin(s);
    const double angle = theta(x, sin_s);
    return {angle, std::sin(angle), std::cos(angle), sin_s, std::cos(s)};
}

double GratingEquation::value_from(const Terms& at_x) const {
    return 2.0 * p[D] * p[COS_K] * at_x.sin_theta;
}

double GratingEquation::derivative_from(const Terms& at_x, unsigned int i) const {
    switch (i) {
        case COS_K:
            return 2.0 * p[D] * at_x.sin_theta;
        case THETA_Z:
            return -2.0 * p[D] * p[COS_K] * at_x.cos_theta / p[ALPHA];
        case ALPHA:
            return -2.0 * p[D] * p[COS_K] * at_x.theta * at_x.cos_theta / p[ALPHA];
        case A:
            return 2.0 * p[D] * p[OMEGA_T] * p[COS_K] * at_x.sin_s * at_x.cos_theta / p[ALPHA];
        case PHI:
            return 2.0 * p[D] * p[ALPHA] * p[OMEGA_T] * p[COS_K] * at_x.cos_s * at_x.cos_theta /
                   p[ALPHA];
        default:
            return 0.0;
    }
}

double GratingEquationInverse::operator()(double wl) const {
    const double y = (p[THETA_Z] + p[ALPHA] * std::asin(wl / (2.0 * p[D] * p[COS_K]))) / p[OMEGA_T];
    const double u = p[OMEGA_M] * y + p[PHI];
    return y - p[A] * std::sin(u) * (1.0 - p[A] * p[OMEGA_M] * std::cos(u));
}

TurretEquation::Terms TurretEquation::terms(double x) const {
    const double angle = two_pi * x / p[3] + p[2];
    return {x, std::sin(angle), std::cos(angle)};
}

double TurretEquation::value_from(const Terms& at_x) const {
    return (p[0] + at_x.x) + p[1] * at_x.sine;
}

double TurretEquation::derivative_from(const Terms& at_x, unsigned int i) const {
    switch (i) {
        case 0:
            return 1.0;
        case 1:
            return at_x.sine;
        case 2:
            return p[1] * at_x.cosine;
        case 3:
            return -two_pi * p[1] * at_x.x * at_x.cosine / (p[3] * p[3]);
        default:
            return 0.0;
    }
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
