#include "core/spline.hpp"

namespace vekanalysis {

namespace spline {

const char* typeToString(Type type) noexcept {
    switch (type) {
        case Type::NONE:
            return "NONE";
        case Type::AKIMA:
            return "AKIMA";
        case Type::CUBIC:
            return "CUBIC";
        case Type::LINEAR:
            return "LINEAR";
        case Type::POLYNOMIAL:
            return "POLYNOMIAL";
    }
    return "UNKNOWN";
}

}  // namespace spline

namespace {

numerical::InterpolationType kernel_type(spline::Type type) noexcept {
    switch (type) {
        case spline::Type::AKIMA:
            return numerical::InterpolationType::AKIMA;
        case spline::Type::CUBIC:
            return numerical::InterpolationType::CUBIC;
        case spline::Type::POLYNOMIAL:
            return numerical::InterpolationType::POLYNOMIAL;
        case spline::Type::NONE:
        case spline::Type::LINEAR:
            break;
    }
    return numerical::InterpolationType::LINEAR;
}

}  // namespace

bool Spline::set(std::span<const double> wavelengths, std::span<const double> values,
                 spline::Type type) {
    auto kernel = std::make_unique<numerical::Spline>();
    const bool built = kernel->reset(wavelengths, values, kernel_type(type));
    if (built) {
        kernel_ = std::move(kernel);
    } else {
        kernel_.reset();
    }
    return built;
}

double Spline::operator()(double wl) const noexcept {
    return kernel_ ? kernel_->eval(wl) : 0.0;
}

double Spline::deriv(double wl) const noexcept {
    return kernel_ ? kernel_->deriv(wl) : 0.0;
}

double Spline::deriv2(double wl) const noexcept {
    return kernel_ ? kernel_->deriv2(wl) : 0.0;
}

double Spline::integ(double a, double b) const noexcept {
    return kernel_ ? kernel_->integ(a, b) : 0.0;
}

}  // namespace vekanalysis
