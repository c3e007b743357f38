#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "quantities/products.hpp"

/// Arithmetic on four spectra at once.
///
/// Every spectrum has its own lane, and lanes do not meet: what a spectrum gives depends neither on
/// its neighbours nor on how wide the machine's registers are.
namespace vekanalysis::quantities::internal {

inline constexpr std::size_t lane_count = 4;

/// A value of each of four spectra.
struct alignas(lane_count * sizeof(double)) Four {
    std::array<double, lane_count> lanes;
};

/// Bit i for lane i.
using LaneMask = unsigned;

/// The coefficients of some pieces of an interpolant: y + t (b + t (c + t d)).
struct Pieces {
    std::span<Four> b;
    std::span<Four> c;
    std::span<Four> d;
};

/// The slope at a knot of an Akima interpolant of a product whose points are the spectrum's.
struct KnotOfSpectrum {
    double weight = 0.0;         // of the slope in the integral
    std::size_t begin = 0;       // first point of the spectrum that takes part
    std::size_t count = 0;       // of points: 5, or less by the missing one
    bool left_missing = false;   // next to the first point of the product
    bool right_missing = false;  // next to the last
    std::array<double, 4> steps{};
    std::vector<std::array<double, 5>> factors{};  // of each multiplication
};

/// Integral that is a weighted sum of the spectrum's values.
struct WeightedSum {
    std::size_t begin = 0;  // first value that counts
    std::vector<double> weights{};
};

/// Integral of an Akima interpolant over even steps: there the slopes at the inner knots cancel,
/// and what remains is the trapezoidal rule and the slopes at the ends.
///
/// That holds but for a kink between straight runs, where an Akima interpolant does not round the
/// corner; `tolerance` finds these.
struct EvenSum {
    WeightedSum factors{};
    double step = 0.0;
    struct Correction {
        std::size_t index;
        double weight;
    };
    std::vector<Correction> corrections{};  // the ends of the rule
    std::vector<KnotOfSpectrum> slopes{};   // that do not cancel and are not linear
    double tolerance = 0.0;                 // of a second difference, of the largest value
    /// Where points of a kink may be, of the factors; at least four, or none.
    std::size_t look_from = 0;
    std::size_t look_to = 0;
};

/// Four spectra whose even sums are wanted.
struct EvenTask {
    const Four* spectrum;
    const Four* largest;  // magnitude of each spectrum
    Four* results;        // one a sum
    /// One a sum: the lanes in which it may not hold: those with a kink, with a slope at an end
    /// that is undefined, or with infinities.
    LaneMask* unsure;
};

/// At most so many tasks go side by side, which read the factors once.
inline constexpr std::size_t most_tasks = 2;

/// Memory that is read after these spectra: it may as well arrive meanwhile.
using Upcoming = std::array<std::span<const std::byte>, most_tasks * lane_count>;

/// They write to memory that they are given: compilers do not align every copy of a returned Four.
struct Kernels {
    /// Spectra side by side, and the largest magnitude of each, NaN left out.
    ///
    /// @param rows  the values of each, float64 or float32, one behind the other
    void (*load)(const std::array<const std::byte*, lane_count>& rows, bool is_single,
                 std::span<Four> spectrum, Four& largest);

    /// The largest magnitude of each spectrum, NaN left out.
    void (*find_largest)(std::span<const Four> spectrum, Four& largest);

    /// The smallest value of each spectrum, NaN where one of them is.
    void (*smallest)(std::span<const Four> values, Four& result);

    /// Sum of values[i] * factors[i].
    void (*dot)(std::span<const Four> values, const double* factors, Four& result);

    /// Even sums of one task or two.
    ///
    /// @param upcoming  is asked for, a part with each sum
    void (*even_sums)(std::span<const EvenSum> sums, std::span<const EvenTask> tasks,
                      const Upcoming& upcoming);

    /// The slope at a knot, bit for bit.
    ///
    /// @return the lanes in which it is undefined: straight on either side
    LaneMask (*slope)(const KnotOfSpectrum& knot, std::span<const Four> spectrum, Four& slope);

    /// Integral of the interpolant of a product with these values.
    void (*integral)(const Product& product, std::span<const Four> values,
                     const PlannedIntegral& planned, Four& result);

    /// The wanted pieces of the interpolant of a product with these values.
    void (*pieces)(const Product& product, std::span<const Four> values, const Pieces& pieces);

    /// The values of a product.
    void (*multiply)(const Product& product, std::span<const Four> parent, const Pieces& pieces,
                     std::span<const std::uint32_t> wanted_pieces, std::span<Four> values);
};

/// The kernels for this machine. All give the same numbers.
[[nodiscard]] const Kernels& kernels() noexcept;

}  // namespace vekanalysis::quantities::internal
