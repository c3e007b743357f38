#include "numerical/levenberg_marquardt.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <fstream>
#include <iterator>
#include <limits>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using numerical::LeastSquaresProblem;
using numerical::MatrixView;
using Vector = std::vector<double>;

/// Real, but for the step by which a derivative is taken: the imaginary part of f(b + i h) is
/// h f'(b) to the last digit, since nothing is subtracted.
using Number = std::complex<double>;
constexpr double step = 1e-100;

const auto square = [](const Number& a) { return a * a; };
/// That of MinGW's run-time library drops a small imaginary part.
const auto arc_tangent = [](const Number& a) {
    return Number(std::atan(a.real()), a.imag() / (1.0 + a.real() * a.real()));
};

/// Parameters and one row of x.
using B = const std::vector<Number>&;
using X = const Vector&;
using Model = Number (*)(B b, X x);

const Model saturation = [](B b, X x) { return b[0] * (1.0 - exp(-b[1] * x[0])); };
const Model chwirut = [](B b, X x) { return exp(-b[0] * x[0]) / (b[1] + b[2] * x[0]); };
const Model lanczos = [](B b, X x) {
    return b[0] * exp(-b[1] * x[0]) + b[2] * exp(-b[3] * x[0]) + b[4] * exp(-b[5] * x[0]);
};
const Model gauss = [](B b, X x) {
    return b[0] * exp(-b[1] * x[0]) + b[2] * exp(-square((x[0] - b[3]) / b[4])) +
           b[5] * exp(-square((x[0] - b[6]) / b[7]));
};
const Model cubic_ratio = [](B b, X x) {
    const double t = x[0];
    return (b[0] + t * (b[1] + t * (b[2] + t * b[3]))) / (1.0 + t * (b[4] + t * (b[5] + t * b[6])));
};

/// A problem of NIST's Statistical Reference Datasets, nonlinear regression
/// (https://www.itl.nist.gov/div898/strd/): data, starts and certified values stand in its file.
struct Problem {
    const char* name;
    Model model;
    /// Start 1 is far off. From there Gauss-Newton's first, hardly damped step leads five problems
    /// into a flat region that no descent leaves.
    bool from_far_start = true;
};

const Problem problems[] = {
    {"Misra1a", saturation},
    {"Misra1b", [](B b, X x) { return b[0] * (1.0 - 1.0 / square(1.0 + b[1] * x[0] / 2.0)); }},
    {"Misra1c", [](B b, X x) { return b[0] * (1.0 - pow(1.0 + 2.0 * b[1] * x[0], -0.5)); }},
    {"Misra1d", [](B b, X x) { return b[0] * b[1] * x[0] / (1.0 + b[1] * x[0]); }},
    {"BoxBOD", saturation, false},
    {"DanWood", [](B b, X x) { return b[0] * pow(x[0], b[1]); }},
    {"Chwirut1", chwirut},
    {"Chwirut2", chwirut},
    {"Eckerle4", [](B b, X x) { return b[0] / b[1] * exp(-0.5 * square((x[0] - b[2]) / b[1])); },
     false},
    {"Rat42", [](B b, X x) { return b[0] / (1.0 + exp(b[1] - b[2] * x[0])); }},
    {"MGH10", [](B b, X x) { return b[0] * exp(b[1] / (x[0] + b[2])); }, false},
    {"Nelson", [](B b, X x) { return b[0] - b[1] * x[0] * exp(-b[2] * x[1]); }},
    {"Bennett5", [](B b, X x) { return b[0] * pow(b[1] + x[0], -1.0 / b[2]); }, false},
    {"Roszman1",
     [](B b, X x) {
         return b[0] - b[1] * x[0] - arc_tangent(b[2] / (x[0] - b[3])) / std::numbers::pi;
     }},
    {"Rat43", [](B b, X x) { return b[0] / pow(1.0 + exp(b[1] - b[2] * x[0]), 1.0 / b[3]); }},
    {"MGH09", [](B b, X x) { return b[0] * x[0] * (x[0] + b[1]) / (x[0] * (x[0] + b[2]) + b[3]); },
     false},
    {"MGH17", [](B b, X x) { return b[0] + b[1] * exp(-x[0] * b[3]) + b[2] * exp(-x[0] * b[4]); }},
    {"Kirby2",
     [](B b, X x) {
         return (b[0] + x[0] * (b[1] + x[0] * b[2])) / (1.0 + x[0] * (b[3] + x[0] * b[4]));
     }},
    {"Lanczos1", lanczos},
    {"Lanczos2", lanczos},
    {"Lanczos3", lanczos},
    {"Hahn1", cubic_ratio},
    {"Thurber", cubic_ratio},
    {"Gauss1", gauss},
    {"Gauss2", gauss},
    {"Gauss3", gauss},
};

