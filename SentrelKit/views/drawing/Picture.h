// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A view, with all that is in it, as a picture file in one call.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/layers/MediaTime.h>

#include <string>

namespace sentrel {

class View;

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
