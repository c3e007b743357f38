#include "numerical/levenberg_marquardt.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <span>
#include <utility>

namespace numerical {

namespace {

constexpr int max_trials = 32;
constexpr double first_damping = 1e-12;
constexpr double rejection_factor = 10.1;
constexpr double smallest_acceptance_factor = 1.0 / 3.0;
constexpr double residual_norm_limit = 1e-9;
constexpr double pivot_scale_limit = 1000.0;

double norm(std::span<const double> x) {
    double sum = 0.0;
    for (const double value : x) sum += value * value;
    return std::sqrt(sum);
}

double max_magnitude(std::span<const double> x) {
    double largest = 0.0;
    for (const double value : x) largest = std::max(largest, std::abs(value));
    return largest;
}

/// Parameters with the residuals, Jacobian and cost there.
struct Point {
    Point(const LeastSquaresProblem& problem, std::vector<double> start)
        : p(std::move(start)),
          r(problem.residual_count),
          jacobian(problem.residual_count * problem.parameter_count) {}

    void evaluate(const LeastSquaresProblem& problem) {
        problem.residuals(p, r);
        problem.jacobian(p, {jacobian.data(), problem.residual_count, problem.parameter_count});
        double sum = 0.0;
        for (const double residual : r) sum += residual * residual;
        cost = 0.5 * sum;
    }

    std::vector<double> p;
    std::vector<double> r;
    std::vector<double> jacobian;
    double cost = 0.0;
};

/// A = J^T J and g = J^T r, each sum in the order of the residuals. With M known the sums stay in
/// registers; 0 stands for any number of parameters.
template <std::size_t M>
void form_normal_equations(const Point& point, std::span<double> A, std::span<double> g) {
    const std::size_t m = M == 0 ? g.size() : M;
    std::array<double, M * M + M> registers{};
    double* const a = M == 0 ? A.data() : registers.data();
    double* const b = M == 0 ? g.data() : registers.data() + M * M;
    std::fill(a, a + m * m, 0.0);
    std::fill(b, b + m, 0.0);
    const double* row = point.jacobian.data();
    for (const double residual : point.r) {
        for (std::size_t j = 0; j < m; ++j) {
            for (std::size_t k = 0; k < m; ++k) a[j * m + k] += row[j] * row[k];
            b[j] += row[j] * residual;
        }
        row += m;
    }
    if (M != 0) {
        std::copy(a, a + m * m, A.begin());
        std::copy(b, b + m, g.begin());
    }
}

using FormNormalEquations = void (*)(const Point&, std::span<double>, std::span<double>);

FormNormalEquations normal_equations_of(std::size_t m) {
    constexpr FormNormalEquations known[] = {
        form_normal_equations<0>, form_normal_equations<1>, form_normal_equations<2>,
        form_normal_equations<3>, form_normal_equations<4>, form_normal_equations<5>,
        form_normal_equations<6>, form_normal_equations<7>, form_normal_equations<8>};
    return known[m < std::size(known) ? m : 0];
}

/// Solves A x = b by Gaussian elimination with partial pivoting; x replaces b, A is used up.
///
/// @return false when a pivot vanishes against the largest element (taken as 1000 at most)
bool solve(MatrixView A, std::span<double> b, double largest) {
    const std::size_t m = b.size();
    const double smallest_pivot =
        std::min(largest, pivot_scale_limit) * std::numeric_limits<double>::epsilon();
    for (std::size_t k = 0; k < m; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k + 1; i < m; ++i) {
            if (std::abs(A(i, k)) > std::abs(A(pivot, k))) pivot = i;
        }
        if (std::abs(A(pivot, k)) <= smallest_pivot) return false;
        if (pivot != k) {
            for (std::size_t j = k; j < m; ++j) std::swap(A(k, j), A(pivot, j));
            std::swap(b[k], b[pivot]);
        }
        for (std::size_t i = k + 1; i < m; ++i) {
            const double factor = A(i, k) / A(k, k);
            for (std::size_t j = k + 1; j < m; ++j) A(i, j) -= factor * A(k, j);
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t i = m; i-- > 0;) {
        for (std::size_t j = i + 1; j < m; ++j) b[i] -= A(i, j) * b[j];
        b[i] /= A(i, i);
    }
    return true;
}

}  // namespace

bool levenberg_marquardt(const LeastSquaresProblem& problem, std::vector<double>& p,
                         unsigned int max_iterations, double abs_tolerance, double rel_tolerance) {
    const std::size_t m = problem.parameter_count;
    if (m == 0 || problem.residual_count < m || p.size() != m || !problem.residuals ||
        !problem.jacobian) {
        return false;
    }
    Point current(problem, p);
    Point trial(problem, p);
    std::vector<double> A(m * m);
    std::vector<double> damped(m * m);
    std::vector<double> g(m);
    std::vector<double> scale(m);
    std::vector<double> delta(m);

    const FormNormalEquations form = normal_equations_of(m);
    current.evaluate(problem);
    double mu = first_damping;
    for (unsigned int left = std::max(max_iterations, 1U); left > 0; --left) {
        form(current, A, g);
        for (std::size_t j = 0; j < m; ++j) {
            const double diagonal = std::abs(A[j * m + j]);
            scale[j] = diagonal <= std::numeric_limits<double>::min() ? 1.0 : diagonal;
        }

        double rho = 0.0;
        int trials = 0;
        for (; trials < max_trials; ++trials, mu *= rejection_factor) {
            std::copy(A.begin(), A.end(), damped.begin());
            for (std::size_t j = 0; j < m; ++j) {
                damped[j * m + j] += mu * scale[j];
                delta[j] = -g[j];
            }
            if (!solve({damped.data(), m, m}, delta, max_magnitude(damped))) continue;
            if (norm(delta) <= (norm(p) + rel_tolerance) * rel_tolerance) return true;

            for (std::size_t j = 0; j < m; ++j) trial.p[j] = p[j] + delta[j];
            trial.evaluate(problem);
            double predicted = 0.0;
            for (std::size_t j = 0; j < m; ++j) {
                predicted += delta[j] * (mu * scale[j] * delta[j] - g[j]);
            }
            predicted *= 0.5;
            const double gain = current.cost - trial.cost;
            rho = predicted > 0.0 ? gain / predicted : 0.0;
            if (std::isfinite(trial.cost) && gain > 0.0 && rho > 0.0) break;
        }
        if (trials == max_trials) return true;

        std::swap(current, trial);
        std::copy(current.p.begin(), current.p.end(), p.begin());
        if (m > 2 && norm(current.r) <= residual_norm_limit) return true;
        if (max_magnitude(delta) <= abs_tolerance + rel_tolerance * max_magnitude(p)) return true;
        const double t = 2.0 * rho - 1.0;
        mu *= std::max(smallest_acceptance_factor, 1.0 - t * t * t);
    }
    return true;
}

}  // namespace numerical
