// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <SentrelKit/views/drawing/cairo/detail/FontFace.h>
#include <SentrelKit/views/drawing/cairo/detail/PangoText.h>
#include <SentrelKit/views/drawing/detail/Drawable.h>

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace sentrel {

namespace {

// Cairo keeps device coordinates in 24 bits before the binary point and lets larger ones wrap. Coordinates and widths
// are held to these numbers of pixels, whose sum stays inside.
constexpr double farthest = 2.0e6;
constexpr double widest = 5.0e4;
constexpr double sharpestMiter = 100.0;

Transform transformOf(const cairo_matrix_t& matrix) noexcept {
    return {matrix.xx, matrix.yx, matrix.xy, matrix.yy, matrix.x0, matrix.y0};
}

bool isInRange(const cairo_matrix_t& matrix) noexcept {
    return isUsable(transformOf(matrix)) && std::abs(matrix.x0) <= farthest && std::abs(matrix.y0) <= farthest;
}

// How many lines of a stroke cairo gets at a time: the time that it takes grows with the square of what a stroke lays
// over itself, to minutes for some thousand lines up and down.
constexpr std::size_t piece = 64;

// Whether a stroke looks the same in pieces: one line of many points whose pieces end as they would go on, in a colour
// that is no denser where it lies twice.
bool goesInPieces(const Path& path, const Paint& paint) noexcept {
    const std::vector<PathElement>& elements = path.elements();
    const auto* color = std::get_if<Color>(&paint);
    return elements.size() > 8 * piece && color && color->alpha >= 1.0 && path.lineDash().empty() &&
           path.lineCapStyle() == LineCap::round && path.lineJoinStyle() == LineJoin::round &&
           elements[0].kind == PathElement::Kind::moveTo &&
           std::all_of(elements.begin() + 1, elements.end(),
                       [](const PathElement& element) { return element.kind == PathElement::Kind::lineTo; });
}

bool hasPixels(cairo_surface_t* surface) noexcept {
    switch (cairo_surface_get_type(surface)) {
    case CAIRO_SURFACE_TYPE_PDF:
    case CAIRO_SURFACE_TYPE_PS:
    case CAIRO_SURFACE_TYPE_SVG:
    case CAIRO_SURFACE_TYPE_RECORDING:
    case CAIRO_SURFACE_TYPE_SCRIPT:
        return false;
    default:
        return true;
    }
}

struct DestroyPattern {
    void operator()(cairo_pattern_t* pattern) const noexcept { cairo_pattern_destroy(pattern); }
};

} // namespace

CairoCanvas::CairoCanvas(cairo_t* context) : context_(cairo_reference(context)) {
    cairo_save(context_);
    cairo_matrix_t matrix;
    cairo_get_matrix(context_, &matrix);
    state_ = {longestStep(transformOf(matrix)), isInRange(matrix)};
}

CairoCanvas::~CairoCanvas() {
    while (!saved_.empty())
        restore();
    cairo_new_path(context_);
    cairo_restore(context_);
    cairo_destroy(context_);
}

void CairoCanvas::save() {
    saved_.push_back(state_);
    cairo_save(context_);
}

void CairoCanvas::restore() {
    if (saved_.empty())
        return;
    state_ = saved_.back();
    saved_.pop_back();
    cairo_restore(context_);
}

void CairoCanvas::concat(const Transform& transform) {
    if (!state_.drawable)
        return;
    cairo_matrix_t mapped;
    cairo_get_matrix(context_, &mapped);
    const cairo_matrix_t first{transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty};
    cairo_matrix_multiply(&mapped, &first, &mapped);
    state_ = {longestStep(transformOf(mapped)), isInRange(mapped)};
    if (state_.drawable)
        cairo_set_matrix(context_, &mapped);
}

// Lays the path down in cairo. False, with nothing laid down, for one that must not be drawn.
bool CairoCanvas::trace(const Path& path) {
    cairo_new_path(context_);
    if (!state_.drawable || !isFinite(path))
        return false;
    const double limit = farthest / state_.scale;
    const auto held = [limit](double coordinate) { return std::clamp(coordinate, -limit, limit); };
    for (const PathElement& element : path.elements()) {
        const auto& [p, q, r] = element.points;
        switch (element.kind) {
        case PathElement::Kind::lineTo:
            cairo_line_to(context_, held(p.x), held(p.y));
            break;
        case PathElement::Kind::curveTo:
            cairo_curve_to(context_, held(p.x), held(p.y), held(q.x), held(q.y), held(r.x), held(r.y));
            break;
        case PathElement::Kind::closePath:
            cairo_close_path(context_);
            break;
        case PathElement::Kind::arc: {
            if (element.radius <= 0.0)
                break;
            const PathElement arc = element.boundedArc();
            constexpr double radian = 3.14159265358979323846 / 180.0;
            const auto sweep = arc.endAngle < arc.startAngle ? cairo_arc_negative : cairo_arc;
            sweep(context_, held(p.x), held(p.y), held(arc.radius), arc.startAngle * radian, arc.endAngle * radian);
            break;
        }
        case PathElement::Kind::moveTo:
        default:
            cairo_move_to(context_, held(p.x), held(p.y));
            break;
        }
    }
    return true;
}

bool CairoCanvas::setPaint(const Paint& paint) {
    if (const auto* color = std::get_if<Color>(&paint)) {
        if (!isFinite(*color))
            return false;
        cairo_set_source_rgba(context_, color->red, color->green, color->blue, color->alpha);
        return true;
    }
    const auto& gradient = std::get<LinearGradient>(paint);
    if (gradient.colors.empty() || !isFinite(gradient.start) || !isFinite(gradient.end) || !isFinite(gradient.colors))
        return false;
    const double limit = farthest / state_.scale;
    const auto held = [limit](double coordinate) { return std::clamp(coordinate, -limit, limit); };
    const std::unique_ptr<cairo_pattern_t, DestroyPattern> pattern(cairo_pattern_create_linear(
        held(gradient.start.x), held(gradient.start.y), held(gradient.end.x), held(gradient.end.y)));
    const auto last = static_cast<double>(std::max<std::size_t>(gradient.colors.size() - 1, 1));
    double index = 0.0;
    for (const Color& color : gradient.colors) {
        cairo_pattern_add_color_stop_rgba(pattern.get(), index / last, color.red, color.green, color.blue, color.alpha);
        index += 1.0;
    }
    cairo_set_source(context_, pattern.get());
    return true;
}

bool CairoCanvas::setStrokeStyle(const Path& path) {
    if (!std::isfinite(path.lineWidth()) || !std::isfinite(path.miterLimit()))
        return false;
    const double width = std::max(path.lineWidth(), 0.0);
    cairo_set_line_width(context_, width > 0.0 ? std::min(width, widest / state_.scale) : 1.0 / state_.scale);
    cairo_set_line_cap(context_, static_cast<cairo_line_cap_t>(path.lineCapStyle()));
    cairo_set_line_join(context_, static_cast<cairo_line_join_t>(path.lineJoinStyle()));
    cairo_set_miter_limit(context_, std::clamp(path.miterLimit(), 1.0, sharpestMiter));
    const std::vector<double>& dash = path.lineDash();
    if (isUsable(dash, path.lineDashPhase(), state_.scale))
        cairo_set_dash(context_, dash.data(), static_cast<int>(dash.size()), path.lineDashPhase());
    else
        cairo_set_dash(context_, nullptr, 0, 0.0);
    return true;
}

void CairoCanvas::clip(const Path& path) {
    state_.drawable = trace(path);
    if (state_.drawable)
        cairo_clip(context_);
}

void CairoCanvas::fill(const Path& path, const Paint& paint) {
    if (!path.empty() && trace(path) && setPaint(paint))
        cairo_fill(context_);
}

void CairoCanvas::fillSideBySide(const std::vector<FilledPath>& figures) {
    if (!toPixels()) {
        Canvas::fillSideBySide(figures);
        return;
    }
    // The shares that two figures cover of a pixel on their common edge make up the whole of it: they are added up
    // where nothing else lies, and what comes of it is laid over the rest.
    cairo_push_group(context_);
    cairo_set_operator(context_, CAIRO_OPERATOR_ADD);
    Canvas::fillSideBySide(figures);
    cairo_pop_group_to_source(context_);
    cairo_paint(context_);
}

void CairoCanvas::stroke(const Path& path, const Paint& paint) {
    if (path.empty() || !trace(path) || !setStrokeStyle(path) || !setPaint(paint))
        return;
    if (!goesInPieces(path, paint)) {
        cairo_stroke(context_);
        return;
    }
    cairo_path_t* whole = cairo_copy_path(context_);
    cairo_new_path(context_);
    for (int i = 0, lines = 0; i < whole->num_data; i += whole->data[i].header.length) {
        const auto& point = whole->data[i + 1].point;
        cairo_line_to(context_, point.x, point.y);
        if (++lines % static_cast<int>(piece) == 0) {
            cairo_stroke(context_);
            cairo_move_to(context_, point.x, point.y);
        }
    }
    cairo_stroke(context_);
    cairo_path_destroy(whole);
}

// Draws a layout's line about the origin, in units of its font size.
void CairoCanvas::drawLine(PangoLayout* layout, double capHeight, const Color& color, Size box,
                           TextAlignment alignment) {
    constexpr double unseen = 0.5; // what a line may stick out: less than its side bearings
    const auto extents = [layout] {
        PangoRectangle logical{};
        pango_layout_get_extents(layout, nullptr, &logical);
        return Size{static_cast<double>(logical.width) / PANGO_SCALE,
                    static_cast<double>(logical.height) / PANGO_SCALE};
    };
    Size size = extents();
    if (size.width > box.width + unseen) {
        shortenLine(layout, box.width);
        size = extents();
        if (size.width > box.width + unseen)
            return;
    }
    const double baseline = static_cast<double>(pango_layout_get_baseline(layout)) / PANGO_SCALE - size.height / 2.0;
    const double part = alignment == TextAlignment::left ? 0.0 : alignment == TextAlignment::center ? 0.5 : 1.0;
    cairo_new_path(context_);
    cairo_move_to(context_, (box.width - size.width) * part - box.width / 2.0,
                  baseline + shiftToMiddle(baseline, capHeight, box.height - size.height));
    cairo_set_source_rgba(context_, color.red, color.green, color.blue, color.alpha);
    pango_cairo_show_layout_line(context_, pango_layout_get_line_readonly(layout, 0));
    cairo_new_path(context_);
}

void CairoCanvas::drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                           TextAlignment alignment) {
    const bool usable = isFinite(Point{box.x, box.y}) && isFinite(Point{box.width, box.height}) && isFinite(color) &&
                        isTextSize(font.size()) && isTextSize(font.size() * state_.scale);
    if (!state_.drawable || !usable || text.empty())
        return;
    save();
    concat(Transform::translation(box.center().x, box.center().y));
    cairo_matrix_t matrix;
    cairo_get_matrix(context_, &matrix);
    if (matrix.xx * matrix.yy - matrix.xy * matrix.yx < 0.0)
        concat(Transform::scale(1.0, -1.0));
    // Laid out at its size on the device: Pango fails for small sizes under large transforms.
    const double scale = state_.scale;
    concat(Transform::scale(1.0 / scale, 1.0 / scale));
    if (state_.drawable)
        drawLine(layoutLine(context_, text, font.face(), font.size() * scale),
                 font.face().capHeight * font.size() * scale, color, {box.width * scale, box.height * scale},
                 alignment);
    restore();
}

std::optional<Transform> CairoCanvas::toPixels() const {
    cairo_surface_t* surface = cairo_get_group_target(context_);
    if (!hasPixels(surface) || !state_.drawable)
        return std::nullopt;
    cairo_matrix_t matrix;
    cairo_get_matrix(context_, &matrix);
    Transform device; // what the surface does with what the context's transform gives
    cairo_surface_get_device_scale(surface, &device.a, &device.d);
    cairo_surface_get_device_offset(surface, &device.tx, &device.ty);
    return device.after(transformOf(matrix));
}

} // namespace sentrel
