#include "numerical/brent.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "numerical/fused.hpp"

namespace numerical {

namespace {

// Deliberate: (3 - sqrt 5) / 2 cut to six digits.
constexpr double golden_section = 0.381966;
constexpr double smallest_relative_step = 0x1p-26;
constexpr double machine_epsilon = 0x1p-52;

double tolerance(double abs_tolerance, double rel_tolerance, double p, double q) {
    return fused(rel_tolerance, std::min(std::abs(p), std::abs(q)), abs_tolerance);
}

bool evaluate(const std::function<double(double)>& f, double x, double* value) {
    *value = f(x);
    return std::isfinite(*value);
}

}  // namespace

bool brent_minimize(double a, double b, double x, const std::function<double(double)>& f,
                    unsigned int max_iterations, double abs_tolerance, double rel_tolerance,
                    double* x_min) {
    if (x_min == nullptr || !(a < x && x < b) || !f) return false;
    double fa = 0.0;
    double fx = 0.0;
    double fb = 0.0;
    if (!evaluate(f, a, &fa) || !evaluate(f, x, &fx) || !evaluate(f, b, &fb)) return false;
    if (!(fx < fa && fx < fb)) return false;

    double lo = a;
    double hi = b;
    double v = a + golden_section * (b - a);
    double fv = 0.0;
    if (!evaluate(f, v, &fv)) return false;
    double w = v;
    double fw = fv;
    double d = 0.0;

    for (unsigned int left = std::max(max_iterations, 1U); left > 0; --left) {
        const double middle = (lo + hi) / 2.0;
        const double tol1 = smallest_relative_step * std::abs(x);
        bool parabolic = false;
        if (std::abs(d) > tol1) {
            const double r = (x - w) * (fx - fv);
            double q = (x - v) * (fx - fw);
            double p = (x - v) * q - (x - w) * r;
            q = 2.0 * (q - r);
            if (q > 0.0) p = -p;
            q = std::abs(q);
            const double candidate = x + p / q;
            parabolic = std::abs(p) < std::abs(0.5 * q * d) && lo < candidate && candidate < hi;
            if (parabolic) {
                d = p / q;
                if (candidate - lo < 2.0 * tol1 || hi - candidate < 2.0 * tol1) {
                    d = x < middle ? tol1 : -tol1;
                }
            }
        }
        if (!parabolic) d = golden_section * (x < middle ? hi - x : lo - x);

        const double u = std::abs(d) >= tol1 ? x + d : x + (d > 0.0 ? tol1 : -tol1);
        double fu = 0.0;
        if (!evaluate(f, u, &fu)) return false;
        if (fu <= fx) {
            (u < x ? hi : lo) = x;
            v = w;
            fv = fw;
            w = x;
            fw = fx;
            x = u;
            fx = fu;
        } else {
            (u < x ? lo : hi) = u;
            if (fu <= fw || w == x) {
                v = w;
                fv = fw;
                w = u;
                fw = fu;
            } else if (fu <= fv || v == x || v == w) {
                v = u;
                fv = fu;
            }
        }
        if (hi - x < tolerance(abs_tolerance, rel_tolerance, hi, x)) break;
    }
    *x_min = x;
    return true;
}

bool brent_root(double a, double b, const std::function<double(double)>& f,
                unsigned int max_iterations, double abs_tolerance, double rel_tolerance,
                double* root) {
    if (root == nullptr || !(a < b) || !f) return false;
    double fa = 0.0;
    double fb = 0.0;
    if (!evaluate(f, a, &fa) || !evaluate(f, b, &fb)) return false;
    if ((fa < 0.0 && fb < 0.0) || (fa > 0.0 && fb > 0.0)) return false;
    if (fa == 0.0 || fb == 0.0) {
        *root = fa == 0.0 ? a : b;
        return true;
    }

    double c = a;
    double fc = fa;
    double d = b - a;
    double e = d;
    for (unsigned int left = std::max(max_iterations, 1U); left > 0; --left) {
        if ((fb < 0.0 && fc < 0.0) || (fb > 0.0 && fc > 0.0)) {
            c = a;
            fc = fa;
            d = b - a;
            e = d;
        }
        if (std::abs(fc) < std::abs(fb)) {
            a = b;
            fa = fb;
            b = c;
            fb = fc;
            c = a;
            fc = fa;
        }
        // Deliberate: neither a factor 2 nor an absolute part.
        const double tol1 = machine_epsilon * std::abs(b);
        const double m = (c - b) / 2.0;
        if (fb == 0.0 || std::abs(m) <= tol1) break;

        bool interpolated = false;
        if (std::abs(e) >= tol1 && std::abs(fa) > std::abs(fb)) {
            const double s = fb / fa;
            double p = 0.0;
            double q = 0.0;
            if (a == c) {
                p = 2.0 * m * s;
                q = 1.0 - s;
            } else {
                const double t = fa / fc;
                const double r = fb / fc;
                p = s * (2.0 * m * t * (t - r) - (b - a) * (r - 1.0));
                q = (t - 1.0) * (r - 1.0) * (s - 1.0);
            }
            if (p > 0.0) q = -q;
            p = std::abs(p);
            interpolated = 2.0 * p < std::min(3.0 * m * q - std::abs(tol1 * q), std::abs(e * q));
            if (interpolated) {
                e = d;
                d = p / q;
            }
        }
        if (!interpolated) {
            d = m;
            e = m;
        }
        a = b;
        fa = fb;
        b += std::abs(d) > tol1 ? d : std::copysign(tol1, m);
        if (!evaluate(f, b, &fb)) return false;
        const double low = std::min(b, c);
        const double high = std::max(b, c);
        if (high - low < tolerance(abs_tolerance, rel_tolerance, low, high)) break;
    }
    *root = b;
    return true;
}

}  // namespace numerical

namespace vekanalysis {

bool Minimizer::solve(double a, double b, double x, std::function<double(double)> f,
                      double* x_min) {
    function = std::move(f);
    return numerical::brent_minimize(a, b, x, function, max_iterations, abs_tolerance,
                                     rel_tolerance, x_min);
}

bool Root::find(double a, double b, std::function<double(double)> f, double* root) {
    function = std::move(f);
    return numerical::brent_root(a, b, function, max_iterations, abs_tolerance, rel_tolerance,
                                 root);
}

}  // namespace vekanalysis
