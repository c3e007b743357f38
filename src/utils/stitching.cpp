#include "utils/stitching.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/float_comparator.hpp"
#include "core/point_map.hpp"
#include "core/scan_arithmetic.hpp"
#include "numerical/fused.hpp"
#include "utils/peaks.hpp"

namespace vekanalysis::utils {

namespace {

/// scan_1 below `wl`, its value there, and scan_2 above.
Scan splice(const Scan& scan_1, const Scan& scan_2, double wl) {
    const auto keys_1 = scan_1.data().keys();
    const auto keys_2 = scan_2.data().keys();
    const auto below = std::lower_bound(keys_1.begin(), keys_1.end(), wl) - keys_1.begin();
    const auto above = std::upper_bound(keys_2.begin(), keys_2.end(), wl) - keys_2.begin();
    const auto join = [&](std::span<const double> a, double at, std::span<const double> b) {
        std::vector<double> joined;
        joined.reserve(a.size() + 1 + b.size());
        joined.insert(joined.end(), a.begin(), a.begin() + below);
        joined.push_back(at);
        joined.insert(joined.end(), b.begin() + above, b.end());
        return joined;
    };
    std::vector<double> keys = join(keys_1, wl, keys_2);
    std::vector<double> values = join(scan_1.data().values(), scan_1(wl), scan_2.data().values());

    const internal::FloatComparator<double> before{default_epsilon};
    if (std::adjacent_find(keys.begin(), keys.end(), std::not_fn(before)) == keys.end()) {
        return {PointMap::adopt(std::move(keys), std::move(values), default_epsilon),
                spline::Type::AKIMA};
    }
    // Next to 0 wavelengths may be equivalent, and the order in which points are written counts:
    // those of scan_2 come from the far end.
    std::reverse(keys.begin() + below + 1, keys.end());
    std::reverse(values.begin() + below + 1, values.end());
    return {std::move(keys), std::move(values)};
}

}  // namespace

StitchResults stitch_scans(const Scan& scan_1, const Scan& scan_2, double min_wl, double max_wl,
                           double target_error) {
    if (max_wl < min_wl) throw std::out_of_range("domain error, max_wl < min_wl");
    const auto first = scan_1.find(min_wl);
    const auto last = scan_1.find(max_wl);
    if (first == scan_1.end() || last == scan_1.end()) {
        throw std::out_of_range("scan_1 must contain keys min_wl and max_wl");
    }
    if (scan_2.empty() || scan_2.min_wavelength() > min_wl || scan_2.max_wavelength() < max_wl) {
        throw std::out_of_range("scan_2 must be defined over the domain [min_wl, max_wl]");
    }

    const auto offset = static_cast<std::size_t>(first - scan_1.begin());
    const auto n = static_cast<std::size_t>(last - first) + 1;
    const auto s1 = scan_1.data().values().subspan(offset, n);
    std::vector<double> s2(n);
    scan_2.evaluate(scan_1.data().keys().subspan(offset, n), s2);
    double sum_12 = 0.0;
    double sum_22 = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum_12 = numerical::fused(s1[i], s2[i], sum_12);
        sum_22 = numerical::fused(s2[i], s2[i], sum_22);
    }
    if (sum_22 == 0.0) {
        throw std::invalid_argument("Division by zero. scan_2(wl) is zero across [min_wl, max_wl]");
    }

    StitchResults results;
    results.n = static_cast<std::uint32_t>(n);
    results.k = sum_12 / sum_22;
    for (std::size_t i = 0; i < n; ++i) {
        const double scaled = results.k * s2[i];
        const double difference = s1[i] - scaled;
        results.average += (scaled + s1[i]) * 0.5;
        results.error += difference * difference;
    }
    const auto count = static_cast<double>(n);
    results.average /= count;
    results.percent_error_rms = std::sqrt(results.error) / count / results.average;
    results.success = results.percent_error_rms < target_error;
    if (!results.success) return results;

    const Scan scaled_2 = results.k * scan_2;
    results.stitch_point = find_crossing(scan_1, scaled_2, min_wl, max_wl);
    results.stitch_scan = splice(scan_1, scaled_2, results.stitch_point);
    return results;
}

}  // namespace vekanalysis::utils
