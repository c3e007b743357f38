#include "numerical/stable_order.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

namespace numerical {

namespace {

/// Below this a comparison sort alone is as fast. From 10,000 evenly spread numbers on
/// std::stable_sort and Boost's flat_stable_sort take five to ten times as long.
constexpr std::size_t distribution_minimum = 256;

struct Item {
    double number;
    std::uint32_t position;
};

void sort_stably(Item* first, Item* last) {
    constexpr std::ptrdiff_t insertion_maximum = 24;
    const auto before = [](const Item& a, const Item& b) { return a.number < b.number; };
    if (last - first > insertion_maximum) {
        std::stable_sort(first, last, before);
        return;
    }
    for (Item* next = first; next < last; ++next) {
        const Item item = *next;
        Item* place = next;
        for (; place > first && before(item, place[-1]); --place) *place = place[-1];
        *place = item;
    }
}

}  // namespace

std::vector<std::uint32_t> stable_order(std::span<const double> numbers) {
    const std::size_t n = numbers.size();
    if (n > std::numeric_limits<std::uint32_t>::max()) {
        throw std::length_error("stable_order: too many numbers");
    }
    std::vector<std::uint32_t> order(n);
    if (n == 0) return order;

    // The range cut into equal slices of about four numbers each; one slice where it cannot be cut.
    const auto [least, greatest] = std::minmax_element(numbers.begin(), numbers.end());
    const double low = *least;
    const double range = *greatest - low;
    const bool divisible = n >= distribution_minimum && range > 0.0 && std::isfinite(range);
    const std::size_t slices = divisible ? n / 4 : 1;
    const double slices_per_unit = divisible ? static_cast<double>(slices) / range : 0.0;
    const bool one_slice = slices == 1 || !std::isfinite(slices_per_unit);
    const auto slice_of = [=](double number) {
        if (one_slice) return std::size_t{0};
        return std::min(slices - 1, static_cast<std::size_t>((number - low) * slices_per_unit));
    };

    std::vector<std::uint32_t> ends(slices + 1);
    for (const double number : numbers) ++ends[slice_of(number) + 1];
    for (std::size_t i = 1; i <= slices; ++i) ends[i] += ends[i - 1];
    const std::unique_ptr<Item[]> items(new Item[n]);  // filled below, so not cleared here
    for (std::size_t i = 0; i < n; ++i) {
        items[ends[slice_of(numbers[i])]++] = {numbers[i], static_cast<std::uint32_t>(i)};
    }
    std::uint32_t begin = 0;
    for (std::size_t i = 0; i < slices; ++i) {
        sort_stably(items.get() + begin, items.get() + ends[i]);
        begin = ends[i];
    }
    std::transform(items.get(), items.get() + n, order.begin(),
                   [](const Item& item) { return item.position; });
    return order;
}

}  // namespace numerical
