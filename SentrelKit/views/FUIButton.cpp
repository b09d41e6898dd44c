// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIButton.h>

#include <SentrelKit/views/layers/Layer.h>

#include <algorithm>
#include <utility>

namespace sentrel {

FUIButton::FUIButton(Rect frame) : Control(frame), button_(std::make_shared<Layer>()) {
    prepareLayer();
}

FUIButton::FUIButton(Coder& coder) : Control(coder), button_(std::make_shared<Layer>()) {
    prepareLayer();
}

void FUIButton::prepareLayer() {
    setWantsLayer(true);
    setLayerContentsRedrawPolicy(LayerContentsRedrawPolicy::onSetNeedsDisplay);
}

std::shared_ptr<Layer> FUIButton::makeBackingLayer() {
    button_->setCornerRadius(borderRadius_);
    button_->setBackgroundColor(backgroundColor_);
    return button_;
}

void FUIButton::setTitle(std::weak_ptr<TextField> title) noexcept {
    title_ = std::move(title);
}

void FUIButton::setBorderRadius(double radius) {
    button_->changeTogether([&] {
        button_->setCornerRadius(radius);
        button_->setNeedsDisplay();
    });
    borderRadius_ = radius;
}

void FUIButton::setBackgroundColor(Color color) {
    button_->changeTogether([&] {
        button_->setBackgroundColor(color);
        button_->setNeedsDisplay();
    });
    backgroundColor_ = color;
}

void FUIButton::aimateBackgroundColor(Color color) {
    BasicAnimation fade;
    fade.keyPath = "backgroundColor";
    if (const std::optional<Color> current = button_->backgroundColor())
        fade.fromValue = *current;
    fade.toValue = color;
    fade.duration = 0.25;
    button_->changeTogether([&] {
        button_->addAnimation(std::move(fade), "backgroundColor");
        button_->setBackgroundColor(color);
    });
}

void FUIButton::mouseEntered(const MouseEvent& /*event*/) {
    mouseInside_ = true;
    aimateBackgroundColor(backgroundColor_.blendedColor(0.15, FUIColor::white()));
}

void FUIButton::mouseExited(const MouseEvent& /*event*/) {
    mouseInside_ = false;
    aimateBackgroundColor(backgroundColor_);
}

void FUIButton::mouseDown(const MouseEvent& /*event*/) {
    aimateBackgroundColor(backgroundColor_.blendedColor(0.15, FUIColor::black()));
}

void FUIButton::mouseUp(const MouseEvent& /*event*/) {
    if (!mouseInside_)
        return;
    aimateBackgroundColor(backgroundColor_); // meant so: the resting colour, although the pointer is inside
    sendAction();
}

bool FUIButton::performPress() {
    aimateBackgroundColor(backgroundColor_.blendedColor(0.15, FUIColor::black()));
    aimateBackgroundColor(backgroundColor_);
    sendAction();
    return true;
}

std::string FUIButton::ownAccessibilityName() const {
    const std::shared_ptr<TextField> label = title();
    return label ? label->stringValue() : std::string();
}

void FUIButton::drawFocusRing(Canvas& canvas, Rect rect) {
    const auto along = [&](double inset) {
        const double radius = std::max(borderRadius_ - inset, 0.0);
        return Path::roundedRect(rect.inset(inset), radius, radius);
    };
    strokeFocusRing(canvas, along(1.0), along(2.5));
}

void FUIButton::updateTrackingAreas() {
    Control::updateTrackingAreas();
    trackPointer();
}

} // namespace sentrel
