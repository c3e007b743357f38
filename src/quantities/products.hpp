#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "quantities/form.hpp"

/// What is known of the products of a spectrum with tables before the spectrum itself: their grids
/// and the factors. Grids follow from the wavelengths alone, so one plan serves all spectra.
namespace vekanalysis::quantities::internal {

/// A product of the spectrum with factors, as a list of where each point's value comes from.
struct Product {
    struct Source {
        /// Of the parent's point; when interpolated of its wanted piece, in their order.
        std::uint32_t index;
        bool interpolated;
        double offset;  // from the piece's knot
    };
    static constexpr std::size_t spectrum = std::numeric_limits<std::size_t>::max();

    std::size_t parent = spectrum;  // what is multiplied; meaningless for the spectrum itself
    Factor factor{};
    spline::Type type = spline::Type::AKIMA;
    double epsilon = 0.0;
    std::vector<double> wavelengths{};
    std::vector<Source> sources{};  // empty for the spectrum itself
    std::vector<double> factors{};  // at the wavelengths
    /// Pieces of the interpolant that products of this one want, ascending.
    std::vector<std::uint32_t> wanted_pieces{};
    /// Whether the interpolant can be had here; its function has the error where not.
    bool can_interpolate = true;

    [[nodiscard]] std::size_t size() const noexcept { return wavelengths.size(); }
};

/// An integral of a product: pieces `first` to `last` of its interpolant.
struct PlannedIntegral {
    std::size_t product = 0;
    bool is_zero = false;  // no points, or none in the band
    std::size_t first = 0;
    std::size_t last = 0;
    double from = 0.0;  // from the first piece's knot
    double to = 0.0;    // from the last piece's knot
};

/// The products that some integrals need, each once.
class Products {
public:
    /// @param wavelengths  shape (N), ascending
    Products(std::span<const double> wavelengths, double epsilon, spline::Type type);

    /// Plans an integral.
    ///
    /// @return false when it needs a polynomial, which has no kernel here
    [[nodiscard]] bool add(const Integral& integral, PlannedIntegral& planned);

    /// Puts the wanted pieces in order; to be called once, after the last `add`.
    void finish();

    [[nodiscard]] const std::vector<Product>& all() const noexcept { return products_; }

private:
    [[nodiscard]] std::size_t product_of(std::size_t parent, const Factor& factor);
    void take_point(Product& product, std::size_t parent, double wl, double value);

    std::vector<Product> products_;
};

}  // namespace vekanalysis::quantities::internal
