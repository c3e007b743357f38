#pragma once

#include <cstddef>
#include <span>

/// The tables of this room as printed, one a file, wavelengths in nm. Sources, checks and doubts
/// stand in the files; whose figures they are and on which terms, in NOTICE.
namespace vekanalysis::lighting::data {

/// Columns of figures at evenly spaced wavelengths.
struct Table {
    double first;
    double step;
    std::size_t columns;
    std::span<const double> figures;  ///< row after row
    std::span<const char* const> names = {};

    [[nodiscard]] constexpr std::size_t rows() const noexcept { return figures.size() / columns; }
    [[nodiscard]] constexpr double wl(std::size_t row) const noexcept {
        return first + static_cast<double>(row) * step;
    }
    [[nodiscard]] constexpr double operator()(std::size_t row, std::size_t column) const noexcept {
        return figures[row * columns + column];
    }
};

/// Wavelength and value by turns, at ascending wavelengths.
struct PairTable {
    std::span<const double> figures;
};

[[nodiscard]] Table observer_1931_1nm() noexcept;
[[nodiscard]] Table observer_1964_1nm() noexcept;
[[nodiscard]] Table scotopic_luminous_efficiency() noexcept;
[[nodiscard]] Table alpha_opic_action_spectra() noexcept;
[[nodiscard]] Table daylight_components() noexcept;
[[nodiscard]] Table illuminants_d() noexcept;
[[nodiscard]] Table illuminants_fl() noexcept;
[[nodiscard]] Table illuminants_fl3() noexcept;
[[nodiscard]] Table illuminants_led() noexcept;
[[nodiscard]] Table colour_rendering_samples() noexcept;
[[nodiscard]] Table colour_evaluation_samples() noexcept;
[[nodiscard]] Table blue_light_hazard_weights() noexcept;
[[nodiscard]] Table retinal_thermal_weights() noexcept;
[[nodiscard]] PairTable actinic_ultraviolet_weights() noexcept;

}  // namespace vekanalysis::lighting::data
