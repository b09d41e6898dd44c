// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/TextField.h>

#include <SentrelKit/views/FUIColor.h>

#include <utility>

namespace sentrel {

TextField::TextField(Rect frame) : View(frame) {}

TextField::TextField(Coder& coder) : View(coder), stringValue_(coder.decodeString("stringValue")) {}

void TextField::setStringValue(std::string_view text) {
    if (text == stringValue_)
        return;
    stringValue_ = text;
    invalidateNaturalSize();
    setNeedsDisplay(true);
}

void TextField::setTextColor(std::optional<Color> color) {
    if (color == textColor_)
        return;
    textColor_ = color;
    setNeedsDisplay(true);
}

void TextField::setFont(std::optional<Font> font) {
    if (font == font_)
        return;
    font_ = std::move(font);
    invalidateNaturalSize();
    setNeedsDisplay(true);
}

void TextField::setAlignment(TextAlignment alignment) {
    if (alignment == alignment_)
        return;
    alignment_ = alignment;
    setNeedsDisplay(true);
}

Font TextField::fontInUse() const {
    return font_ ? *font_ : Font::systemFont(13.0);
}

Size TextField::fittingSize() const {
    return textSize(stringValue_, fontInUse());
}

void TextField::drawRect(Canvas& canvas, Rect rect) {
    const Color standard = effectiveAppearance() == Appearance::dark ? FUIColor::white() : FUIColor::black();
    canvas.drawText(stringValue_, fontInUse(), textColor_.value_or(standard), rect, alignment_);
}

} // namespace sentrel
