#include "Labels.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>

#include <optional>

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

} // namespace dashboard