struct ReferenceData {
    std::vector<Vector> rows;  ///< y, x (or y, x1, x2)
    std::array<Vector, 2> starts;
    Vector certified;
};

ReferenceData read_reference_data(const std::string& name) {
    std::ifstream file(std::string(VEKANALYSIS_TEST_DATA) + "/nist/" + name + ".dat");
    EXPECT_TRUE(file) << name;
    ReferenceData data;
    int headings = 0;  // the second one is that of the columns
    for (std::string line; std::getline(file, line);) {
        std::istringstream text(line);
        std::string label;
        std::string equals;
        if (headings == 2) {
            const Vector row{std::istream_iterator<double>(text), {}};
            if (!row.empty()) data.rows.push_back(row);
        } else if (text >> label >> equals && label.size() == 2 && label[0] == 'b' &&
                   equals == "=") {
            const Vector values{std::istream_iterator<double>(text), {}};
            data.starts[0].push_back(values.at(0));
            data.starts[1].push_back(values.at(1));
            data.certified.push_back(values.at(2));
        } else if (label == "Data:") {
            ++headings;
        }
    }
    if (name == "Nelson") {
        for (Vector& row : data.rows) row[0] = std::log(row[0]);
    }
    return data;
}

/// The model at a row; the imaginary part is its derivative by parameter `by`, times `step`.
Number value_at(const Problem& tested, const Vector& p, const Vector& row, std::size_t by) {
    std::vector<Number> b(p.begin(), p.end());
    b[by] += Number(0.0, step);
    return tested.model(b, {row.begin() + 1, row.end()});
}

LeastSquaresProblem as_least_squares(const Problem& tested, const ReferenceData& data) {
    LeastSquaresProblem problem;
    problem.residual_count = data.rows.size();
    problem.parameter_count = data.certified.size();
    problem.residuals = [&](const Vector& p, Vector& r) {
        for (std::size_t i = 0; i < r.size(); ++i) {
            r[i] = value_at(tested, p, data.rows[i], 0).real() - data.rows[i][0];
        }
    };
    problem.jacobian = [&](const Vector& p, MatrixView jacobian) {
        for (std::size_t i = 0; i < jacobian.rows(); ++i) {
            for (std::size_t j = 0; j < jacobian.cols(); ++j) {
                jacobian(i, j) = value_at(tested, p, data.rows[i], j).imag() / step;
            }
        }
    };
    return problem;
}

TEST(LevenbergMarquardt, SolvesTheCertifiedProblemsToSixDigits) {
    for (const Problem& problem : problems) {
        const ReferenceData data = read_reference_data(problem.name);
        ASSERT_GE(data.rows.size(), 6U);
        for (const std::size_t start : {0U, 1U}) {
            if (start == 0 && !problem.from_far_start) continue;
            SCOPED_TRACE(std::string(problem.name) + " from start " + std::to_string(start));
            Vector p = data.starts[start];
            ASSERT_TRUE(numerical::levenberg_marquardt(as_least_squares(problem, data), p, 500,
                                                       1e-12, 1e-12));
            for (std::size_t j = 0; j < p.size(); ++j) {
                EXPECT_NEAR(p[j] / data.certified[j], 1.0, 1e-6) << "b" << j + 1;
            }
        }
    }
}

/// m parameters, residuals p[j] - j - offset and, for more of them, p[0] + p[m - 1].
struct LinearProblem {
    LinearProblem(std::size_t m, std::size_t n, double offset = 1.0) {
        problem.residual_count = n;
        problem.parameter_count = m;
        problem.residuals = [this, m, offset](const Vector& p, Vector& r) {
            ++evaluations;
            for (std::size_t i = 0; i < r.size(); ++i) {
                r[i] = i < m ? p[i] - static_cast<double>(i) - offset : p[0] + p[m - 1];
            }
        };
        problem.jacobian = [m](const Vector&, MatrixView jacobian) {
            for (std::size_t i = 0; i < jacobian.rows(); ++i) {
                for (std::size_t j = 0; j < m; ++j) {
                    jacobian(i, j) = i < m ? i == j : j == 0 || j == m - 1;
                }
            }
        };
    }

    bool solve(Vector& p, unsigned int max_iterations = 500) const {
        return numerical::levenberg_marquardt(problem, p, max_iterations, 1e-12, 1e-12);
    }

    LeastSquaresProblem problem;
    mutable int evaluations = 0;
};

