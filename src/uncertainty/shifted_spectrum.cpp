#include "uncertainty/shifted_spectrum.hpp"

#include <algorithm>
#include <stdexcept>

namespace vekanalysis::uncertainty {

ShiftedSpectrum::ShiftedSpectrum(const Scan& scan) {
    if (!scan.is_interpolated()) {
        throw std::runtime_error("Cannot initialize a spline with type None");
    }
    if (!spline_.set(scan.data().keys(), scan.data().values(), scan.get_interpolation_type())) {
        throw std::runtime_error("Cannot initialize a spline, too few points");
    }
}

void ShiftedSpectrum::operator()(std::span<const double> shifts,
                                 std::span<double> values) const noexcept {
    const numerical::Spline& spline = *spline_.kernel();
    const auto knots = spline.knots();
    const bool polynomial = spline.type() == numerical::InterpolationType::POLYNOMIAL;
    for (std::size_t i = 0; i < knots.size(); ++i) {
        const double wl = std::clamp(knots[i] + shifts[i], knots.front(), knots.back());
        // A shift is small beside the steps, as a rule: the interval is the one before or after.
        const std::size_t hint = shifts[i] < 0.0 && i > 0 ? i - 1 : i;
        values[i] = polynomial ? spline.eval_polynomial(wl)
                               : spline.eval_piece(spline.find_interval(wl, hint), wl);
    }
}

}  // namespace vekanalysis::uncertainty
