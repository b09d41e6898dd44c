// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Control.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/TextField.h>

#include <memory>

namespace sentrel {

/// A filled, rounded button that lightens under the pointer and darkens while pressed. Its action is sent when the
/// mouse button is released inside it. Main thread.
class SENTREL_API FUIButton : public Control {
public:
    /// A button without a title at a frame of its superview's coordinates.
    explicit FUIButton(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit FUIButton(Coder& coder);

    /// The host's label on the button, or null. The host lays it out, say as a subview of the button.
    [[nodiscard]] std::shared_ptr<TextField> title() const noexcept { return title_.lock(); }

    /// The label is not kept alive. Asks for no redraw.
    void setTitle(std::weak_ptr<TextField> title) noexcept;

    /// The radius of all four corners in points, drawn as at most half a side; 4.0 from the start.
    [[nodiscard]] double borderRadius() const noexcept { return borderRadius_; }

    /// Shows at once. Asks for one redraw, also for an equal radius: meant so.
    void setBorderRadius(double radius);

    /// The resting fill; `FUIColor::turquoise()` from the start.
    [[nodiscard]] Color backgroundColor() const noexcept { return backgroundColor_; }

    /// Shows at once, also under the pointer or while pressed. Asks for one redraw, also for an equal colour: meant so.
    void setBackgroundColor(Color color);

    /// Fades the fill to a colour in 0.25 s, from the fill that was set last (not from what a fade under way shows),
    /// and stays there. Asks for one redraw. The spelling of the name: meant so.
    void aimateBackgroundColor(Color color);

    /// Turns the view's layer on; it is drawn anew when it asks for it.
    void prepareLayer();

    /// Fades to a fill that is 15 % lighter.
    void mouseEntered(const MouseEvent& event) override;

    /// Fades to the resting fill.
    void mouseExited(const MouseEvent& event) override;

    /// Fades to a fill that is 15 % darker.
    void mouseDown(const MouseEvent& event) override;

    /// Fades to the resting fill and sends the action, if the pointer is inside; does nothing otherwise.
    void mouseUp(const MouseEvent& event) override;

    /// Replaces all tracking areas by one over the bounds.
    void updateTrackingAreas() override;

    /// The pointing hand.
    [[nodiscard]] Cursor cursor() const override { return Cursor::pointingHand; }

    /// Always.
    [[nodiscard]] bool acceptsFocus() const override { return true; }

protected:
    /// Fades from the darker fill to the resting one and sends the action.
    bool performPress() override;

    /// A button.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::button; }

    /// The title's text.
    [[nodiscard]] std::string ownAccessibilityName() const override;

    /// Two lines along the corners of the button.
    void drawFocusRing(Canvas& canvas, Rect rect) override;

    /// The layer that carries fill and corners.
    [[nodiscard]] std::shared_ptr<Layer> makeBackingLayer() override;

private:
    std::weak_ptr<TextField> title_;
    double borderRadius_ = 4.0;
    Color backgroundColor_ = FUIColor::turquoise();
    std::shared_ptr<Layer> button_;
    bool mouseInside_ = false;
};

} // namespace sentrel
