#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <typeinfo>
#include <utility>
#include <vector>

/// Curves y = f(x; p) that are fitted to scans, with their derivatives by the parameters.
///
/// A model of one's own derives from `fitting::Function1D` (or from one of the models below) and
/// gives `operator()` and `derivative_wrt_param`; `fitting::BindableFunction1D` frees some of its
/// parameters, and `Fit` fits them.
namespace vekanalysis {

class GratingEquation;
class TurretEquation;

namespace internal {

inline constexpr double two_pi = 6.283185307179586;

/// True for the models whose `evaluate_free` gives values and derivatives at once. False for what
/// derives from them, which may compute something else.
template <class T>
inline constexpr bool has_evaluate_free = false;
template <>
inline constexpr bool has_evaluate_free<GratingEquation> = true;
template <>
inline constexpr bool has_evaluate_free<TurretEquation> = true;

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

    /// Values and derivatives at many points: the same numbers as above. Models of which both share
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

/// The model T, derived from Function1D, with a choice of its parameters free, in the order in
/// which they are listed.
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
        if constexpr (has_evaluate_free<T>) {
            // A class derived from this one may have a value or derivatives of its own.
            if (typeid(*this) == typeid(BindableFunction1D)) {
                this->evaluate_free(free_, x, values, derivatives);
                return;
            }
        }
        BoundFunction1D<Value>::evaluate(x, values, derivatives);
    }

private:
    [[nodiscard]] bool exists(unsigned int i) const {
        return i < free_.size() && free_[i] < this->p.size();
    }

    std::vector<unsigned int> free_;
};

}  // namespace internal

namespace fitting {

template <class T>
using BoundFunction1D = internal::BoundFunction1D<T>;
template <class T, std::size_t N>
using Function1D = internal::Function1D<T, N>;
template <class T>
using BindableFunction1D = internal::BindableFunction1D<T>;

}  // namespace fitting

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

    /// The angle theta(x), rad.
    [[nodiscard]] double theta(double x) const;
    /// The same under its established name.
    [[nodiscard]] double __theta(double x) const { return theta(x); }

protected:
    /// As `BoundFunction1D::evaluate`, with the derivatives by the parameters listed in `free`.
    void evaluate_free(std::span<const unsigned int> free, std::span<const double> x,
                       std::span<double> values, std::span<double> derivatives) const;

private:
    struct Terms;
    template <bool with_cos_s>
    [[nodiscard]] Terms terms(double x) const;
    [[nodiscard]] double theta_from(double x, double sin_s) const;
    [[nodiscard]] double value_from(const Terms& terms) const;
    [[nodiscard]] double derivative_from(const Terms& terms, unsigned int i) const;
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
    /// As `GratingEquation::evaluate_free`.
    void evaluate_free(std::span<const unsigned int> free, std::span<const double> x,
                       std::span<double> values, std::span<double> derivatives) const;

private:
    struct Terms;
    [[nodiscard]] Terms terms(double x) const;
    [[nodiscard]] double value_from(const Terms& terms) const;
    [[nodiscard]] double derivative_from(const Terms& terms, unsigned int i) const;
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

}  // namespace vekanalysis
