// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Color.h>

#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// How a whole divides into parts: filled sectors of one disc, the first from twelve o'clock on, one after the other
/// clockwise. Main thread.
class SENTREL_API PieChart : public View {
public:
    /// A chart without amounts at a frame of its superview's coordinates.
    explicit PieChart(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit PieChart(Coder& coder);

    /// The amounts, a sector each, in any unit. A negative one is swept backwards over its neighbour; amounts that sum
    /// to 0 show nothing, and those whose sum only rounding keeps from 0 whole discs. None from the start.
    [[nodiscard]] const std::vector<double>& dataPoints() const noexcept { return dataPoints_; }

    /// Asks for a redraw if the amounts change, and takes a pending request back if they do not: meant so. Amounts with
    /// one that is not a number always change.
    void setDataPoints(std::vector<double> amounts);

    /// The sectors' colours, by index. Without them, or with another number of them than of amounts, nothing is drawn.
    /// Absent from the start.
    [[nodiscard]] const std::optional<std::vector<Color>>& colorPoints() const noexcept { return colorPoints_; }

    /// Asks for no redraw: set the colours before the amounts.
    void setColorPoints(std::optional<std::vector<Color>> colors) noexcept { colorPoints_ = std::move(colors); }

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The shares as whole percents, in their order: "25%, 75%". Absent without amounts.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

protected:
    /// A picture.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::image; }

private:
    [[nodiscard]] std::optional<std::vector<double>> toPercent() const;

    std::vector<double> dataPoints_;
    std::optional<std::vector<Color>> colorPoints_;
};

} // namespace sentrel
