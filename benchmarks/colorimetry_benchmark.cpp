#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/observers.hpp"
#include "colorimetry/transmittance.hpp"
#include "colorimetry/tristimulus.hpp"
#include "core/scan.hpp"
#include "floor.hpp"

namespace {

using benchmark_floor::Curve;
using vekanalysis::Scan;
namespace colorimetry = vekanalysis::colorimetry;
namespace data = vekanalysis::colorimetry::data;

Curve curve_of(const Scan& scan) {
    return {scan.get_wavelengths(), scan.get_values()};
}

Scan lens_401() {
    std::vector<double> wavelengths(401);
    std::vector<double> values(401);
    for (std::size_t i = 0; i < 401; ++i) {
        wavelengths[i] = 380.0 + static_cast<double>(i);
        values[i] = 0.5 + 0.3 * std::sin(wavelengths[i] / 17.0);
    }
    Scan lens(wavelengths, values);
    lens.__ensure_spline();
    return lens;
}

double weighted(const Curve& a, const Curve& b) {
    Curve product = benchmark_floor::product(a, b);
    product.build();
    return product.integral(380.0, 780.0);
}

void LuminousTransmittance_Floor(benchmark::State& state) {
    const Curve lens = curve_of(lens_401());
    const Curve v = curve_of(data::cie_1931_standard_observer_y());
    const Curve d65 = curve_of(data::cie_illuminant_d65());
    for (auto _ : state) {
        Curve seen = benchmark_floor::product(lens, v);
        seen.build();
        benchmark::DoNotOptimize(weighted(seen, d65) / weighted(v, d65));
    }
}
BENCHMARK(LuminousTransmittance_Floor);

void LuminousTransmittance(benchmark::State& state) {
    const Scan lens = lens_401();
    for (auto _ : state) benchmark::DoNotOptimize(colorimetry::ISO8980_3_tau_v(lens));
}
BENCHMARK(LuminousTransmittance);

void XyzAndLab_Floor(benchmark::State& state) {
    const Curve lens = curve_of(lens_401());
    const Curve d65 = curve_of(data::cie_illuminant_d65());
    const Curve observer[] = {curve_of(data::cie_1931_standard_observer_x()),
                              curve_of(data::cie_1931_standard_observer_y()),
                              curve_of(data::cie_1931_standard_observer_z())};
    for (auto _ : state) {
        double colour[3];
        double f[3];
        for (std::size_t i = 0; i < 3; ++i) {
            colour[i] = weighted(observer[i], lens);
            f[i] = std::cbrt(weighted(observer[i], lens) / weighted(observer[i], d65));
        }
        benchmark::DoNotOptimize(colour);
        benchmark::DoNotOptimize(116.0 * f[1] - 16.0 + 500.0 * (f[0] - f[1]) + f[2]);
    }
}
BENCHMARK(XyzAndLab_Floor);

void XyzAndLab(benchmark::State& state) {
    const Scan lens = lens_401();
    const Scan& white = data::cie_illuminant_d65();
    const vekanalysis::Observer& observer = vekanalysis::observers::data::cie_1931_standard();
    for (auto _ : state) {
        benchmark::DoNotOptimize(colorimetry::CIE_tristimulus_values(lens, observer));
        benchmark::DoNotOptimize(colorimetry::CIELAB_tristimulus_values(lens, white, observer));
    }
}
BENCHMARK(XyzAndLab);

}  // namespace
