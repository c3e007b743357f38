#include "fitting/fit.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "core/scan_arithmetic.hpp"
#include "fitting/models.hpp"
#include "physics/physics.hpp"
#include "sampled.hpp"
#include "thrown_text.hpp"

namespace {

using vekanalysis::Scan;
namespace fitting = vekanalysis::fitting;
using Grating = std::array<double, 8>;

/// 1200 lines/mm, wavelengths in nm over a million micro-steps.
constexpr Grating monochromator = {833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 12.0, 0.4};

Scan wavelengths_of(const Grating& grating) {
    return sampled(vekanalysis::GratingEquation(grating), 1e5, 6.96e5, 4e3);
}

struct Tested {
    const char* name;
    std::shared_ptr<vekanalysis::internal::BoundFunction1D<double>> model;
    std::vector<double> at;
    /// Parameters whose stated derivative is not the exact one.
    std::vector<unsigned int> deliberate;
};

/// A model with all parameters free, listed by index.
template <class Model>
auto bound(const typename Model::Parameters& p) {
    std::vector<unsigned int> free(p.size());
    std::iota(free.begin(), free.end(), 0U);
    return std::make_shared<vekanalysis::internal::BindableFunction1D<Model>>(p, free);
}

void expect_derivatives(const Tested& tested) {
    SCOPED_TRACE(tested.name);
    auto& f = *tested.model;
    const unsigned int n = f.get_num_free_parameters();
    const std::vector<double>& at = tested.at;
    std::vector<double> values(at.size());
    std::vector<double> derivatives(at.size() * n);
    f.evaluate(at, values, derivatives);
    for (std::size_t point = 0; point < at.size(); ++point) {
        const double x = at[point];
        EXPECT_EQ(values[point], f(x));
        for (unsigned int i = 0; i < n; ++i) {
            const double derivative = derivatives[point * n + i];
            EXPECT_EQ(derivative, f.derivative_wrt_free_param(x, i));
            const double p = f.get_free_parameter(i);
            const double h = 1e-5 * std::abs(p);
            f.set_free_parameter(i, p + h);
            const double above = f(x);
            f.set_free_parameter(i, p - h);
            const double numeric = (above - f(x)) / (2.0 * h);
            f.set_free_parameter(i, p);
            bool deliberate = false;
            for (const unsigned int other : tested.deliberate) deliberate |= other == i;
            const double tolerance = 1e-6 * std::abs(numeric) + 1e-10 * std::abs(f(x) / p);
            EXPECT_EQ(std::abs(derivative - numeric) <= tolerance, !deliberate)
                << "parameter " << i << " at " << x << ": " << derivative << ", " << numeric;
        }
        EXPECT_EQ(f.derivative_wrt_free_param(x, n), 0.0);
    }
    EXPECT_EQ(f.get_free_parameter(n), 0.0);
    f.set_free_parameter(n, 1.0);
}

TEST(EveryModel, HasTheDerivativesOfItsValue) {
    const std::array<double, 4> turret{0.5, 3.0, 0.7, 200.0};
    const Tested models[] = {
        {"grating",
         bound<vekanalysis::GratingEquation>(monochromator),
         {-1e5, 3e5, 7.7e5},
         {0, 1, 2, 7}},
        {"turret", std::make_shared<vekanalysis::TurretEquation>(turret), {-31.0, 20.0, 177.0}, {}},
        {"bound turret", bound<vekanalysis::TurretEquation>(turret), {-31.0, 20.0, 177.0}, {}},
        {"black body", bound<vekanalysis::BlackBodyEquation>({2.5, 3000.0}), {4e-7, 1e-6}, {}},
        {"line", bound<vekanalysis::LineEquation>({2.0, -3.0}), {-1.0, 4.0}, {}}};
    for (const Tested& model : models) expect_derivatives(model);
}

/// Twice the turret's curve without its x: a value and derivatives of its own.
template <class Base>
struct Doubled : Base {
    using Base::Base;
    double operator()(double x) const override { return 2.0 * (Base::operator()(x) - x); }
    double derivative_wrt_param(double x, unsigned int i) const override {
        return 2.0 * Base::derivative_wrt_param(x, i);
    }
};

TEST(Fit, HonoursAModelOfTheUsersOwn) {
    using Turret = vekanalysis::TurretEquation;
    using Parameters = Turret::Parameters;
    const Parameters exact{0.5, 3.0, 0.7, 200.0};
    const Parameters start{0.0, 2.0, 1.0, 200.0};
    const Scan data = sampled(Doubled<Turret>(exact), 0.0, 693.0, 7.0);
    fitting::BindableFunction1D<Doubled<Turret>> bound_model(start, {2, 1, 0});
    Doubled<fitting::BindableFunction1D<Turret>> changed_binding(start, {0, 1, 2});
    Doubled<Turret> all_free(start);
    const auto recovers = [&](auto& model) {
        ASSERT_TRUE(vekanalysis::Fit().fit(&data, &model));
        for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(model.p[i], exact[i], 1e-6) << i;
    };
    recovers(bound_model);
    recovers(changed_binding);
    recovers(all_free);
}

// Deliberate: d, omega_t and omega_m do not move, alpha stands for a in the derivative by phi.
TEST(GratingEquation, StatesTheDerivativesThatItDoes) {
    const vekanalysis::GratingEquation f(monochromator);
    const double x = 3e5;
    for (const unsigned int i : {0U, 1U, 2U, 8U}) EXPECT_EQ(f.derivative_wrt_param(x, i), 0.0);
    const double s = f.p[2] * x + f.p[7];
    const double stated = 2.0 * f.p[0] * f.p[1] * f.p[3] * std::cos(s) * std::cos(f.__theta(x));
    EXPECT_NEAR(f.derivative_wrt_param(x, 7), stated, 1e-14 * std::abs(stated));
}

TEST(GratingEquation, IsInvertedToFirstOrderOfThePeriodicError) {
    const vekanalysis::GratingEquation f(monochromator);
    const vekanalysis::GratingEquationInverse inverse(monochromator);
    for (const double x : {1e5, 3e5, 6e5}) EXPECT_NEAR(inverse(f(x)), x, 1e-3);
    EXPECT_TRUE(std::isnan(inverse(2000.0)));
    EXPECT_EQ(inverse.derivative_wrt_param(500.0, 3), 0.0);
}

TEST(FitWavelength, RecoversTheParametersOfAGrating) {
    const Scan data = wavelengths_of(monochromator);
    Grating p = monochromator;
    p[3] *= 1.001;
    p[4] += 0.001;
    p[6] = 11.0;
    ASSERT_TRUE(fitting::fit_wavelength(data, p, {6, 3, 4}));
    for (std::size_t i = 0; i < p.size(); ++i) {
        EXPECT_NEAR(p[i], monochromator[i], 1e-8 * std::abs(monochromator[i])) << i;
    }
}

TEST(FitWavelength, NeverMovesTheGratingDistanceNorTheFrequencies) {
    const Scan data = wavelengths_of(monochromator);
    Grating p = monochromator;
    p[0] *= 1.01;
    p[1] *= 1.01;
    p[2] *= 1.01;
    p[4] = 0.5;
    const Grating start = p;
    ASSERT_TRUE(fitting::fit_wavelength(data, p, {0, 1, 2, 4}));
    for (const std::size_t i : {0U, 1U, 2U}) EXPECT_EQ(p[i], start[i]);
    EXPECT_NEAR(p[4], monochromator[4], 0.02) << "the others still do";
}

// Deliberate: the residual-norm stop knows no units. Documented, so that users fit in nm.
TEST(FitWavelength, EndsEarlyInMetres) {
    const auto error_in = [](double unit) {
        Grating exact = monochromator;
        exact[0] *= unit;
        const Scan data = wavelengths_of(exact);
        Grating p = exact;
        p[4] += 0.01;
        EXPECT_TRUE(fitting::fit_wavelength(data, p, {3, 4, 5}));
        return std::abs(p[4] - exact[4]);
    };
    EXPECT_LT(error_in(1.0), 1e-12);
    EXPECT_GT(error_in(1e-9), 1e-9);
}

TEST(Fits, LeaveTheirParametersWhenTheyCannotRun) {
    const Scan two({{1e5, 200.0}, {2e5, 300.0}});
    Grating p = monochromator;
    EXPECT_FALSE(fitting::fit_wavelength(two, p, {}));
    EXPECT_FALSE(fitting::fit_wavelength(two, p, {3, 4, 5}));
    EXPECT_EQ(p, monochromator);
    std::array<double, 4> turret = {1.0, 2.0, 3.0, 4.0};
    EXPECT_FALSE(fitting::fit_turret(two, turret));
    EXPECT_EQ(turret, (std::array<double, 4>{1.0, 2.0, 3.0, 4.0}));
    std::array<double, 2> black_body = {1.0, 2.0};
    EXPECT_FALSE(fitting::fit_black_body(Scan(), black_body));
    EXPECT_EQ(black_body, (std::array<double, 2>{1.0, 2.0}));
    vekanalysis::LineEquation line;
    EXPECT_FALSE(vekanalysis::Fit().fit(nullptr, &line));
    EXPECT_FALSE(vekanalysis::Fit().fit(&two, nullptr));
    // Indices that name no parameter, or one twice, do no harm.
    EXPECT_TRUE(fitting::fit_wavelength(two, p, {8, 4}));
    EXPECT_TRUE(fitting::fit_wavelength(two, p, {4, 4}));
}

TEST(FitWavelength, FindsAPhaseFromAfarWhenItTriesSeveral) {
    const Scan data = wavelengths_of(monochromator);
    vekanalysis::FitWavelengthParams start{833.333, 1e-6, 3.14e-4, 0.9705, 0.0201, 1.01, 10.0, 2.9};
    vekanalysis::FitWavelengthParamsFree free;
    free.cos_K = free.theta_z = free.a = free.phi = true;
    vekanalysis::FitWavelengthParams p = start;
    ASSERT_TRUE(fitting::fit_wavelength_from_phases(data, p, free, 0));
    const double plain = fitting::wavelength_residuals(data, p).rms;
    p = start;
    ASSERT_TRUE(fitting::fit_wavelength_from_phases(data, p, free, 36));
    EXPECT_LT(5.0 * fitting::wavelength_residuals(data, p).rms, plain);
    EXPECT_NEAR(std::abs(p.a), 12.0, 0.01);
    p = start;
    EXPECT_FALSE(fitting::fit_wavelength_from_phases(data, p, {}, 36));
    EXPECT_EQ(p.phi, start.phi);
}

TEST(WavelengthResiduals, AreEquationMinusWavelength) {
    vekanalysis::FitWavelengthParams p{833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 12.0, 0.4};
    const vekanalysis::GratingEquation equation(monochromator);
    const Scan data({{1e5, equation(1e5) - 3.0}, {2e5, equation(2e5) + 4.0}});
    const auto residuals = fitting::wavelength_residuals(data, p);
    EXPECT_NEAR(residuals.values.at(0), 3.0, 1e-12);
    EXPECT_NEAR(residuals.values.at(1), -4.0, 1e-12);
    EXPECT_NEAR(residuals.rms, std::sqrt(12.5), 1e-12);
    EXPECT_NEAR(residuals.largest, 4.0, 1e-12);
    EXPECT_EQ(fitting::wavelength_residuals(Scan(), p).rms, 0.0);
    p.alpha = 0.0;
    EXPECT_EQ(thrown_text([&] { (void)fitting::wavelength_residuals(data, p); }),
              "fitting::wavelength_residuals: the grating equation has no value");
}

TEST(FitBlackBody, TakesItsStartFromTheScan) {
    Scan scan;
    for (int i = 0; i < 200; ++i) {
        const double wl = 3e-7 + i * 1e-8;
        scan[wl] = 2.5 * vekanalysis::planks_law_sr(3000.0, wl);
    }
    std::array<double, 2> p = {-1.0, NAN};
    ASSERT_TRUE(fitting::fit_black_body(scan, p));
    EXPECT_NEAR(p[0], 2.5, 1e-7);
    EXPECT_NEAR(p[1], 3000.0, 1e-4);
    // Without a peak inside or without interpolation, from the highest point.
    Scan points = scan;
    points.set_interpolation_type(vekanalysis::spline::Type::NONE);
    ASSERT_TRUE(fitting::fit_black_body(points, p));
    EXPECT_NEAR(p[1], 3000.0, 1e-3);
    scan.trim(3e-7, 8e-7);
    ASSERT_TRUE(fitting::fit_black_body(scan, p));
    EXPECT_NEAR(p[1], 3000.0, 1e-3);
}

TEST(FitTurret, RecoversAllButThePeriod) {
    const std::array<double, 4> turret = {0.5, 3.0, 0.7, 200.0};
    const Scan data = sampled(vekanalysis::TurretEquation(turret), 0.0, 693.0, 7.0);
    std::array<double, 4> p = {0.0, 2.0, 1.0, 200.0};
    ASSERT_TRUE(fitting::fit_turret(data, p));
    for (std::size_t i = 0; i < p.size(); ++i) EXPECT_NEAR(p[i], turret[i], 1e-9);
}

TEST(OverlayScan, FitsALineOverTheCommonWavelengths) {
    Scan scan;
    for (int i = 0; i <= 40; ++i) scan[400.0 + i] = std::sin(i / 7.0);
    double k = 0.0;
    double c = 0.0;
    fitting::overlay_scan(3.0 * scan + 1.0, scan, &k, &c);
    EXPECT_NEAR(k, 3.0, 1e-13);
    EXPECT_NEAR(c, 1.0, 1e-13);
    fitting::overlay_scan(Scan(), Scan(), &k, &c);
    EXPECT_TRUE(std::isnan(k) && std::isnan(c));
}

}  // namespace
