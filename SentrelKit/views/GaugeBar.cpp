#include <SentrelKit/views/GaugeBar.h>

#include <SentrelKit/views/GaugeBands.h>

#include <utility>

namespace sentrel {

GaugeBar::GaugeBar(Rect frame) : Bar(frame) {}

GaugeBar::GaugeBar(Coder& coder) : Bar(coder) {}

void GaugeBar::setSuccessColor(Color color) {
    setNeedsDisplay(std::exchange(successColor_, color) != color);
}

void GaugeBar::setWarningColor(Color color) {
    setNeedsDisplay(std::exchange(warningColor_, color) != color);
}

void GaugeBar::setDangerColor(Color color) {
    setNeedsDisplay(std::exchange(dangerColor_, color) != color);
}

void GaugeBar::setSuccess(double percent) {
    setNeedsDisplay(std::exchange(success_, percent) != percent);
}

void GaugeBar::setWarning(double percent) {
    setNeedsDisplay(std::exchange(warning_, percent) != percent);
}

void GaugeBar::setConfirm(std::function<bool()> confirm) {
    confirm_ = std::move(confirm);
}

void GaugeBar::setPercent(double percent) {
    if (colorize_)
        setColor(bandColor(percent, success_, warning_, successColor_, warningColor_, dangerColor_));
    Bar::setPercent(percent);
}

} // namespace sentrel
