#include "utils/measure_peaks.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>

#include "utils/peaks.hpp"

namespace vekanalysis::utils {

namespace {

/// Largest and smallest values of blocks of 1, 2, 4, ... neighbours, NaN left out: finds the
/// nearest value outside an interval in O(log n).
class Extremes {
public:
    explicit Extremes(std::span<const double> values) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        std::vector<Block> blocks;
        blocks.reserve(values.size());
        for (const double v : values) {
            blocks.push_back(v == v ? Block{v, v} : Block{infinity, -infinity});
        }
        levels_.push_back(std::move(blocks));
        while (levels_.back().size() > 1) {
            const std::vector<Block>& below = levels_.back();
            std::vector<Block> above;
            above.reserve(below.size() / 2 + 1);
            for (std::size_t i = 0; i < below.size(); i += 2) {
                const Block& next = below[std::min(i + 1, below.size() - 1)];
                above.push_back({std::min(below[i].least, next.least),
                                 std::max(below[i].greatest, next.greatest)});
            }
            levels_.push_back(std::move(above));
        }
    }

    /// Index of the first value at or after `i` that is at or below `low` or above `high`; the
    /// number of values when there is none.
    [[nodiscard]] std::size_t outside_from(std::size_t i, double low, double high) const {
        std::size_t level = 0;
        while (i < levels_[level].size()) {
            if (levels_[level][i].reaches_outside(low, high)) {
                if (level == 0) return i;
                --level;
                i *= 2;
                continue;
            }
            ++i;
            for (; i % 2 == 0 && level + 1 < levels_.size(); ++level) i /= 2;
        }
        return levels_[0].size();
    }

    /// The same for the last value before `end`.
    [[nodiscard]] std::size_t outside_before(std::size_t end, double low, double high) const {
        std::size_t level = 0;
        while (end > 0) {
            if (levels_[level][end - 1].reaches_outside(low, high)) {
                if (level == 0) return end - 1;
                --level;
                end = std::min(2 * end, levels_[level].size());
                continue;
            }
            --end;
            for (; end % 2 == 0 && level + 1 < levels_.size(); ++level) end /= 2;
        }
        return levels_[0].size();
    }

private:
    struct Block {
        double least;
        double greatest;

        [[nodiscard]] bool reaches_outside(double low, double high) const noexcept {
            return least <= low || greatest > high;
        }
    };

    std::vector<std::vector<Block>> levels_;
};

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
    const Extremes extremes(values);
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
