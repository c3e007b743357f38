#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace vekanalysis::utils::internal {

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

}  // namespace vekanalysis::utils::internal
