#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "floor.hpp"

namespace {

using benchmark_floor::Curve;
using vekanalysis::Scan;

std::vector<double> grid(double from, double step, std::size_t count) {
    std::vector<double> wavelengths(count);
    for (std::size_t i = 0; i < count; ++i) wavelengths[i] = from + static_cast<double>(i) * step;
    return wavelengths;
}

std::vector<double> signal(const std::vector<double>& wavelengths) {
    std::vector<double> values(wavelengths.size());
    std::transform(wavelengths.begin(), wavelengths.end(), values.begin(),
                   [](double wl) { return 0.5 + 0.3 * std::sin(wl / 17.0); });
    return values;
}

Curve curve_401(double from = 380.0) {
    return {grid(from, 1.0, 401), signal(grid(from, 1.0, 401))};
}

Scan scan_401(double from = 380.0) {
    Scan scan(grid(from, 1.0, 401), signal(grid(from, 1.0, 401)));
    scan.ensure_spline();
    return scan;
}

void AkimaBuildAndValue_Floor(benchmark::State& state) {
    Curve curve = curve_401();
    for (auto _ : state) {
        curve.y[200] = 0.25;
        benchmark::ClobberMemory();
        curve.build();
        benchmark::DoNotOptimize(curve(555.5));
    }
}
BENCHMARK(AkimaBuildAndValue_Floor);

void AkimaBuildAndValue(benchmark::State& state) {
    Scan scan = scan_401();
    for (auto _ : state) {
        scan.insert({580.0, 0.25});
        benchmark::DoNotOptimize(scan(555.5));
    }
}
BENCHMARK(AkimaBuildAndValue);

/// Wavelengths in no order, so that neither side profits from the last lookup.
std::vector<double> scattered_wavelengths() {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> wavelength(380.0, 780.0);
    std::vector<double> wavelengths(1024);
    std::generate(wavelengths.begin(), wavelengths.end(), [&] { return wavelength(random); });
    return wavelengths;
}

template <class Evaluated>
void one_value(benchmark::State& state, const Evaluated& evaluated) {
    const std::vector<double> wavelengths = scattered_wavelengths();
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(evaluated(wavelengths[i++ % 1024]));
}

void OneValue_Floor(benchmark::State& state) {
    one_value(state, curve_401());
}
BENCHMARK(OneValue_Floor);

void OneValue(benchmark::State& state) {
    one_value(state, scan_401());
}
BENCHMARK(OneValue);

void Ascending10000_Floor(benchmark::State& state) {
    const Curve curve = curve_401();
    const std::vector<double> wavelengths = grid(380.0, 0.04, 10000);
    std::vector<double> values(wavelengths.size());
    for (auto _ : state) {
        std::size_t interval = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = curve.at(wavelengths[i], interval);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Ascending10000_Floor);

void Ascending10000(benchmark::State& state) {
    const Scan scan = scan_401();
    const std::vector<double> wavelengths = grid(380.0, 0.04, 10000);
    std::vector<double> values(wavelengths.size());
    for (auto _ : state) {
        scan.evaluate(wavelengths, values);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Ascending10000);

void product_floor(benchmark::State& state, double from) {
    const Curve a = curve_401();
    const Curve b = curve_401(from);
    for (auto _ : state) benchmark::DoNotOptimize(benchmark_floor::product(a, b));
}

void product(benchmark::State& state, double from) {
    const Scan a = scan_401();
    const Scan b = scan_401(from);
    for (auto _ : state) benchmark::DoNotOptimize(a * b);
}

void ProductHalfNanometreApart_Floor(benchmark::State& state) {
    product_floor(state, 380.5);
}
BENCHMARK(ProductHalfNanometreApart_Floor);

void ProductHalfNanometreApart(benchmark::State& state) {
    product(state, 380.5);
}
BENCHMARK(ProductHalfNanometreApart);

void ProductOneGrid_Floor(benchmark::State& state) {
    product_floor(state, 380.0);
}
BENCHMARK(ProductOneGrid_Floor);

void ProductOneGrid(benchmark::State& state) {
    product(state, 380.0);
}
BENCHMARK(ProductOneGrid);

void Integral_Floor(benchmark::State& state) {
    const Curve curve = curve_401();
    for (auto _ : state) benchmark::DoNotOptimize(curve.integral(380.0, 780.0));
}
BENCHMARK(Integral_Floor);

void Integral(benchmark::State& state) {
    const Scan scan = scan_401();
    for (auto _ : state) benchmark::DoNotOptimize(scan(380.0, 780.0));
}
BENCHMARK(Integral);

constexpr std::size_t many = 100000;

void Ascending100000InAndOut_Floor(benchmark::State& state) {
    const std::vector<double> wavelengths = grid(200.0, 0.01, many);
    const std::vector<double> values = signal(wavelengths);
    std::vector<double> out(2 * many);
    for (auto _ : state) {
        const std::vector<double> x(wavelengths);
        const std::vector<double> y(values);
        benchmark::DoNotOptimize(std::is_sorted(x.begin(), x.end()));
        std::copy(y.begin(), y.end(), std::copy(x.begin(), x.end(), out.begin()));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Ascending100000InAndOut_Floor);

void copy_out(const Scan& scan, std::vector<double>& out) {
    const auto keys = scan.data().keys();
    const auto values = scan.data().values();
    std::copy(values.begin(), values.end(), std::copy(keys.begin(), keys.end(), out.begin()));
    benchmark::ClobberMemory();
}

void Ascending100000InAndOut(benchmark::State& state) {
    const std::vector<double> wavelengths = grid(200.0, 0.01, many);
    const std::vector<double> values = signal(wavelengths);
    std::vector<double> out(2 * many);
    for (auto _ : state) copy_out(Scan(wavelengths, values), out);
}
BENCHMARK(Ascending100000InAndOut);

std::vector<double> shuffled_grid() {
    std::vector<double> wavelengths = grid(200.0, 0.01, many);
    std::shuffle(wavelengths.begin(), wavelengths.end(), std::mt19937(2));
    return wavelengths;
}

void Random100000InAndOut_Floor(benchmark::State& state) {
    const std::vector<double> wavelengths = shuffled_grid();
    const std::vector<double> values = signal(wavelengths);
    std::vector<double> out(2 * many);
    for (auto _ : state) {
        std::vector<std::pair<double, double>> points(many);
        for (std::size_t i = 0; i < many; ++i) points[i] = {wavelengths[i], values[i]};
        std::stable_sort(points.begin(), points.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (std::size_t i = 0; i < many; ++i) {
            out[i] = points[i].first;
            out[many + i] = points[i].second;
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Random100000InAndOut_Floor);

void Random100000InAndOut(benchmark::State& state) {
    const std::vector<double> wavelengths = shuffled_grid();
    const std::vector<double> values = signal(wavelengths);
    std::vector<double> out(2 * many);
    for (auto _ : state) copy_out(Scan(wavelengths, values), out);
}
BENCHMARK(Random100000InAndOut);

}  // namespace
