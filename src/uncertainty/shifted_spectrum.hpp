#pragma once

#include <cstddef>
#include <span>

#include "../core/scan.hpp"
#include "../core/spline.hpp"

namespace vekanalysis::uncertainty {

/// A spectrum as an instrument with an error of its wavelength scale reads it: the wavelengths of
/// the points stay, each value is the interpolant's a little beside.
///
/// Where a shifted wavelength leaves the data, the value at their end counts. The tolerance of the
/// scan plays no part: a shift that is smaller is still a shift. Immutable, so safe to share
/// between threads.
class ShiftedSpectrum {
public:
    /// @throws std::runtime_error  "Cannot initialize a spline with type None" or
    ///                             "Cannot initialize a spline, too few points"
    explicit ShiftedSpectrum(const Scan& scan);

    [[nodiscard]] std::size_t size() const noexcept { return spline_.kernel()->knots().size(); }

    /// values[i] = the spectrum shifts[i] beside the wavelength of point i.
    ///
    /// @param shifts  shape (size()), nm; NaN gives NaN
    /// @param values  shape (size()), receives the spectrum; may be the same memory
    void operator()(std::span<const double> shifts, std::span<double> values) const noexcept;

private:
    Spline spline_;
};

}  // namespace vekanalysis::uncertainty
