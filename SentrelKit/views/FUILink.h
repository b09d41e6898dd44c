#pragma once

/// A text that opens a web address when clicked. Main thread; the address is opened on the background queue, through
/// the desktop and never through a shell, and only if it parses. Nothing is reported.

#include <SentrelKit/views/TextField.h>

#include <optional>
#include <string>

namespace sentrel {

class SENTREL_API FUILink : public TextField {
public:
    explicit FUILink(Rect frame = {});
    explicit FUILink(Coder& coder);

    /// The address to open. Without one a click only changes colours.
    [[nodiscard]] const std::optional<std::string>& url() const noexcept { return url_; }
    void setUrl(std::optional<std::string> url);

    // Colours of the text while the button is down and while the pointer is inside; absent is the default colour of a
    // text. They take effect with the next event.
    [[nodiscard]] std::optional<Color> activeColor() const noexcept { return activeColor_; }
    void setActiveColor(std::optional<Color> color) noexcept { activeColor_ = color; }
    [[nodiscard]] std::optional<Color> hoverColor() const noexcept { return hoverColor_; }
    void setHoverColor(std::optional<Color> color) noexcept { hoverColor_ = color; }

    void mouseEntered(const MouseEvent& event) override;
    void mouseExited(const MouseEvent& event) override;
    void mouseDown(const MouseEvent& event) override;

    /// Opens the address wherever the pointer is by now.
    void mouseUp(const MouseEvent& event) override;
    void updateTrackingAreas() override;
    void resetCursorRects() override;

private:
    void showColor(std::optional<Color> color);

    std::optional<std::string> url_;
    std::optional<Color> activeColor_;
    std::optional<Color> hoverColor_;
    std::optional<Color> savedTextColor_;
};

} // namespace sentrel
