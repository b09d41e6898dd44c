#pragma once

/// The ring whose colour follows its value through three bands. Main thread.

#include <SentrelKit/views/CircleChart.h>

namespace sentrel {

class SENTREL_API GaugeCircleChart : public CircleChart {
public:
    explicit GaugeCircleChart(Rect frame = {});
    explicit GaugeCircleChart(Coder& coder);

    // The bands' colours and thresholds. Setting one requests a redraw if it changes, and takes a pending request back
    // if it does not; the ring's colour is chosen anew only when `percent` is next set.
    [[nodiscard]] Color successColor() const noexcept { return successColor_; } ///< below `success`
    void setSuccessColor(Color color);
    [[nodiscard]] Color warningColor() const noexcept { return warningColor_; } ///< from `success` to below `warning`
    void setWarningColor(Color color);
    [[nodiscard]] Color dangerColor() const noexcept { return dangerColor_; } ///< from `warning` on
    void setDangerColor(Color color);
    [[nodiscard]] double success() const noexcept { return success_; } ///< percent
    void setSuccess(double percent);
    [[nodiscard]] double warning() const noexcept { return warning_; } ///< percent
    void setWarning(double percent);

    /// Chooses the colour of the value's band, then does what the plain ring does. A value that is not a number is in
    /// danger.
    void setPercent(double percent) override;

private:
    Color successColor_ = FUIColor::emerald();
    Color warningColor_ = FUIColor::sunflower();
    Color dangerColor_ = FUIColor::alizarin();
    double success_ = 81.0;
    double warning_ = 91.0;
};

} // namespace sentrel
