#include "fitting/models.hpp"

#include <algorithm>
#include <cmath>

#include "physics/physics.hpp"

namespace vekanalysis {

namespace {

/// Values and derivatives at every point, from terms that are made once a point. A loop of its own
/// for each way of making them has no calls but those of sine and cosine.
template <class TermsAt, class ValueFrom, class DerivativeFrom>
void evaluate_with(const TermsAt& terms_at, const ValueFrom& value_from,
                   const DerivativeFrom& derivative_from, std::span<const unsigned int> free,
                   std::span<const double> x, std::span<double> values,
                   std::span<double> derivatives) {
    std::size_t k = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const auto terms = terms_at(x[i]);
        values[i] = value_from(terms);
        for (const unsigned int index : free) derivatives[k++] = derivative_from(terms, index);
    }
}

}  // namespace

struct GratingEquation::Terms {
    double theta;
    double sin_theta;
    double cos_theta;
    double sin_s;  ///< s = omega_m x + phi
    double cos_s;  ///< only where the derivative by phi is wanted
};

inline double GratingEquation::theta_from(double x, double sin_s) const {
    return (p[OMEGA_T] * (x + p[A] * sin_s) - p[THETA_Z]) / p[ALPHA];
}

double GratingEquation::theta(double x) const {
    return theta_from(x, std::sin(p[OMEGA_M] * x + p[PHI]));
}

template <bool with_cos_s>
inline GratingEquation::Terms GratingEquation::terms(double x) const {
    const double s = p[OMEGA_M] * x + p[PHI];
    const double sin_s = std::sin(s);
    const double angle = theta_from(x, sin_s);
    return {angle, std::sin(angle), std::cos(angle), sin_s, with_cos_s ? std::cos(s) : 0.0};
}

inline double GratingEquation::value_from(const Terms& terms) const {
    return 2.0 * p[D] * p[COS_K] * terms.sin_theta;
}

inline double GratingEquation::derivative_from(const Terms& terms, unsigned int i) const {
    switch (i) {
        case COS_K:
            return 2.0 * p[D] * terms.sin_theta;
        case THETA_Z:
            return -2.0 * p[D] * p[COS_K] * terms.cos_theta / p[ALPHA];
        case ALPHA:
            return -2.0 * p[D] * p[COS_K] * terms.theta * terms.cos_theta / p[ALPHA];
        case A:
            return 2.0 * p[D] * p[OMEGA_T] * p[COS_K] * terms.sin_s * terms.cos_theta / p[ALPHA];
        case PHI:
            return 2.0 * p[D] * p[ALPHA] * p[OMEGA_T] * p[COS_K] * terms.cos_s * terms.cos_theta /
                   p[ALPHA];
        default:
            return 0.0;
    }
}

double GratingEquation::operator()(double x) const {
    return value_from(terms<false>(x));
}

double GratingEquation::derivative_wrt_param(double x, unsigned int i) const {
    return derivative_from(terms<true>(x), i);
}

void GratingEquation::evaluate_free(std::span<const unsigned int> free, std::span<const double> x,
                                    std::span<double> values, std::span<double> derivatives) const {
    const auto value = [this](const Terms& t) { return value_from(t); };
    const auto derivative = [this](const Terms& t, unsigned int i) {
        return derivative_from(t, i);
    };
    if (std::find(free.begin(), free.end(), PHI) != free.end()) {
        evaluate_with([this](double at) { return terms<true>(at); }, value, derivative, free, x,
                      values, derivatives);
    } else {
        evaluate_with([this](double at) { return terms<false>(at); }, value, derivative, free, x,
                      values, derivatives);
    }
}

struct TurretEquation::Terms {
    double x;
    double sine;
    double cosine;
};

inline TurretEquation::Terms TurretEquation::terms(double x) const {
    const double angle = internal::two_pi * x / p[3] + p[2];
    return {x, std::sin(angle), std::cos(angle)};
}

inline double TurretEquation::value_from(const Terms& terms) const {
    return (p[0] + terms.x) + p[1] * terms.sine;
}

inline double TurretEquation::derivative_from(const Terms& terms, unsigned int i) const {
    switch (i) {
        case 0:
            return 1.0;
        case 1:
            return terms.sine;
        case 2:
            return p[1] * terms.cosine;
        case 3:
            return -internal::two_pi * p[1] * terms.x * terms.cosine / (p[3] * p[3]);
        default:
            return 0.0;
    }
}

double TurretEquation::operator()(double x) const {
    return value_from(terms(x));
}

double TurretEquation::derivative_wrt_param(double x, unsigned int i) const {
    return derivative_from(terms(x), i);
}

void TurretEquation::evaluate_free(std::span<const unsigned int> free, std::span<const double> x,
                                   std::span<double> values, std::span<double> derivatives) const {
    evaluate_with([this](double at) { return terms(at); },
                  [this](const Terms& t) { return value_from(t); },
                  [this](const Terms& t, unsigned int i) { return derivative_from(t, i); }, free, x,
                  values, derivatives);
}

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
