#pragma once

/// One line across the view, half its width off the middle. Drawing it leaves its width and cap behind as the
/// defaults of every later path of the process. Main thread.

#include <SentrelKit/views/Shape.h>

namespace sentrel {

class SENTREL_API HorizontalLine : public Shape {
public:
    explicit HorizontalLine(Rect frame = {});
    explicit HorizontalLine(Coder& coder);

    /// Whether its ends are round or square. Setting it requests no redraw.
    [[nodiscard]] bool rounded() const noexcept { return rounded_; }
    void setRounded(bool rounded) noexcept { rounded_ = rounded; }

    void drawRect(Canvas& canvas, Rect rect) override;

private:
    bool rounded_ = false;
};

} // namespace sentrel
