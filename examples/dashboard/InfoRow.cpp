// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/InfoRow.h"

#include "tools/terminal/TerminalText.h"

#include <SentrelKit/views/FUIColor.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace dashboard {

using namespace sentrel;

InfoRow::InfoRow(const std::string& name, const std::string& value)
    : name_(terminal::plainText(name)), value_(terminal::plainText(value)) {}

void InfoRow::show(const std::string& name, const std::string& value) {
    std::string safeName = terminal::plainText(name);
    std::string safeValue = terminal::plainText(value);
    if (safeName == name_ && safeValue == value_)
        return;
    name_ = std::move(safeName);
    value_ = std::move(safeValue);
    setNeedsDisplay(true);
}

void InfoRow::setDot(const Color& color) {
    dot_ = color;
    setNeedsDisplay(true);
}

void InfoRow::setIsAlarming(bool isAlarming) {
    if (std::exchange(isAlarming_, isAlarming) != isAlarming)
        setNeedsDisplay(true);
}

void InfoRow::drawRect(Canvas& canvas, Rect rect) {
    constexpr double between = 12;
    constexpr double dotSize = 9;
    double left = 0;
    if (dot_) {
        canvas.fill(Path::ellipse({0, (rect.height - dotSize) / 2, dotSize, dotSize}), *dot_);
        left = dotSize + 7;
    }
    const double width = std::max(rect.width - left, 0.0);
    const Appearance appearance = effectiveAppearance();
    const Font nameFont = fontOf(TextStyle::name);
    const Font valueFont = fontOf(TextStyle::value);
    const double nameNeeds = std::ceil(textSize(name_, nameFont).width);
    const double valueNeeds = std::ceil(textSize(value_, valueFont).width);
    const double forName = std::min(nameNeeds, std::max(width - between - valueNeeds, width / 3));
    const double forValue = value_.empty() ? 0 : std::max(width - between - forName, 0.0);
    canvas.drawText(name_, nameFont, inkOf(nameStyle_, appearance),
                    {left, 0, value_.empty() ? width : forName + 1, rect.height}, TextAlignment::left);
    const Color alarm = appearance == Appearance::dark ? FUIColor::alizarin() : FUIColor::pomegranate();
    if (!value_.empty())
        canvas.drawText(value_, valueFont, isAlarming_ ? alarm : inkOf(TextStyle::value, appearance),
                        {left + width - forValue, 0, forValue, rect.height}, TextAlignment::right);
}

} // namespace dashboard
