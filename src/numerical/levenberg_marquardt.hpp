#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace numerical {

/// Row-major matrix over memory of somebody else's: element (i, j) is data[i * cols + j].
class MatrixView {
public:
    MatrixView(double* data, std::size_t rows, std::size_t cols) noexcept
        : data_(data), rows_(rows), cols_(cols) {}

    [[nodiscard]] double& operator()(std::size_t i, std::size_t j) noexcept {
        return data_[i * cols_ + j];
    }
    [[nodiscard]] double operator()(std::size_t i, std::size_t j) const noexcept {
        return data_[i * cols_ + j];
    }
    [[nodiscard]] std::size_t rows() const noexcept { return rows_; }
    [[nodiscard]] std::size_t cols() const noexcept { return cols_; }

private:
    double* data_;
    std::size_t rows_;
    std::size_t cols_;
};

/// Residuals r of n measurements as functions of m parameters p.
struct LeastSquaresProblem {
    std::size_t residual_count = 0;
    std::size_t parameter_count = 0;
    /// p, shape (m), in; r, shape (n), out.
    std::function<void(const std::vector<double>&, std::vector<double>&)> residuals;
    /// p, shape (m), in; dr_i / dp_j, shape (n, m), out. Called after `residuals`, at the same p.
    std::function<void(const std::vector<double>&, MatrixView)> jacobian;
};

/// Minimises half the sum of the squared residuals from the start in `p`, which receives the
/// result.
///
/// Levenberg-Marquardt with Marquardt's scaling (D. W. Marquardt, J. SIAM 11 (1963) 431-441), a
/// dense solve of the normal equations and the damping of H. B. Nielsen (IMM-REP-1999-05, 1999), of
/// which it departs in its factor after a rejected step (10.1, always) and its stopping rules:
///   - a step |delta| <= (|p| + rel_tolerance) rel_tolerance, in the 2-norm, before it is tried
///   - an accepted step max |delta_j| <= abs_tolerance + rel_tolerance max |p_j|
///   - |r| <= 1e-9 after an accepted step, with more than two parameters only (deliberate): where
///     residuals are that small by their unit, wavelengths in metres say, it ends fits early
///   - max(max_iterations, 1) accepted steps, or 32 rejected ones in a row
///
/// The normal equations square the condition of the Jacobian: of parameters that nearly offset each
/// other fewer than half of the digits can be had. A singular system counts as a rejected step.
/// Nothing is allocated once the run has started.
///
/// @return false, calling nothing, when m == 0, n < m, p.size() != m or a callback is empty; else
///         true, converged or not: compare costs where that matters. Exceptions of the callbacks
///         pass through; `p` then holds the last accepted parameters.
[[nodiscard]] bool levenberg_marquardt(const LeastSquaresProblem& problem, std::vector<double>& p,
                                       unsigned int max_iterations, double abs_tolerance,
                                       double rel_tolerance);

}  // namespace numerical
