#pragma once

/// How a whole divides into parts: filled sectors of one disc, the first from twelve o'clock on, one after the other
/// clockwise. Main thread.

#include <SentrelKit/views/Color.h>
#include <SentrelKit/views/View.h>

#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class SENTREL_API PieChart : public View {
public:
    explicit PieChart(Rect frame = {});
    explicit PieChart(Coder& coder);

    /// The amounts, a sector each, in any unit. A negative one is swept backwards over its neighbour; amounts that sum
    /// to 0 show nothing, and those whose sum only rounding keeps from 0 whole discs. Setting them requests a redraw if
    /// they change, and takes a pending request back if they do not: meant so.
    [[nodiscard]] const std::vector<double>& dataPoints() const noexcept { return dataPoints_; }
    void setDataPoints(std::vector<double> amounts);

    /// The sectors' colours, by index. Without them, or with another number of them than of amounts, nothing is drawn.
    /// Setting them requests no redraw: set the colours first.
    [[nodiscard]] const std::optional<std::vector<Color>>& colorPoints() const noexcept { return colorPoints_; }
    void setColorPoints(std::optional<std::vector<Color>> colors) noexcept { colorPoints_ = std::move(colors); }

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The shares as whole percents, in their order: "25%, 75%". Absent without amounts.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

private:
    [[nodiscard]] std::optional<std::vector<double>> toPercent() const;

    std::vector<double> dataPoints_;
    std::optional<std::vector<Color>> colorPoints_;
};

} // namespace sentrel
