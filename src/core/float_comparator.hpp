#pragma once

namespace vekanalysis::internal {

/// Order of wavelengths under an absolute tolerance: a comes before b when a + epsilon < b.
///
/// Two wavelengths are the same key when neither comes before the other. The sums decide, not the
/// difference: with the default epsilon of 1e-20 only bit-identical wavelengths of ordinary size
/// coincide.
template <class T>
struct FloatComparator {
    T epsilon;

    [[nodiscard]] bool operator()(const T& a, const T& b) const noexcept { return a + epsilon < b; }
};

}  // namespace vekanalysis::internal
