// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>

namespace sentrel {

/// One percentage as a ring: a faint full circle and over it an arc, from twelve o'clock clockwise, as long as the
/// percentage of the turn. It can keep a label of the host's in step. Main thread.
class SENTREL_API CircleChart : public View {
public:
    /// A ring at 0 percent at a frame of its superview's coordinates.
    explicit CircleChart(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit CircleChart(Coder& coder);

    /// The label that shows the rounded percentage, or null.
    [[nodiscard]] std::shared_ptr<TextField> myLabel() const noexcept { return myLabel_.lock(); }

    /// The label is not kept alive, and shows nothing before the rounded percentage next changes.
    void setMyLabel(std::weak_ptr<TextField> label) noexcept;

    /// Puts a label into the ring that shows the rounded percentage from now on, in the middle and in letters that
    /// follow the ring's size, and returns it: the ring keeps it as a view inside it.
    std::shared_ptr<TextField> addLabel();

    /// The arc's colour; the circle under it has it at alpha 0.2, at 0.35 where the appearance is dark.
    /// `FUIColor::emerald()` from the start.
    [[nodiscard]] Color color() const noexcept { return color_; }

    /// Asks for a redraw if the colour changes, and takes a pending request back if it does not: meant so.
    void setColor(Color color);

    /// The ring's thickness in points, not clamped; 4.0 from the start.
    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }

    /// Asks for no redraw.
    void setLineWidth(double width) noexcept { lineWidth_ = width; }

    /// The value in percent, not clamped: from 100 on the ring is full. Below 0.5, and for a value that is not a
    /// number, no arc is drawn.
    [[nodiscard]] double percent() const noexcept { return percent_; }

    /// If the rounded value changes, the label follows and a redraw is requested; otherwise the value is only kept.
    virtual void setPercent(double percent);

    /// Whether a new value is reached in 0.4 s, slower towards the end; not so from the start. The host draws while
    /// `isAnimating`.
    [[nodiscard]] bool eases() const noexcept { return eases_; }

    /// Counts when `percent` is next set; turned off, the value shows at once. The view has a layer for it. Asks for a
    /// redraw if that changes anything.
    void setEases(bool eases);

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The value as the label shows it: "42%".
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

    /// The value held between 0 and 100.
    [[nodiscard]] std::optional<double> accessibilityLevel() const override;

protected:
    /// Gives the label that the ring made its place and its font.
    void layout() override;

    /// A level indicator.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::levelIndicator; }

private:
    std::weak_ptr<TextField> myLabel_;
    std::weak_ptr<TextField> madeLabel_;
    Color color_ = FUIColor::emerald();
    double lineWidth_ = 4.0;
    double percent_ = 0.0;
    bool eases_ = false;
};

} // namespace sentrel
