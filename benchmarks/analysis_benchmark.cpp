#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <boost/accumulators/accumulators.hpp>
#include <boost/accumulators/statistics.hpp>
#include <cmath>
#include <functional>
#include <span>
#include <vector>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "fitting/fit.hpp"
#include "floor.hpp"
#include "numerical/brent.hpp"
#include "utils/peaks.hpp"
#include "utils/statistics.hpp"
#include "utils/stitching.hpp"

namespace {

using benchmark_floor::Curve;
using vekanalysis::Scan;
namespace utils = vekanalysis::utils;

// A band, found and measured at half its height. The floor is an Akima over plain arrays, evaluated
// where the search evaluates.

Curve band() {
    Curve curve;
    for (int i = 0; i <= 400; ++i) {
        curve.x.push_back(380.0 + i);
        curve.y.push_back(std::exp(-std::pow((curve.x.back() - 555.3) / 20.0, 2.0)));
    }
    curve.build();
    return curve;
}

std::vector<double> wavelengths_searched(const Curve& curve) {
    std::vector<double> searched;
    const auto recorded = [&](double sign, double offset) {
        return [&searched, &curve, sign, offset](double wl) {
            searched.push_back(wl);
            return sign * (curve(wl) - offset);
        };
    };
    const auto top = std::max_element(curve.y.begin(), curve.y.end()) - curve.y.begin();
    const double* const at_top = curve.x.data() + top;
    double peak = 0.0;
    double edge = 0.0;
    bool found = true;
    for (int search = 0; search < 2; ++search) {
        found &= vekanalysis::Minimizer().solve(at_top[-1], at_top[1], at_top[0],
                                                recorded(-1.0, 0.0), &peak);
    }
    const double half = curve(peak) / 2.0;
    found &= vekanalysis::Root().find(curve.x.front(), peak, recorded(1.0, half), &edge);
    found &= vekanalysis::Root().find(peak, curve.x.back(), recorded(1.0, half), &edge);
    return found ? searched : std::vector<double>();
}

void PeakAndWidth_Floor(benchmark::State& state) {
    Curve curve = band();
    const std::vector<double> searched = wavelengths_searched(curve);
    state.counters["evaluations"] = static_cast<double>(searched.size());
    for (auto _ : state) {
        benchmark::ClobberMemory();
        curve.build();
        for (const double wl : searched) benchmark::DoNotOptimize(curve(wl));
    }
}
BENCHMARK(PeakAndWidth_Floor);

void PeakAndWidth(benchmark::State& state) {
    const Curve curve = band();
    const Scan scan(curve.x, curve.y);
    scan.ensure_spline();
    double peak = 0.0;
    double width = 0.0;
    for (auto _ : state) {
        if (!utils::find_peak(scan, &peak) || !utils::peak_width(scan, 0.5, &width)) {
            state.SkipWithError("no peak");
        }
        benchmark::DoNotOptimize(peak + width);
    }
}
BENCHMARK(PeakAndWidth);

// Two ranges of a curve with 200 common wavelengths, half a step apart.

constexpr double overlap_from = 800.0;
constexpr double overlap_to = 999.0;

Curve half_spectrum(double from, double scale) {
    Curve curve;
    for (int i = 0; i < 1000; ++i) {
        curve.x.push_back(from + i);
        curve.y.push_back(scale * (2.0 + std::sin(curve.x.back() / 57.0)));
    }
    curve.build();
    return curve;
}

/// Both curves wherever the splice evaluates them: twice over the overlap, once up to the crossing,
/// and in the search for it.
void StitchScans_Floor(benchmark::State& state) {
    const Curve lower = half_spectrum(0.0, 1.0);
    const Curve upper = half_spectrum(799.5, 0.7);
    for (auto _ : state) {
        benchmark::ClobberMemory();
        for (int pass = 0; pass < 2; ++pass) {
            std::size_t interval = 0;
            for (double wl = overlap_from; wl <= overlap_to; wl += 1.0) {
                benchmark::DoNotOptimize(upper.at(wl, interval));
            }
        }
        Curve scaled = upper;
        for (double& value : scaled.y) value *= 1.0 / 0.7;
        scaled.build();
        std::size_t interval = 0;
        for (double wl = overlap_from; wl <= overlap_to; wl += 1.0) {
            benchmark::DoNotOptimize(scaled.at(wl, interval));
        }
        for (int step = 0; step < 10; ++step) {
            benchmark::DoNotOptimize(lower(900.3) - scaled(900.3));
        }
    }
}
BENCHMARK(StitchScans_Floor);

void StitchScans(benchmark::State& state) {
    const Curve lower = half_spectrum(0.0, 1.0);
    Curve upper = half_spectrum(799.5, 0.7);
    // A tilt of the second range, so that the scans cross late in the overlap.
    for (std::size_t i = 0; i < upper.x.size(); ++i) {
        upper.y[i] *= 1.0 + 1e-5 * (upper.x[i] - 950.0);
    }
    const Scan scan_1(lower.x, lower.y);
    const Scan scan_2(upper.x, upper.y);
    scan_1.ensure_spline();
    scan_2.ensure_spline();
    for (auto _ : state) {
        auto joined = utils::stitch_scans(scan_1, scan_2, overlap_from, overlap_to, 0.1);
        if (!joined.success) state.SkipWithError("no match");
        benchmark::DoNotOptimize(joined.stitch_point);
    }
}
BENCHMARK(StitchScans);

// Four of the eight grating parameters over 200 points. The floor runs as many evaluations as the
// fit, each making value and derivatives of a point together, with the normal equations of each
// step and their solution over plain arrays.

constexpr std::array<double, 8> exact = {833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 12.0, 0.4};
const std::vector<unsigned int> free_parameters = {3, 4, 5, 6};

std::array<double, 8> start() {
    auto p = exact;
    p[3] *= 1.5;
    p[4] += 0.3;
    p[5] *= 1.4;
    p[6] = 100.0;
    return p;
}

Scan calibration() {
    const vekanalysis::GratingEquation grating(exact);
    Scan scan;
    for (int i = 0; i < 200; ++i) scan[1e5 + 3000.0 * i] = grating(1e5 + 3000.0 * i);
    return scan;
}

/// Counts how often a fit evaluates its curve.
class Counting : public vekanalysis::internal::BoundFunction1D<double> {
public:
    unsigned int get_num_free_parameters() const override {
        return curve.get_num_free_parameters();
    }
    double operator()(double x) const override { return curve(x); }
    double derivative_wrt_free_param(double x, unsigned int i) const override {
        return curve.derivative_wrt_free_param(x, i);
    }
    double get_free_parameter(unsigned int i) const override { return curve.get_free_parameter(i); }
    void set_free_parameter(unsigned int i, double value) override {
        curve.set_free_parameter(i, value);
    }
    void evaluate(std::span<const double> x, std::span<double> values,
                  std::span<double> derivatives) const override {
        ++evaluations;
        curve.evaluate(x, values, derivatives);
    }

