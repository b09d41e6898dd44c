// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/Signal.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

namespace sentrel {

/// A round light, on or off, that reports each click on an event channel. It never switches itself: the subscriber
/// decides. Main thread.
class SENTREL_API FUIIndicator : public View {
public:
    /// An inactive light at a frame of its superview's coordinates.
    explicit FUIIndicator(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit FUIIndicator(Coder& coder);

    /// Fired once for each release of the button, wherever the pointer is by then.
    [[nodiscard]] Signal<void>& onClicked() noexcept { return onClicked_; }

    /// The fill while active; `FUIColor::clouds()` from the start.
    [[nodiscard]] Color activeColor() const noexcept { return activeColor_; }

    /// Asks for a redraw, also for an equal colour: meant so.
    void setActiveColor(Color color);

    /// The fill while inactive; `FUIColor::silver()` from the start.
    [[nodiscard]] Color inactiveColor() const noexcept { return inactiveColor_; }

    /// Asks for a redraw, also for an equal colour: meant so.
    void setInactiveColor(Color color);

    /// The state shown; inactive from the start.
    [[nodiscard]] bool isActive() const noexcept { return isActive_; }

    /// Asks for a redraw, also for an equal state: meant so.
    void setIsActive(bool active);

    /// Fills the ellipse in the rectangle with the colour of the state.
    void drawRect(Canvas& canvas, Rect rect) override;

    /// Takes the press, so that the release comes here.
    void mouseDown(const MouseEvent& event) override;

    /// Fires `onClicked`, wherever the pointer is by now.
    void mouseUp(const MouseEvent& event) override;

    /// Adds one more area each time and removes none: meant so.
    void updateTrackingAreas() override;

    /// The pointing hand.
    [[nodiscard]] Cursor cursor() const override { return Cursor::pointingHand; }

    /// "on" or "off".
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

    /// Always.
    [[nodiscard]] bool acceptsFocus() const override { return true; }

protected:
    /// Fires `onClicked`.
    bool performPress() override;

    /// A toggle.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::toggle; }

    /// Two lines along the ellipse.
    void drawFocusRing(Canvas& canvas, Rect rect) override;

private:
    Signal<void> onClicked_;
    Color activeColor_ = FUIColor::clouds();
    Color inactiveColor_ = FUIColor::silver();
    bool isActive_ = false;
};

} // namespace sentrel
