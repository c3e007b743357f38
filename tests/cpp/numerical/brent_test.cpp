#include "numerical/brent.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Function = std::function<double(double)>;
using vekanalysis::Minimizer;
using vekanalysis::Root;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Closed {
    const char* name;
    Function f;
    double a, b, start;
    double expected;
};

TEST(BrentMinimum, IsFoundAndMirrored) {
    const Closed cases[] = {
        {"parabola", [](double x) { return (x - 2.0) * (x - 2.0); }, 0.0, 10.0, 3.0, 2.0},
        {"cosine", [](double x) { return std::cos(x); }, 1.0, 6.0, 2.5, std::numbers::pi},
        {"x log x", [](double x) { return x * std::log(x); }, 0.01, 5.0, 0.5,
         1.0 / std::numbers::e},
        {"kink", [](double x) { return std::abs(x - 550.0); }, 400.0, 700.0, 500.0, 550.0},
        {"quartic", [](double x) { return std::pow(x - 550.0, 4.0); }, 545.0, 552.0, 549.0, 550.0}};
    for (const auto& [name, f, a, b, start, expected] : cases) {
        double x = 0.0;
        ASSERT_TRUE(Minimizer(200, 0.0, 1e-12).solve(a, b, start, f, &x)) << name;
        // A flat minimum is only as sharp as the function's rounding, a quartic's less than others.
        const double tolerance = 2e-8 * expected + (name == std::string("quartic") ? 1e-3 : 0.0);
        EXPECT_NEAR(x, expected, tolerance) << name;
        const auto mirrored = [&f = f](double t) { return f(-t); };
        ASSERT_TRUE(Minimizer(200, 0.0, 1e-12).solve(-b, -a, -start, mirrored, &x)) << name;
        EXPECT_NEAR(-x, expected, tolerance) << name;
    }
}

TEST(BrentRoot, IsFoundToTheToleranceAskedFor) {
    const Closed cases[] = {
        {"line", [](double x) { return x - 1.0; }, 0.0, 3.0, 0.0, 1.0},
        {"falling", [](double x) { return 8.0 - x * x * x; }, 0.0, 5.0, 0.0, 2.0},
        {"cosine", [](double x) { return std::cos(x); }, 1.0, 2.0, 0.0, std::numbers::pi / 2.0},
        {"steep", [](double x) { return std::exp(x) - 1e6; }, 0.0, 40.0, 0.0, std::log(1e6)},
        {"step", [](double x) { return x < 555.5 ? -1.0 : 1e-3; }, 500.0, 600.0, 0.0, 555.5}};
    for (const auto& [name, f, a, b, start, expected] : cases) {
        for (const double tolerance : {1e-4, 1e-13}) {
            double x = 0.0;
            ASSERT_TRUE(Root(200, 0.0, tolerance).find(a, b, f, &x)) << name;
            EXPECT_NEAR(x, expected, tolerance * expected) << name;
        }
    }
}

TEST(BrentRoot, TakesAnEndThatIsARootWithoutSearching) {
    int calls = 0;
    const auto f = [&calls](double x) {
        ++calls;
        return (x - 1.0) * (x - 3.0);
    };
    double x = 0.0;
    EXPECT_TRUE(Root().find(1.0, 3.0, f, &x));
    EXPECT_EQ(x, 1.0);
    EXPECT_TRUE(Root().find(2.0, 3.0, f, &x));
    EXPECT_EQ(x, 3.0);
    EXPECT_EQ(calls, 4);
}

