// SPDX-License-Identifier: Apache-2.0
#include "tests/views/support/Image.h"

#include "tests/views/support/PictureTolerance.h"

#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <cairo.h>

namespace sentrel {

// The golden pictures were drawn by it.
const PictureTolerance goldenTolerance = sameDrawingSystem;

struct Image::Content {
    explicit Content(cairo_surface_t* drawn) : surface(drawn), context(cairo_create(drawn)) {}
    ~Content() {
        cairo_destroy(context);
        cairo_surface_destroy(surface);
    }
    Content(const Content&) = delete;
    Content& operator=(const Content&) = delete;

    cairo_surface_t* surface;
    cairo_t* context;
};

Image::Image(int width, int height)
    : content_(std::make_unique<Content>(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height))) {}

Image::Image(const std::string& path)
    : content_(std::make_unique<Content>(cairo_image_surface_create_from_png(path.c_str()))) {}

Image::~Image() = default;

int Image::width() const noexcept {
    return cairo_image_surface_get_width(content_->surface);
}

int Image::height() const noexcept {
    return cairo_image_surface_get_height(content_->surface);
}

std::vector<unsigned char> Image::bytes() const {
    cairo_surface_flush(content_->surface);
    const unsigned char* data = cairo_image_surface_get_data(content_->surface);
    std::vector<unsigned char> bytes;
    for (int y = 0; y < height(); ++y, data += cairo_image_surface_get_stride(content_->surface))
        bytes.insert(bytes.end(), data, data + static_cast<std::ptrdiff_t>(width()) * 4);
    return bytes;
}

std::unique_ptr<Canvas> Image::canvas() const {
    return std::make_unique<CairoCanvas>(content_->context);
}

bool Image::isIntact() const noexcept {
    return cairo_status(content_->context) == CAIRO_STATUS_SUCCESS;
}

} // namespace sentrel
