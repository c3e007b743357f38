#include "uncertainty/error_model.hpp"

#include <boost/random/chi_squared_distribution.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/normal_distribution.hpp>
#include <boost/random/uniform_01.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <stdexcept>
#include <utility>

namespace vekanalysis::uncertainty {

ErrorModel::ErrorModel(const Scan& scan) : scan_(scan), values_(scan.get_values()) {}

void ErrorModel::add(Component component, std::size_t rows) {
    if (component.sizes.size() != rows * size()) {
        throw std::invalid_argument("uncertainty::ErrorModel: wrong number of points");
    }
    if (!std::ranges::all_of(component.sizes, [](double x) { return std::isfinite(x); })) {
        throw std::invalid_argument("uncertainty::ErrorModel: not a finite number");
    }
    if (component.law.distribution == Distribution::T && !(component.law.dof > 0.0)) {
        throw std::invalid_argument("uncertainty::ErrorModel: degrees of freedom must be above 0");
    }
    components_.push_back(std::move(component));
}

void ErrorModel::ensure_shifts() {
    if (!shifted_) shifted_.emplace(scan_);
}

void ErrorModel::add_effects(std::span<const double> effects, Law law) {
    const std::size_t rows = size() == 0 ? 0 : effects.size() / size();
    add({Effect::EFFECTS, law, {effects.begin(), effects.end()}, {}}, rows);
}

void ErrorModel::add_independent(std::span<const double> sizes, Law law) {
    add({Effect::INDEPENDENT, law, {sizes.begin(), sizes.end()}, {}}, 1);
}

void ErrorModel::add_chain(std::span<const double> sizes, std::span<const double> correlations,
                           Law law) {
    if (correlations.size() + 1 != size()) {
        throw std::invalid_argument("uncertainty::ErrorModel: wrong number of points");
    }
    if (!std::ranges::all_of(correlations, [](double r) { return r >= 0.0 && r <= 1.0; })) {
        throw std::invalid_argument("uncertainty::ErrorModel: no correlation between 0 and 1");
    }
    add({Effect::CHAIN,
         law,
         {sizes.begin(), sizes.end()},
         {correlations.begin(), correlations.end()}},
        1);
}

void ErrorModel::add_shift(std::span<const double> shifts, Law law) {
    ensure_shifts();
    add({Effect::SHIFT, law, {shifts.begin(), shifts.end()}, {}}, 1);
}

void ErrorModel::add_jitter(std::span<const double> shifts, Law law) {
    ensure_shifts();
    add({Effect::JITTER, law, {shifts.begin(), shifts.end()}, {}}, 1);
}

void ErrorModel::add_figure(Law law) {
    add({Effect::FIGURE, law, {}, {}}, 0);
    ++figures_;
}

/// Standardised numbers of the distributions.
class ErrorModel::Draws::Generator {
public:
    Generator(std::uint64_t seed, std::uint32_t block) {
        std::seed_seq words{static_cast<std::uint32_t>(seed),
                            static_cast<std::uint32_t>(seed >> 32), block};
        engine_.seed(words);
    }

    /// Calls `use` with a source of the numbers of a component, for one trial.
    template <class Use>
    void with_numbers(Law law, const Use& use) {
        switch (law.distribution) {
            case Distribution::NORMAL:
                return use([this] { return normal_(engine_); });
            case Distribution::T: {
                boost::random::chi_squared_distribution<double> chi_squared(law.dof);
                const double scale = std::sqrt(law.dof / chi_squared(engine_));
                return use([this, scale] { return scale * normal_(engine_); });
            }
            case Distribution::RECTANGULAR:
                return use(
                    [this] { return std::numbers::sqrt3 * (2.0 * uniform_(engine_) - 1.0); });
            case Distribution::TRIANGULAR:
                return use([this] {
                    const double first = uniform_(engine_);
                    return std::sqrt(6.0) * (first + uniform_(engine_) - 1.0);
                });
            case Distribution::ARCSINE:
                return use([this] {
                    return std::numbers::sqrt2 * std::cos(std::numbers::pi * uniform_(engine_));
                });
        }
    }

private:
    boost::random::mt19937_64 engine_;
    boost::random::normal_distribution<double> normal_;
    boost::random::uniform_01<double> uniform_;
};

ErrorModel::Draws::Draws(const ErrorModel& model, std::uint64_t seed, std::uint32_t block)
    : model_(&model), generator_(std::make_unique<Generator>(seed, block)) {}

ErrorModel::Draws::~Draws() = default;
ErrorModel::Draws::Draws(Draws&&) noexcept = default;
ErrorModel::Draws& ErrorModel::Draws::operator=(Draws&&) noexcept = default;

void ErrorModel::Draws::operator()(std::size_t count, std::span<double> spectra,
                                   std::span<double> figures) {
    const std::size_t size = model_->size();
    const std::size_t numbers = model_->figures();
    if (spectra.size() != count * size || figures.size() != count * numbers) {
        throw std::invalid_argument("uncertainty::ErrorModel: wrong number of points");
    }
    for (std::size_t i = 0; i < count; ++i) {
        draw(spectra.subspan(i * size, size), figures.subspan(i * numbers, numbers));
    }
}

void ErrorModel::Draws::draw(std::span<double> spectrum, std::span<double> figures) {
    if (model_->shifted_) {
        draw_shifts(spectrum);
    } else {
        std::ranges::copy(model_->values_, spectrum.begin());
    }
    std::size_t figure = 0;
    for (const Component& component : model_->components_) {
        // Those were drawn above.
        if (component.effect == Effect::SHIFT || component.effect == Effect::JITTER) continue;
        generator_->with_numbers(component.law, [&](const auto& next) {
            if (component.effect == Effect::FIGURE) {
                figures[figure++] = next();
            } else {
                add(component, next, spectrum);
            }
        });
    }
}

/// The spectrum read at its shifted wavelengths.
void ErrorModel::Draws::draw_shifts(std::span<double> spectrum) {
    std::ranges::fill(spectrum, 0.0);
    for (const Component& component : model_->components_) {
        const std::vector<double>& sizes = component.sizes;
        if (component.effect != Effect::SHIFT && component.effect != Effect::JITTER) continue;
        generator_->with_numbers(component.law, [&](const auto& next) {
            const bool is_jitter = component.effect == Effect::JITTER;
            double number = next();
            for (std::size_t i = 0; i < spectrum.size(); ++i) {
                if (is_jitter && i > 0) number = next();
                spectrum[i] += number * sizes[i];
            }
        });
    }
    (*model_->shifted_)(spectrum, spectrum);
}

template <class Next>
void ErrorModel::Draws::add(const Component& component, const Next& next,
                            std::span<double> spectrum) {
    const auto& [effect, law, sizes, correlations] = component;
    if (effect == Effect::INDEPENDENT) {
        for (std::size_t i = 0; i < spectrum.size(); ++i) spectrum[i] += next() * sizes[i];
    } else if (effect == Effect::CHAIN) {
        double number = next();
        spectrum[0] += number * sizes[0];
        for (std::size_t i = 1; i < spectrum.size(); ++i) {
            const double r = correlations[i - 1];
            number = r * number + std::sqrt(1.0 - r * r) * next();
            spectrum[i] += number * sizes[i];
        }
    } else {
        for (std::size_t row = 0; row < sizes.size(); row += spectrum.size()) {
            const double number = next();
            for (std::size_t i = 0; i < spectrum.size(); ++i) {
                spectrum[i] += number * sizes[row + i];
            }
        }
    }
}

}  // namespace vekanalysis::uncertainty
