// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Labels.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>

#include <optional>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

std::optional<Font> fontOf(LabelStyle style) {
    switch (style) {
    case LabelStyle::headline:
        return FUIFont::bold(20);
    case LabelStyle::title:
        return FUIFont::bold(14);
    case LabelStyle::figure:
        return FUIFont::light(30);
    default:
        return FUIFont::normal(12);
    }
}

Color colorOf(LabelStyle style) {
    switch (style) {
    case LabelStyle::headline:
        return FUIColor::midnightBlue();
    case LabelStyle::remark:
        return FUIColor::asbestos();
    case LabelStyle::name:
        return FUIColor::concrete();
    default:
        return FUIColor::wetAsphalt();
    }
}

// The text without its last character (UTF-8).
std::string withoutLast(std::string text) {
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80U)
        text.pop_back();
    if (!text.empty())
        text.pop_back();
    return text;
}

} // namespace

std::shared_ptr<TextField> addLabel(View& view, Rect frame, LabelStyle style, const std::string& text,
                                    TextAlignment alignment) {
    auto label = std::make_shared<TextField>(frame);
    label->setFont(fontOf(style));
    label->setTextColor(colorOf(style));
    label->setAlignment(alignment);
    label->setStringValue(text);
    view.addSubview(label);
    return label;
}

void showEndToEnd(TextField& left, const std::string& leftText, TextField& right, const std::string& rightText) {
    constexpr double gap = 8;
    right.setStringValue(rightText);
    const double room = left.bounds().width - right.fittingSize().width - gap;
    left.setStringValue(leftText);
    for (std::string kept = leftText; !kept.empty() && left.fittingSize().width > room;) {
        kept = withoutLast(std::move(kept));
        left.setStringValue(kept + "…");
    }
}

} // namespace dashboard
