#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

// What the library's work costs when written by hand over plain arrays, without tolerance rules,
// caches or checks: the floors that the benchmarks are held against.
namespace benchmark_floor {

/// Points of a spectrum with its Akima coefficients.
struct Curve {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> b;
    std::vector<double> c;
    std::vector<double> d;
    std::vector<double> m;

    Curve() = default;
    Curve(std::vector<double> wavelengths, std::vector<double> values)
        : x(std::move(wavelengths)), y(std::move(values)) {
        build();
    }

    void build() {
        const std::size_t n = x.size();
        b.resize(n - 1);
        c.resize(n - 1);
        d.resize(n - 1);
        m.resize(n + 3);
        for (std::size_t i = 0; i + 1 < n; ++i) m[i + 2] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
        m[1] = 2 * m[2] - m[3];
        m[0] = 2 * m[1] - m[2];
        m[n + 1] = 2 * m[n] - m[n - 1];
        m[n + 2] = 2 * m[n + 1] - m[n];
        const auto slope = [this](std::size_t knot) {
            const double left = std::abs(m[knot + 1] - m[knot]);
            const double right = std::abs(m[knot + 3] - m[knot + 2]);
            const double sum = left + right;
            if (sum == 0) return m[knot + 2];
            return ((sum - left) * m[knot + 1] + left * m[knot + 2]) / sum;
        };
        double here = slope(0);
        for (std::size_t i = 0; i + 1 < n; ++i) {
            const double h = x[i + 1] - x[i];
            const double next = slope(i + 1);
            b[i] = here;
            c[i] = (3 * m[i + 2] - 2 * here - next) / h;
            d[i] = (here + next - 2 * m[i + 2]) / (h * h);
            here = next;
        }
    }

    [[nodiscard]] double piece(std::size_t i, double wl) const {
        const double t = wl - x[i];
        return y[i] + t * (b[i] + t * (c[i] + t * d[i]));
    }

    /// Value inside the range, from interval `i` on, which is moved along.
    double at(double wl, std::size_t& i) const {
        while (i + 2 < x.size() && x[i + 1] <= wl) ++i;
        return piece(i, wl);
    }

    [[nodiscard]] double operator()(double wl) const {
        std::size_t low = 0;
        std::size_t high = x.size() - 1;
        while (high - low > 1) {
            const std::size_t middle = (low + high) / 2;
            (x[middle] <= wl ? low : high) = middle;
        }
        return piece(low, wl);
    }

    [[nodiscard]] double integral(double from, double to) const {
        double sum = 0;
        for (std::size_t i = 0; i + 1 < x.size(); ++i) {
            const double low = std::fmax(from, x[i]) - x[i];
            const double high = std::fmin(to, x[i + 1]) - x[i];
            if (high <= low) continue;
            const auto antiderivative = [this, i](double t) {
                return t * (y[i] + t * (b[i] / 2 + t * (c[i] / 3 + t * d[i] / 4)));
            };
            sum += antiderivative(high) - antiderivative(low);
        }
        return sum;
    }
};

/// Product of two curves on the union of their wavelengths inside the overlap; coefficients are not
/// built.
inline Curve product(const Curve& a, const Curve& b) {
    Curve result;
    const double from = std::fmax(a.x.front(), b.x.front());
    const double to = std::fmin(a.x.back(), b.x.back());
    result.x.reserve(a.x.size() + b.x.size());
    result.y.reserve(a.x.size() + b.x.size());
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.x.size() && a.x[i] < from) ++i;
    while (j < b.x.size() && b.x[j] < from) ++j;
    std::size_t interval_a = i > 0 ? i - 1 : 0;
    std::size_t interval_b = j > 0 ? j - 1 : 0;
    while ((i < a.x.size() && a.x[i] <= to) || (j < b.x.size() && b.x[j] <= to)) {
        const bool take_a = i < a.x.size() && (j == b.x.size() || a.x[i] <= b.x[j]);
        const bool take_b = j < b.x.size() && (i == a.x.size() || b.x[j] <= a.x[i]);
        const double wl = take_a ? a.x[i] : b.x[j];
        const double value_a = take_a ? a.y[i] : a.at(wl, interval_a);
        const double value_b = take_b ? b.y[j] : b.at(wl, interval_b);
        result.x.push_back(wl);
        result.y.push_back(value_a * value_b);
        i += take_a ? 1 : 0;
        j += take_b ? 1 : 0;
    }
    return result;
}

}  // namespace benchmark_floor
