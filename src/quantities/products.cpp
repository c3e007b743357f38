#include "quantities/products.hpp"

#include <algorithm>

#include "core/scan_arithmetic.hpp"

namespace vekanalysis::quantities::internal {

namespace {

std::size_t minimum_points(spline::Type type) noexcept {
    switch (type) {
        case spline::Type::AKIMA:
            return 5;
        case spline::Type::CUBIC:
        case spline::Type::POLYNOMIAL:
            return 3;
        case spline::Type::LINEAR:
            return 2;
        case spline::Type::NONE:
            break;
    }
    return std::numeric_limits<std::size_t>::max();
}

/// A scan with the grid and the settings of a product.
Scan grid_of(const Product& product) {
    return {PointMap::adopt(product.wavelengths, std::vector<double>(product.size(), 1.0),
                            product.epsilon),
            product.type};
}

/// The piece of an interpolant that holds x, as numerical::Spline finds it.
std::size_t piece_of(std::span<const double> knots, double x) {
    if (!(x > knots.front())) return 0;
    if (x >= knots.back()) return knots.size() - 2;
    const auto above = std::upper_bound(knots.begin(), knots.end(), x);
    return static_cast<std::size_t>(above - knots.begin()) - 1;
}

}  // namespace

Products::Products(std::span<const double> wavelengths, double epsilon, spline::Type type) {
    Product& spectrum = products_.emplace_back();
    spectrum.type = type;
    spectrum.epsilon = epsilon;
    spectrum.wavelengths.assign(wavelengths.begin(), wavelengths.end());
    spectrum.can_interpolate = spectrum.size() >= minimum_points(type);
}

/// Appends the point at wl: the parent's stored value there or its interpolant, times `value`.
void Products::take_point(Product& product, std::size_t parent_index, double wl, double value) {
    Product& parent = products_[parent_index];
    const auto& keys = parent.wavelengths;
    const auto hit = std::partition_point(keys.begin(), keys.end(),
                                          [&](double key) { return key + parent.epsilon < wl; });
    const auto index = static_cast<std::size_t>(hit - keys.begin());
    product.wavelengths.push_back(wl);
    product.factors.push_back(value);
    if (hit != keys.end() && *hit <= wl + parent.epsilon) {
        product.sources.push_back({static_cast<std::uint32_t>(index), false, 0.0});
        return;
    }
    const auto piece = static_cast<std::uint32_t>(parent.can_interpolate ? piece_of(keys, wl) : 0);
    product.sources.push_back({piece, true, wl - keys[piece]});
    parent.wanted_pieces.push_back(piece);
}

std::size_t Products::product_of(std::size_t parent, const Factor& factor) {
    const auto same = std::find_if(products_.begin() + 1, products_.end(), [&](const Product& p) {
        return p.parent == parent && p.factor == factor;
    });
    if (same != products_.end()) return static_cast<std::size_t>(same - products_.begin());

    const Scan values = grid_of(products_[parent]);
    const Scan table = factor.spectrum();
    const Scan& left = factor.on_left ? table : values;
    const Scan& right = factor.on_left ? values : table;
    Product product{.parent = parent, .factor = factor};
    product.type =
        left.is_interpolated() ? left.get_interpolation_type() : right.get_interpolation_type();
    product.epsilon = std::min(values.get_wavelength_epsilon(), table.get_wavelength_epsilon());
    ScanCursor table_at(table);
    const vekanalysis::internal::CommonGrid grid(left, right);
    const auto take = [&](double wl, double) { take_point(product, parent, wl, table_at(wl)); };
    grid.walk(take, take);
    product.can_interpolate = product.size() >= minimum_points(product.type);
    products_.push_back(std::move(product));
    return products_.size() - 1;
}

bool Products::add(const Integral& integral, PlannedIntegral& planned) {
    std::size_t index = 0;
    for (const Factor& factor : integral.factors) index = product_of(index, factor);
    planned.product = index;
    for (std::size_t i = index;; i = products_[i].parent) {
        const Product& product = products_[i];
        const bool interpolates = i == index || !product.wanted_pieces.empty();
        if (interpolates && product.type == spline::Type::POLYNOMIAL) return false;
        if (i == 0) break;
    }
    const Product& product = products_[index];
    const auto& knots = product.wavelengths;
    const auto [from, to] = integral.band;
    const double low = product.size() == 0 ? 0.0 : std::max(from, knots.front());
    const double high = product.size() == 0 ? 0.0 : std::min(to, knots.back());
    planned.is_zero = !(low < high) || !product.can_interpolate;
    if (planned.is_zero) return true;
    planned.first = piece_of(knots, low);
    planned.last = piece_of(knots, high);
    planned.from = low - knots[planned.first];
    planned.to = high - knots[planned.last];
    return true;
}

void Products::finish() {
    for (Product& product : products_) {
        auto& pieces = product.wanted_pieces;
        std::sort(pieces.begin(), pieces.end());
        pieces.erase(std::unique(pieces.begin(), pieces.end()), pieces.end());
    }
    for (Product& product : products_) {
        for (auto& source : product.sources) {
            if (!source.interpolated) continue;
            const auto& pieces = products_[product.parent].wanted_pieces;
            const auto place = std::lower_bound(pieces.begin(), pieces.end(), source.index);
            source.index = static_cast<std::uint32_t>(place - pieces.begin());
        }
    }
}

}  // namespace vekanalysis::quantities::internal
