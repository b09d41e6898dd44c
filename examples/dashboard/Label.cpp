// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Label.h"

#include "tools/terminal/TerminalText.h"

namespace dashboard {

using namespace sentrel;

Label::Label(TextStyle style, const std::string& text, TextAlignment alignment) : style_(style) {
    setFont(fontOf(style));
    setAlignment(alignment);
    show(text);
}

void Label::show(const std::string& text) {
    setStringValue(terminal::plainText(text));
}

void Label::drawRect(Canvas& canvas, Rect rect) {
    canvas.drawText(stringValue(), *font(), textColor().value_or(inkOf(style_, effectiveAppearance())), rect,
                    alignment());
}

} // namespace dashboard
