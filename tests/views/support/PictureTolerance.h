// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/views/support/Image.h"

#include <gtest/gtest.h>

namespace sentrel {

/// How far a picture may be from another that shows the same.
struct PictureTolerance {
    int side;     ///< in points, of the squares whose mean colours are compared; 0: each pixel by itself
    int shade;    ///< of 255, the most by which a colour of a square may differ
    double share; ///< from 0 to 1, the most squares that may differ by more
};

/// Between pictures of one drawing system: text edges move a little between versions of the font renderer; a figure
/// that is off by half a point differs by far more.
inline constexpr PictureTolerance sameDrawingSystem{0, 24, 1.0 / 2000.0};

/// Between pictures of two drawing systems: each has its own edges, and its own shapes and places of letters between
/// the pixels. Squares of a few points even that out: a picture may be half a point off, but not two.
inline constexpr PictureTolerance otherDrawingSystem{4, 48, 1.0 / 50.0};

/// Of the drawing system of this machine towards the golden pictures.
extern const PictureTolerance goldenTolerance;

/// Whether a picture of so many pixels a point shows the same as another.
[[nodiscard]] testing::AssertionResult looksLike(const Image& picture, const Image& other, int scale,
                                                 const PictureTolerance& tolerance);

} // namespace sentrel
