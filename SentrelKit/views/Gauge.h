// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What both gauges have in common: a colour that follows the value through three bands.

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/Color.h>

#include <utility>

namespace sentrel {

/// A component with the bands' colours and thresholds. Setting one requests a redraw if it changes, and takes a pending
/// request back if it does not; the component's colour is chosen anew only when `percent` is next set. Main thread.
template <class Component>
class Gauge : public Component {
public:
    /// The colour below `success`; `FUIColor::emerald()` from the start.
    [[nodiscard]] Color successColor() const noexcept { return successColor_; }

    /// Shows when `percent` is next set.
    void setSuccessColor(Color color) { change(successColor_, color); }

    /// The colour from `success` to below `warning`; `FUIColor::sunflower()` from the start.
    [[nodiscard]] Color warningColor() const noexcept { return warningColor_; }

    /// Shows when `percent` is next set.
    void setWarningColor(Color color) { change(warningColor_, color); }

    /// The colour from `warning` on; `FUIColor::alizarin()` from the start.
    [[nodiscard]] Color dangerColor() const noexcept { return dangerColor_; }

    /// Shows when `percent` is next set.
    void setDangerColor(Color color) { change(dangerColor_, color); }

    /// The first threshold in percent, not clamped.
    [[nodiscard]] double success() const noexcept { return success_; }

    /// Counts when `percent` is next set.
    void setSuccess(double percent) { change(success_, percent); }

    /// The second threshold in percent, not clamped.
    [[nodiscard]] double warning() const noexcept { return warning_; }

    /// Counts when `percent` is next set.
    void setWarning(double percent) { change(warning_, percent); }

protected:
    /// The first thresholds, and what the component is made from.
    template <class Source>
    Gauge(double success, double warning, Source&& source)
        : Component(std::forward<Source>(source)), success_(success), warning_(warning) {}

    /// The colour of a value: success below the first threshold, else warning below the second, else danger; danger for
    /// a value that is not a number. With the first threshold above the second there is no warning band.
    [[nodiscard]] Color bandColor(double percent) const noexcept {
        if (success_ > percent)
            return successColor_;
        return warning_ > percent ? warningColor_ : dangerColor_;
    }

private:
    template <class Value>
    void change(Value& property, Value value) {
        this->setNeedsDisplay(std::exchange(property, value) != value);
    }

    Color successColor_ = FUIColor::emerald();
    Color warningColor_ = FUIColor::sunflower();
    Color dangerColor_ = FUIColor::alizarin();
    double success_;
    double warning_;
};

} // namespace sentrel
