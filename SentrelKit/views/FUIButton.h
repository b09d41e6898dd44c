#pragma once

/// A filled, rounded button that lightens under the pointer and darkens while pressed. Its action is sent when the
/// mouse button is released inside it. Main thread.

#include <SentrelKit/views/Control.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/TextField.h>

#include <memory>

namespace sentrel {

class SENTREL_API FUIButton : public Control {
public:
    explicit FUIButton(Rect frame = {});
    explicit FUIButton(Coder& coder);

    /// The host's label on the button. It is not kept alive; the host lays it out, say as a subview of the button.
    [[nodiscard]] std::shared_ptr<TextField> title() const noexcept { return title_.lock(); }
    void setTitle(std::weak_ptr<TextField> title) noexcept;

    /// Of all four corners, in points. Setting it shows at once.
    [[nodiscard]] double borderRadius() const noexcept { return borderRadius_; }
    void setBorderRadius(double radius);

    /// The resting fill. Setting it shows at once.
    [[nodiscard]] Color backgroundColor() const noexcept { return backgroundColor_; }
    void setBackgroundColor(Color color);

    /// Fades the fill to a colour in 0.25 s, from the fill that was set last (not from what a fade under way shows),
    /// and stays there. The spelling of the name is meant.
    void aimateBackgroundColor(Color color);

    /// Turns the view's layer on; it is drawn anew when it asks for it.
    void prepareLayer();

    void mouseEntered(const MouseEvent& event) override;
    void mouseExited(const MouseEvent& event) override;
    void mouseDown(const MouseEvent& event) override;
    void mouseUp(const MouseEvent& event) override;
    void updateTrackingAreas() override;
    void resetCursorRects() override;

protected:
    [[nodiscard]] std::shared_ptr<Layer> makeBackingLayer() override;

private:
    std::weak_ptr<TextField> title_;
    double borderRadius_ = 4.0;
    Color backgroundColor_ = FUIColor::turquoise();
    std::shared_ptr<Layer> button_;
    bool mouseInside_ = false;
};

} // namespace sentrel
