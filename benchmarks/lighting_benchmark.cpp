#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "colorimetry/observers.hpp"
#include "colorimetry/tristimulus.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/source_evaluator.hpp"

namespace {

using vekanalysis::Scan;
namespace lighting = vekanalysis::lighting;

/// A white LED of some 4000 K, 380 to 780 nm, step 1 nm.
Scan white_led() {
    std::vector<double> wavelengths(401);
    std::vector<double> values(401);
    const auto bell = [](double wl, double mean, double sigma) {
        const double z = (wl - mean) / sigma;
        return std::exp(-0.5 * z * z);
    };
    for (std::size_t i = 0; i < 401; ++i) {
        wavelengths[i] = 380.0 + static_cast<double>(i);
        values[i] = 0.8 * bell(wavelengths[i], 450.0, 10.0) + bell(wavelengths[i], 580.0, 55.0);
    }
    Scan lamp(wavelengths, values);
    lamp.ensure_spline();
    return lamp;
}

/// What the rows below are held against.
void Tristimulus(benchmark::State& state) {
    const Scan lamp = white_led();
    const vekanalysis::Observer& observer = vekanalysis::observers::data::cie_1931_standard();
    for (auto _ : state) {
        benchmark::DoNotOptimize(vekanalysis::colorimetry::CIE_tristimulus_values(lamp, observer));
    }
}
BENCHMARK(Tristimulus);

void ColourTemperature(benchmark::State& state) {
    const Scan lamp = white_led();
    const auto step = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(lighting::correlated_colour_temperature(lamp, step));
    }
}
BENCHMARK(ColourTemperature)->Arg(5)->Arg(1);

void ColourRendering(benchmark::State& state) {
    const Scan lamp = white_led();
    const auto step = static_cast<int>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(lighting::colour_rendering(lamp, step));
}
BENCHMARK(ColourRendering)->Arg(5)->Arg(1);

void ColourFidelity(benchmark::State& state) {
    const Scan lamp = white_led();
    const auto step = static_cast<int>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(lighting::colour_fidelity(lamp, step));
}
BENCHMARK(ColourFidelity)->Arg(5)->Arg(1);

/// Many spectra on one grid; a row is one of them.
void Rows(benchmark::State& state, const std::vector<std::string>& keys) {
    const Scan lamp = white_led();
    const lighting::SourceEvaluator evaluate(lamp.data().keys(), keys);
    lighting::SourceEvaluator::Scratch scratch;
    std::vector<double> results(keys.size());
    for (auto _ : state) {
        evaluate(lamp.data().values(), results, &scratch);
        benchmark::DoNotOptimize(results.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(Rows, cct, {"correlated_colour_temperature.cct"});
BENCHMARK_CAPTURE(Rows, Ra, {"colour_rendering.Ra"});
BENCHMARK_CAPTURE(Rows, R9, {"colour_rendering.Ra", "colour_rendering.R9"});
BENCHMARK_CAPTURE(Rows, Rf, {"colour_fidelity.Rf"});

}  // namespace
