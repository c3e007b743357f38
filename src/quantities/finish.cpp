#include "quantities/finish.hpp"

#include <cmath>

#include "colorimetry/tristimulus.hpp"

namespace vekanalysis::quantities::internal {

namespace {

using colorimetry::CIELAB_f;
using Finish = Form::Finish;

/// Derivative of CIELAB_f.
double CIELAB_f_slope(double t) noexcept {
    constexpr double threshold = 0.008856451679035631;  // 216/24389
    if (t > threshold) return std::pow(t, -2.0 / 3.0) / 3.0;
    return 7.787037037037037;  // 841/108
}

void finish_cielab(const Form& form, std::span<const double> xyz,
                   std::span<double> fields) noexcept {
    const double fx = CIELAB_f(xyz[0] / form.scales[0]);
    const double fy = CIELAB_f(xyz[1] / form.scales[1]);
    const double fz = CIELAB_f(xyz[2] / form.scales[2]);
    fields[0] = 116.0 * fy - 16.0;
    fields[1] = 500.0 * (fx - fy);
    fields[2] = 200.0 * (fy - fz);
}

/// With the white scaled to the Y of the light: Y over its own is 1.
void finish_scaled(const Form& form, std::span<const double> xyz,
                   std::span<double> fields) noexcept {
    const double scale = xyz[1] / form.scales[1];
    const double fy = CIELAB_f(xyz[1] / (form.scales[1] * scale));
    fields[0] = 500.0 * (CIELAB_f(xyz[0] / (form.scales[0] * scale)) - fy);
    fields[1] = 200.0 * (fy - CIELAB_f(xyz[2] / (form.scales[2] * scale)));
}

/// Of quotients, with respect to one of the numerators or the denominator.
void differentiate_quotients(const Form& form, std::span<const double> integrals,
                             std::size_t integral, std::span<double> derivatives) noexcept {
    const std::size_t last = form.scales.size() - 1;
    const double denominator = number_of(form, integrals, last);
    const double share = form.scales[integral] / form.divisors[integral];
    if (integral < last) {
        derivatives[integral] = quotient(share, denominator);
        return;
    }
    for (std::size_t k = 0; k < last; ++k) {
        const double value = quotient(number_of(form, integrals, k), denominator);
        derivatives[k] = -quotient(value * share, denominator);
    }
}

}  // namespace

void finish(const Form& form, std::span<const double> integrals,
            std::span<double> fields) noexcept {
    switch (form.finish) {
        case Finish::NUMBERS:
            for (std::size_t i = 0; i < form.scales.size(); ++i) {
                fields[i] = number_of(form, integrals, i);
            }
            break;
        case Finish::QUOTIENTS: {
            const std::size_t last = form.scales.size() - 1;
            const double denominator = number_of(form, integrals, last);
            for (std::size_t i = 0; i < last; ++i) {
                fields[i] = quotient(number_of(form, integrals, i), denominator);
            }
            break;
        }
        case Finish::CHROMATICITY: {
            const double sum = integrals[2] + (integrals[0] + integrals[1]);
            fields[0] = integrals[0] / sum;
            fields[1] = integrals[1] / sum;
            break;
        }
        case Finish::CIELAB:
            finish_cielab(form, integrals, fields);
            break;
        case Finish::CIELAB_AB:
            finish_scaled(form, integrals, fields);
            break;
        case Finish::SMALLEST:
        case Finish::SMALLEST_QUOTIENT:
            break;
    }
}

void differentiate_finish(const Form& form, std::span<const double> integrals, std::size_t integral,
                          std::span<double> derivatives) noexcept {
    if (form.finish == Finish::NUMBERS) {
        derivatives[integral] = form.scales[integral] / form.divisors[integral];
        return;
    }
    if (form.finish == Finish::QUOTIENTS) {
        differentiate_quotients(form, integrals, integral, derivatives);
        return;
    }
    if (form.finish == Finish::CHROMATICITY) {
        const double sum = integrals[2] + (integrals[0] + integrals[1]);
        for (std::size_t k = 0; k < 2; ++k) {
            derivatives[k] = ((k == integral ? 1.0 : 0.0) - integrals[k] / sum) / sum;
        }
        return;
    }
    const bool scaled = form.finish == Finish::CIELAB_AB;
    const double scale = scaled ? integrals[1] / form.scales[1] : 1.0;
    const double white = form.scales[integral] * scale;
    double slope = CIELAB_f_slope(integrals[integral] / white) / white;
    if (!scaled) {
        constexpr double of_f[3][3] = {
            {0.0, 500.0, 0.0}, {116.0, -500.0, 200.0}, {0.0, 0.0, -200.0}};
        for (std::size_t k = 0; k < 3; ++k) derivatives[k] = of_f[integral][k] * slope;
        return;
    }
    // X over the scaled white is X Yn / (Xn Y): Y acts through the scale alone.
    if (integral == 1) {
        for (std::size_t k = 0; k < 2; ++k) {
            const std::size_t other = 2 * k;
            const double t = integrals[other] / (form.scales[other] * scale);
            const double change = CIELAB_f_slope(t) * t / integrals[1];
            derivatives[k] = k == 0 ? -500.0 * change : 200.0 * change;
        }
        return;
    }
    derivatives[integral == 0 ? 0 : 1] = (integral == 0 ? 500.0 : -200.0) * slope;
}

}  // namespace vekanalysis::quantities::internal
