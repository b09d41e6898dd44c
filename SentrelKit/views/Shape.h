#pragma once

/// The base of the views that draw one figure in one colour. It draws nothing itself. Main thread.

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/canvas/Canvas.h>

namespace sentrel {

class SENTREL_API Shape : public View {
public:
    explicit Shape(Rect frame = {});
    explicit Shape(Coder& coder);

    /// Whether the figure is filled or only its outline stroked. Setting it requests no redraw.
    [[nodiscard]] bool fill() const noexcept { return fill_; }
    void setFill(bool fill) noexcept { fill_ = fill; }

    /// Of outlines, lines and bars, in points. Setting it requests no redraw.
    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }
    void setLineWidth(double width) noexcept { lineWidth_ = width; }

    /// Setting it requests a redraw if it changes, and takes a pending request back if it does not: meant so.
    [[nodiscard]] Color color() const noexcept { return color_; }
    void setColor(Color color);

    /// Whether the view's coordinates start at the upper left. Setting it requests no redraw.
    [[nodiscard]] bool flip() const noexcept { return flip_; }
    void setFlip(bool flip) noexcept { flip_ = flip; }

    [[nodiscard]] bool isFlipped() const override { return flip_; }

protected:
    /// Makes the line width, and round or square caps, what every later path of the process starts with, as each line
    /// and bar that is drawn does. It is meant to stay so afterwards.
    void leaveLineDefaults(bool rounded) const noexcept;

private:
    double lineWidth_ = 2.0;
    Color color_ = FUIColor::peterRiver();
    bool fill_ = true;
    bool flip_ = false;
};

} // namespace sentrel
