#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <iterator>
#include <new>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "chromaticity/chromaticity.hpp"
#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/observers.hpp"
#include "colorimetry/photometer.hpp"
#include "colorimetry/srgb.hpp"
#include "colorimetry/transmittance.hpp"
#include "colorimetry/tristimulus.hpp"
#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "curves/curves.hpp"
#include "faults/allocations.hpp"
#include "fitting/fit.hpp"
#include "fuzz/image_builder.hpp"
#include "io/csv.hpp"
#include "io/io.hpp"
#include "io/text_lines.hpp"
#include "lighting/alpha_opic.hpp"
#include "lighting/bands.hpp"
#include "lighting/chromaticity.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/correlated_colour_temperature.hpp"
#include "lighting/daylight.hpp"
#include "lighting/dominant_wavelength.hpp"
#include "lighting/hazards.hpp"
#include "lighting/illuminants.hpp"
#include "lighting/planckian.hpp"
#include "lighting/source_evaluator.hpp"
#include "monochromator/slit_function.hpp"
#include "physics/physics.hpp"
#include "quantities/evaluate.hpp"
#include "quantities/evaluator.hpp"
#include "radiometry/radiometry.hpp"
#include "sampled.hpp"
#include "uncertainty/error_model.hpp"
#include "utils/averaging.hpp"
#include "utils/element_wise.hpp"
#include "utils/peak_shapes.hpp"
#include "utils/peaks.hpp"
#include "utils/statistics.hpp"
#include "utils/stitching.hpp"

