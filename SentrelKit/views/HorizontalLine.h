// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Shape.h>

namespace sentrel {

/// One line across the view, half its width off the middle. Drawing it leaves its width and cap behind as the
/// defaults of every later path of the process. Main thread.
class SENTREL_API HorizontalLine : public Shape {
public:
    /// A line with square ends at a frame of its superview's coordinates.
    explicit HorizontalLine(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit HorizontalLine(Coder& coder);

    /// Whether its ends are round or square; square from the start.
    [[nodiscard]] bool rounded() const noexcept { return rounded_; }

    /// Asks for no redraw.
    void setRounded(bool rounded) noexcept { rounded_ = rounded; }

    void drawRect(Canvas& canvas, Rect rect) override;

private:
    bool rounded_ = false;
};

} // namespace sentrel
