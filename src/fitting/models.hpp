#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

/// Curves y = f(x; p) that are fitted to scans, with their derivatives by the parameters.
namespace vekanalysis {

namespace internal {

inline constexpr double two_pi = 6.283185307179586;

/// A curve of which some parameters are free: what `Fit` works on.
template <class T>
class BoundFunction1D {
public:
    virtual ~BoundFunction1D() = default;

    [[nodiscard]] virtual unsigned int get_num_free_parameters() const = 0;
    [[nodiscard]] virtual T operator()(T x) const = 0;
    /// 0 when there is no free parameter i, as `get_free_parameter`.
    [[nodiscard]] virtual T derivative_wrt_free_param(T x, unsigned int i) const = 0;
    [[nodiscard]] virtual T get_free_parameter(unsigned int i) const = 0;
    /// Does nothing when there is no free parameter i.
    virtual void set_free_parameter(unsigned int i, T value) = 0;

    /// Values and derivatives at many points: the same numbers as above. Models whose terms share
    /// functions compute those once a point.
    ///
    /// @param x            shape (n)
    /// @param values       shape (n)
    /// @param derivatives  shape (n, m), by the m free parameters
    virtual void evaluate(std::span<const T> x, std::span<T> values,
                          std::span<T> derivatives) const {
        const unsigned int m = get_num_free_parameters();
        for (std::size_t i = 0; i < x.size(); ++i) {
            values[i] = (*this)(x[i]);
            for (unsigned int j = 0; j < m; ++j) {
                derivatives[i * m + j] = derivative_wrt_free_param(x[i], j);
            }
        }
    }

protected:
    BoundFunction1D() = default;
    BoundFunction1D(const BoundFunction1D&) = default;
    BoundFunction1D(BoundFunction1D&&) noexcept = default;
    BoundFunction1D& operator=(const BoundFunction1D&) = default;
    BoundFunction1D& operator=(BoundFunction1D&&) noexcept = default;
};

/// A curve of N parameters, all of them free.
template <class T, std::size_t N>
class Function1D : public BoundFunction1D<T> {
public:
    using Parameters = std::array<T, N>;

    Function1D() = default;
    explicit Function1D(const Parameters& parameters) : p(parameters) {}

    /// 0 when i >= N.
    [[nodiscard]] virtual T derivative_wrt_param(T x, unsigned int i) const = 0;

    [[nodiscard]] unsigned int get_num_free_parameters() const override { return N; }
    [[nodiscard]] T derivative_wrt_free_param(T x, unsigned int i) const override {
        return derivative_wrt_param(x, i);
    }
    [[nodiscard]] T get_free_parameter(unsigned int i) const override { return i < N ? p[i] : T{}; }
    void set_free_parameter(unsigned int i, T value) override {
        if (i < N) p[i] = value;
    }

    Parameters p{};
};

/// The model T with a choice of its parameters free, in the order in which they are listed.
template <class T>
class BindableFunction1D : public T {
public:
    using Parameters = typename T::Parameters;
    using Value = typename Parameters::value_type;

    BindableFunction1D(const Parameters& parameters, std::vector<unsigned int> free)
        : T(parameters), free_(std::move(free)) {}

    [[nodiscard]] unsigned int get_num_free_parameters() const override {
        return static_cast<unsigned int>(free_.size());
    }
    [[nodiscard]] Value derivative_wrt_free_param(Value x, unsigned int i) const override {
        return i < free_.size() ? this->derivative_wrt_param(x, free_[i]) : Value{};
    }
    [[nodiscard]] Value get_free_parameter(unsigned int i) const override {
        return exists(i) ? this->p[free_[i]] : Value{};
    }
    void set_free_parameter(unsigned int i, Value value) override {
        if (exists(i)) this->p[free_[i]] = value;
    }
    void evaluate(std::span<const Value> x, std::span<Value> values,
                  std::span<Value> derivatives) const override {
        this->with_terms(free_, [&](const auto& terms_at) {
            std::size_t k = 0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                const auto terms = terms_at(x[i]);
                values[i] = this->value_from(terms);
                for (const unsigned int index : free_) {
                    derivatives[k++] = this->derivative_from(terms, index);
                }
            }
        });
    }

private:
    [[nodiscard]] bool exists(unsigned int i) const {
        return i < free_.size() && free_[i] < this->p.size();
    }

    std::vector<unsigned int> free_;
};

}  // namespace internal

/// Wavelength of a sine-drive grating monochromator over the motor's micro-steps.
///
/// 2 d cos_K sin(theta(x)), theta(x) = (omega_t (x + a sin(omega_m x + phi)) - theta_z) / alpha:
/// the grating equation of a constant-deviation mount in first order, with the turret's periodic
/// error. Parameters: d, grating line distance, in the unit of the wavelengths; omega_t, omega_m,
/// angular frequencies of turret and motor, rad per micro-step; cos_K, cosine of the displacement
/// angle; theta_z, zero order angle, rad; alpha, fit factor; a, turret error amplitude,
/// micro-steps; phi, turret error phase, rad.
class GratingEquation : public internal::Function1D<double, 8> {
public:
    /// Indices of the parameters.
    enum Parameter : unsigned int { D, OMEGA_T, OMEGA_M, COS_K, THETA_Z, ALPHA, A, PHI };

