// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>

namespace sentrel {

/// The base of the views that draw one figure in one colour. It draws nothing itself. Main thread.
class SENTREL_API Shape : public View {
public:
    /// A shape without a figure at a frame of its superview's coordinates.
    explicit Shape(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Shape(Coder& coder);

    /// Whether the figure is filled or only its outline stroked; filled from the start.
    [[nodiscard]] bool fill() const noexcept { return fill_; }

    /// Asks for no redraw.
    void setFill(bool fill) noexcept { fill_ = fill; }

    /// The width of outlines, lines and bars in points, not clamped; 2.0 from the start.
    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }

    /// Asks for no redraw.
    void setLineWidth(double width) noexcept { lineWidth_ = width; }

    /// The colour of the whole figure; `FUIColor::peterRiver()` from the start.
    [[nodiscard]] Color color() const noexcept { return color_; }

    /// Asks for a redraw if the colour changes, and takes a pending request back if it does not: meant so.
    void setColor(Color color);

    /// Whether the view's coordinates start at the upper left, y growing downward; not so from the start.
    [[nodiscard]] bool flip() const noexcept { return flip_; }

    /// Asks for no redraw.
    void setFlip(bool flip) noexcept { flip_ = flip; }

    /// As `flip` says.
    [[nodiscard]] bool isFlipped() const override { return flip_; }

protected:
    /// Makes the line width, and round or square caps, what every later path of the process starts with, as each line
    /// and bar that is drawn does. It stays so afterwards: meant so.
    void leaveLineDefaults(bool rounded) const noexcept;

private:
    double lineWidth_ = 2.0;
    Color color_ = FUIColor::peterRiver();
    bool fill_ = true;
    bool flip_ = false;
};

} // namespace sentrel