TEST(LevenbergMarquardt, RefusesWhatIsNoProblem) {
    LinearProblem tested(3, 2);
    Vector p{7.0, 7.0, 7.0};
    EXPECT_FALSE(tested.solve(p)) << "fewer residuals than parameters";
    tested.problem.residual_count = 3;
    Vector two{7.0, 7.0};
    EXPECT_FALSE(tested.solve(two));
    tested.problem.parameter_count = 0;
    Vector none;
    EXPECT_FALSE(tested.solve(none));
    tested.problem.parameter_count = 3;
    tested.problem.jacobian = nullptr;
    EXPECT_FALSE(tested.solve(p));
    EXPECT_EQ(p, (Vector{7.0, 7.0, 7.0}));
    EXPECT_EQ(tested.evaluations, 0);
}

TEST(LevenbergMarquardt, SolvesALinearProblemInTwoStepsAndTakesABudgetOfNoneForOne) {
    // Normal equations of p0 = 1, p1 = 2, p0 + p1 = 0: p0 = 0, p1 = 1.
    for (const unsigned int budget : {0U, 1U, 500U}) {
        const LinearProblem tested(2, 3);
        Vector p{1e6, -300.0};
        EXPECT_TRUE(tested.solve(p, budget));
        // The first step leaves its damping, 1e-12 of the way.
        const double left = budget > 1 ? 1e-12 : 4e-6;
        EXPECT_NEAR(p[0], 0.0, left);
        EXPECT_NEAR(p[1], 1.0, left);
        EXPECT_EQ(tested.evaluations, budget > 1 ? 3 : 2);
    }
}

// Deliberate: only with more than two parameters.
TEST(LevenbergMarquardt, EndsAtATinyResidualNormWithThreeParametersOnly) {
    const auto step_to = [](std::size_t m) {
        // The damping of the first step leaves residuals of about 1e-10.
        const LinearProblem tested(m, m);
        Vector p(m, 100.0);
        EXPECT_TRUE(tested.solve(p));
        return tested.evaluations;
    };
    EXPECT_EQ(step_to(2), 3);
    EXPECT_EQ(step_to(3), 2);
}

TEST(LevenbergMarquardt, LeavesAMinimumAndAProblemWithoutFiniteStepsAsTheyAre) {
    const LinearProblem exact(3, 3, -2.0);
    Vector p{-2.0, -1.0, 0.0};
    EXPECT_TRUE(exact.solve(p));
    EXPECT_EQ(p, (Vector{-2.0, -1.0, 0.0}));
    EXPECT_EQ(exact.evaluations, 1) << "no step was tried";

    LinearProblem broken(2, 2);
    broken.problem.residuals = [&](const Vector&, Vector& r) {
        r[1] = ++broken.evaluations == 1 ? 1.0 : std::numeric_limits<double>::quiet_NaN();
    };
    Vector start{5.0, 5.0};
    EXPECT_TRUE(numerical::levenberg_marquardt(broken.problem, start, 500, 0.0, 0.0));
    EXPECT_EQ(start, (Vector{5.0, 5.0}));
    EXPECT_EQ(broken.evaluations, 1 + 32);
}

TEST(LevenbergMarquardt, CountsASingularSystemAsARejectedStep) {
    // The residual does not depend on p[1]. After two steps the damping of its diagonal is too
    // small a pivot beside the other one, and has to grow again.
    LinearProblem tested(2, 2);
    tested.problem.residuals = [&](const Vector& p, Vector& r) {
        r = {100.0 * (p[0] * p[0] * p[0] - 8.0), 0.0};
    };
    tested.problem.jacobian = [](const Vector& p, MatrixView jacobian) {
        jacobian(0, 0) = 300.0 * p[0] * p[0];
        jacobian(0, 1) = jacobian(1, 0) = jacobian(1, 1) = 0.0;
    };
    Vector p{20.0, 3.0};
    EXPECT_TRUE(tested.solve(p));
    EXPECT_NEAR(p[0], 2.0, 1e-12);
    EXPECT_EQ(p[1], 3.0);
}

TEST(LevenbergMarquardt, KeepsTheLastAcceptedParametersWhenACallbackThrows) {
    LinearProblem tested(2, 3);
    const auto residuals = tested.problem.residuals;
    tested.problem.residuals = [&](const Vector& p, Vector& r) {
        if (tested.evaluations == 2) throw std::runtime_error("broken");
        residuals(p, r);
    };
    Vector p{1e6, -300.0};
    EXPECT_THROW((void)tested.solve(p), std::runtime_error);
    EXPECT_NEAR(p[1], 1.0, 4e-6);
}

}  // namespace
