#include "numerical/spline.hpp"

#include <algorithm>
#include <cmath>

#include "numerical/cubic.hpp"

namespace numerical {

namespace {

std::size_t minimum_points(InterpolationType type) noexcept {
    switch (type) {
        case InterpolationType::AKIMA:
            return 5;
        case InterpolationType::CUBIC:
        case InterpolationType::POLYNOMIAL:
            return 3;
        case InterpolationType::LINEAR:
            break;
    }
    return 2;
}

}  // namespace

double Spline::Piece::operator()(double x) const noexcept {
    return cubic(*this, x);
}

bool Spline::reset(std::span<const double> x, std::span<const double> y, InterpolationType type) {
    clear();
    if (x.size() != y.size() || x.size() < minimum_points(type)) return false;
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        if (!(x[i] < x[i + 1])) return false;
    }
    type_ = type;
    x_.assign(x.begin(), x.end());
    y_.assign(y.begin(), y.end());
    switch (type) {
        case InterpolationType::LINEAR:
            set_linear();
            break;
        case InterpolationType::AKIMA:
            set_akima();
            break;
        case InterpolationType::CUBIC:
            set_cubic();
            break;
        case InterpolationType::POLYNOMIAL:
            set_polynomial();
            break;
    }
    initialized_ = true;
    return true;
}

void Spline::clear() noexcept {
    initialized_ = false;
    for (std::vector<double>* v : {&x_, &y_, &b_, &c_, &d_, &newton_, &monomial_}) v->clear();
}

void Spline::set_linear() {
    const std::size_t intervals = x_.size() - 1;
    b_.resize(intervals);
    c_.assign(intervals, 0.0);
    d_.assign(intervals, 0.0);
    for (std::size_t i = 0; i < intervals; ++i) b_[i] = (y_[i + 1] - y_[i]) / (x_[i + 1] - x_[i]);
}

void Spline::set_cubic() {
    const std::size_t n = x_.size();
    b_.resize(n - 1);
    c_.assign(n, 0.0);
    d_.resize(n - 1);
    // Thomas algorithm on the interior knots; b_ holds the interval slopes and d_ the eliminated
    // off-diagonal until the back substitution has consumed them.
    for (std::size_t i = 0; i + 1 < n; ++i) b_[i] = (y_[i + 1] - y_[i]) / (x_[i + 1] - x_[i]);
    d_[0] = 0.0;
    for (std::size_t k = 1; k + 1 < n; ++k) {
        const double h_left = x_[k] - x_[k - 1];
        const double h_right = x_[k + 1] - x_[k];
        const double pivot = 2.0 * (h_left + h_right) - h_left * d_[k - 1];
        d_[k] = h_right / pivot;
        c_[k] = (3.0 * (b_[k] - b_[k - 1]) - h_left * c_[k - 1]) / pivot;
    }
    for (std::size_t k = n - 2; k >= 1; --k) c_[k] -= d_[k] * c_[k + 1];
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const double h = x_[i + 1] - x_[i];
        b_[i] = b_[i] - h * (2.0 * c_[i] + c_[i + 1]) / 3.0;
        d_[i] = (c_[i + 1] - c_[i]) / (3.0 * h);
    }
}

void Spline::set_akima() {
    const std::size_t n = x_.size();
    b_.resize(n - 1);
    c_.resize(n - 1);
    d_.resize(n - 1);

    // m holds the interval slopes with two extrapolated ones on either side.
    work_.resize(n + 3);
    double* const m = work_.data();
    for (std::size_t i = 0; i + 1 < n; ++i) m[i + 2] = (y_[i + 1] - y_[i]) / (x_[i + 1] - x_[i]);
    m[1] = 2.0 * m[2] - m[3];
    m[0] = 3.0 * m[2] - 2.0 * m[3];
    m[n + 1] = 2.0 * m[n] - m[n - 1];
    m[n + 2] = 3.0 * m[n] - 2.0 * m[n - 1];

    // Each knot's slope serves the interval on its right as b and the one on its left as the end
    // slope; only where all four neighbouring slopes agree in pairs do the two differ.
    double left_weight = std::abs(m[1] - m[0]);
    double weight = std::abs(m[3] - m[2]) + left_weight;
    double alpha = left_weight / weight;
    double slope = (1.0 - alpha) * m[1] + alpha * m[2];
    for (std::size_t i = 0; i + 1 < n; ++i) {
        const double h = x_[i + 1] - x_[i];
        const double m_here = m[i + 2];
        const double m_next = m[i + 3];
        left_weight = std::abs(m_here - m[i + 1]);
        const double next_weight = std::abs(m[i + 4] - m_next) + left_weight;
        alpha = left_weight / next_weight;
        const double next_slope = (1.0 - alpha) * m_here + alpha * m_next;
        const double end_slope = next_weight == 0.0 ? m_here : next_slope;
        const bool straight = weight == 0.0;
        b_[i] = straight ? m_here : slope;
        c_[i] = straight ? 0.0 : (3.0 * m_here - 2.0 * slope - end_slope) / h;
        d_[i] = straight ? 0.0 : (slope + end_slope - 2.0 * m_here) / (h * h);
        weight = next_weight;
        slope = next_slope;
    }
}

