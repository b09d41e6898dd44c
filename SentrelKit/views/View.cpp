// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/View.h>

#include <SentrelKit/base/system/Assert.h>
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

} // namespace

View::View(Rect frame) : frame_(frame) {}

View::View(Coder& coder) : View(coder.decodeRect("frame")) {}

View::~View() {
    for (const std::shared_ptr<View>& view : subviews_)
        view->superview_ = nullptr;
    setWantsLayer(false);
}

void View::setFrame(Rect frame) {
    if (frame == frame_)
        return;
    frame_ = frame;
    preparePointer();
    needsDisplay_ = true;
    if (superview_)
        superview_->needsDisplay_ = true;
    if (layer_ && layer_->frame() != bounds())
        layer_->setFrame(bounds()); // its request is the view's too
    else
        callDisplayHandlers();
}

void View::setNeedsDisplay(bool needed) {
    needsDisplay_ = needed;
    if (needed)
        callDisplayHandlers();
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

void View::addSubview(std::shared_ptr<View> view) {
    SENTREL_ASSERT(view);
    for (const View* ancestor = this; ancestor; ancestor = ancestor->superview_)
        SENTREL_ASSERT(ancestor != view.get());
    view->removeFromSuperview();
    view->superview_ = this;
    View& added = *view;
    subviews_.push_back(std::move(view));
    added.preparePointer();
    added.setNeedsDisplay(true);
}

void View::removeFromSuperview() {
    if (!superview_)
        return;
    View& holder = *std::exchange(superview_, nullptr);
    // The last owner may go with the entry: nothing of this view is touched after that.
    std::erase_if(holder.subviews_, [this](const std::shared_ptr<View>& view) { return view.get() == this; });
    holder.setNeedsDisplay(true);
}

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
    if (!bounds().contains(own, isFlipped()))
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
    if (needsDisplay_ || (layer_ && layer_->needsDisplay())) {
        rects.push_back(mapped(place, bounds()));
        return;
    }
    for (const std::shared_ptr<View>& view : subviews_)
        view->collectDirty(place.after(view->toSuperview()), rects);
}

void View::display(Canvas& canvas, double now) {
    displayInto(canvas, toParent(true, {}), now);
}

void View::displayInto(Canvas& canvas, const Transform& place, double now) {
    const CanvasState state(canvas);
    canvas.concat(place);
    canvas.clip(Path::rect(bounds()));
    if (layer_)
        layer_->display(canvas, now);
    drawRect(canvas, bounds());
    for (const std::shared_ptr<View>& view : subviews_)
        view->displayInto(canvas, view->toSuperview(), now);
    needsDisplay_ = false;
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
    return (layer_ && layer_->isAnimating(now)) ||
           std::ranges::any_of(subviews_, [now](const auto& view) { return view->isAnimating(now); });
}

} // namespace sentrel
