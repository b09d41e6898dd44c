#pragma once

/// A label: one line of text, in the middle of its height.

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/canvas/Canvas.h>

#include <optional>
#include <string>
#include <string_view>

namespace sentrel {

class SENTREL_API TextField : public View {
public:
    explicit TextField(Rect frame = {});
    explicit TextField(Coder& coder);

    // Each setter asks for a redraw if the value changes.
    [[nodiscard]] const std::string& stringValue() const noexcept { return stringValue_; }
    void setStringValue(std::string_view text); ///< UTF-8

    /// The text's colour; absent is the default, black.
    [[nodiscard]] std::optional<Color> textColor() const noexcept { return textColor_; }
    void setTextColor(std::optional<Color> color);

    /// The text's font; absent is the desktop's sans-serif face at 13 points.
    [[nodiscard]] const std::optional<Font>& font() const noexcept { return font_; }
    void setFont(std::optional<Font> font);

    [[nodiscard]] TextAlignment alignment() const noexcept { return alignment_; }
    void setAlignment(TextAlignment alignment);

    /// The size that shows the whole text.
    [[nodiscard]] Size fittingSize() const;

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override { return stringValue_; }

private:
    [[nodiscard]] Font fontInUse() const;

    std::string stringValue_;
    std::optional<Color> textColor_;
    std::optional<Font> font_;
    TextAlignment alignment_ = TextAlignment::left;
};

} // namespace sentrel