namespace vekanalysis {

namespace {

using namespace colorimetry;

const Scan& d65() {
    return data::cie_illuminant_d65();
}

/// What tells results and states apart.
using Numbers = std::vector<double>;

Numbers numbers(double value) {
    return {value};
}

Numbers numbers(const Numbers& values) {
    return values;
}

Numbers numbers(const Scan& scan) {
    Numbers result = scan.get_wavelengths();
    const auto values = scan.data().values();
    result.insert(result.end(), values.begin(), values.end());
    result.push_back(scan.get_wavelength_epsilon());
    result.push_back(static_cast<double>(scan.get_interpolation_type()));
    return result;
}

Numbers numbers(const std::string& text) {
    return {text.begin(), text.end()};
}

template <class T>
requires requires(const T& thing) {
    to_string(thing);
}
Numbers numbers(const T& thing) {
    return numbers(to_string(thing));
}

template <class... T>
requires(sizeof...(T) > 1) Numbers numbers(const T&... things) {
    Numbers result;
    for (const Numbers& part : {numbers(things)...}) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

Numbers numbers(const io::VekFile& file) {
    Numbers result = numbers(file.meta.x_type);
    for (const auto& set : file.data_sets) {
        for (const double number : numbers(set.data, set.name)) result.push_back(number);
    }
    return result;
}

/// A lamp of 2900 K with two lines.
double lamp_value(double wl) {
    return planks_law_sr_nm(2900.0, wl) / planks_law_sr_nm(2900.0, 600.0) +
           0.3 * std::exp(-0.5 * std::pow((wl - 545.0) / 6.0, 2)) +
           0.2 * std::exp(-0.5 * std::pow((wl - 610.0) / 4.0, 2));
}

std::string text_of(const Scan& scan) {
    std::ostringstream text;
    for (const auto [wl, value] : scan) text << wl << ';' << value << '\n';
    // Numbers that the C++ library does not convert by itself.
    text << "900;1e-400\n901;+2e0\n";
    return text.str();
}

/// What the calls work on. Copies share nothing.
struct World {
    Scan lamp = sampled(lamp_value, 300.0, 830.0, 1.0);
    Scan lens = sampled([](double wl) { return 0.9 / (1.0 + std::exp((400.0 - wl) / 12.0)); },
                        280.0, 800.0, 5.0);
    Scan red = sampled([](double wl) { return 0.5 * lamp_value(wl); }, 750.0, 1100.0, 2.0);
    Scan blue = sampled(lamp_value, 300.0, 830.0, 2.0);
    Scan radiance =
        sampled([](double wl) { return 1e-3 * planks_law_sr(2900.0, wl); }, 400e-9, 2500e-9, 50e-9);
    Scan steps = sampled([](double step) { return 1e-3 * step + 200.0; }, 0.0, 1e6, 5e4);
    Scan cosine = sampled([](double angle) { return std::cos(angle); }, -1.4, 1.4, 0.05);
    /// For calls that allocate once for each point or more.
    Scan coarse = sampled(lamp_value, 300.0, 800.0, 25.0);
    Scan coarse_lens =
        sampled([](double wl) { return wl < 400.0 ? 0.0 : 0.7; }, 310.0, 790.0, 40.0);
    Scan band = curves::lognormal(545.0, 30.0, 400.0, 700.0, 1.0);
    Scan empty;
    std::vector<double> unordered{500.0, 400.0, 450.0, 400.0, 420.0, 410.0};
    std::vector<unsigned char> measurement = image::vekfile(
        {.data_sets = {{"\xFC", {500.0, 400.0, 450.0}, {0.5, 0.25, NAN}}, {"B", {}, {}}}});
    std::string text = text_of(lens);
    std::array<double, 2> black_body{};
    std::array<double, 4> turret{200.0, 5.0, 0.1, 1e6};
    FitWavelengthParams grating{833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 0.0, 0.4};

    /// All that a call may change.
    [[nodiscard]] Numbers state() const {
        return numbers(lamp, lens, red, blue, empty, coarse, coarse_lens,
                       Numbers(turret.begin(), turret.end()), grating);
    }
};

struct Call {
    const char* name;
    /// Gives what tells the result from others, but for calls whose work is a change of the world.
    Numbers (*run)(World& world);
};

const std::string corpus = VEKANALYSIS_FUZZ_CORPUS;

std::vector<std::reference_wrapper<const quantities::Quantity>> all(
    std::span<const quantities::Quantity> quantities) {
    return {quantities.begin(), quantities.end()};
}

Numbers numbers(const std::vector<quantities::Value>& values) {
    Numbers result;
    for (const auto& value : values) {
        result.push_back(value.value.value_or(-1.0));
        result.push_back(static_cast<double>(value.problem.size()));
    }
    return result;
}

Numbers evaluated(const Scan& scan, std::span<const quantities::Quantity> quantities) {
    const quantities::Evaluator evaluator(scan.data().keys(), quantities,
                                          scan.get_wavelength_epsilon(),
                                          scan.get_interpolation_type(), d65());
    Numbers results(quantities.size());
    evaluator.evaluate(scan.data().values(), results);
    Numbers sensitivities(quantities.size() * scan.size());
    evaluator.sensitivities(scan.data().values(), sensitivities);
    EXPECT_EQ(evaluator.changed_table(), nullptr);
    return numbers(results, sensitivities);
}

/// The scan with its spline built, to be changed.
Scan& splined(Scan& scan) {
    scan.ensure_spline();
    return scan;
}

/// Gives what tells the results from others.
#define GIVES(name, ...) #name, []([[maybe_unused]] World & w) { return numbers(__VA_ARGS__); }
/// Gives nothing, since a copy of the result would need memory after the change.
#define CHANGES(name, ...) GIVES(name, (static_cast<void>(__VA_ARGS__), Numbers()))

const Call calls[]{
    {GIVES(Scan_of_arrays, Scan(w.unordered, w.unordered), Scan(w.unordered, w.unordered, 15.0))},
    {GIVES(Scan_of_points, Scan({{1.0, 2.0}, {0.5, 3.0}}), Scan(w.lamp))},
    {CHANGES(Scan_assigned, splined(w.lamp) = w.lens)},
    {CHANGES(Scan_insert, splined(w.lamp)[310.5] = 1.0)},
    {CHANGES(Scan_set_epsilon, splined(w.lamp).set_wavelength_epsilon(2.5))},
    {CHANGES(Scan_times_number, splined(w.lamp) *= 2.0)},
    {CHANGES(Scan_times_scan, splined(w.lamp) *= w.lens)},
    {CHANGES(Scan_plus_scan, w.empty += w.lens)},
    {CHANGES(Scan_minus_scan, w.empty -= w.lens)},
    {CHANGES(Scan_trim, splined(w.lamp).trim(w.red))},
    {CHANGES(Scan_add_keys, splined(w.lens).add_keys(w.coarse))},
    {CHANGES(Scan_for_each, splined(w.lens).for_each([](auto& p) { p.second = 1.0; }))},
    {"Scan_evaluated",
     [](World& w) {
         Numbers values(w.unordered.size());
         w.lens.evaluate(w.unordered, values);
         return numbers(w.lens(402.5), w.lens.integral(), w.lens.deriv(402.5), values,
                        w.lens.as_vectors().at(1));
     }},
    {"Scan_cubic",
     [](World& w) {
         Scan cubic = w.lens;
         cubic.set_interpolation_type(spline::Type::CUBIC);
         return numbers(cubic(402.5), cubic(400.0, 500.0));
     }},
    {"Scan_polynomial",
     [](World& w) {
         const Scan polynomial(w.unordered, w.unordered, 1e-20, spline::Type::POLYNOMIAL);
         return numbers(polynomial(402.5), polynomial.integral());
     }},
    {GIVES(Scan_arithmetic, w.lamp + w.lens, w.lamp - w.red, w.lamp * 2.0, 1.0 / w.lens, -w.lamp)},
    {GIVES(key_sets, utils::key_union(w.lamp, w.lens), utils::key_intersection(w.lamp, w.lens))},
    {GIVES(element_wise, utils::abs(std::as_const(w.lamp)), utils::log(w.lamp),
           utils::pow(w.lens, w.lamp), utils::uniform_wavelength_range(w.lens, 380.0, 780.0, 2.5))},
    {CHANGES(abs_in_place, utils::abs(w.lamp))},
    {CHANGES(normalize_keys, utils::normalize_keys(&w.coarse, &w.coarse_lens))},
    {"averaging",
     [](World& w) {
         const std::array<const Scan*, 2> scans{&w.lamp, &w.blue};
         const utils::ScanMean mean = utils::mean(scans);
         return numbers(mean.scan, mean.standard_deviation, utils::sum(scans));
     }},
    {GIVES(statistics, utils::get_statistics(w.lamp))},
    {GIVES(find_peaks, utils::find_peaks(w.lamp), utils::find_troughs(w.lamp))},
    {CHANGES(add_turning_points, utils::add_turning_points(&splined(w.lamp)))},
    {CHANGES(find_peaks_into, utils::find_peaks(w.lamp, &w.blue))},
    {CHANGES(resampled_into, utils::uniform_wavelength_range(w.lamp, 400.5, 500.0, 1.0, &w.blue))},
    {GIVES(peaks, static_cast<double>(utils::peaks(w.lamp).size()))},
    {"peak_search",
     [](World& w) {
         double x = 0.0;
         double width = 0.0;
         EXPECT_TRUE(utils::find_peak(w.lamp, 530.0, 560.0, &x));
         EXPECT_TRUE(utils::peak_width(w.band, 0.5, &width));
         double key = 0.0;
         EXPECT_TRUE(utils::find_key(w.lens, 300.0, 700.0, 0.5, &key));
         return numbers(x, width, key);
     }},
    {GIVES(find_crossing, utils::find_crossing(w.lens, 0.5 + 0.0 * w.lens, 300.0, 700.0))},
    {GIVES(stitch_scans, utils::stitch_scans(w.blue, w.red, 770.0, 820.0, 0.1).stitch_scan)},
    {GIVES(colorimetry, CIE_tristimulus_values(w.lens, observers::data::cie_1931_standard()),
           CIELAB_tristimulus_values(w.lens, d65(), observers::data::cie_1964_standard()),
           sRGB_values(w.lens, d65(), observers::data::cie_1931_standard()))},
    {GIVES(transmittance, ISO8980_3_tau_v(w.lens), ISO8980_3_tau_uva(w.lens),
           ISO8980_3_tau_suvb(w.lens), ISO8980_3_tau_signal_led(w.lens),
           ANSI_Z80_3_tau_signal(w.lens), ANSI_Z80_3_tau_spectral_min(w.lens),
           ISO12311_tau_sb(w.lens))},
    {GIVES(photometer, f1_prime(w.lens), f2(w.cosine, w.cosine))},
    {GIVES(chromaticity, chromaticity::CIE_1931_chromaticity(w.lens),
           chromaticity::ANSI_Z80_3_green_chromaticity(w.lens))},
    {GIVES(curves, curves::shortpass_filter(500.0, 10.0, 400.0, 600.0, 1.0),
           curves::lognormal(500.0, 20.0, 400.0, 600.0, 1.0),
           monochromator::slit_function::uniform_fibres(500.0, 5.0, 20))},
    {GIVES(radiometry, radiometry::illuminance(w.lamp))},
    {GIVES(reference_lamps, lighting::planckian(2856.0), lighting::daylight(6504.0),
           lighting::reference("FL2"), lighting::references().at(0))},
    {GIVES(colour_temperature, lighting::correlated_colour_temperature(w.lamp, 1))},
    {GIVES(source_chromaticity, lighting::chromaticity(w.lamp))},
    {GIVES(dominant_wavelength, lighting::dominant_wavelength({0.3, 0.5}, {0.3333, 0.3333}))},
    {GIVES(colour_rendering, lighting::colour_rendering(w.lamp))},
    {GIVES(colour_fidelity, lighting::colour_fidelity(w.lamp))},
    {GIVES(alpha_opic, lighting::alpha_opic(w.lamp), lighting::scotopic_photopic_ratio(w.lamp))},
    {GIVES(hazards, lighting::hazard_weighted(w.lamp))},
    {GIVES(bands, lighting::band_total(w.lamp, 400.5, 700.0),
           lighting::photon_flux(w.lamp, 400.0, 700.0), lighting::centroid_wavelength(w.lamp),
           lighting::bandwidth(w.band))},
    {"SourceEvaluator",
     [](World& w) {
         const auto& keys = lighting::SourceEvaluator::keys();
         const lighting::SourceEvaluator evaluator(w.lamp.data().keys(), keys);
         lighting::SourceEvaluator::Scratch scratch;
         Numbers results(keys.size());
         evaluator(w.lamp.data().values(), results, &scratch);
         return results;
     }},
    {GIVES(evaluate_lens, quantities::evaluate(w.lens, all(quantities::lens()), d65(), true))},
    {"evaluate_light",
     [](World& w) {
         // Each function has its own call above.
         auto light = quantities::light("D65");
         light.resize(9);
         return numbers(quantities::evaluate(w.lamp, all(light), d65(), false));
     }},
    {"Evaluator_of_lenses", [](World& w) { return evaluated(w.coarse_lens, quantities::lens()); }},
    {"Evaluator_of_functions",
     [](World& w) {
         // What has no weights, or a light's.
         std::vector<quantities::Quantity> some(quantities::photometer().begin(),
                                                quantities::photometer().end());
         some.push_back(quantities::find("correlated_colour_temperature.cct"));
         some.push_back(quantities::find("alpha_opic.melanopic.edi"));
         const quantities::Evaluator evaluator(w.blue.data().keys(), some, 1e-20,
                                               spline::Type::AKIMA, d65());
         Numbers results(some.size());
         evaluator.evaluate(w.blue.data().values(), results);
         return results;
     }},
    {"ErrorModel",
     [](World& w) {
         using namespace uncertainty;
         ErrorModel model(w.lens);
         const Numbers sizes(w.lens.size(), 0.01);
         const Numbers correlations(w.lens.size() - 1, 0.5);
         model.add_effects(sizes, {});
         model.add_chain(sizes, correlations, {});
         model.add_shift(sizes, {});
         model.add_jitter(sizes, {Distribution::T, 5.0});
         ErrorModel::Draws draws(model, 1, 0);
         Numbers drawn(2 * sizes.size());
         draws(2, drawn, {});
         return drawn;
     }},
    {"fit_black_body",
     [](World& w) {
         EXPECT_TRUE(fitting::fit_black_body(w.radiance, w.black_body));
         return Numbers(w.black_body.begin(), w.black_body.end());
     }},
    {"fit_turret",
     [](World& w) {
         EXPECT_TRUE(fitting::fit_turret(w.steps, w.turret));
         return Numbers();
     }},
    {"fit_wavelength",
     [](World& w) {
         FitWavelengthParamsFree free;
         free.theta_z = true;
         free.alpha = true;
         EXPECT_TRUE(fitting::fit_wavelength_from_phases(w.steps, w.grating, free, 2));
         return Numbers();
     }},
    {"overlay_scan",
     [](World& w) {
         double k = 0.0;
         double c = 0.0;
         fitting::overlay_scan(w.lamp, w.lens, &k, &c);
         return numbers(k, c, fitting::wavelength_residuals(w.steps, w.grating).values);
     }},
    {GIVES(load_vekfile, io::load_vekfile(w.measurement))},
    {GIVES(load_vek_scan_data, io::load_vek_scan_data(corpus + "/container/mini").begin()->second)},
    {GIVES(vekfile_to_json, io::vekfile_to_json(w.measurement, 2, true))},
    {GIVES(parse_csv, io::parse_csv(w.text))},
    {GIVES(load_csv, io::load_csv(corpus + "/csv/edges"))},
    {"TextLines",
     [](World& w) {
         const io::TextLines lines(w.text);
         const io::TextLines::Selection selected(lines.shapes().size(), true);
         const auto columns = lines.columns(selected, {.delimiter = ";"}, {0, 1});
         const auto pairs = io::read_pairs(w.text);
         return numbers(columns.column(0), columns.points(0, 1).second,
                        static_cast<double>(pairs.has_value()));
     }},
    {GIVES(to_text, to_string(w.grating), to_string(FitWavelengthParamsFree()))},
};
#undef GIVES
#undef CHANGES

/// A number that tells results, with what the call left of the world, apart (FNV-1a).
std::uint64_t digest(const Numbers& result, const World& world) {
    std::uint64_t hash = 14695981039346656037U;
    for (const double number : numbers(result, world.state())) {
        hash = (hash ^ std::bit_cast<std::uint64_t>(number)) * 1099511628211U;
    }
    return hash;
}

/// Makes the call while the allocation of this number fails, and then once more with all memory.
///
/// @param expected  what it gives and leaves
/// @return whether an allocation failed
bool fails_cleanly(const Call& call, const World& world, std::size_t failing, bool and_rest,
                   std::uint64_t expected) {
    World own = world;
    bool succeeded = false;
    Numbers result;
    std::string told;
    try {
        const faults::Allocations allocations(failing, and_rest);
        result = call.run(own);
        succeeded = true;
    } catch (const std::bad_alloc&) {
    } catch (const std::exception& error) {
        told = error.what();
    }
    EXPECT_EQ(told, "") << "allocation " << failing;
    if (!succeeded) {
        EXPECT_EQ(own.state(), world.state()) << "changed, allocation " << failing;
        result = call.run(own);
    }
    EXPECT_EQ(digest(result, own), expected) << "allocation " << failing;
    return faults::Allocations::have_failed();
}

/// Runs `work` in a process of its own, in which no table has been built yet.
///
/// @return its exit status, or that of a failure where it was ended
int status_apart(const std::function<bool()>& work) {
    constexpr int failure = 2;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        int answer = failure;
        try {
            answer = static_cast<int>(work());
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? failure : answer);
    }
    int status = 0;
    const bool ended = waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : failure;
}

class OutOfMemory : public testing::TestWithParam<std::size_t> {};

// First with all that is made on first use yet to be made, then with all of it there.
TEST_P(OutOfMemory, IsAllThatAFailedAllocationTells) {
    const Call& call = calls[GetParam()];
    const World world;
    auto* const expected = static_cast<std::uint64_t*>(mmap(
        nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(expected, MAP_FAILED);
    ASSERT_EQ(status_apart([&] {
                  World own = world;
                  *expected = digest(call.run(own), own);
                  return false;
              }),
              0);

    int status = 1;
    std::size_t failing = 0;
    while (status == 1) {
        ++failing;
        status =
            status_apart([&] { return fails_cleanly(call, world, failing, false, *expected); });
    }
    EXPECT_EQ(status, 0) << "allocation " << failing << " of the first call";
    EXPECT_GT(failing, 1U) << "no allocation was seen";

    EXPECT_EQ(status_apart([&] {
                  fails_cleanly(call, world, 0, false, *expected);
                  for (const bool and_rest : {false, true}) {
                      bool failed = true;
                      for (std::size_t k = 1; failed && !HasFailure(); ++k) {
                          const auto before = faults::live_allocations();
                          failed = fails_cleanly(call, world, k, and_rest, *expected);
                          EXPECT_EQ(faults::live_allocations(), before) << "allocation " << k;
                      }
                  }
                  return false;
              }),
              0);
    munmap(expected, sizeof(std::uint64_t));
}

INSTANTIATE_TEST_SUITE_P(Calls, OutOfMemory, testing::Range<std::size_t>(0, std::size(calls)),
                         [](const auto& tested) { return calls[tested.param].name; });

}  // namespace

}  // namespace vekanalysis
