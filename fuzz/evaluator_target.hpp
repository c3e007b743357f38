#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <span>
#include <vector>

#include "colorimetry/data/reference_spectra.hpp"
#include "quantities/evaluate.hpp"
#include "quantities/evaluator.hpp"

namespace fuzz {

/// A grid, spectra on it and a choice of quantities, made of bytes: whatever they are it is a case
/// that the Evaluator promises to compute as the functions do.
class EvaluatorCase {
public:
    explicit EvaluatorCase(std::span<const unsigned char> bytes) : bytes_(bytes) {
        using vekanalysis::spline::Type;
        constexpr std::array types{Type::AKIMA, Type::AKIMA,      Type::LINEAR,
                                   Type::CUBIC, Type::POLYNOMIAL, Type::NONE};
        type = types[next() % types.size()];
        epsilon = next() % 8 == 0 ? 0.2 : 1e-20;
        choose();
        const std::size_t count = type == Type::POLYNOMIAL ? next() % 9 : 2 * next();
        constexpr std::array steps{0.5, 1.0, 1.0, 2.0, 5.0, 10.0, 20.0, 1.0 / 3.0, 0.7, 0.0, 0.0};
        const double step = steps[next() % steps.size()];
        const double start = 250.0 + next() + next() % 5 * 0.25;
        double wl = start;
        for (std::size_t i = 0; i < count; ++i) {
            wavelengths.push_back(wl);
            wl =
                step == 0.0 ? wl + 0.25 + next() / 16.0 : start + static_cast<double>(i + 1) * step;
        }
        for (std::size_t i = 0; i < 3 * count; ++i) values.push_back(next_value());
    }

    vekanalysis::spline::Type type;
    double epsilon;
    /// The last is L*.
    std::vector<vekanalysis::quantities::Quantity> chosen;
    std::vector<double> wavelengths;
    /// Three spectra, one after the other.
    std::vector<double> values;

private:
    void choose() {
        using namespace vekanalysis::quantities;
        static const std::vector<Quantity> all = [] {
            std::vector<Quantity> result(lens().begin(), lens().end());
            for (const Quantity& quantity : derived()) result.push_back(quantity);
            for (const Quantity& quantity : light("A")) result.push_back(quantity);
            result.insert(result.end(), photometer().begin(), photometer().end());
            return result;
        }();
        for (int i = 0; i < 4; ++i) chosen.push_back(all[next() % all.size()]);
        chosen.push_back(
            *std::ranges::find(lens(), "CIELAB_tristimulus_values.L_star", &Quantity::key));
    }

    /// The bytes over and over, so that a short input makes a long spectrum.
    unsigned next() {
        if (bytes_.empty()) return 0;
        return bytes_[place_++ % bytes_.size()];
    }

    /// From zero to one, in runs and with kinks where bytes repeat.
    double next_value() { return next() / 255.0; }

    std::span<const unsigned char> bytes_;
    std::size_t place_ = 0;
};

/// The Evaluator gives what the functions give one by one, to 1e-12 of the larger of one and the
/// result, and nothing finite where they refuse. Far below black, where splines can swing, a* and
/// b* are small differences of numbers as large as L*.
inline void evaluator(std::span<const unsigned char> input) {
    using namespace vekanalysis::quantities;
    using vekanalysis::Scan;
    const EvaluatorCase given(input);
    const Scan& white = vekanalysis::colorimetry::data::cie_illuminant_a();
    const Evaluator prepared(given.wavelengths, given.chosen, given.epsilon, given.type, white);
    const std::size_t n = given.wavelengths.size();
    const std::size_t q = given.chosen.size();
    const std::size_t rows = n == 0 ? 0 : given.values.size() / n;
    std::vector<double> results(rows * q);
    prepared.evaluate(given.values, results);
    const std::vector<std::reference_wrapper<const Quantity>> references(given.chosen.begin(),
                                                                         given.chosen.end());
    for (std::size_t i = 0; i < rows; ++i) {
        const auto values = std::span(given.values).subspan(i * n, n);
        const Scan scan(std::span(given.wavelengths), values, given.epsilon, given.type);
        const auto expected = evaluate(scan, references, white, false);
        for (std::size_t k = 0; k < q; ++k) {
            const double result = results[i * q + k];
            if (!expected[k].value) {
                if (std::isfinite(result)) std::abort();
                continue;
            }
            double scale = std::max(1.0, std::abs(*expected[k].value));
            if (given.chosen[k].key.starts_with("CIELAB")) {
                scale = std::max(scale, -expected.back().value.value_or(0.0));
            }
            if (!(std::abs(result - *expected[k].value) <= 1e-12 * scale)) std::abort();
        }
    }
}

}  // namespace fuzz
