// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What every canvas asks of what it is given before it draws. Any thread.

#include <SentrelKit/views/drawing/Color.h>
#include <SentrelKit/views/drawing/Path.h>

#include <vector>

namespace sentrel {

/// Whether every number of it that counts is finite.
[[nodiscard]] bool isFinite(Point point) noexcept;
[[nodiscard]] bool isFinite(const Color& color) noexcept;
[[nodiscard]] bool isFinite(const std::vector<Color>& colors) noexcept;
[[nodiscard]] bool isFinite(const Path& path) noexcept;

/// Whether a transform is finite and does not flatten the plane.
[[nodiscard]] bool isUsable(const Transform& transform) noexcept;

/// The longest step on the device that one unit makes under a transform.
[[nodiscard]] double longestStep(const Transform& transform) noexcept;

/// Whether a dash pattern can be drawn and is not finer than the device can show at a scale.
[[nodiscard]] bool isUsable(const std::vector<double>& dash, double phase, double scale) noexcept;

/// Whether text is drawn at a font size: Pango keeps sizes and places in 1/1024 units of an int.
[[nodiscard]] constexpr bool isTextSize(double size) noexcept {
    return size >= 0.1 && size <= 4096.0;
}

/// How far down a line of text is shifted that stands in the middle of its box with its baseline so far below, so that
/// the middle of its capital letters stands there: not so far that it leaves its box, which has `room` more height than
/// the line. 0 for a font without capital letters, whose `capHeight` is 0.
[[nodiscard]] double shiftToMiddle(double baseline, double capHeight, double room) noexcept;

} // namespace sentrel
