// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Picture.h>

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/detail/PictureFile.h>

#include <cmath>

namespace sentrel {

namespace {

constexpr double largestSide = 32767.0;

bool isPictureSide(double length) noexcept {
    return length > 0.0 && length <= largestSide;
}

PictureContent contentOf(View& view, double now) {
    return [&view, now](Canvas& canvas) { view.display(canvas, now); };
}

using WriteVector = bool (*)(const std::string&, Size, const PictureContent&);

bool renderVector(View& view, const std::string& path, double now, WriteVector write) {
    const Rect bounds = view.bounds();
    return isPictureSide(bounds.width) && isPictureSide(bounds.height) &&
           write(path, {bounds.width, bounds.height}, contentOf(view, now));
}

} // namespace

bool renderPNG(View& view, const std::string& path, double scale, double now) {
    const double width = std::ceil(view.bounds().width * scale);
    const double height = std::ceil(view.bounds().height * scale);
    return isPictureSide(width) && isPictureSide(height) && scale > 0.0 &&
           writePNG(path, static_cast<int>(width), static_cast<int>(height), scale, contentOf(view, now));
}

bool renderSVG(View& view, const std::string& path, double now) {
    return renderVector(view, path, now, writeSVG);
}

bool renderPDF(View& view, const std::string& path, double now) {
    return renderVector(view, path, now, writePDF);
}

} // namespace sentrel
