// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/VolumePanel.h"

#include "examples/dashboard/Labels.h"
#include "examples/dashboard/Table.h"
#include "examples/dashboard/Texts.h"

#include <algorithm>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double rowHeight = 62;
constexpr double textHeight = 20;
constexpr double barHeight = 10;

} // namespace

VolumePanel::VolumePanel(Rect frame, const std::string& title) : View(frame) {
    addLabel(*this, {0, 0, frame.width, titleHeight}, LabelStyle::title, title);
}

void VolumePanel::addRow(double y) {
    const double width = bounds().width;
    const auto bar = std::make_shared<GaugeBar>(Rect{0, y + textHeight + 2, width, barHeight});
    bar->setLineWidth(6);
    addSubview(bar);
    rows_.push_back({addLabel(*this, {0, y, width, textHeight}, LabelStyle::value),
                     addLabel(*this, {0, y, width, textHeight}, LabelStyle::name, {}, TextAlignment::right), bar,
                     addLabel(*this, {0, y + textHeight + barHeight + 4, width, textHeight}, LabelStyle::name)});
}

void VolumePanel::show(const std::vector<std::shared_ptr<Disk::Volume>>& volumes) {
    const auto places = static_cast<std::size_t>((bounds().height - titleHeight) / rowHeight);
    const std::size_t shown = std::min(volumes.size(), places);
    while (rows_.size() < shown)
        addRow(titleHeight + static_cast<double>(rows_.size()) * rowHeight);
    for (std::size_t i = 0; i < shown; ++i) {
        showEndToEnd(*rows_[i].name, volumes[i]->name(), *rows_[i].space, spaceText(*volumes[i]));
        rows_[i].bar->setPercent(volumes[i]->usagePercent());
        rows_[i].rates->setStringValue(ratesText(*volumes[i]));
    }
}

} // namespace dashboard
