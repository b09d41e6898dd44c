#include "RingPanel.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>

#include <algorithm>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double ringSize = 128;
constexpr double titleHeight = 28;
constexpr double rowHeight = 25;
constexpr double gap = 18;

} // namespace

RingPanel::RingPanel(Rect frame, const std::string& title) : View(frame) {
    const auto label = [this](Rect place, std::optional<Font> font, Color color, TextAlignment alignment) {
        auto field = std::make_shared<TextField>(place);
        field->setFont(std::move(font));
        field->setTextColor(color);
        field->setAlignment(alignment);
        addSubview(field);
        return field;
    };
    label({0, 0, frame.width, titleHeight}, FUIFont::bold(14), FUIColor::wetAsphalt(), TextAlignment::left)
        ->setStringValue(title);
    const double top = titleHeight + 10;
    ring_ = std::make_shared<GaugeCircleChart>(Rect{0, top, ringSize, ringSize});
    ring_->setLineWidth(10);
    addSubview(ring_);
    percent_ = label({0, top, ringSize, ringSize}, FUIFont::light(30), FUIColor::wetAsphalt(), TextAlignment::center);
    percent_->setStringValue("0%"); // a ring writes its label only when its rounded value changes
    ring_->setMyLabel(percent_);
    const double left = ringSize + gap;
    for (double y = top; y + rowHeight <= frame.height; y += rowHeight) {
        const Rect row = {left, y, frame.width - left, rowHeight};
        rows_.emplace_back(label(row, FUIFont::normal(12), FUIColor::concrete(), TextAlignment::left),
                           label(row, FUIFont::normal(12), FUIColor::wetAsphalt(), TextAlignment::right));
    }
}

void RingPanel::show(double percent, const std::vector<Row>& rows) {
    ring_->setPercent(percent);
    for (std::size_t i = 0; i < std::min(rows.size(), rows_.size()); ++i) {
        rows_[i].first->setStringValue(rows[i].first);
        rows_[i].second->setStringValue(rows[i].second);
    }
}

} // namespace dashboard
