// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A view, with all that is in it, as pixels in memory or as a picture file in one call.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/layers/MediaTime.h>

#include <string>
#include <vector>

namespace sentrel {

class View;

/// Draws a view on a host's pixels, as of a media time in seconds: 32 bits each, 0xAARRGGBB in the machine's byte
/// order, premultiplied, in sRGB, on a transparent ground; `height` rows of `width` pixels from the top, the starts of
/// rows `stride` bytes apart, `scale` pixels a point, which need be no whole number. What of the view has no pixels is
/// cut off. False, and nothing is drawn, for no data, a side below 1 or above 32767 pixels, a stride that is too small
/// or no multiple of 4, or a `scale` that is not above 0 or not finite. Main thread.
[[nodiscard]] SENTREL_API bool renderPixels(View& view, void* data, int width, int height, int stride,
                                            double scale = 1.0, double now = mediaTime());

/// Draws only the pixels that `areas`, rectangles in points, touch; all others stay as they are. For a host that keeps
/// its pixels from one frame to the next: it passes what `View::dirtyRects` says.
[[nodiscard]] SENTREL_API bool renderPixels(View& view, void* data, int width, int height, int stride, double scale,
                                            const std::vector<Rect>& areas, double now = mediaTime());

/// Writes a PNG of the view's size times `scale` (2 for a display of double resolution), on a transparent ground, as of
/// a media time in seconds. False, with no file that a reader would take for a picture, if the view has no area or a
/// side of more than 32767 pixels, if `scale` is not above 0, or if the file cannot be written. Main thread.
[[nodiscard]] SENTREL_API bool renderPNG(View& view, const std::string& path, double scale = 1.0,
                                         double now = mediaTime());

/// Writes an SVG of the view's size in points, as of a media time in seconds. False as for a PNG at scale 1, and always
/// on macOS, whose drawing system writes none. Main thread.
[[nodiscard]] SENTREL_API bool renderSVG(View& view, const std::string& path, double now = mediaTime());

/// Writes a one-page PDF of the view's size in points, as of a media time in seconds. False as for a PNG at scale 1.
/// Main thread.
[[nodiscard]] SENTREL_API bool renderPDF(View& view, const std::string& path, double now = mediaTime());

} // namespace sentrel
