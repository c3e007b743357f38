#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace numerical {

enum class InterpolationType : std::uint32_t {
    LINEAR = 0,
    AKIMA = 1,
    CUBIC = 2,
    POLYNOMIAL = 3,
};

/// Interpolating function through N knots: piecewise cubic (LINEAR, AKIMA, CUBIC) or one global
/// polynomial of degree N - 1 (POLYNOMIAL).
///
/// On interval i, with t = x - x[i], a piecewise interpolant is
/// y[i] + t (b[i] + t (c[i] + t d[i])). Outside [x.front(), x.back()] every evaluation is 0.0:
/// there is no extrapolation. A NaN abscissa gives NaN. The coefficient storage is kept across
/// `reset`, so that rebuilding allocates nothing when the knot count stays. Const members only
/// read: a built spline may be shared between threads.
///
/// Sources: H. Akima, J. ACM 17 (1970) 589-602 (AKIMA); C. de Boor, A Practical Guide to Splines,
/// 2001, ch. IV (natural CUBIC); Newton's divided differences (POLYNOMIAL).
class Spline {
public:
    /// One interval's polynomial in t = x - knot.
    struct Piece {
        double knot;
        double y;
        double b;
        double c;
        double d;

        [[nodiscard]] double operator()(double x) const noexcept;
    };

    /// Builds the interpolant.
    ///
    /// @param x  shape (N), strictly ascending
    /// @param y  shape (N)
    /// @return false, leaving the spline empty, when the lengths differ, when N is below the
    /// minimum
    ///         of the type (LINEAR 2, CUBIC 3, POLYNOMIAL 3, AKIMA 5) or when x does not ascend
    [[nodiscard]] bool reset(std::span<const double> x, std::span<const double> y,
                             InterpolationType type);

    void clear() noexcept;

    [[nodiscard]] bool is_initialized() const noexcept { return initialized_; }
    [[nodiscard]] InterpolationType type() const noexcept { return type_; }
    [[nodiscard]] std::span<const double> knots() const noexcept { return x_; }

    /// True when x lies in [x.front(), x.back()] of a built spline.
    [[nodiscard]] bool contains(double x) const noexcept;

    [[nodiscard]] double eval(double x) const noexcept;
    [[nodiscard]] double deriv(double x) const noexcept;
    [[nodiscard]] double deriv2(double x) const noexcept;

    /// Definite integral from a to b; 0.0 when a == b or when [a, b] leaves the knots. For b < a
    /// the negated integral from b to a.
    [[nodiscard]] double integ(double a, double b) const noexcept;

    /// The same for a piecewise interpolant from a in one interval to b in the same or a later one,
    /// the intervals known; a place at their upper ends belongs to them, too.
    [[nodiscard]] double integ(std::size_t first, double a, std::size_t last,
                               double b) const noexcept;

    /// Interval that holds x: the index of the last knot <= x, within 0 .. N - 2.
    [[nodiscard]] std::size_t find_interval(double x) const noexcept;

    /// As above, trying interval `hint` first (any value is allowed).
    [[nodiscard]] std::size_t find_interval(double x, std::size_t hint) const noexcept {
        if (hint < x_.size() - 1 && x_[hint] <= x && x < x_[hint + 1]) return hint;
        return find_interval(x);
    }

    [[nodiscard]] Piece piece(std::size_t i) const noexcept {
        return {x_[i], y_[i], b_[i], c_[i], d_[i]};
    }
    [[nodiscard]] double eval_piece(std::size_t i, double x) const noexcept { return piece(i)(x); }
    [[nodiscard]] double deriv_piece(std::size_t i, double x) const noexcept;
    [[nodiscard]] double deriv2_piece(std::size_t i, double x) const noexcept;
    [[nodiscard]] double integ_piece(std::size_t i, double a, double b) const noexcept;

    [[nodiscard]] double eval_polynomial(double x) const noexcept;
    [[nodiscard]] double deriv_polynomial(double x) const noexcept;
    [[nodiscard]] double deriv2_polynomial(double x) const noexcept;
    [[nodiscard]] double integ_polynomial(double a, double b) const noexcept;

private:
    [[nodiscard]] double integ_ascending(double a, double b) const noexcept;
    [[nodiscard]] double antiderivative(std::size_t i, double t) const noexcept;
    void set_linear();
    void set_cubic();
    void set_akima();
    void set_polynomial();

    InterpolationType type_ = InterpolationType::LINEAR;
    bool initialized_ = false;
    std::vector<double> x_;
    std::vector<double> y_;
    std::vector<double> b_;
    std::vector<double> c_;
    std::vector<double> d_;
    std::vector<double> newton_;
    std::vector<double> monomial_;
    std::vector<double> work_;
};

}  // namespace numerical
