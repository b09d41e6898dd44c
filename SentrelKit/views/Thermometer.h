// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/ThermalState.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/View.h>

#include <memory>
#include <optional>

namespace sentrel {

class GradientLayer;
class ShapeLayer;

/// The machine's thermal state as a needle over a half ring that runs from blue on the left to red on the right. A new
/// state turns the needle in 0.4 s; the host draws while `isAnimating`. Scale and needle keep the size that the view
/// has when it is made, and are made for one that is about twice as wide as high and no lower than 40 points, unless
/// they scale to fit. Main thread.
class SENTREL_API Thermometer : public View {
public:
    /// A thermometer without a reading at a frame of its superview's coordinates.
    explicit Thermometer(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Thermometer(Coder& coder);
    ~Thermometer() override;

    /// The needle's colour; `FUIColor::white()` from the start.
    [[nodiscard]] Color indicatorColor() const noexcept { return indicatorColor_; }

    /// Shows at once.
    void setIndicatorColor(Color color);

    /// The state shown; absent before the first reading.
    [[nodiscard]] std::optional<ThermalState> value() const noexcept { return value_; }

    /// A change turns the needle from the old state's angle to the new one's: absent turns from the hot end, and to the
    /// nominal angle.
    void setValue(std::optional<ThermalState> value);

    /// Whether scale and needle take as much room as the view has, however small, and follow when it is resized and
    /// next laid out; not so from the start.
    [[nodiscard]] bool scalesToFit() const noexcept { return scalesToFit_; }

    /// Shows at once, and leaves the needle at its angle. Turned off, scale and needle keep the view's size of that
    /// moment.
    void setScalesToFit(bool scalesToFit);

    /// Turns the view's layer on and puts the scale, and over it the needle, into it.
    void prepareLayer();

    /// "nominal", "fair", "serious" or "critical"; absent without a reading.
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override;

protected:
    /// A level indicator.
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::levelIndicator; }

    void layout() override;

private:
    const std::shared_ptr<GradientLayer>& backgroundLayer();
    const std::shared_ptr<ShapeLayer>& indicatorLayer();
    void layDial();
    void rotateIndicator(double from, double to);

    Color indicatorColor_ = FUIColor::white();
    std::optional<ThermalState> value_;
    std::shared_ptr<GradientLayer> backgroundLayer_;
    std::shared_ptr<ShapeLayer> indicatorLayer_;
    bool scalesToFit_ = false;
};

} // namespace sentrel