void Spline::set_polynomial() {
    const std::size_t n = x_.size();
    newton_ = y_;
    for (std::size_t column = 1; column < n; ++column) {
        for (std::size_t i = n - 1; i >= column; --i) {
            newton_[i] = (newton_[i] - newton_[i - 1]) / (x_[i] - x_[i - column]);
        }
    }
    monomial_.assign(n, 0.0);
    monomial_[0] = newton_[n - 1];
    for (std::size_t k = n - 1; k-- > 0;) {
        const std::size_t degree = n - 1 - k;
        for (std::size_t j = degree; j >= 1; --j) {
            monomial_[j] = monomial_[j - 1] - x_[k] * monomial_[j];
        }
        monomial_[0] = newton_[k] - x_[k] * monomial_[0];
    }
}

bool Spline::contains(double x) const noexcept {
    return initialized_ && x_.front() <= x && x <= x_.back();
}

std::size_t Spline::find_interval(double x) const noexcept {
    if (!(x > x_.front())) return 0;
    if (x >= x_.back()) return x_.size() - 2;
    const auto above = std::upper_bound(x_.begin(), x_.end(), x);
    return static_cast<std::size_t>(above - x_.begin()) - 1;
}

double Spline::eval(double x) const noexcept {
    if (!initialized_ || x < x_.front() || x > x_.back()) return 0.0;
    return type_ == InterpolationType::POLYNOMIAL ? eval_polynomial(x)
                                                  : cubic(piece(find_interval(x)), x);
}

double Spline::deriv(double x) const noexcept {
    if (!initialized_ || x < x_.front() || x > x_.back()) return 0.0;
    return type_ == InterpolationType::POLYNOMIAL ? deriv_polynomial(x)
                                                  : deriv_piece(find_interval(x), x);
}

double Spline::deriv2(double x) const noexcept {
    if (!initialized_ || x < x_.front() || x > x_.back()) return 0.0;
    return type_ == InterpolationType::POLYNOMIAL ? deriv2_polynomial(x)
                                                  : deriv2_piece(find_interval(x), x);
}

double Spline::integ(double a, double b) const noexcept {
    if (!initialized_ || !(a < b || b < a)) return 0.0;
    const double low = std::min(a, b);
    const double high = std::max(a, b);
    if (low < x_.front() || high > x_.back()) return 0.0;
    const double integral = integ_ascending(low, high);
    return a < b ? integral : -integral;
}

double Spline::integ_ascending(double a, double b) const noexcept {
    if (type_ == InterpolationType::POLYNOMIAL) return integ_polynomial(a, b);
    return integ(find_interval(a), a, find_interval(b), b);
}

double Spline::integ(std::size_t first, double a, std::size_t last, double b) const noexcept {
    if (first == last) return integ_piece(first, a, b);
    double sum = integ_piece(first, a, x_[first + 1]);
    for (std::size_t i = first + 1; i < last; ++i) sum += antiderivative(i, x_[i + 1] - x_[i]);
    return sum + antiderivative(last, b - x_[last]);
}

double Spline::deriv_piece(std::size_t i, double x) const noexcept {
    const double t = x - x_[i];
    return b_[i] + t * (2.0 * c_[i] + 3.0 * d_[i] * t);
}

double Spline::deriv2_piece(std::size_t i, double x) const noexcept {
    const double t = x - x_[i];
    return 2.0 * c_[i] + 6.0 * d_[i] * t;
}

/// Antiderivative of a piece at t from its knot, 0 at the knot itself.
double Spline::antiderivative(std::size_t i, double t) const noexcept {
    const double t2 = t * t;
    const double t3 = t2 * t;
    return y_[i] * t + b_[i] * t2 / 2.0 + c_[i] * t3 / 3.0 + d_[i] * (t3 * t) / 4.0;
}

double Spline::integ_piece(std::size_t i, double a, double b) const noexcept {
    return antiderivative(i, b - x_[i]) - antiderivative(i, a - x_[i]);
}

double Spline::eval_polynomial(double x) const noexcept {
    double value = newton_.back();
    for (std::size_t k = newton_.size() - 1; k-- > 0;) value = value * (x - x_[k]) + newton_[k];
    return value;
}

double Spline::deriv_polynomial(double x) const noexcept {
    double value = newton_.back();
    double first = 0.0;
    for (std::size_t k = newton_.size() - 1; k-- > 0;) {
        first = first * (x - x_[k]) + value;
        value = value * (x - x_[k]) + newton_[k];
    }
    return first;
}

double Spline::deriv2_polynomial(double x) const noexcept {
    double value = newton_.back();
    double first = 0.0;
    double half_second = 0.0;
    for (std::size_t k = newton_.size() - 1; k-- > 0;) {
        half_second = half_second * (x - x_[k]) + first;
        first = first * (x - x_[k]) + value;
        value = value * (x - x_[k]) + newton_[k];
    }
    return 2.0 * half_second;
}

double Spline::integ_polynomial(double a, double b) const noexcept {
    double sum = 0.0;
    for (std::size_t k = 0; k < monomial_.size(); ++k) {
        const auto power = static_cast<double>(k + 1);
        sum += monomial_[k] * (std::pow(b, power) - std::pow(a, power)) / power;
    }
    return sum;
}

}  // namespace numerical
