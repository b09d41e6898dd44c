// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIIndicator.h>

#include <SentrelKit/views/drawing/Canvas.h>

namespace sentrel {

FUIIndicator::FUIIndicator(Rect frame) : View(frame) {}

FUIIndicator::FUIIndicator(Coder& coder) : View(coder) {}

void FUIIndicator::setActiveColor(Color color) {
    activeColor_ = color;
    setNeedsDisplay(true);
}

void FUIIndicator::setInactiveColor(Color color) {
    inactiveColor_ = color;
    setNeedsDisplay(true);
}

void FUIIndicator::setIsActive(bool active) {
    isActive_ = active;
    setNeedsDisplay(true);
}

void FUIIndicator::drawRect(Canvas& canvas, Rect rect) {
    canvas.fill(Path::ellipse(rect), isActive_ ? activeColor_ : inactiveColor_);
}

void FUIIndicator::mouseDown(const MouseEvent& /*event*/) {}

void FUIIndicator::mouseUp(const MouseEvent& /*event*/) {
    onClicked_.fire();
}

void FUIIndicator::updateTrackingAreas() {
    View::updateTrackingAreas();
    addTrackingArea({bounds(), TrackingArea::mouseEnteredAndExited | TrackingArea::activeAlways});
}

std::optional<std::string> FUIIndicator::accessibilityValue() const {
    return isActive_ ? "on" : "off";
}

bool FUIIndicator::performPress() {
    onClicked_.fire();
    return true;
}

void FUIIndicator::drawFocusRing(Canvas& canvas, Rect rect) {
    strokeFocusRing(canvas, Path::ellipse(rect.inset(1.0)), Path::ellipse(rect.inset(2.5)));
}

} // namespace sentrel
