// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Controls.h"

#include "examples/dashboard/Label.h"

#include <SentrelKit/views/FUIColor.h>

#include <cmath>
#include <utility>

namespace dashboard {

using namespace sentrel;

Button::Button(const std::string& title, Color color, std::function<void()> action)
    : label_(std::make_shared<Label>(TextStyle::value, title, TextAlignment::center)) {
    label_->setTextColor(FUIColor::white());
    setTitle(label_);
    addSubview(label_);
    setBackgroundColor(color);
    setBorderRadius(6);
    setTitleText(title);
    setAction([action = std::move(action)](Control& /*sender*/) { action(); });
}

void Button::setTitleText(const std::string& title) {
    label_->setStringValue(title);
    setNaturalSize(Size{std::ceil(label_->fittingSize().width) + 26, 28});
}

void Button::layout() {
    label_->setFrame(bounds());
}

Switch::Switch(std::string name, std::function<void(bool)> action)
    : name_(std::move(name)), changed_(std::move(action)) {}

void Switch::setIsOn(bool isOn) {
    if (std::exchange(isOn_, isOn) != isOn)
        setNeedsDisplay(true);
}

void Switch::drawRect(Canvas& canvas, Rect rect) {
    constexpr Size pill = {38, 20};
    constexpr double inset = 2.5;
    const Appearance appearance = effectiveAppearance();
    canvas.drawText(name_, fontOf(TextStyle::value), inkOf(TextStyle::value, appearance),
                    {4, 0, rect.width - pill.width - 20, rect.height}, TextAlignment::left);
    const Rect track = {rect.width - pill.width - 4, (rect.height - pill.height) / 2, pill.width, pill.height};
    canvas.fill(Path::roundedRect(track, pill.height / 2, pill.height / 2),
                isOn_ ? FUIColor::greenSea() : FUIColor::asbestos());
    const double knob = pill.height - 2 * inset;
    canvas.fill(
        Path::ellipse({isOn_ ? track.x + track.width - inset - knob : track.x + inset, track.y + inset, knob, knob}),
        FUIColor::white());
}

void Switch::mouseDown(const MouseEvent& /*event*/) {}

void Switch::mouseUp(const MouseEvent& event) {
    if (bounds().contains(fromSurface(event.location)))
        press();
}

bool Switch::performPress() {
    setIsOn(!isOn_);
    changed_(isOn_);
    return true;
}

} // namespace dashboard
