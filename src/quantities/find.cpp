#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <stdexcept>

#include "quantities/quantity.hpp"

namespace vekanalysis::quantities {

namespace {

/// Letters to insert, leave out or exchange to make one word of the other (Levenshtein).
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t exchanged = diagonal + (letter == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

const Quantity& find(std::string_view key) {
    static const std::vector<Quantity> of_light = light("D65");
    const std::array<std::span<const Quantity>, 4> catalogues{lens(), derived(), of_light,
                                                              photometer()};
    const Quantity* nearest = nullptr;
    std::size_t smallest = 0;
    // Longer than any key: not worth a comparison of each letter with each.
    const std::string_view start = key.substr(0, 100);
    for (const auto catalogue : catalogues) {
        for (const Quantity& quantity : catalogue) {
            if (quantity.key == key) return quantity;
            const std::size_t letters = distance(quantity.key, start);
            if (nearest == nullptr || letters < smallest) {
                nearest = &quantity;
                smallest = letters;
            }
        }
    }
    throw std::invalid_argument("quantities::find: no quantity '" + std::string(start) +
                                "'; the nearest is '" + nearest->key + "'");
}

}  // namespace vekanalysis::quantities
