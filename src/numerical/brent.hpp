#pragma once

#include <functional>

/// Minima and roots of a function of one variable, after R. P. Brent, Algorithms for Minimization
/// without Derivatives, 1973, chapters 4 and 5, with stopping rules of their own.
///
/// Both kernels stop when their test on `abs_tolerance + rel_tolerance * min(|p|, |q|)` holds (one
/// fused multiply-add; p and q are named at each) or when max(max_iterations, 1) values have been
/// taken beyond those of the set-up. Deliberate: a spent budget is success with the best point so
/// far; callers that need more compare values themselves.
///
/// Neither throws for numerical trouble. A null output, a bracket out of order, an empty function,
/// a value that is not finite, or no bracketed minimum or root give false and leave the output as
/// it was. Exceptions of the function itself pass through.
namespace numerical {

/// Abscissa of a minimum of f in (a, b), by parabolas and golden sections.
///
/// Values are taken at a, x and b, then at the first section point, then once an iteration.
/// Deliberate: the section point starts as both older points of the parabola, one step variable
/// serves as last and last but one step, and the smallest step is relative to the best point alone.
/// The search ends when the distance from the best point to the upper end of the bracket, not the
/// bracket's width, is below the tolerance, p and q being those two.
///
/// @param a, b   ends of the bracket
/// @param x      start, a < x < b, with f(x) below both f(a) and f(b)
[[nodiscard]] bool brent_minimize(double a, double b, double x,
                                  const std::function<double(double)>& f,
                                  unsigned int max_iterations, double abs_tolerance,
                                  double rel_tolerance, double* x_min);

/// Root of f in [a, b], by inverse quadratic interpolation, secant and bisection.
///
/// An end where f is 0 is the root, a before b. The search ends when the best point and its
/// contrapoint, p and q, are closer than the tolerance.
///
/// @param a, b   ends of the bracket, a < b; f(a) and f(b) must not have the same strict sign
[[nodiscard]] bool brent_root(double a, double b, const std::function<double(double)>& f,
                              unsigned int max_iterations, double abs_tolerance,
                              double rel_tolerance, double* root);

}  // namespace numerical

namespace vekanalysis {

/// `numerical::brent_minimize` with its settings.
struct Minimizer {
    Minimizer() = default;
    Minimizer(unsigned int iterations, double absolute, double relative)
        : max_iterations(iterations), abs_tolerance(absolute), rel_tolerance(relative) {}

    /// Keeps f as `function` and minimises it.
    [[nodiscard]] bool solve(double a, double b, double x, std::function<double(double)> f,
                             double* x_min);

    unsigned int max_iterations = 100;
    double abs_tolerance = 0.0;
    double rel_tolerance = 0.0001;
    std::function<double(double)> function;
};

/// `numerical::brent_root` with its settings.
struct Root {
    Root() = default;
    Root(unsigned int iterations, double absolute, double relative)
        : max_iterations(iterations), abs_tolerance(absolute), rel_tolerance(relative) {}

    /// Keeps f as `function` and finds its root.
    [[nodiscard]] bool find(double a, double b, std::function<double(double)> f, double* root);

    unsigned int max_iterations = 100;
    double abs_tolerance = 0.0;
    double rel_tolerance = 0.0001;
    std::function<double(double)> function;
};

}  // namespace vekanalysis
