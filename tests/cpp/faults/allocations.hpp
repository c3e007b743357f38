#pragma once

#include <cstddef>

/// Memory that runs out at will, by the `operator new` of the program that links allocations.cpp.
/// All of it belongs to one thread.
namespace faults {

/// From its construction to its end the allocations of this thread are counted from 1, and fail as
/// they are told.
class Allocations {
public:
    /// @param failing   the one that fails; 0 for none
    /// @param and_rest  whether all after it fail, too
    explicit Allocations(std::size_t failing, bool and_rest = false) noexcept;
    ~Allocations();
    Allocations(const Allocations&) = delete;
    Allocations& operator=(const Allocations&) = delete;

    /// Whether one has failed.
    [[nodiscard]] static bool have_failed() noexcept;
};

/// How many allocations of this thread have not been given back.
[[nodiscard]] std::ptrdiff_t live_allocations() noexcept;

}  // namespace faults
