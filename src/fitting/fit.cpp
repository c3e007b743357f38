#include "fitting/fit.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <span>
#include <stdexcept>
#include <utility>

#include "core/scan_arithmetic.hpp"
#include "core/text.hpp"
#include "numerical/levenberg_marquardt.hpp"
#include "physics/physics.hpp"
#include "utils/peaks.hpp"

namespace vekanalysis {

namespace {

template <class Value>
struct NamedParameter {
    const char* name;
    Value value;
};

std::string text_of(double value) {
    return internal::fixed(value);
}

std::string text_of(bool value) {
    return value ? "True" : "False";
}

/// The fields of either record of parameters, in the order of the model.
template <class Record>
auto named(const Record& r) {
    return std::array{
        NamedParameter<decltype(r.d)>{"d", r.d},
        NamedParameter<decltype(r.d)>{"omega_t", r.omega_t},
        NamedParameter<decltype(r.d)>{"omega_m", r.omega_m},
        NamedParameter<decltype(r.d)>{"cos_K", r.cos_K},
        NamedParameter<decltype(r.d)>{"theta_z", r.theta_z},
        NamedParameter<decltype(r.d)>{"alpha", r.alpha},
        NamedParameter<decltype(r.d)>{"a", r.a},
        NamedParameter<decltype(r.d)>{"phi", r.phi},
    };
}

template <class Record>
std::string text(const char* label, const Record& record) {
    std::string result = std::string("<") + label;
    const char* separator = " ";
    for (const auto& [name, value] : named(record)) {
        result += std::string(separator) + name + "=" + text_of(value);
        separator = ", ";
    }
    return result + ">";
}

}  // namespace

std::string to_string(const FitWavelengthParams& params) {
    return text("FitWavelengthParams", params);
}

std::string to_string(const FitWavelengthParamsFree& free) {
    return text("FitWavelengthParamsFree", free);
}

bool Fit::fit(const Scan* measured, internal::BoundFunction1D<double>* f) {
    scan = measured;
    function = f;
    if (scan == nullptr || function == nullptr) return false;
    const unsigned int m = f->get_num_free_parameters();
    const std::size_t n = scan->size();
    if (m == 0 || n < m) return false;

    std::vector<double> p(m);
    for (unsigned int i = 0; i < m; ++i) p[i] = f->get_free_parameter(i);
    const auto set_parameters = [f](const std::vector<double>& values) {
        for (unsigned int i = 0; i < values.size(); ++i) f->set_free_parameter(i, values[i]);
    };
    // The solver asks for the residuals and then for the Jacobian at the same parameters, whose
    // terms are largely the same: the first pass makes both.
    std::vector<double> derivatives(n * m);
    numerical::LeastSquaresProblem problem;
    problem.residual_count = n;
    problem.parameter_count = m;
    problem.residuals = [&](const std::vector<double>& values, std::vector<double>& residuals) {
        set_parameters(values);
        const auto x = scan->data().keys();
        const auto y = scan->data().values();
        f->evaluate(x, residuals, derivatives);
        for (std::size_t i = 0; i < n; ++i) residuals[i] -= y[i];
    };
    problem.jacobian = [&](const std::vector<double>& /*values*/, numerical::MatrixView jacobian) {
        std::copy(derivatives.begin(), derivatives.end(), &jacobian(0, 0));
    };
    if (!numerical::levenberg_marquardt(problem, p, max_iterations, abs_tolerance, rel_tolerance)) {
        return false;
    }
    set_parameters(p);
    return true;
}

namespace fitting {

namespace {

/// The refined peak; the highest stored point where there is none or the scan cannot interpolate.
double peak_or_highest_point(const Scan& scan) {
    double peak = 0.0;
    try {
        if (utils::find_peak(scan, &peak)) return peak;
    } catch (const std::runtime_error&) {
        // The spline's errors: no interpolation, or too few points for it.
    }
    return (*scan.max_element()).first;
}

std::array<double, 8> as_array(const FitWavelengthParams& p) {
    return {p.d, p.omega_t, p.omega_m, p.cos_K, p.theta_z, p.alpha, p.a, p.phi};
}

}  // namespace

bool fit_black_body(const Scan& scan, std::array<double, 2>& p) {
    if (scan.empty()) return false;
    const double peak = peak_or_highest_point(scan);
    p[1] = wiens_displacement_law_T(peak);
    p[0] = scan(peak) / planks_law_sr(p[1], peak);
    BlackBodyEquation equation(p);
    const bool ran = Fit().fit(&scan, &equation);
    p = equation.p;
    return ran;
}

bool fit_turret(const Scan& scan, std::array<double, 4>& p) {
    internal::BindableFunction1D<TurretEquation> equation(p, {0, 1, 2});
    const bool ran = Fit().fit(&scan, &equation);
    p = equation.p;
    return ran;
}

bool fit_wavelength(const Scan& scan, std::array<double, 8>& p,
                    const std::vector<unsigned int>& free) {
    internal::BindableFunction1D<GratingEquation> equation(p, free);
    const bool ran = Fit().fit(&scan, &equation);
    p = equation.p;
    return ran;
}

bool fit_wavelength(const Scan& scan, FitWavelengthParams& params,
                    const FitWavelengthParamsFree& free) {
    std::array<double, 8> p = as_array(params);
    std::vector<unsigned int> indices;
    unsigned int index = 0;
    for (const auto& [name, is_free] : named(free)) {
        if (is_free) indices.push_back(index);
        ++index;
    }
    const bool ran = fit_wavelength(scan, p, indices);
    params = {p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]};
    return ran;
}

bool fit_wavelength_from_phases(const Scan& scan, FitWavelengthParams& params,
                                const FitWavelengthParamsFree& free, unsigned int phases) {
    constexpr double half_turn = internal::two_pi / 2.0;
    FitWavelengthParamsFree others = free;
    others.phi = false;
    FitWavelengthParams best = params;
    double best_rms = 0.0;
    for (unsigned int i = 0; i < phases; ++i) {
        FitWavelengthParams tried = params;
        tried.phi += half_turn * i / phases;
        fit_wavelength(scan, tried, others);
        const double rms = wavelength_residuals(scan, tried).rms;
        if (i == 0 || rms < best_rms) {
            best = tried;
            best_rms = rms;
        }
    }
    const bool ran = fit_wavelength(scan, best, free);
    if (ran) params = best;
    return ran;
}

WavelengthResiduals wavelength_residuals(const Scan& scan, const FitWavelengthParams& params) {
    const GratingEquation equation(as_array(params));
    WavelengthResiduals residuals;
    residuals.values.reserve(scan.size());
    double sum = 0.0;
    for (const auto& [step, wl] : scan) {
        const double value = equation(step);
        if (!std::isfinite(value)) {
            throw std::domain_error(
                "fitting::wavelength_residuals: the grating equation has no value");
        }
        const double residual = value - wl;
        residuals.values.push_back(residual);
        residuals.largest = std::max(residuals.largest, std::abs(residual));
        sum += residual * residual;
    }
    if (!scan.empty()) residuals.rms = std::sqrt(sum / static_cast<double>(scan.size()));
    return residuals;
}

void overlay_scan(const Scan& scan_1, const Scan& scan_2, double* k, double* c) {
    const std::vector<double> keys = utils::key_union(scan_1, scan_2);
    ScanCursor value_1(scan_1);
    ScanCursor value_2(scan_2);
    double sx = 0.0;
    double sy = 0.0;
    double sxx = 0.0;
    double sxy = 0.0;
    for (const double wl : keys) {
        const double x = value_2(wl);
        const double y = value_1(wl);
        sx += x;
        sy += y;
        sxx += x * x;
        sxy += x * y;
    }
    const auto n = static_cast<double>(keys.size());
    const double slope = (n * sxy - sy * sx) / (n * sxx - sx * sx);
    *k = slope;
    *c = (sy - slope * sx) / n;
}

}  // namespace fitting

}  // namespace vekanalysis
