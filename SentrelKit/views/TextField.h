// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>

#include <optional>
#include <string>
#include <string_view>

namespace sentrel {

/// A label: one line of text, in the middle of its height. Main thread.
class SENTREL_API TextField : public View {
public:
    /// A label without text at a frame of its superview's coordinates.
    explicit TextField(Rect frame = {});

    /// The same at the frame, and with the text, that an archive holds.
    explicit TextField(Coder& coder);

    /// The text, UTF-8.
    [[nodiscard]] const std::string& stringValue() const noexcept { return stringValue_; }

    /// Asks for a redraw if the text changes. Bytes that are not UTF-8 are drawn as replacement characters.
    void setStringValue(std::string_view text);

    /// The text's colour; absent is the default: black, and white where the appearance is dark.
    [[nodiscard]] std::optional<Color> textColor() const noexcept { return textColor_; }

    /// Asks for a redraw if the colour changes.
    void setTextColor(std::optional<Color> color);

    /// The text's font; absent is the desktop's sans-serif face at 13 points.
    [[nodiscard]] const std::optional<Font>& font() const noexcept { return font_; }

    /// Asks for a redraw if the font changes.
    void setFont(std::optional<Font> font);

    /// The place of the text in the width; left from the start.
    [[nodiscard]] TextAlignment alignment() const noexcept { return alignment_; }

    /// Asks for a redraw if the alignment changes.
    void setAlignment(TextAlignment alignment);

    /// The size in points that shows the whole text; none for a font that is too small or too large to be drawn.
    [[nodiscard]] Size fittingSize() const override;

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The text itself.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override { return stringValue_; }

protected:
    /// A label.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::staticText; }

private:
    [[nodiscard]] Font fontInUse() const;

    std::string stringValue_;
    std::optional<Color> textColor_;
    std::optional<Font> font_;
    TextAlignment alignment_ = TextAlignment::left;
};

} // namespace sentrel
