#pragma once

/// One percentage as a horizontal bar: a faint track across the view and over it a line as long as the percentage of
/// the width. Drawing it leaves its width and cap behind as the defaults of every later path of the process. Main
/// thread.

#include <SentrelKit/views/Shape.h>

namespace sentrel {

class SENTREL_API Bar : public Shape {
public:
    explicit Bar(Rect frame = {});
    explicit Bar(Coder& coder);

    /// Whether its ends are round or square. Setting it requests no redraw.
    [[nodiscard]] bool rounded() const noexcept { return rounded_; }
    void setRounded(bool rounded) noexcept { rounded_ = rounded; }

    /// The value in percent, not clamped: above 100 the line leaves the view on the right, below 0 on the left. Setting
    /// it requests a redraw if it changes, and takes a pending request back if it does not: meant so.
    [[nodiscard]] double percent() const noexcept { return percent_; }
    virtual void setPercent(double percent);

    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;
    void drawRect(Canvas& canvas, Rect rect) override;

private:
    double percent_ = 50.0;
    bool rounded_ = true;
};

} // namespace sentrel
