#pragma once

/// One percentage as a ring: a faint full circle and over it an arc, from twelve o'clock clockwise, as long as the
/// percentage of the turn. It can keep a label of the host's in step. Main thread.

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>

namespace sentrel {

class SENTREL_API CircleChart : public View {
public:
    explicit CircleChart(Rect frame = {});
    explicit CircleChart(Coder& coder);

    /// The label that shows the rounded percentage. It is not kept alive, and it shows nothing before the rounded
    /// percentage next changes.
    [[nodiscard]] std::shared_ptr<TextField> myLabel() const noexcept { return myLabel_.lock(); }
    void setMyLabel(std::weak_ptr<TextField> label) noexcept;

    /// The arc's colour; the circle under it has it at alpha 0.2. Setting it requests a redraw if it changes, and takes
    /// a pending request back if it does not: meant so.
    [[nodiscard]] Color color() const noexcept { return color_; }
    void setColor(Color color);

    /// The ring's thickness in points. Setting it requests no redraw.
    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }
    void setLineWidth(double width) noexcept { lineWidth_ = width; }

    /// The value in percent, not clamped. If its rounded value changes, the label follows and a redraw is requested;
    /// otherwise the value is only kept. Below 0.5, and for a value that is not a number, no arc is drawn.
    [[nodiscard]] double percent() const noexcept { return percent_; }
    virtual void setPercent(double percent);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

private:
    std::weak_ptr<TextField> myLabel_;
    Color color_ = FUIColor::emerald();
    double lineWidth_ = 4.0;
    double percent_ = 0.0;
};

} // namespace sentrel
