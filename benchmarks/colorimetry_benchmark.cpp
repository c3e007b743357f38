#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/observers.hpp"
#include "colorimetry/transmittance.hpp"
#include "colorimetry/tristimulus.hpp"
#include "core/scan.hpp"
#include "curves/curves.hpp"
#include "floor.hpp"
#include "monochromator/slit_function.hpp"

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
    lens.ensure_spline();
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

/// The plain loop of a generator: `value` at 10,000 wavelengths from `from` on, into two arrays.
template <class F>
void curve_floor(benchmark::State& state, double from, double step, const F& value) {
    for (auto _ : state) {
        std::vector<double> wavelengths(10000);
        std::vector<double> values(10000);
        for (std::size_t i = 0; i < 10000; ++i) {
            wavelengths[i] = from + static_cast<double>(i) * step;
            values[i] = value(wavelengths[i]);
        }
        benchmark::DoNotOptimize(wavelengths.data());
        benchmark::DoNotOptimize(values.data());
    }
}

void Longpass10000_Floor(benchmark::State& state) {
    curve_floor(state, 400.0, 0.02, [](double wl) {
        return 1.0 / (std::exp((wl - 500.0) * -5.88887795833 / 20.0) + 1.0);
    });
}
BENCHMARK(Longpass10000_Floor);

void Longpass10000(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            vekanalysis::curves::longpass_filter(500.0, 20.0, 400.0, 599.99, 0.02));
    }
}
BENCHMARK(Longpass10000);

void Shortpass10000(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            vekanalysis::curves::shortpass_filter(500.0, 20.0, 400.0, 599.99, 0.02));
    }
}
BENCHMARK(Shortpass10000);

void Lognormal10000_Floor(benchmark::State& state) {
    curve_floor(state, 400.0, 0.02, [](double wl) {
        const double distance = std::log(wl) - 6.31;
        return 0.03 / wl * std::exp(-530.0 * distance * distance) / 0.7;
    });
}
BENCHMARK(Lognormal10000_Floor);

void Lognormal10000(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(vekanalysis::curves::lognormal(550.0, 40.0, 400.0, 599.99, 0.02));
    }
}
BENCHMARK(Lognormal10000);

void UniformFibres10000_Floor(benchmark::State& state) {
    const double half_base = 20.0 / 0.80794550659902;
    for (auto _ : state) {
        std::vector<double> wavelengths(10000);
        std::vector<double> values(10000);
        for (std::size_t i = 0; i < 5000; ++i) {
            const double offset = half_base * (1.0 - static_cast<double>(2 * i) / 9999.0);
            const double x = offset / half_base;
            wavelengths[i] = 550.0 - offset;
            wavelengths[9999 - i] = 550.0 + offset;
            values[i] = values[9999 - i] = (std::acos(x) - x * std::sqrt(1.0 - x * x)) * 0.63662;
        }
        benchmark::DoNotOptimize(wavelengths.data());
        benchmark::DoNotOptimize(values.data());
    }
}
BENCHMARK(UniformFibres10000_Floor);

void UniformFibres10000(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            vekanalysis::monochromator::slit_function::uniform_fibres(550.0, 20.0, 10000));
    }
}
BENCHMARK(UniformFibres10000);

}  // namespace
