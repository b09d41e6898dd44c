// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>

#include <utility>

namespace sentrel {

namespace {
constexpr double firstSuccess = 81.0;
constexpr double firstWarning = 91.0;
} // namespace

GaugeCircleChart::GaugeCircleChart(Rect frame) : Gauge(firstSuccess, firstWarning, frame) {}

GaugeCircleChart::GaugeCircleChart(Coder& coder) : Gauge(firstSuccess, firstWarning, coder) {}

std::shared_ptr<GaugeCircleChart> GaugeCircleChart::labelled(Rect frame, std::string name) {
    auto ring = std::make_shared<GaugeCircleChart>(frame);
    ring->setAccessibilityName(std::move(name));
    ring->addLabel();
    return ring;
}

void GaugeCircleChart::setPercent(double percent) {
    setColor(bandColor(percent));
    CircleChart::setPercent(percent);
}

} // namespace sentrel
