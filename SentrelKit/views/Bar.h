// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Shape.h>

namespace sentrel {

/// One percentage as a horizontal bar: a faint track across the view (at alpha 0.2, at 0.35
/// where the appearance is dark) and over it a line as long as the percentage of
/// the width. Drawing it leaves its width and cap behind as the defaults of every later path of the process. Main
/// thread.
class SENTREL_API Bar : public Shape {
public:
    /// A bar at 50 percent at a frame of its superview's coordinates.
    explicit Bar(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Bar(Coder& coder);

    /// Whether its ends are round or square; round from the start.
    [[nodiscard]] bool rounded() const noexcept { return rounded_; }

    /// Asks for no redraw.
    void setRounded(bool rounded) noexcept { rounded_ = rounded; }

    /// The value in percent, not clamped: above 100 the line leaves the view on the right, below 0 on the left. For a
    /// value that is not finite there is no line.
    [[nodiscard]] double percent() const noexcept { return percent_; }

    /// Asks for a redraw if the value changes, and takes a pending request back if it does not: meant so.
    virtual void setPercent(double percent);

    /// Whether a new value is reached in 0.4 s, slower towards the end; not so from the start. The host draws while
    /// `isAnimating`.
    [[nodiscard]] bool eases() const noexcept { return eases_; }

    /// Counts when `percent` is next set; turned off, the value shows at once. The view has a layer for it. Asks for a
    /// redraw if that changes anything.
    void setEases(bool eases);

    /// The value as a whole percentage: "42%".
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

    /// The value held between 0 and 100.
    [[nodiscard]] std::optional<double> accessibilityLevel() const override;
    void drawRect(Canvas& canvas, Rect rect) override;

protected:
    /// A level indicator.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::levelIndicator; }

private:
    double percent_ = 50.0;
    bool rounded_ = true;
    bool eases_ = false;
};

} // namespace sentrel
