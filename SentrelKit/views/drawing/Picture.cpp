// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Picture.h>

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <cmath>
#include <memory>

namespace sentrel {

namespace {

constexpr double largestSide = 32767.0;

struct DestroySurface {
    void operator()(cairo_surface_t* surface) const noexcept { cairo_surface_destroy(surface); }
};
struct DestroyContext {
    void operator()(cairo_t* context) const noexcept { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, DestroySurface>;

bool isPictureSide(double length) noexcept {
    return length > 0.0 && length <= largestSide;
}

bool draw(View& view, cairo_surface_t* surface, double scale, double now) {
    const std::unique_ptr<cairo_t, DestroyContext> context(cairo_create(surface));
    cairo_scale(context.get(), scale, scale);
    {
        CairoCanvas canvas(context.get());
        view.display(canvas, now);
    }
    return cairo_status(context.get()) == CAIRO_STATUS_SUCCESS;
}

using MakeVectorSurface = cairo_surface_t* (*)(const char*, double, double);

bool renderVector(View& view, const std::string& path, double now, MakeVectorSurface make) {
    const Rect bounds = view.bounds();
    if (!isPictureSide(bounds.width) || !isPictureSide(bounds.height))
        return false;
    const Surface surface(make(path.c_str(), bounds.width, bounds.height));
    const bool drawn = draw(view, surface.get(), 1.0, now);
    cairo_surface_finish(surface.get());
    return drawn && cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS;
}

} // namespace

bool renderPNG(View& view, const std::string& path, double scale, double now) {
    const double width = std::ceil(view.bounds().width * scale);
    const double height = std::ceil(view.bounds().height * scale);
    if (!isPictureSide(width) || !isPictureSide(height) || !(scale > 0.0))
        return false;
    const Surface surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(width), static_cast<int>(height)));
    return draw(view, surface.get(), scale, now) &&
           cairo_surface_write_to_png(surface.get(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

bool renderSVG(View& view, const std::string& path, double now) {
    return renderVector(view, path, now, cairo_svg_surface_create);
}

bool renderPDF(View& view, const std::string& path, double now) {
    return renderVector(view, path, now, cairo_pdf_surface_create);
}

} // namespace sentrel
