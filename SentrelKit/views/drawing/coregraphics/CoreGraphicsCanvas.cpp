// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/views/drawing/coregraphics/detail/CoreTextLine.h>
#include <SentrelKit/views/drawing/detail/Drawable.h>

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace sentrel {

using platform::CFOwner;

namespace {

constexpr double sharpestMiter = 100.0;

CGColorSpaceRef colorSpace() {
    static const CGColorSpaceRef sRGB = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    return sRGB;
}

std::array<CGFloat, 4> components(const Color& color) noexcept {
    return {color.red, color.green, color.blue, color.alpha};
}

Transform transformOf(const CGAffineTransform& transform) noexcept {
    return {transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty};
}

CGPoint pointOf(Point point) noexcept {
    return CGPointMake(point.x, point.y);
}

void setFillColor(CGContextRef context, const Color& color) {
    CGContextSetFillColorSpace(context, colorSpace());
    CGContextSetFillColor(context, components(color).data());
}

// Arcs as curves: of an arc past a full turn the system draws only a circle.
Path curvesOf(const Path& path) {
    Path figure;
    for (const PathElement& element : path.elements()) {
        if (element.kind != PathElement::Kind::arc || element.radius > 0.0)
            figure.append(element);
    }
    return figure.cgPath();
}

} // namespace

CoreGraphicsCanvas::CoreGraphicsCanvas(CGContextRef context) : context_(CGContextRetain(context)) {
    CGContextSaveGState(context_);
    state_ = present();
}

CoreGraphicsCanvas::~CoreGraphicsCanvas() {
    while (!saved_.empty())
        restore();
    CGContextBeginPath(context_);
    CGContextRestoreGState(context_);
    CGContextRelease(context_);
}

CoreGraphicsCanvas::State CoreGraphicsCanvas::present() const {
    const Transform transform = transformOf(CGContextGetCTM(context_));
    return {longestStep(transform), isUsable(transform)};
}

void CoreGraphicsCanvas::save() {
    saved_.push_back(state_);
    CGContextSaveGState(context_);
}

void CoreGraphicsCanvas::restore() {
    if (saved_.empty())
        return;
    state_ = saved_.back();
    saved_.pop_back();
    CGContextRestoreGState(context_);
}

void CoreGraphicsCanvas::concat(const Transform& transform) {
    if (!state_.drawable)
        return;
    state_.drawable = isUsable(transform);
    if (!state_.drawable)
        return;
    CGContextConcatCTM(context_, CGAffineTransformMake(transform.a, transform.b, transform.c, transform.d, transform.tx,
                                                       transform.ty));
    state_ = present();
}

// Lays the path down in the context. False, with nothing laid down, for one that must not be drawn.
bool CoreGraphicsCanvas::trace(const Path& path) {
    CGContextBeginPath(context_);
    if (!state_.drawable || !isFinite(path))
        return false;
    const Path figure = curvesOf(path);
    for (const PathElement& element : figure.elements()) {
        const auto& [p, q, r] = element.points;
        // A line or a curve begins a figure where there is none yet; the system asks for a point to go on from.
        const bool begins = CGContextIsPathEmpty(context_);
        switch (element.kind) {
        case PathElement::Kind::closePath:
            if (!begins)
                CGContextClosePath(context_);
            break;
        case PathElement::Kind::curveTo:
            if (begins)
                CGContextMoveToPoint(context_, p.x, p.y);
            CGContextAddCurveToPoint(context_, p.x, p.y, q.x, q.y, r.x, r.y);
            break;
        case PathElement::Kind::lineTo:
            if (!begins) {
                CGContextAddLineToPoint(context_, p.x, p.y);
                break;
            }
            [[fallthrough]];
        case PathElement::Kind::moveTo:
        case PathElement::Kind::arc:
        default:
            CGContextMoveToPoint(context_, p.x, p.y);
            break;
        }
    }
    return true;
}

bool CoreGraphicsCanvas::setStrokeStyle(const Path& path) {
    if (!std::isfinite(path.lineWidth()) || !std::isfinite(path.miterLimit()))
        return false;
    CGContextSetLineWidth(context_, path.lineWidth() > 0.0 ? path.lineWidth() : 1.0 / state_.scale);
    CGContextSetLineCap(context_, static_cast<CGLineCap>(path.lineCapStyle()));
    CGContextSetLineJoin(context_, static_cast<CGLineJoin>(path.lineJoinStyle()));
    CGContextSetMiterLimit(context_, std::clamp(path.miterLimit(), 1.0, sharpestMiter));
    const std::vector<double>& dash = path.lineDash();
    const bool isDashed = isUsable(dash, path.lineDashPhase(), state_.scale);
    CGContextSetLineDash(context_, isDashed ? path.lineDashPhase() : 0.0, isDashed ? dash.data() : nullptr,
                         isDashed ? dash.size() : 0);
    return true;
}

// Fills what the path in the context holds.
void CoreGraphicsCanvas::fillGradient(const LinearGradient& gradient) {
    if (gradient.colors.empty() || !isFinite(gradient.start) || !isFinite(gradient.end) || !isFinite(gradient.colors) ||
        CGContextIsPathEmpty(context_))
        return;
    std::vector<CGFloat> stops;
    for (const Color& color : gradient.colors) {
        const auto parts = components(color);
        stops.insert(stops.end(), parts.begin(), parts.end());
    }
    if (gradient.colors.size() == 1) // a gradient has two ends
        stops.insert(stops.end(), stops.begin(), stops.begin() + 4);
    const CFOwner<CGGradientRef> colors(
        CGGradientCreateWithColorComponents(colorSpace(), stops.data(), nullptr, stops.size() / 4));
    CGContextSaveGState(context_);
    CGContextClip(context_);
    CGContextDrawLinearGradient(context_, colors.get(), pointOf(gradient.start), pointOf(gradient.end),
                                kCGGradientDrawsBeforeStartLocation | kCGGradientDrawsAfterEndLocation);
    CGContextRestoreGState(context_);
}

void CoreGraphicsCanvas::clip(const Path& path) {
    // The system takes an empty figure for no clip at all.
    state_.drawable = trace(path) && !CGContextIsPathEmpty(context_);
    if (state_.drawable)
        CGContextClip(context_);
}

void CoreGraphicsCanvas::fill(const Path& path, const Paint& paint) {
    if (path.empty() || !trace(path))
        return;
    if (const auto* gradient = std::get_if<LinearGradient>(&paint)) {
        fillGradient(*gradient);
    } else if (const Color& color = std::get<Color>(paint); isFinite(color)) {
        setFillColor(context_, color);
        CGContextFillPath(context_);
    }
}

void CoreGraphicsCanvas::fillSideBySide(const std::vector<FilledPath>& figures) {
    // The shares that two figures cover of a pixel on their common edge make up the whole of it: they are added up
    // where nothing else lies, and what comes of it is laid over the rest.
    CGContextSaveGState(context_);
    CGContextBeginTransparencyLayer(context_, nullptr);
    CGContextSetBlendMode(context_, kCGBlendModePlusLighter);
    Canvas::fillSideBySide(figures);
    CGContextEndTransparencyLayer(context_);
    CGContextRestoreGState(context_);
}

void CoreGraphicsCanvas::stroke(const Path& path, const Paint& paint) {
    if (path.empty() || !trace(path) || !setStrokeStyle(path))
        return;
    if (const auto* gradient = std::get_if<LinearGradient>(&paint)) {
        CGContextReplacePathWithStrokedPath(context_);
        fillGradient(*gradient);
    } else if (const Color& color = std::get<Color>(paint); isFinite(color)) {
        CGContextSetStrokeColorSpace(context_, colorSpace());
        CGContextSetStrokeColor(context_, components(color).data());
        CGContextStrokePath(context_);
    }
}

void CoreGraphicsCanvas::drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                                  TextAlignment alignment) {
    const bool usable = isFinite(Point{box.x, box.y}) && isFinite(Point{box.width, box.height}) && isFinite(color) &&
                        isTextSize(font.size()) && isTextSize(font.size() * state_.scale);
    if (!state_.drawable || !usable || text.empty())
        return;
    save();
    concat(Transform::translation(box.center().x, box.center().y));
    const CGAffineTransform now = CGContextGetCTM(context_);
    if (now.a * now.d - now.b * now.c < 0.0)
        concat(Transform::scale(1.0, -1.0));
    if (state_.drawable) {
        constexpr double unseen = 0.5; // pixels that a line may stick out: less than its side bearings
        CoreTextLine line(text, font.face(), font.size());
        if (line.size().width <= box.width + unseen / state_.scale || line.shorten(box.width)) {
            const double part = alignment == TextAlignment::left ? 0.0 : alignment == TextAlignment::center ? 0.5 : 1.0;
            const double shift = shiftToMiddle(line.baseline(), line.capHeight(), box.height - line.size().height);
            setFillColor(context_, color);
            line.draw(context_,
                      {(box.width - line.size().width) * part - box.width / 2.0, -line.size().height / 2.0 - shift});
        }
    }
    restore();
}

std::optional<Transform> CoreGraphicsCanvas::toPixels() const {
    if (!state_.drawable)
        return std::nullopt;
    return transformOf(CGContextGetUserSpaceToDeviceSpaceTransform(context_));
}

} // namespace sentrel
