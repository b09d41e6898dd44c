// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <cairo.h>

#include <array>
#include <cmath>

namespace sentrel {

/// The pixels that a view makes on a ground at a scale.
class ImageOf {
public:
    explicit ImageOf(View& view, double scale = 1.0, const Color& ground = FUIColor::white())
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
                                              static_cast<int>(std::ceil(view.bounds().width * scale)),
                                              static_cast<int>(std::ceil(view.bounds().height * scale)))) {
        cairo_t* context = cairo_create(surface_);
        cairo_scale(context, scale, scale);
        {
            CairoCanvas canvas(context);
            canvas.fill(Path::rect(view.bounds()), ground);
            view.display(canvas);
        }
        cairo_destroy(context);
        cairo_surface_flush(surface_);
    }
    ~ImageOf() { cairo_surface_destroy(surface_); }
    ImageOf(const ImageOf&) = delete;
    ImageOf& operator=(const ImageOf&) = delete;

    [[nodiscard]] int width() const noexcept { return cairo_image_surface_get_width(surface_); }
    [[nodiscard]] int height() const noexcept { return cairo_image_surface_get_height(surface_); }

    /// Red, green and blue, 0 to 255.
    [[nodiscard]] std::array<int, 3> at(int x, int y) const {
        const unsigned char* pixel =
            cairo_image_surface_get_data(surface_) + y * cairo_image_surface_get_stride(surface_) + x * 4;
        return {pixel[2], pixel[1], pixel[0]};
    }

private:
    cairo_surface_t* surface_;
};

} // namespace sentrel
