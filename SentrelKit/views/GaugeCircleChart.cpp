// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>

namespace sentrel {

namespace {
constexpr double firstSuccess = 81.0;
constexpr double firstWarning = 91.0;
} // namespace

GaugeCircleChart::GaugeCircleChart(Rect frame) : Gauge(firstSuccess, firstWarning, frame) {}

GaugeCircleChart::GaugeCircleChart(Coder& coder) : Gauge(firstSuccess, firstWarning, coder) {}

void GaugeCircleChart::setPercent(double percent) {
    setColor(bandColor(percent));
    CircleChart::setPercent(percent);
}

} // namespace sentrel