    vekanalysis::internal::BindableFunction1D<vekanalysis::GratingEquation> curve{start(),
                                                                                  free_parameters};
    mutable int evaluations = 0;
};

int evaluations_of_fit(const Scan& scan) {
    Counting counting;
    return vekanalysis::Fit().fit(&scan, &counting) ? counting.evaluations : 0;
}

void FitWavelength_Floor(benchmark::State& state) {
    const Scan scan = calibration();
    const int evaluations = evaluations_of_fit(scan);
    state.counters["evaluations"] = evaluations;
    const std::vector<double> x = scan.get_wavelengths();
    const std::vector<double> y = scan.get_values();
    std::vector<double> r(x.size());
    std::vector<std::array<double, 4>> jacobian(x.size());
    auto p = start();
    for (auto _ : state) {
        for (int evaluation = 0; evaluation < evaluations; ++evaluation) {
            benchmark::DoNotOptimize(p.data());
            benchmark::ClobberMemory();
            for (std::size_t i = 0; i < x.size(); ++i) {
                const double s = p[2] * x[i] + p[7];
                const double sin_s = std::sin(s);
                const double theta = (p[1] * (x[i] + p[6] * sin_s) - p[4]) / p[5];
                const double sine = std::sin(theta);
                const double slope = 2.0 * p[0] * p[3] * std::cos(theta) / p[5];
                r[i] = 2.0 * p[0] * p[3] * sine - y[i];
                jacobian[i] = {2.0 * p[0] * sine, -slope, -slope * theta, slope * p[1] * sin_s};
            }
            std::array<std::array<double, 5>, 4> system{};
            for (std::size_t i = 0; i < x.size(); ++i) {
                for (std::size_t j = 0; j < 4; ++j) {
                    for (std::size_t k = 0; k < 4; ++k) {
                        system[j][k] += jacobian[i][j] * jacobian[i][k];
                    }
                    system[j][4] -= jacobian[i][j] * r[i];
                }
            }
            for (std::size_t k = 0; k < 4; ++k) {
                for (std::size_t i = k + 1; i < 4; ++i) {
                    const double factor = system[i][k] / system[k][k];
                    for (std::size_t j = k; j < 5; ++j) system[i][j] -= factor * system[k][j];
                }
            }
            for (std::size_t i = 4; i-- > 0;) {
                for (std::size_t j = i + 1; j < 4; ++j) {
                    system[i][4] -= system[i][j] * system[j][4];
                }
                system[i][4] /= system[i][i];
            }
            benchmark::DoNotOptimize(system);
        }
    }
}
BENCHMARK(FitWavelength_Floor);

void FitWavelength(benchmark::State& state) {
    const Scan scan = calibration();
    for (auto _ : state) {
        auto p = start();
        benchmark::DoNotOptimize(vekanalysis::fitting::fit_wavelength(scan, p, free_parameters));
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(FitWavelength);

// Statistics of 100,000 points against the same accumulators over a plain array.

std::vector<double> noise() {
    std::vector<double> values(100'000);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = std::sin(static_cast<double>(i) * 12.9898);
    }
    return values;
}

void Statistics100000_Floor(benchmark::State& state) {
    namespace ac = boost::accumulators;
    const std::vector<double> values = noise();
    for (auto _ : state) {
        ac::accumulator_set<double,
                            ac::stats<ac::tag::mean, ac::tag::min, ac::tag::max, ac::tag::variance,
                                      ac::tag::skewness, ac::tag::kurtosis, ac::tag::median>>
            set;
        for (const double value : values) set(value);
        benchmark::DoNotOptimize(ac::mean(set) + ac::min(set) + ac::max(set) + ac::variance(set) +
                                 ac::skewness(set) + ac::kurtosis(set) + ac::median(set));
    }
}
BENCHMARK(Statistics100000_Floor);

void Statistics100000(benchmark::State& state) {
    std::vector<double> wavelengths(100'000);
    for (std::size_t i = 0; i < wavelengths.size(); ++i) {
        wavelengths[i] = static_cast<double>(i);
    }
    const Scan scan(std::move(wavelengths), noise());
    for (auto _ : state) benchmark::DoNotOptimize(utils::get_statistics(scan));
}
BENCHMARK(Statistics100000);

}  // namespace
