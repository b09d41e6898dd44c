// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeBar.h>

#include <utility>

namespace sentrel {

namespace {
constexpr double firstSuccess = 91.0;
constexpr double firstWarning = 99.0;
} // namespace

GaugeBar::GaugeBar(Rect frame) : Gauge(firstSuccess, firstWarning, frame) {}

GaugeBar::GaugeBar(Coder& coder) : Gauge(firstSuccess, firstWarning, coder) {}

void GaugeBar::setConfirm(std::function<bool()> confirm) {
    confirm_ = std::move(confirm);
}

void GaugeBar::setPercent(double percent) {
    if (colorize_)
        setColor(bandColor(percent));
    Bar::setPercent(percent);
}

} // namespace sentrel
