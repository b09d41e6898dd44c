// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Picture.h>

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/detail/PictureFile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

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

// Whole pixels, of which a point takes `scale`.
struct PixelRect {
    int left;
    int top;
    int right;
    int bottom;

    [[nodiscard]] bool isEmpty() const noexcept { return left >= right || top >= bottom; }
    [[nodiscard]] Rect inPoints(double scale) const noexcept {
        return {left / scale, top / scale, (right - left) / scale, (bottom - top) / scale};
    }
};

int held(double coordinate, int most) noexcept {
    return coordinate > 0.0 ? static_cast<int>(std::min(coordinate, static_cast<double>(most))) : 0;
}

// The pixels that a rectangle touches.
PixelRect touched(const Rect& area, double scale, int width, int height) noexcept {
    return {held(std::floor(area.x * scale), width), held(std::floor(area.y * scale), height),
            held(std::ceil((area.x + area.width) * scale), width),
            held(std::ceil((area.y + area.height) * scale), height)};
}

} // namespace

bool renderPixels(View& view, void* data, int width, int height, int stride, double scale, double now) {
    return renderPixels(view, data, width, height, stride, scale, {{0.0, 0.0, width / scale, height / scale}}, now);
}

bool renderPixels(View& view, void* data, int width, int height, int stride, double scale,
                  const std::vector<Rect>& areas, double now) {
    if (!data || !isPictureSide(width) || !isPictureSide(height) || stride / 4 < width || stride % 4 != 0 ||
        !(scale > 0.0) || !std::isfinite(scale))
        return false;
    std::vector<Rect> wanted;
    for (const Rect& area : areas) {
        const PixelRect pixels = touched(area, scale, width, height);
        if (pixels.isEmpty())
            continue;
        wanted.push_back(pixels.inPoints(scale));
        for (int row = pixels.top; row < pixels.bottom; ++row) {
            auto* const start = static_cast<std::byte*>(data) + std::ptrdiff_t{stride} * row;
            std::fill(start + std::ptrdiff_t{4} * pixels.left, start + std::ptrdiff_t{4} * pixels.right, std::byte{});
        }
    }
    return drawPixels(data, width, height, stride, scale,
                      [&](Canvas& canvas) { view.displayRects(canvas, wanted, now); });
}

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
