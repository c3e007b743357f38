#pragma once

#include "numerical/spline.hpp"

namespace numerical {

/// Value of one interval's polynomial, for the loops of the library.
///
/// Not installed, and what is installed does no such arithmetic inline: a compiler that contracts
/// would fuse it in programs that use the library, and the linker may take their copy of an inline
/// function for ours.
inline constexpr auto cubic = [](const Spline::Piece& piece, double x) noexcept {
    const double t = x - piece.knot;
    return piece.y + t * (piece.b + t * (piece.c + t * piece.d));
};

}  // namespace numerical
