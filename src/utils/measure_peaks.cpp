#include "utils/measure_peaks.hpp"

#include <algorithm>
#include <cstddef>

#include "utils/extremes.hpp"
#include "utils/peaks.hpp"

namespace vekanalysis::utils {

namespace {

/// Between `inner` and `outer`, where the curve is at or below the level.
double crossing(ScanCursor& value_at, double inner, double outer, double level) {
    constexpr int halvings = 60;  // as narrow as the numbers are
    for (int i = 0; i < halvings; ++i) {
        const double middle = 0.5 * (inner + outer);
        (value_at(middle) > level ? inner : outer) = middle;
    }
    return outer;
}

}  // namespace

std::vector<Peak> measure_peaks(const Scan& scan) {
    const auto keys = scan.data().keys();
    const auto values = scan.data().values();
    const internal::Extremes extremes(values);
    ScanCursor value_at(scan);
    std::vector<Peak> peaks;
    for (const auto& [wl, height] : find_peaks(scan)) {
        Peak peak{wl, height, std::nullopt};
        const double half = 0.5 * height;
        const auto before =
            static_cast<std::size_t>(std::lower_bound(keys.begin(), keys.end(), wl) - keys.begin());
        const auto after =
            static_cast<std::size_t>(std::upper_bound(keys.begin(), keys.end(), wl) - keys.begin());
        const std::size_t left = extremes.outside_before(before, half, height);
        const std::size_t right = extremes.outside_from(after, half, height);
        if (left != keys.size() && !(values[left] > height) && right != keys.size() &&
            !(values[right] > height)) {
            const double left_inner = left + 1 < before ? keys[left + 1] : wl;
            const double right_inner = right > after ? keys[right - 1] : wl;
            const double left_edge = crossing(value_at, left_inner, keys[left], half);
            peak.width = crossing(value_at, right_inner, keys[right], half) - left_edge;
        }
        peaks.push_back(peak);
    }
    return peaks;
}

}  // namespace vekanalysis::utils
