#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "../numerical/spline.hpp"

namespace vekanalysis {

namespace spline {

/// How a Scan obtains values between its stored points.
enum class Type : std::uint32_t {
    NONE = 0,
    AKIMA = 1,
    CUBIC = 2,
    LINEAR = 3,
    POLYNOMIAL = 4,
};

/// "NONE", "AKIMA", "CUBIC", "LINEAR", "POLYNOMIAL"; "UNKNOWN" for any other value.
[[nodiscard]] const char* typeToString(Type type) noexcept;

}  // namespace spline

/// Cache of a Scan's interpolant: empty, or built from the points it had at that time.
///
/// It owns copies of the knots, so the points may change behind it. Copying is not offered: a
/// copied Scan starts without one.
class Spline {
public:
    /// Builds the interpolant; NONE and unknown types build a linear one.
    ///
    /// @return false, leaving the spline empty, where `numerical::Spline::reset` fails
    [[nodiscard]] bool set(std::span<const double> wavelengths, std::span<const double> values,
                           spline::Type type);

    void clear() noexcept { kernel_.reset(); }

    [[nodiscard]] bool is_built() const noexcept { return kernel_ != nullptr; }

    /// The interpolant; null when empty.
    [[nodiscard]] const numerical::Spline* kernel() const noexcept { return kernel_.get(); }

    /// Value, derivatives and integral of the interpolant; 0.0 when empty.
    [[nodiscard]] double operator()(double wl) const noexcept;
    [[nodiscard]] double deriv(double wl) const noexcept;
    [[nodiscard]] double deriv2(double wl) const noexcept;
    [[nodiscard]] double integ(double a, double b) const noexcept;

private:
    std::unique_ptr<numerical::Spline> kernel_;
};

}  // namespace vekanalysis
