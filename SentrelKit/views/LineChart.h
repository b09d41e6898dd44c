// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// A short history of integer samples as a white line over a coloured card with three dashed guide lines: the largest
/// sample, half of it, and zero. Main thread.
class SENTREL_API LineChart : public View {
public:
    /// A chart of its placeholder at a frame of its superview's coordinates.
    explicit LineChart(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit LineChart(Coder& coder);

    /// The samples, oldest first; exactly these are drawn, over the whole width. A placeholder until the host sets its
    /// own. Fewer than two, and samples whose largest is 0, leave the line out.
    [[nodiscard]] const std::vector<std::int64_t>& dataPoints() const noexcept { return dataPoints_; }

    /// Asks for no redraw.
    void setDataPoints(std::vector<std::int64_t> samples) noexcept { dataPoints_ = std::move(samples); }

    /// The card's colour; `FUIColor::turquoise()` from the start.
    [[nodiscard]] Color background() const noexcept { return background_; }

    /// Asks for no redraw.
    void setBackground(Color color) noexcept { background_ = color; }

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The newest sample in decimal; absent without samples.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

protected:
    /// A picture.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::image; }

private:
    std::vector<std::int64_t> dataPoints_ = {4, 2, 6, 4, 5, 8, 1, 20, 3};
    Color background_ = FUIColor::turquoise();
};

} // namespace sentrel