    using Function1D::Function1D;

    [[nodiscard]] double operator()(double x) const override;

    /// Deliberate: 0 for d, omega_t and omega_m, which therefore never move in a fit, and for phi
    /// alpha stands where the exact derivative has a: with an amplitude small against alpha the
    /// phase hardly moves.
    [[nodiscard]] double derivative_wrt_param(double x, unsigned int i) const override;

    [[nodiscard]] double __theta(double x) const;

protected:
    struct Terms {
        double theta;
        double sin_theta;
        double cos_theta;
        double sin_s;  ///< s = omega_m x + phi
        double cos_s;  ///< only where the derivative by phi is wanted
    };
    /// Calls f with the function that makes the terms of a point as far as the free parameters need
    /// them.
    template <class F>
    void with_terms(std::span<const unsigned int> free, const F& f) const;
    [[nodiscard]] double value_from(const Terms& terms) const;
    [[nodiscard]] double derivative_from(const Terms& terms, unsigned int i) const;

private:
    template <bool with_cos_s>
    [[nodiscard]] Terms terms(double x) const;
    [[nodiscard]] double theta(double x, double sin_s) const;
};

/// Micro-steps over wavelength: inverts GratingEquation with the same parameters, the periodic
/// error to first order. It is evaluated, never fitted: all derivatives are 0.
class GratingEquationInverse : public internal::Function1D<double, 8> {
public:
    using Function1D::Function1D;

    /// @return NaN for wavelengths beyond 2 d cos_K
    [[nodiscard]] double operator()(double wl) const override;
    [[nodiscard]] double derivative_wrt_param(double /*wl*/, unsigned int /*i*/) const override {
        return 0.0;
    }
};

/// Periodic error of a turret: (p0 + x) + p1 sin(2 pi x / p3 + p2), with offset p0, amplitude p1,
/// phase p2 (rad) and period p3, all but the phase in the unit of x.
class TurretEquation : public internal::Function1D<double, 4> {
public:
    using Function1D::Function1D;

    [[nodiscard]] double operator()(double x) const override;
    [[nodiscard]] double derivative_wrt_param(double x, unsigned int i) const override;

protected:
    struct Terms {
        double x;
        double sine;
        double cosine;
    };
    template <class F>
    void with_terms(std::span<const unsigned int> free, const F& f) const;
    [[nodiscard]] double value_from(const Terms& terms) const;
    [[nodiscard]] double derivative_from(const Terms& terms, unsigned int i) const;

private:
    [[nodiscard]] Terms terms(double x) const;
};

/// Spectral radiance of a black body times a factor: p0 `planks_law_sr`(p1, x), with temperature p1
/// (K) and wavelength x (m).
class BlackBodyEquation : public internal::Function1D<double, 2> {
public:
    using Function1D::Function1D;

    [[nodiscard]] double operator()(double x) const override;
    [[nodiscard]] double derivative_wrt_param(double x, unsigned int i) const override;
};

/// Straight line p0 + p1 x.
class LineEquation : public internal::Function1D<double, 2> {
public:
    using Function1D::Function1D;

    [[nodiscard]] double operator()(double x) const override;
    [[nodiscard]] double derivative_wrt_param(double x, unsigned int i) const override;
};

// In the header, so that a fit's loop over the points has no calls but those of sine and cosine.

inline double GratingEquation::theta(double x, double sin_s) const {
    return (p[OMEGA_T] * (x + p[A] * sin_s) - p[THETA_Z]) / p[ALPHA];
}

inline double GratingEquation::__theta(double x) const {
    return theta(x, std::sin(p[OMEGA_M] * x + p[PHI]));
}

template <bool with_cos_s>
GratingEquation::Terms GratingEquation::terms(double x) const {
    const double s = p[OMEGA_M] * x + p[PHI];
    const double sin_s = std::sin(s);
    const double angle = theta(x, sin_s);
    return {angle, std::sin(angle), std::cos(angle), sin_s, with_cos_s ? std::cos(s) : 0.0};
}

template <class F>
void GratingEquation::with_terms(std::span<const unsigned int> free, const F& f) const {
    if (std::find(free.begin(), free.end(), PHI) != free.end()) {
        f([this](double x) { return terms<true>(x); });
    } else {
        f([this](double x) { return terms<false>(x); });
    }
}

inline double GratingEquation::operator()(double x) const {
    return value_from(terms<false>(x));
}

inline double GratingEquation::derivative_wrt_param(double x, unsigned int i) const {
    return derivative_from(terms<true>(x), i);
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

inline TurretEquation::Terms TurretEquation::terms(double x) const {
    const double angle = internal::two_pi * x / p[3] + p[2];
    return {x, std::sin(angle), std::cos(angle)};
}

template <class F>
void TurretEquation::with_terms(std::span<const unsigned int> /*free*/, const F& f) const {
    f([this](double x) { return terms(x); });
}

inline double TurretEquation::operator()(double x) const {
    return value_from(terms(x));
}

inline double TurretEquation::derivative_wrt_param(double x, unsigned int i) const {
    return derivative_from(terms(x), i);
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

}  // namespace vekanalysis
