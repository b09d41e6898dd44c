// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUILink.h>

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/system/Timer.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/detail/AddressSyntax.h>

#include <utility>

namespace sentrel {

FUILink::FUILink(Rect frame) : TextField(frame) {}

FUILink::FUILink(Coder& coder) : TextField(coder) {}

void FUILink::setUrl(std::optional<std::string> url) {
    url_ = std::move(url);
}

void FUILink::showColor(std::optional<Color> color) {
    if (color == textColor())
        setNeedsDisplay(true);
    setTextColor(color);
}

void FUILink::mouseEntered(const MouseEvent& /*event*/) {
    savedTextColor_ = textColor();
    showColor(hoverColor_);
}

void FUILink::mouseExited(const MouseEvent& /*event*/) {
    showColor(savedTextColor_);
}

void FUILink::mouseDown(const MouseEvent& /*event*/) {
    showColor(activeColor_);
}

void FUILink::open() const {
    if (url_)
        Timer::onBackground([address = *url_] {
            if (isAddress(address))
                platform::current().desktop().openAddress(address);
        });
}

void FUILink::mouseUp(const MouseEvent& /*event*/) {
    open();
    showColor(hoverColor_);
}

bool FUILink::performPress() {
    open();
    return true;
}

void FUILink::drawFocusRing(Canvas& canvas, Rect rect) {
    Path line = Path::rect(rect.inset(0.5));
    line.setLineWidth(1.0);
    canvas.stroke(line, FUIColor::belizeHole());
}

void FUILink::updateTrackingAreas() {
    TextField::updateTrackingAreas();
    trackPointer();
}

} // namespace sentrel
