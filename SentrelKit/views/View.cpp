// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/View.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/detail/PaleCanvas.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/layers/Layer.h>

#include <algorithm>
#include <utility>

namespace sentrel {

namespace {

// The rectangle that a transform without turning makes of another.
Rect mapped(const Transform& transform, Rect rect) noexcept {
    const Point one = transform.apply({rect.x, rect.y});
    const Point other = transform.apply({rect.x + rect.width, rect.y + rect.height});
    return {std::min(one.x, other.x), std::min(one.y, other.y), rect.width, rect.height};
}

bool meet(const Rect& one, const Rect& other) noexcept {
    return one.x < other.x + other.width && other.x < one.x + one.width && one.y < other.y + other.height &&
           other.y < one.y + one.height;
}

} // namespace

// One drawing of a tree: what it goes to, and where it is wanted.
struct View::Display {
    Canvas& canvas;
    double now;
    const std::vector<Rect>* areas; // all, if null

    [[nodiscard]] bool wants(Rect rect) const {
        return !areas || std::ranges::any_of(*areas, [&](const Rect& area) { return meet(area, rect); });
    }
};

View::View(Rect frame) : frame_(frame), madeSize_{frame.width, frame.height} {}

View::View(Coder& coder) : View(coder.decodeRect("frame")) {}

View::~View() {
    for (const std::shared_ptr<View>& view : subviews_)
        view->superview_ = nullptr;
    setWantsLayer(false);
}

void View::setFrame(Rect frame) {
    if (frame == frame_)
        return;
    if (frame.width != frame_.width || frame.height != frame_.height)
        setNeedsLayout();
    frame_ = frame;
    preparePointer();
    requestDisplay();
    if (superview_)
        superview_->requestDisplay();
    if (layer_ && layer_->frame() != bounds())
        layer_->setFrame(bounds()); // its request is the view's too
    else
        callDisplayHandlers();
}

void View::setNeedsDisplay(bool needed) {
    needsDisplay_ = needed;
    isDamaged_ = isDamaged_ || needed;
    if (needed)
        callDisplayHandlers();
}

void View::requestDisplay() noexcept {
    needsDisplay_ = true;
    isDamaged_ = true;
}

void View::callDisplayHandlers() const {
    // A handler may take off this view's own, or release the view.
    const std::weak_ptr<const std::function<void()>> own = displayHandler_;
    if (superview_)
        superview_->callDisplayHandlers();
    if (const auto handler = own.lock())
        (*handler)();
}

void View::setDisplayHandler(std::function<void()> handler) {
    displayHandler_ = handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

void View::setAppearance(std::optional<Appearance> appearance) {
    if (std::exchange(appearance_, appearance) != appearance)
        setNeedsDisplay(true);
}

Appearance View::effectiveAppearance() const noexcept {
    if (appearance_)
        return *appearance_;
    return superview_ ? superview_->effectiveAppearance() : Appearance::light;
}

void View::addSubview(std::shared_ptr<View> view) {
    SENTREL_ASSERT(view);
    for (const View* ancestor = this; ancestor; ancestor = ancestor->superview_)
        SENTREL_ASSERT(ancestor != view.get());
    view->removeFromSuperview();
    view->superview_ = this;
    View& added = *view;
    subviews_.push_back(std::move(view));
    added.preparePointer();
    invalidateNaturalSize();
    added.setNeedsDisplay(true);
}

void View::removeFromSuperview() {
    if (!superview_)
        return;
    loseFocus();
    View& holder = *std::exchange(superview_, nullptr);
    // The last owner may go with the entry: nothing of this view is touched after that.
    std::erase_if(holder.subviews_, [this](const std::shared_ptr<View>& view) { return view.get() == this; });
    holder.invalidateNaturalSize();
    holder.setNeedsDisplay(true);
}

void View::setHidden(bool hidden) {
    if (hidden == hidden_)
        return;
    hidden_ = hidden;
    if (hidden)
        loseFocus();
    if (superview_) {
        superview_->invalidateNaturalSize();
        superview_->requestDisplay();
    }
    setNeedsDisplay(true);
}

void View::setEnabled(bool enabled) {
    if (enabled == enabled_)
        return;
    enabled_ = enabled;
    if (!enabled)
        loseFocus();
    setNeedsDisplay(true);
}

bool View::isUsable() const noexcept {
    return enabled_ && !hidden_ && (!superview_ || superview_->isUsable());
}

void View::loseFocus() {
    setFocus(Focus::none);
    for (const std::shared_ptr<View>& view : subviews_)
        view->loseFocus();
}

void View::setFocus(Focus focus) {
    if (focus == focus_)
        return;
    const bool hadRing = std::exchange(focus_, focus) == Focus::visible;
    if (hadRing || focus == Focus::visible)
        setNeedsDisplay(true);
}

bool View::keyDown(const KeyEvent& /*event*/) {
    return false;
}

bool View::performPress() {
    return false;
}

AccessibilityRole View::accessibilityRole() const {
    return role_.value_or(ownAccessibilityRole());
}

std::string View::accessibilityName() const {
    return name_.empty() ? ownAccessibilityName() : name_;
}

Size View::naturalSize() const {
    if (naturalSize_)
        return *naturalSize_;
    if (!measured_)
        measured_ = fittingSize();
    return *measured_;
}

void View::setNaturalSize(std::optional<Size> size) {
    naturalSize_ = size;
    invalidateNaturalSize();
    callDisplayHandlers();
}

void View::setStretch(double share) {
    if (share == stretch_)
        return;
    stretch_ = share;
    setNeedsLayout();
    callDisplayHandlers();
}

void View::invalidateNaturalSize() {
    for (View* view = this; view; view = view->superview_) {
        view->measured_.reset();
        view->needsLayout_ = true;
    }
}

void View::setNeedsLayout() {
    for (View* view = this; view; view = view->superview_)
        view->needsLayout_ = true;
}

void View::layoutIfNeeded() {
    if (!needsLayout_)
        return;
    layout();
    const std::vector<std::shared_ptr<View>> inside = subviews_; // those calls may change the tree
    for (const std::shared_ptr<View>& view : inside)
        view->layoutIfNeeded();
    needsLayout_ = false; // last: a view that is placed asks its superviews too
}

void View::layout() {}

Transform View::toParent(bool parentFlipped, Point origin) const {
    if (isFlipped() == parentFlipped)
        return Transform::translation(origin.x, origin.y);
    return {1.0, 0.0, 0.0, -1.0, origin.x, origin.y + frame_.height};
}

Transform View::toSuperview() const {
    return superview_ ? toParent(superview_->isFlipped(), {frame_.x, frame_.y}) : toParent(true, {});
}

Transform View::toSurface() const {
    return superview_ ? superview_->toSurface().after(toSuperview()) : toSuperview();
}

Point View::fromSuperview(Point point) const {
    // A place in a superview is a translation, maybe upside down: its own opposite in y.
    const Transform place = toSuperview();
    return {point.x - place.tx, (point.y - place.ty) * place.d};
}

Point View::fromSurface(Point point) const {
    return fromSuperview(superview_ ? superview_->fromSurface(point) : point);
}

View* View::hitTest(Point point) {
    const Point own = fromSuperview(point);
    if (hidden_ || !bounds().contains(own, isFlipped()))
        return nullptr;
    for (auto view = subviews_.rbegin(); view != subviews_.rend(); ++view)
        if (View* hit = (*view)->hitTest(own))
            return hit;
    return this;
}

std::vector<Rect> View::dirtyRects() const {
    std::vector<Rect> rects;
    collectDirty(toParent(true, {}), rects);
    return rects;
}

void View::collectDirty(const Transform& place, std::vector<Rect>& rects) const {
    if (hidden_)
        return;
    if (isDamaged_ || (layer_ && layer_->needsDisplay())) {
        rects.push_back(mapped(place, bounds()));
        return;
    }
    for (const std::shared_ptr<View>& view : subviews_)
        view->collectDirty(place.after(view->toSuperview()), rects);
}

void View::display(Canvas& canvas, double now) {
    layoutIfNeeded();
    displayInto({canvas, now, nullptr}, toParent(true, {}), toParent(true, {}), false);
}

void View::displayRects(Canvas& canvas, const std::vector<Rect>& areas, double now) {
    layoutIfNeeded();
    const CanvasState state(canvas);
    Path wanted;
    for (const Rect& area : areas)
        wanted.appendRoundedRect(area, 0.0, 0.0);
    canvas.clip(wanted);
    displayInto({canvas, now, &areas}, toParent(true, {}), toParent(true, {}), false);
}

void View::displayInto(const Display& display, const Transform& place, const Transform& onSurface, bool isPale) {
    if (hidden_ || !display.wants(mapped(onSurface, bounds())))
        return;
    const CanvasState state(display.canvas);
    display.canvas.concat(place);
    display.canvas.clip(Path::rect(bounds()));
    if (enabled_ || isPale) {
        drawContents(display, onSurface, isPale);
    } else {
        PaleCanvas pale(display.canvas);
        drawContents({pale, display.now, display.areas}, onSurface, true);
    }
    needsDisplay_ = false;
    isDamaged_ = false;
}

void View::drawContents(const Display& display, const Transform& onSurface, bool isPale) {
    if (layer_)
        layer_->display(display.canvas, display.now);
    drawRect(display.canvas, bounds());
    for (const std::shared_ptr<View>& view : subviews_) {
        const Transform place = view->toSuperview();
        view->displayInto(display, place, onSurface.after(place), isPale);
    }
    if (focus_ == Focus::visible)
        drawFocusRing(display.canvas, bounds());
}

void View::drawFocusRing(Canvas& canvas, Rect rect) {
    strokeFocusRing(canvas, Path::roundedRect(rect.inset(1.0), 4.0, 4.0), Path::roundedRect(rect.inset(2.5), 2.5, 2.5));
}

void View::strokeFocusRing(Canvas& canvas, Path dark, Path light) {
    // Two lines, so that it shows on any ground.
    dark.setLineWidth(2.0);
    canvas.stroke(dark, FUIColor::belizeHole());
    light.setLineWidth(1.0);
    canvas.stroke(light, FUIColor::white());
}

void View::drawRect(Canvas& /*canvas*/, Rect /*rect*/) {}

void View::mouseEntered(const MouseEvent& /*event*/) {}

void View::mouseExited(const MouseEvent& /*event*/) {}

void View::mouseDown(const MouseEvent& event) {
    if (superview_)
        superview_->mouseDown(event);
}

void View::mouseUp(const MouseEvent& event) {
    if (superview_)
        superview_->mouseUp(event);
}

void View::otherMouseDown(const MouseEvent& event) {
    if (superview_)
        superview_->otherMouseDown(event);
}

void View::otherMouseUp(const MouseEvent& event) {
    if (superview_)
        superview_->otherMouseUp(event);
}

bool View::scrollWheel(const ScrollEvent& event) {
    return superview_ && superview_->scrollWheel(event);
}

void View::addTrackingArea(TrackingArea area) {
    trackingAreas_.push_back(area);
}

void View::removeTrackingAreas() noexcept {
    trackingAreas_.clear();
}

void View::updateTrackingAreas() {}

void View::trackPointer() {
    removeTrackingAreas();
    addTrackingArea(
        {bounds(), TrackingArea::mouseEnteredAndExited | TrackingArea::activeAlways | TrackingArea::inVisibleRect});
}

void View::addCursorRect(Rect rect, Cursor cursor) {
    cursorRects_.push_back({rect, cursor});
}

void View::discardCursorRects() noexcept {
    cursorRects_.clear();
}

void View::resetCursorRects() {
    if (cursor() != Cursor::arrow)
        addCursorRect(bounds(), cursor());
}

void View::preparePointer() {
    updateTrackingAreas();
    discardCursorRects();
    resetCursorRects();
    const std::vector<std::shared_ptr<View>> inside = subviews_; // those calls may change the tree
    for (const std::shared_ptr<View>& view : inside)
        view->preparePointer();
}

void View::setWantsLayer(bool wants) {
    if (wants == wantsLayer())
        return;
    if (!wants) {
        layer_->setDisplayHandler(nullptr);
        layer_.reset();
        return;
    }
    layer_ = makeBackingLayer();
    SENTREL_ASSERT(layer_);
    layer_->setFrame(bounds());
    layer_->setDisplayHandler([this] { callDisplayHandlers(); });
}

std::shared_ptr<Layer> View::makeBackingLayer() {
    return std::make_shared<Layer>();
}

bool View::isAnimating(double now) const {
    return !hidden_ && ((layer_ && layer_->isAnimating(now)) ||
                        std::ranges::any_of(subviews_, [now](const auto& view) { return view->isAnimating(now); }));
}

} // namespace sentrel
