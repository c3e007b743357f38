#include "core/point_map.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

#include "numerical/stable_order.hpp"

namespace vekanalysis {

namespace {

void require_number(double wl) {
    if (std::isnan(wl)) throw std::invalid_argument("Scan: wavelength must not be NaN");
}

}  // namespace

PointMap::PointMap(double epsilon) : before_{epsilon} {
    if (!(epsilon >= 0.0)) {
        throw std::invalid_argument("Scan: epsilon must not be negative or NaN");
    }
}

PointMap PointMap::adopt(std::vector<double> keys, std::vector<double> values, double epsilon) {
    PointMap map(epsilon);
    map.keys_ = std::move(keys);
    map.values_ = std::move(values);
    return map;
}

/// Takes a point at or beyond the last key; false when its place is elsewhere.
bool PointMap::absorb_ascending(double wl, double value) {
    const std::size_t n = keys_.size();
    if (n == 0 || before_(keys_[n - 1], wl)) {
        keys_.push_back(wl);
        values_.push_back(value);
        return true;
    }
    if (before_(wl, keys_[n - 1]) || (n >= 2 && !before_(keys_[n - 2], wl))) return false;
    values_[n - 1] = value;
    return true;
}

/// The same while the keys are held in descending order.
bool PointMap::absorb_descending(double wl, double value) {
    const std::size_t n = keys_.size();
    if (n == 0 || before_(wl, keys_[n - 1])) {
        keys_.push_back(wl);
        values_.push_back(value);
        return true;
    }
    if (before_(keys_[n - 1], wl)) return false;
    values_[n - 1] = value;
    return true;
}

PointMap PointMap::from_points(std::vector<double> keys, std::vector<double> values,
                               double epsilon) {
    PointMap map(epsilon);
    for (const double key : keys) require_number(key);
    const std::size_t n = keys.size();

    const auto strictly = [n](const auto& precedes) {
        for (std::size_t i = 0; i + 1 < n; ++i) {
            if (!precedes(i)) return false;
        }
        return true;
    };
    if (strictly([&](std::size_t i) { return map.before_(keys[i], keys[i + 1]); })) {
        return adopt(std::move(keys), std::move(values), epsilon);
    }
    if (strictly([&](std::size_t i) { return map.before_(keys[i + 1], keys[i]); })) {
        std::reverse(keys.begin(), keys.end());
        std::reverse(values.begin(), values.end());
        return adopt(std::move(keys), std::move(values), epsilon);
    }

    map.keys_.reserve(n);
    map.values_.reserve(n);
    const bool descending = keys[n - 1] < keys[0];
    std::size_t taken = 0;
    if (descending) {
        while (taken < n && map.absorb_descending(keys[taken], values[taken])) ++taken;
        std::reverse(map.keys_.begin(), map.keys_.end());
        std::reverse(map.values_.begin(), map.values_.end());
    } else {
        while (taken < n && map.absorb_ascending(keys[taken], values[taken])) ++taken;
    }
    if (taken == n) return map;

    map = PointMap(epsilon);  // gives the memory back before more is needed
    const std::vector<std::uint32_t> order = numerical::stable_order(keys);
    map.keys_.resize(n);
    map.values_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        map.keys_[i] = keys[order[i]];
        map.values_[i] = values[order[i]];
    }
    map.merge_equivalent_runs(keys, values, order);
    return map;
}

/// Leaves one point of each run of equivalent neighbours: what replaying the run in its order of
/// arrival gives. Neighbours that are not equivalent never meet in a lookup, so each run can be
/// settled on its own.
///
/// @param keys, values  the points as they arrived
/// @param order         positions in these of the stored points, which ascend
void PointMap::merge_equivalent_runs(std::span<const double> keys, std::span<const double> values,
                                     std::span<const std::uint32_t> order) {
    const std::size_t n = keys_.size();
    std::size_t count = 0;
    for (std::size_t first = 0; first < n;) {
        std::size_t last = first + 1;
        while (last < n && !before_(keys_[last - 1], keys_[last])) ++last;
        if (keys_[first] == keys_[last - 1]) {
            keys_[count] = keys_[first];
            values_[count++] = values_[last - 1];
        } else {
            std::vector<std::uint32_t> arrival(order.begin() + static_cast<std::ptrdiff_t>(first),
                                               order.begin() + static_cast<std::ptrdiff_t>(last));
            std::sort(arrival.begin(), arrival.end());
            std::map<double, double, internal::FloatComparator<double>> merged(before_);
            for (const std::uint32_t i : arrival) merged.insert_or_assign(keys[i], values[i]);
            for (const auto& [key, value] : merged) {
                keys_[count] = key;
                values_[count++] = value;
            }
        }
        first = last;
    }
    keys_.resize(count);
    values_.resize(count);
}

std::size_t PointMap::lower_bound(double wl) const noexcept {
    const double* base = keys_.data();
    std::size_t length = keys_.size();
    while (length > 1) {
        const std::size_t half = length / 2;
        base += before_(base[half - 1], wl) ? half : 0;
        length -= half;
    }
    const auto index = static_cast<std::size_t>(base - keys_.data());
    return length == 1 && before_(*base, wl) ? index + 1 : index;
}

void PointMap::insert_at(std::size_t i, double wl, double value) {
    // Both arrays grow before either changes, so that a failed allocation leaves them alike.
    if (keys_.size() == keys_.capacity() || values_.size() == values_.capacity()) {
        const std::size_t capacity = std::max<std::size_t>(8, 2 * keys_.size());
        keys_.reserve(capacity);
        values_.reserve(capacity);
    }
    const auto offset = static_cast<std::ptrdiff_t>(i);
    keys_.insert(keys_.begin() + offset, wl);
    values_.insert(values_.begin() + offset, value);
}

void PointMap::insert_or_assign(double wl, double value) {
    require_number(wl);
    const std::size_t i = keys_.empty() || before_(keys_.back(), wl) ? size() : lower_bound(wl);
    if (matches(i, wl)) {
        values_[i] = value;
    } else {
        insert_at(i, wl, value);
    }
}

void PointMap::insert(double wl, double value) {
    require_number(wl);
    const std::size_t i = keys_.empty() || before_(keys_.back(), wl) ? size() : lower_bound(wl);
    if (!matches(i, wl)) insert_at(i, wl, value);
}

void PointMap::trim(double from, double to) {
    const auto begin =
        std::partition_point(keys_.begin(), keys_.end(), [from](double key) { return key < from; });
    const auto end =
        std::partition_point(begin, keys_.end(), [to](double key) { return !(key > to); });
    const auto first = begin - keys_.begin();
    const auto last = end - keys_.begin();
    keys_.erase(end, keys_.end());
    keys_.erase(keys_.begin(), keys_.begin() + first);
    values_.erase(values_.begin() + last, values_.end());
    values_.erase(values_.begin(), values_.begin() + first);
}

PointMap PointMap::with_epsilon(double epsilon) const {
    PointMap map(epsilon);
    map.keys_.reserve(size());
    map.values_.reserve(size());
    for (std::size_t i = 0; i < size(); ++i) {
        if (map.empty() || map.before_(map.keys_.back(), keys_[i])) {
            map.keys_.push_back(keys_[i]);
            map.values_.push_back(values_[i]);
        }
    }
    return map;
}

}  // namespace vekanalysis
