#pragma once

/// A short history of integer samples as a white line over a coloured card with three dashed guide lines: the largest
/// sample, half of it, and zero. Main thread.

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class SENTREL_API LineChart : public View {
public:
    explicit LineChart(Rect frame = {});
    explicit LineChart(Coder& coder);

    /// The samples, oldest first; exactly these are drawn, over the whole width. A placeholder until the host sets its
    /// own. Fewer than two, and samples whose largest is 0, leave the line out. Setting them requests no redraw.
    [[nodiscard]] const std::vector<std::int64_t>& dataPoints() const noexcept { return dataPoints_; }
    void setDataPoints(std::vector<std::int64_t> samples) noexcept { dataPoints_ = std::move(samples); }

    /// The card's colour. Setting it requests no redraw.
    [[nodiscard]] Color background() const noexcept { return background_; }
    void setBackground(Color color) noexcept { background_ = color; }

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override;

    /// The newest sample.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

private:
    std::vector<std::int64_t> dataPoints_ = {4, 2, 6, 4, 5, 8, 1, 20, 3};
    Color background_ = FUIColor::turquoise();
};

} // namespace sentrel
