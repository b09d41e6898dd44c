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
/// sample, half of it, and zero. Or the bare line, for a card of the host's. Main thread.
///
/// The plot keeps 60 points from the card's top, 50 from its bottom and 22 from its sides; a card that is not higher or
/// not wider than that keeps half of itself for it.
class SENTREL_API LineChart : public View {
public:
    /// A chart of its placeholder at a frame of its superview's coordinates.
    explicit LineChart(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit LineChart(Coder& coder);

    /// The samples, oldest first; exactly these are drawn, over the whole width: of those that share a column of pixels
    /// the ones that show. A placeholder until the host sets its own. Fewer than two leave the line out, and so do, on
    /// a card, samples whose largest is 0.
    [[nodiscard]] const std::vector<std::int64_t>& dataPoints() const noexcept { return dataPoints_; }

    /// Asks for no redraw.
    void setDataPoints(std::vector<std::int64_t> samples) noexcept { dataPoints_ = std::move(samples); }

    /// The card's colour, and that of a bare line; `FUIColor::turquoise()` from the start.
    [[nodiscard]] Color background() const noexcept { return background_; }

    /// Asks for no redraw.
    void setBackground(Color color) noexcept { background_ = color; }

    /// Whether what lies between the line and zero shows the line's colour, fading out downward; not so from the start.
    [[nodiscard]] bool gradient() const noexcept { return gradient_; }

    /// Asks for a redraw if that changes anything.
    void setGradient(bool gradient);

    /// Whether the line stands alone, two points thick in `background` over the whole view, without card and guide
    /// lines; not so from the start.
    [[nodiscard]] bool sparkline() const noexcept { return sparkline_; }

    /// Asks for a redraw if that changes anything.
    void setSparkline(bool sparkline);

    /// Always: y grows downward.
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The newest sample in decimal; absent without samples.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

protected:
    /// A picture.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::image; }

private:
    void drawSeries(Canvas& canvas, Rect plot, const std::optional<Transform>& toPixels, double width,
                    const Color& color) const;

    std::vector<std::int64_t> dataPoints_ = {4, 2, 6, 4, 5, 8, 1, 20, 3};
    Color background_ = FUIColor::turquoise();
    bool gradient_ = false;
    bool sparkline_ = false;
};

} // namespace sentrel
