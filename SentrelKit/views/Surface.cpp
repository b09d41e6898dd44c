// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Surface.h>

#include <SentrelKit/views/drawing/Picture.h>

#include <utility>

namespace sentrel {

// One drawing: what it asks for itself is part of it, and afterwards it is known whether anything still moves.
class Surface::Drawing {
public:
    Drawing(Surface& surface, double now) : surface_(surface), now_(now) { surface_.isDrawing_ = true; }
    ~Drawing() {
        surface_.isDrawing_ = false;
        surface_.setNeedsFrames(surface_.isVisible_ && surface_.view_->isAnimating(now_));
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

private:
    Surface& surface_;
    double now_;
};

Surface::Surface(std::shared_ptr<View> view) : view_(std::move(view)), events_(*view_) {
    view_->setDisplayHandler([this] { displayWanted(); });
}

Surface::~Surface() {
    view_->setDisplayHandler(nullptr);
    events_.keyboardLeft();
}

std::vector<AccessibleElement> Surface::accessibleElements() {
    view_->layoutIfNeeded();
    return sentrel::accessibleElements(view_);
}

void Surface::setSize(Size size) {
    view_->setFrame({0.0, 0.0, size.width, size.height});
}

void Surface::setVisible(bool visible) {
    if (std::exchange(isVisible_, visible) == visible)
        return;
    if (visible)
        displayWanted();
    else
        setNeedsFrames(false);
    onVisibilityChanged_.fire(visible);
}

void Surface::setDisplayHandler(std::function<void()> handler) {
    displayHandler_ = std::move(handler);
    displayWanted();
}

void Surface::setFramesHandler(std::function<void(bool)> handler) {
    framesHandler_ = std::move(handler);
    if (needsFrames_ && framesHandler_)
        framesHandler_(true);
}

void Surface::displayWanted() {
    if (!isVisible_ || isDrawing_)
        return;
    if (!needsFrames_ && view_->isAnimating())
        setNeedsFrames(true);
    if (displayHandler_)
        displayHandler_();
}

void Surface::setNeedsFrames(bool needed) {
    if (std::exchange(needsFrames_, needed) != needed && framesHandler_)
        framesHandler_(needed);
}

std::vector<Rect> Surface::dirtyRects() {
    const bool wasDrawing = std::exchange(isDrawing_, true); // what the layout asks for is told here
    view_->layoutIfNeeded();
    isDrawing_ = wasDrawing;
    return view_->dirtyRects();
}

void Surface::draw(Canvas& canvas, double now) {
    const Drawing drawing(*this, now);
    view_->display(canvas, now);
}

void Surface::draw(Canvas& canvas, const std::vector<Rect>& areas, double now) {
    const Drawing drawing(*this, now);
    view_->displayRects(canvas, areas, now);
}

bool Surface::drawPixels(void* data, int width, int height, int stride, double scale, const std::vector<Rect>& areas,
                         double now) {
    const Drawing drawing(*this, now);
    return renderPixels(*view_, data, width, height, stride, scale, areas, now);
}

} // namespace sentrel
