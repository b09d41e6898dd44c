#pragma once

/// A round light, on or off, that reports each click on an event channel. It never switches itself: the subscriber
/// decides. Main thread.

#include <SentrelKit/system/Signal.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

namespace sentrel {

class SENTREL_API FUIIndicator : public View {
public:
    explicit FUIIndicator(Rect frame = {});
    explicit FUIIndicator(Coder& coder);

    /// Fired once for each release of the button, wherever the pointer is by then.
    [[nodiscard]] Signal<void>& onClicked() noexcept { return onClicked_; }

    // Each setter requests a redraw, also for an equal value: meant so.
    [[nodiscard]] Color activeColor() const noexcept { return activeColor_; }
    void setActiveColor(Color color);
    [[nodiscard]] Color inactiveColor() const noexcept { return inactiveColor_; }
    void setInactiveColor(Color color);
    [[nodiscard]] bool isActive() const noexcept { return isActive_; }
    void setIsActive(bool active);

    void drawRect(Canvas& canvas, Rect rect) override;

    /// Takes the press, so that the release comes here.
    void mouseDown(const MouseEvent& event) override;
    void mouseUp(const MouseEvent& event) override;

    /// Adds one more area each time and removes none: meant so.
    void updateTrackingAreas() override;
    void resetCursorRects() override;

private:
    Signal<void> onClicked_;
    Color activeColor_ = FUIColor::clouds();
    Color inactiveColor_ = FUIColor::silver();
    bool isActive_ = false;
};

} // namespace sentrel