// The abscissae are those of the steps as documented, worked out by hand: the sections of a bracket
// of 0 to 1 with the short constant, and the secant of 0 and 3.
TEST(Brent, TakesOneValueAnIterationAfterTheSetUp) {
    std::vector<double> at;
    const auto parabola = [&at](double x) {
        at.push_back(x);
        return x * x - x;
    };
    double x = 0.0;
    EXPECT_TRUE(Minimizer(0, 0.0, 1e-4).solve(0.0, 1.0, 0.25, parabola, &x));
    EXPECT_EQ(at, (std::vector<double>{0.0, 0.25, 1.0, 0.381966, 0.25 + 0.381966 * 0.75}));
    EXPECT_EQ(x, 0.25 + 0.381966 * 0.75);

    at.clear();
    const auto line = [&at](double t) {
        at.push_back(t);
        return t - 1.0;
    };
    EXPECT_TRUE(Root(0, 0.0, 1e-4).find(0.0, 3.0, line, &x));
    EXPECT_EQ(at, (std::vector<double>{0.0, 3.0, 1.0}));
    EXPECT_EQ(x, 1.0);
}

TEST(Brent, RefusesAndLeavesItsOutput) {
    double x = 7.0;
    const Function up = [](double t) { return t; };
    const Function valley = [](double t) { return t * t; };
    const auto minimise = [&x](double a, double b, double start, const Function& f) {
        return Minimizer().solve(a, b, start, f, &x);
    };
    const auto root = [&x](double a, double b, const Function& f) {
        return Root().find(a, b, f, &x);
    };
    EXPECT_FALSE(minimise(-1.0, 1.0, -1.0, valley));
    EXPECT_FALSE(minimise(1.0, -1.0, 0.0, valley));
    EXPECT_FALSE(minimise(-1.0, 1.0, nan, valley));
    EXPECT_FALSE(minimise(-1.0, 1.0, 0.5, up)) << "no minimum bracketed";
    EXPECT_FALSE(minimise(-1.0, 1.0, 0.5, [](double) { return 3.0; })) << "not strictly below";
    EXPECT_FALSE(minimise(-1.0, 1.0, 0.0, Function()));
    EXPECT_FALSE(Minimizer().solve(-1.0, 1.0, 0.5, valley, nullptr));
    EXPECT_FALSE(root(1.0, 2.0, up));
    EXPECT_FALSE(root(-2.0, -1.0, up));
    EXPECT_FALSE(root(1.0, 1.0, up));
    EXPECT_FALSE(root(-1.0, nan, up));
    EXPECT_FALSE(root(-1.0, 1.0, Function()));
    EXPECT_FALSE(Root().find(-1.0, 2.0, up, nullptr));
    // A value that is not finite, at any of the first calls.
    for (int bad = 1; bad <= 5; ++bad) {
        for (const double value : {nan, -infinity}) {
            int calls = 0;
            const auto f = [&](double t) { return ++calls == bad ? value : t * t; };
            EXPECT_FALSE(minimise(-1.0, 1.5, 0.25, f)) << bad;
            EXPECT_EQ(calls, bad);
            calls = 0;
            const auto g = [&](double t) { return ++calls == bad ? value : t * t * t - 0.1; };
            EXPECT_FALSE(root(-1.0, 1.5, g)) << bad;
            EXPECT_EQ(calls, bad);
        }
    }
    EXPECT_EQ(x, 7.0);
    EXPECT_THROW((void)root(-1.0, 1.0, [](double) -> double { throw std::domain_error(""); }),
                 std::domain_error);
}

// Deliberate: a spent budget is success.
TEST(Brent, ReportsTheBestPointOfASpentBudget) {
    const auto valley = [](double t) { return std::pow(t - 0.3, 4.0); };
    double last = 1.0;
    for (const unsigned int budget : {1U, 4U, 16U}) {
        double x = 0.0;
        ASSERT_TRUE(Minimizer(budget, 0.0, 0.0).solve(-2.0, 2.0, 1.0, valley, &x));
        EXPECT_LE(std::abs(x - 0.3), last);
        last = std::abs(x - 0.3);
        ASSERT_TRUE(Root(budget, 0.0, 0.0)
                        .find(
                            -2.0, 2.0, [](double t) { return t - 0.1; }, &x));
    }
    EXPECT_LT(last, 0.05);
}

}  // namespace
