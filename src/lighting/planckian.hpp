#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "../core/scan.hpp"
#include "visible_spectrum.hpp"

namespace vekanalysis::lighting {

/// Second radiation constant as CIE 15 has it, nm K: kept with the temperature scale on which
/// illuminants are defined, not the exact 1.438776877e7.
inline constexpr double second_radiation_constant = 1.4388e7;

/// Spectral distribution of a Planckian radiator, 100 at 560 nm. 300 to 830 nm, step 1 nm.
///
/// (560 nm / wl)^5 (exp(c2 / (560 nm T)) - 1) / (exp(c2 / (wl T)) - 1), c2 = 1.4388e-2 m K.
/// Source: CIE 15:2018.
/// @param T  temperature, K, from 1000 to 1000000
/// @throws std::invalid_argument  "lighting::planckian: T must be between 1000 and 1000000 K"
[[nodiscard]] Scan planckian(double T);

namespace internal {

/// The same at one wavelength (nm).
[[nodiscard]] double planckian_value(double wl, double T) noexcept;

/// The Planckian locus in the CIE 1960 diagram, over m = 1e6 / T from 0.9 to 1010 (mired).
///
/// u(m) and v(m) are analytic, so they are kept as polynomials of degree 10 over 50 intervals
/// through Chebyshev points, which meet the sums they stand for to 1e-14. The function is built
/// once; no temperature steps are left in what is read from it.
class PlanckianLocus {
public:
    /// Where a colour meets the locus.
    struct Foot {
        double mired;
        double distance;  ///< in uv, positive above the locus (towards larger v)
    };

    /// @param wavelengths, matching  shapes (N) and 3 times (N)
    PlanckianLocus(std::vector<double> wavelengths,
                   const std::array<std::vector<double>, 3>& matching);

    /// The foot of the perpendicular from a colour, by Newton's method; the end of the locus where
    /// that is nearer. Sure to be the nearest point within 0.05 of the locus.
    [[nodiscard]] Foot nearest(const UV& colour) const noexcept;

    /// The same of several colours, which are searched for in turns: each step of a search waits
    /// for the one before, and meanwhile those of others can be made.
    ///
    /// @param colours  shape (N), N <= at_once
    /// @param feet     shape (N)
    void nearest(std::span<const UV> colours, std::span<Foot> feet) const noexcept;
    static constexpr std::size_t at_once = 4;

private:
    static constexpr std::size_t intervals = 50;
    static constexpr std::size_t terms = 11;
    struct Place {
        UV at;
        UV slope;
        UV curvature;
    };
    [[nodiscard]] Place place(std::size_t interval, double t) const noexcept;
    [[nodiscard]] double guess(std::size_t interval, const UV& colour) const noexcept;

    /// How far a search has come.
    struct Search {
        UV colour;
        std::size_t interval;
        // Bounds of the foot in the interval: a little beyond its ends, lest rounding keep Newton
        // from a foot there.
        double from = -1.01;
        double to = 1.01;
        double t = 0.0;
        Place p{};
        bool is_over = false;
    };
    [[nodiscard]] std::size_t interval_of(const UV& colour) const noexcept;
    [[nodiscard]] Search begin(const UV& colour) const noexcept;
    void advance(Search& search) const noexcept;
    [[nodiscard]] static Foot foot_of(const Search& search) noexcept;

    std::array<std::array<UV, terms>, intervals> coefficients_;
    std::array<Place, intervals + 1> ends_;
};

/// The locus as the sums in `step` from 380 to 780 nm have it, for the 1931 observer.
///
/// @param step  1 or 5; checked before
[[nodiscard]] const PlanckianLocus& planckian_locus(int step);

/// The locus of the 1931 observer, 1 nm, 360 to 830 nm.
[[nodiscard]] const PlanckianLocus& full_planckian_locus();

}  // namespace internal

}  // namespace vekanalysis::lighting
