#pragma once

/// A view, with all that is in it, as a picture file in one call. Main thread. Each answers false, and leaves no file
/// that a reader would take for a picture, if the view has no area or more than a picture can hold (32767 pixels a
/// side), or if the file cannot be written.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/MediaTime.h>

#include <string>

namespace sentrel {

class View;

/// A PNG of the view's size times `scale` (2 for a display of double resolution), on a transparent ground.
[[nodiscard]] SENTREL_API bool renderPNG(View& view, const std::string& path, double scale = 1.0,
                                         double now = mediaTime());

/// An SVG of the view's size in points.
[[nodiscard]] SENTREL_API bool renderSVG(View& view, const std::string& path, double now = mediaTime());

/// A one-page PDF of the view's size in points.
[[nodiscard]] SENTREL_API bool renderPDF(View& view, const std::string& path, double now = mediaTime());

} // namespace sentrel
