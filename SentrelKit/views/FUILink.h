// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/TextField.h>

#include <optional>
#include <string>

namespace sentrel {

/// A text that opens a web address when clicked. Main thread; the address is opened on the background queue, through
/// the desktop and never through a shell, and only if it parses. Nothing is reported.
class SENTREL_API FUILink : public TextField {
public:
    /// A link without an address at a frame of its superview's coordinates.
    explicit FUILink(Rect frame = {});

    /// The same at the frame, and with the text, that an archive holds.
    explicit FUILink(Coder& coder);

    /// The address to open, UTF-8; absent from the start. Without one a click only changes colours.
    [[nodiscard]] const std::optional<std::string>& url() const noexcept { return url_; }

    /// Counts from the next click on. A text that does not parse as an address opens nothing.
    void setUrl(std::optional<std::string> url);

    /// The text's colour while the button is down; absent, as from the start, is the default colour of a text.
    [[nodiscard]] std::optional<Color> activeColor() const noexcept { return activeColor_; }

    /// Shows with the next event.
    void setActiveColor(std::optional<Color> color) noexcept { activeColor_ = color; }

    /// The text's colour while the pointer is inside; absent, as from the start, is the default colour of a text.
    [[nodiscard]] std::optional<Color> hoverColor() const noexcept { return hoverColor_; }

    /// Shows with the next event.
    void setHoverColor(std::optional<Color> color) noexcept { hoverColor_ = color; }

    /// Shows `hoverColor` and keeps the text's own colour for the exit.
    void mouseEntered(const MouseEvent& event) override;

    /// Shows the colour that the text had before the pointer came.
    void mouseExited(const MouseEvent& event) override;

    /// Shows `activeColor`.
    void mouseDown(const MouseEvent& event) override;

    /// Opens the address, wherever the pointer is by now, and shows `hoverColor`.
    void mouseUp(const MouseEvent& event) override;

    /// Replaces all tracking areas by one over the bounds.
    void updateTrackingAreas() override;

    /// The pointing hand.
    [[nodiscard]] Cursor cursor() const override { return Cursor::pointingHand; }

    /// Always.
    [[nodiscard]] bool acceptsFocus() const override { return true; }

protected:
    /// Opens the address. The colours stay.
    bool performPress() override;

    /// A link.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::link; }

    /// A thin line along the bounds, which the text comes close to.
    void drawFocusRing(Canvas& canvas, Rect rect) override;

private:
    void open() const;
    void showColor(std::optional<Color> color);

    std::optional<std::string> url_;
    std::optional<Color> activeColor_;
    std::optional<Color> hoverColor_;
    std::optional<Color> savedTextColor_;
};

} // namespace sentrel
