#include <SentrelKit/views/GaugeCircleChart.h>

#include <SentrelKit/views/GaugeBands.h>

#include <utility>

namespace sentrel {

GaugeCircleChart::GaugeCircleChart(Rect frame) : CircleChart(frame) {}

GaugeCircleChart::GaugeCircleChart(Coder& coder) : CircleChart(coder) {}

void GaugeCircleChart::setSuccessColor(Color color) {
    setNeedsDisplay(std::exchange(successColor_, color) != color);
}

void GaugeCircleChart::setWarningColor(Color color) {
    setNeedsDisplay(std::exchange(warningColor_, color) != color);
}

void GaugeCircleChart::setDangerColor(Color color) {
    setNeedsDisplay(std::exchange(dangerColor_, color) != color);
}

void GaugeCircleChart::setSuccess(double percent) {
    setNeedsDisplay(std::exchange(success_, percent) != percent);
}

void GaugeCircleChart::setWarning(double percent) {
    setNeedsDisplay(std::exchange(warning_, percent) != percent);
}

void GaugeCircleChart::setPercent(double percent) {
    setColor(bandColor(percent, success_, warning_, successColor_, warningColor_, dangerColor_));
    CircleChart::setPercent(percent);
}

} // namespace sentrel
