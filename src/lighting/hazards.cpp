#include "lighting/hazards.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/text.hpp"
#include "lighting/data/tables.hpp"

namespace vekanalysis::lighting {

using vekanalysis::internal::general;

namespace {

/// More than noise of 1 % or the rule of summing changes.
constexpr double max_miss = 0.01;

/// A weighting function in steps of 1 nm.
struct Weights {
    double from;
    std::vector<double> values;

    [[nodiscard]] double wl(std::size_t i) const noexcept { return from + static_cast<double>(i); }
    [[nodiscard]] double to() const noexcept { return wl(values.size() - 1); }
};

/// Appends the values from a point (exclusive) to the next (inclusive).
void extend(Weights& weights, double wl, double value, double before_wl, double before) {
    const auto steps = static_cast<std::size_t>(std::lround(wl - before_wl));
    for (std::size_t i = 1; i < steps; ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(steps);
        weights.values.push_back(before * std::pow(value / before, t));
    }
    weights.values.push_back(value);
}

Weights weights_of(const data::Table& table, std::size_t column) {
    Weights weights{table.first, {table(0, column)}};
    for (std::size_t i = 1; i < table.rows(); ++i) {
        extend(weights, table.wl(i), table(i, column), table.wl(i - 1), table(i - 1, column));
    }
    return weights;
}

Weights weights_of(const data::PairTable& table) {
    const auto& f = table.figures;
    Weights weights{f[0], {f[1]}};
    for (std::size_t i = 2; i < f.size(); i += 2) {
        extend(weights, f[i], f[i + 1], f[i - 2], f[i - 1]);
    }
    return weights;
}

const Weights& actinic() {
    static const Weights weights = weights_of(data::actinic_ultraviolet_weights());
    return weights;
}
const Weights& uv_a() {
    static const Weights weights{315.0, std::vector<double>(86, 1.0)};
    return weights;
}
const Weights& blue_light(HazardEdition edition) {
    static const std::array<Weights, 2> weights{weights_of(data::blue_light_hazard_weights(), 0),
                                                weights_of(data::blue_light_hazard_weights(), 1)};
    return weights[edition == HazardEdition::ICNIRP_2013 ? 1 : 0];
}
const Weights& retinal_thermal(HazardEdition edition) {
    static const std::array<Weights, 2> weights{weights_of(data::retinal_thermal_weights(), 0),
                                                weights_of(data::retinal_thermal_weights(), 1)};
    return weights[edition == HazardEdition::ICNIRP_2013 ? 1 : 0];
}

/// Why the sum cannot be had; empty where it can.
std::string obstacle(const Scan& scan, const Weights& weights) {
    if (scan.empty()) return "the spectrum has no points";
    if (!(scan.min_wavelength() <= weights.from && weights.to() <= scan.max_wavelength())) {
        return "the spectrum covers " + general(scan.min_wavelength()) + " to " +
               general(scan.max_wavelength()) + " nm, not " + general(weights.from) + " to " +
               general(weights.to()) + " nm";
    }
    for (const auto [wl, value] : scan) {
        if (wl >= weights.from && wl <= weights.to() && !std::isfinite(value)) {
            return "the value at " + general(wl) + " nm is not finite";
        }
    }
    return {};
}

double weighted_sum(const Scan& scan, const Weights& weights) {
    ScanCursor at(scan);
    const std::size_t last = weights.values.size() - 1;
    double sum = 0.0;
    for (std::size_t i = 0; i <= last; ++i) {
        const double share = i == 0 || i == last ? 0.5 : 1.0;
        sum += share * weights.values[i] * at(weights.wl(i));
    }
    return sum;
}

/// Wavelengths of the scan in the range of the weights, where some lie closer than theirs.
std::vector<double> finer_points(const Scan& scan, const Weights& weights) {
    constexpr double fine = 0.7;  // nm
    std::vector<double> points;
    bool is_fine = false;
    for (const double wl : scan.data().keys()) {
        if (wl < weights.from || wl > weights.to()) continue;
        is_fine = is_fine || (!points.empty() && wl - points.back() < fine);
        points.push_back(wl);
    }
    if (!is_fine) points.clear();
    return points;
}

/// By how much of itself the sum in steps of 1 nm misses that over the points of the scan, too.
double miss(const Scan& scan, const Weights& weights, double sum) {
    std::vector<double> points = finer_points(scan, weights);
    if (points.empty()) return 0.0;
    for (std::size_t i = 0; i < weights.values.size(); ++i) points.push_back(weights.wl(i));
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    ScanCursor at(scan);
    double own = 0.0;
    double magnitude = 0.0;
    double before = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double place = points[i] - weights.from;
        const auto left = std::min(static_cast<std::size_t>(place), weights.values.size() - 2);
        const double t = place - static_cast<double>(left);
        const double weight =
            weights.values[left] + t * (weights.values[left + 1] - weights.values[left]);
        const double product = weight * at(points[i]);
        if (i > 0) {
            const double half = 0.5 * (points[i] - points[i - 1]);
            own += half * (before + product);
            magnitude += half * (std::abs(before) + std::abs(product));
        }
        before = product;
    }
    return magnitude > 0.0 ? std::abs(sum - own) / magnitude : 0.0;
}

}  // namespace

std::string to_string(const HazardWeighted& weighted) {
    const auto text = [](const std::optional<double>& value) {
        return value ? general(*value) : std::string("absent");
    };
    return "actinic_uv:" + text(weighted.actinic_uv) + " uv_a:" + text(weighted.uv_a) +
           " blue_light:" + text(weighted.blue_light) +
           " retinal_thermal:" + text(weighted.retinal_thermal);
}

HazardWeighted hazard_weighted(const Scan& scan, HazardEdition edition) {
    HazardWeighted result;
    const auto weigh = [&](const char* name, const Weights& weights, std::optional<double>* value) {
        std::string reason = obstacle(scan, weights);
        double sum = 0.0;
        if (reason.empty()) {
            sum = weighted_sum(scan, weights);
            const double missed = miss(scan, weights, sum);
            if (!(missed < max_miss)) {
                reason =
                    "the spectrum has structure finer than 1 nm: the sum in that step misses " +
                    general(100.0 * missed) + " % of it; average it over 1 nm";
            }
        }
        if (reason.empty()) {
            *value = sum;
        } else {
            result.absent.emplace(name, std::move(reason));
        }
    };
    weigh("actinic_uv", actinic(), &result.actinic_uv);
    weigh("uv_a", uv_a(), &result.uv_a);
    weigh("blue_light", blue_light(edition), &result.blue_light);
    weigh("retinal_thermal", retinal_thermal(edition), &result.retinal_thermal);
    return result;
}

}  // namespace vekanalysis::lighting
