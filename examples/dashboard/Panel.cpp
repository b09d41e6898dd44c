// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Panel.h"

#include <SentrelKit/views/FUIColor.h>

#include <cmath>

namespace dashboard {

using namespace sentrel;

Panel::Panel(const std::string& title) : Stack(Axis::column) {
    setPadding(cardPadding);
    setSpacing(10);
    setAccessibilityName(title);
    const auto heading = add(makeRow(10));
    heading->add(std::make_shared<Label>(TextStyle::title, title));
    note_ = heading->add(makeLine(TextStyle::caption, {}, TextAlignment::right), 1);
}

std::shared_ptr<InfoRow> Panel::addRow(const std::string& name) {
    return add(std::make_shared<InfoRow>(name));
}

void Panel::drawRect(Canvas& canvas, Rect rect) {
    constexpr double radius = 12;
    const Appearance appearance = effectiveAppearance();
    // The card stands half a point above the ground: a hairline, and a little more of it below.
    const Rect card = {rect.x, rect.y, rect.width, rect.height - 1};
    if (appearance == Appearance::light)
        canvas.fill(Path::roundedRect({rect.x, rect.y + 1, rect.width, rect.height - 1}, radius, radius),
                    FUIColor::midnightBlue(0.12));
    canvas.fill(Path::roundedRect(card, radius, radius), cardColor(appearance));
}

std::shared_ptr<Stack> makeRow(double spacing, Stack::Alignment alignment) {
    auto row = std::make_shared<Stack>(Stack::Axis::row);
    row->setSpacing(spacing);
    row->setAlignment(alignment);
    return row;
}

std::shared_ptr<Stack> makeColumn(double spacing) {
    auto column = std::make_shared<Stack>(Stack::Axis::column);
    column->setSpacing(spacing);
    return column;
}

std::shared_ptr<Label> makeLine(TextStyle style, const std::string& text, TextAlignment alignment) {
    auto label = std::make_shared<Label>(style, text, alignment);
    label->setNaturalSize(Size{0, std::ceil(textSize("Xg", fontOf(style)).height)});
    return label;
}

std::shared_ptr<View> makeSpace(double width, double height) {
    return std::make_shared<View>(Rect{0, 0, width, height});
}

} // namespace dashboard
