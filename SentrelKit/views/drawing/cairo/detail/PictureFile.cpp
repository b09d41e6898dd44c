// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/detail/PictureFile.h>

#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <memory>

namespace sentrel {

namespace {

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
};
struct DestroyContext {
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, DestroySurface>;

bool draw(cairo_surface_t* surface, double scale, const PictureContent& content) {
    const std::unique_ptr<cairo_t, DestroyContext> context(cairo_create(surface));
    cairo_scale(context.get(), scale, scale);
    {
        CairoCanvas canvas(context.get());
        content(canvas);
    }
    return cairo_status(context.get()) == CAIRO_STATUS_SUCCESS;
}

bool writeVector(const Surface& surface, const PictureContent& content) {
    const bool drawn = draw(surface.get(), 1.0, content);
    cairo_surface_finish(surface.get());
    return drawn && cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS;
}

} // namespace

bool drawPixels(void* data, int width, int height, int stride, double scale, const PictureContent& content) {
    const Surface surface(cairo_image_surface_create_for_data(static_cast<unsigned char*>(data), CAIRO_FORMAT_ARGB32,
                                                              width, height, stride));
    const bool drawn = draw(surface.get(), scale, content);
    cairo_surface_finish(surface.get()); // the pixels are the host's again
    return drawn;
}

bool writePNG(const std::string& path, int width, int height, double scale, const PictureContent& content) {
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    return draw(surface.get(), scale, content) &&
           cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

bool writeSVG(const std::string& path, Size size, const PictureContent& content) {
    return writeVector(Surface(cairo_svg_surface_create(path.c_str(), size.width, size.height)), content);
}

bool writePDF(const std::string& path, Size size, const PictureContent& content) {
    return writeVector(Surface(cairo_pdf_surface_create(path.c_str(), size.width, size.height)), content);
}

} // namespace sentrel
