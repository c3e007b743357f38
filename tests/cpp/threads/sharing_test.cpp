#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <cmath>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "colorimetry/transmittance.hpp"
#include "core/scan.hpp"
#include "core/scan_arithmetic.hpp"
#include "fitting/fit.hpp"
#include "fuzz/image_builder.hpp"
#include "io/csv.hpp"
#include "io/io.hpp"
#include "lighting/colour_fidelity.hpp"
#include "lighting/colour_rendering.hpp"
#include "lighting/hazards.hpp"
#include "lighting/illuminants.hpp"
#include "lighting/source_evaluator.hpp"
#include "quantities/evaluate.hpp"
#include "quantities/evaluator.hpp"
#include "uncertainty/error_model.hpp"
#include "utils/averaging.hpp"
#include "utils/peak_shapes.hpp"

namespace vekanalysis {

namespace {

using Numbers = std::vector<double>;

constexpr std::size_t thread_count = 6;

/// What `work` gives in several threads that begin at once, each in the place of its thread.
std::array<Numbers, thread_count> at_once(const std::function<Numbers(std::size_t)>& work) {
    std::array<Numbers, thread_count> results;
    std::barrier start(static_cast<std::ptrdiff_t>(thread_count));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < thread_count; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            results[i] = work(i);
        });
    }
    for (std::thread& thread : threads) thread.join();
    return results;
}

/// All threads give what one gives afterwards.
void expect_as_alone(const std::function<Numbers(std::size_t)>& work) {
    const auto results = at_once(work);
    for (std::size_t i = 0; i < thread_count; ++i) {
        const Numbers alone = work(i);
        ASSERT_FALSE(alone.empty());
        ASSERT_EQ(results[i].size(), alone.size());
        for (std::size_t k = 0; k < alone.size(); ++k) {
            EXPECT_TRUE(results[i][k] == alone[k] ||
                        (std::isnan(results[i][k]) && std::isnan(alone[k])))
                << "thread " << i << ", number " << k;
        }
    }
}

Scan lens(std::size_t number) {
    Numbers wavelengths;
    Numbers values;
    for (int i = 0; i <= 100; ++i) {
        wavelengths.push_back(300.0 + 5.0 * i);
        values.push_back(0.1 + 0.8 / (1.0 + std::exp((400.0 + 9.0 * static_cast<double>(number) -
                                                      wavelengths.back()) /
                                                     20.0)));
    }
    return {wavelengths, values};
}

// First of all, so that the threads build the tables.
TEST(Threads, BuildAndReadTheReferencesAtOnce) {
    expect_as_alone([](std::size_t number) {
        Numbers results;
        for (const auto& table : colorimetry::data::tables()) {
            const Scan& reference = table.spectrum();
            results.push_back(reference(reference.min_wavelength() + 0.3));
            results.push_back((reference * lens(number)).integral());
        }
        const Scan source = lighting::reference("FL2") + 0.1 * lens(number);
        results.push_back(lighting::colour_rendering(source).Ra);
        results.push_back(lighting::colour_fidelity(source).Rf);
        const auto hazards = lighting::hazard_weighted(source);
        results.push_back(static_cast<double>(to_string(hazards).size()));
        for (const auto& value :
             quantities::evaluate(lens(number),
                                  std::vector<std::reference_wrapper<const quantities::Quantity>>(
                                      quantities::lens().begin(), quantities::lens().end()),
                                  Scan(), true)) {
            results.push_back(value.value.value_or(-1.0));
        }
        return results;
    });
}

TEST(Threads, WorkOnScansOfTheirOwn) {
    expect_as_alone([](std::size_t number) {
        Scan own = lens(number) * lens(number + 1);
        own[333.0] = own(333.0);
        own.set_interpolation_type(spline::Type::CUBIC);
        const std::array<const Scan*, 2> both{&own, &own};
        Numbers results = utils::mean(both).scan.get_values();
        results.push_back(own.integral());
        results.push_back(static_cast<double>(utils::peaks(own).size()));
        std::array<double, 2> body{};
        results.push_back(fitting::fit_black_body(lighting::reference("D50"), body) ? body[1] : 0);
        results.push_back(static_cast<double>(io::parse_csv("400,1e-400 401,2").size()));
        return results;
    });
}

TEST(Threads, ReadOneScanWhoseSplineIsBuilt) {
    for (const auto type : {spline::Type::AKIMA, spline::Type::CUBIC, spline::Type::LINEAR}) {
        Scan shared = lens(0);
        shared.set_interpolation_type(type);
        shared.ensure_spline();
        expect_as_alone([&](std::size_t number) {
            const Scan copy = shared;
            Numbers at{300.5 + static_cast<double>(number), 455.2, 799.0};
            shared.evaluate(at, at);
            at.push_back(shared(401.5));
            at.push_back(shared.integral());
            at.push_back(shared.deriv(402.0));
            at.push_back((shared * lens(number)).integral());
            at.push_back(colorimetry::ISO8980_3_tau_v(shared));
            at.push_back(copy(403.5));
            return at;
        });
    }
}

TEST(Threads, ReadOneImage) {
    const auto image = image::vekfile({.data_sets = {{"a", {400.0, 410.0}, {0.5, 0.25}}}});
    expect_as_alone([&](std::size_t) {
        const std::string json = io::vekfile_to_json(image, 2, true);
        Numbers results = io::load_vekfile(image).data_sets.at(0).data.get_values();
        results.insert(results.end(), json.begin(), json.end());
        return results;
    });
}

TEST(Threads, ShareWhatEvaluatesManySpectra) {
    const Scan first = lens(0);
    const quantities::Evaluator evaluator(first.data().keys(), quantities::lens(), 1e-20,
                                          spline::Type::AKIMA, Scan());
    ASSERT_FALSE(evaluator.needs_functions());
    const auto& keys = lighting::SourceEvaluator::keys();
    const lighting::SourceEvaluator sources(first.data().keys(), keys);
    uncertainty::ErrorModel model(first);
    model.add_shift(Numbers(first.size(), 0.5), {});
    model.add_independent(Numbers(first.size(), 0.01), {});
    expect_as_alone([&](std::size_t number) {
        const Scan own = lens(number);
        const auto values = own.data().values();
        Numbers results(quantities::lens().size());
        evaluator.evaluate(values, results);
        Numbers sensitivities(results.size() * own.size());
        evaluator.sensitivities(values, sensitivities);
        results.insert(results.end(), sensitivities.begin(), sensitivities.end());
        Numbers of_light(keys.size());
        lighting::SourceEvaluator::Scratch scratch;
        sources(values, of_light, &scratch);
        results.insert(results.end(), of_light.begin(), of_light.end());
        uncertainty::ErrorModel::Draws draws(model, 7, static_cast<std::uint32_t>(number));
        Numbers drawn(own.size());
        draws(1, drawn, {});
        results.insert(results.end(), drawn.begin(), drawn.end());
        return results;
    });
}

}  // namespace

}  // namespace vekanalysis
