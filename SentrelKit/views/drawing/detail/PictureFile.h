// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Pixels and picture files as the drawing system writes them. Each draws on a canvas whose y grows downward from the
/// upper left corner, in points. False if the file cannot be written; what it leaves then is no picture.

#include <SentrelKit/views/drawing/Canvas.h>

#include <functional>
#include <string>

namespace sentrel {

/// Draws the content of a picture.
using PictureContent = std::function<void(Canvas&)>;

/// Draws over pixels of 32 bits, 0xAARRGGBB in the machine's byte order, premultiplied; rows start `stride` bytes apart
/// and a point takes `scale` pixels. False if the drawing system cannot.
[[nodiscard]] bool drawPixels(void* data, int width, int height, int stride, double scale,
                              const PictureContent& content);

/// A PNG of so many pixels on a transparent ground, a point taking `scale` of them.
[[nodiscard]] bool writePNG(const std::string& path, int width, int height, double scale,
                            const PictureContent& content);

/// An SVG of a size in points. False where the drawing system writes none.
[[nodiscard]] bool writeSVG(const std::string& path, Size size, const PictureContent& content);

/// A one-page PDF of a size in points.
[[nodiscard]] bool writePDF(const std::string& path, Size size, const PictureContent& content);

} // namespace sentrel
