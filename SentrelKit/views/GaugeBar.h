#pragma once

/// The bar whose colour follows its value through three bands. It starts in the plain bar's colour and takes its band's
/// when `percent` is first set. Main thread.

#include <SentrelKit/views/Bar.h>

#include <functional>

namespace sentrel {

class SENTREL_API GaugeBar : public Bar {
public:
    explicit GaugeBar(Rect frame = {});
    explicit GaugeBar(Coder& coder);

    // The bands' colours and thresholds. Setting one requests a redraw if it changes, and takes a pending request back
    // if it does not; the bar's colour is chosen anew only when `percent` is next set.
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

    /// A hook for the host to keep and call; the bar never calls it.
    [[nodiscard]] const std::function<bool()>& confirm() const noexcept { return confirm_; }
    void setConfirm(std::function<bool()> confirm);

    /// Whether setting `percent` chooses the colour; if not, the colour stays as the host set it.
    [[nodiscard]] bool colorize() const noexcept { return colorize_; }
    void setColorize(bool colorize) noexcept { colorize_ = colorize; }

    /// Chooses the colour of the value's band, then does what the plain bar does: so an equal value takes a pending
    /// request back even if the colour changed. A value that is not a number is in danger.
    void setPercent(double percent) override;

private:
    Color successColor_ = FUIColor::emerald();
    Color warningColor_ = FUIColor::sunflower();
    Color dangerColor_ = FUIColor::alizarin();
    double success_ = 91.0;
    double warning_ = 99.0;
    std::function<bool()> confirm_;
    bool colorize_ = true;
};

} // namespace sentrel
