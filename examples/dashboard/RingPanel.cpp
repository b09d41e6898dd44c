// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/RingPanel.h"

#include "examples/dashboard/Labels.h"

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double ringSize = 128;
constexpr double gap = 18;

} // namespace

RingPanel::RingPanel(Rect frame, const std::string& title) : View(frame) {
    const double top = titleHeight + 6;
    const double left = ringSize + gap;
    addLabel(*this, {0, 0, frame.width, titleHeight}, LabelStyle::title, title);
    ring_ = std::make_shared<GaugeCircleChart>(Rect{0, top, ringSize, ringSize});
    ring_->setLineWidth(10);
    addSubview(ring_);
    // A ring writes its label only when its rounded value changes: the first text is the host's.
    percent_ = addLabel(*this, ring_->frame(), LabelStyle::figure, "0%", TextAlignment::center);
    ring_->setMyLabel(percent_);
    table_ = std::make_shared<Table>(Rect{left, top, frame.width - left, frame.height - top});
    addSubview(table_);
}

void RingPanel::show(double percent, const Rows& rows) {
    ring_->setPercent(percent);
    table_->show(rows);
}

} // namespace dashboard
