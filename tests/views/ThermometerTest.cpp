// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/layers/Layer.h>

#include <cmath>

namespace sentrel {

namespace {

class Thermometers : public LineDefaults {
protected:
    void advance(double seconds) { machine.advance(seconds); }

    static GradientLayer& scale(Thermometer& view) {
        return dynamic_cast<GradientLayer&>(*view.layer()->sublayers().at(0));
    }
    static ShapeLayer& needle(Thermometer& view) { return dynamic_cast<ShapeLayer&>(*view.layer()->sublayers().at(1)); }
    static double angleNow(Thermometer& view) { return needle(view).rotationAt(mediaTime()).angle; }

    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
};

TEST_F(Thermometers, StartsWithoutAReadingAndWithItsNeedleUnturned) {
    Thermometer view({0, 0, 120, 64});
    EXPECT_EQ(view.value(), std::nullopt);
    EXPECT_EQ(view.indicatorColor(), FUIColor::white());
    EXPECT_TRUE(view.wantsLayer());
    EXPECT_EQ(view.layer()->sublayers().size(), 2U);
    EXPECT_EQ(needle(view).rotationAt(mediaTime()), Rotation{});
    EXPECT_EQ(view.accessibilityValue(), std::nullopt);
    EXPECT_FALSE(view.isAnimating());
}

TEST_F(Thermometers, ShowsATwoPointRingOfItsGradient) {
    Thermometer view({5, 6, 120, 64});
    GradientLayer& layer = scale(view);
    EXPECT_EQ(layer.frame(), (Rect{0, 0, 120, 64}));
    EXPECT_EQ(layer.colors(), (std::vector{FUIColor::peterRiver(), FUIColor::alizarin()}));
    EXPECT_EQ(layer.startPoint(), (Point{0, 0}));
    EXPECT_EQ(layer.endPoint(), (Point{1, 0}));
    ASSERT_TRUE(layer.mask());
    const ShapeLayer& mask = *layer.mask();
    EXPECT_EQ(mask.fillColor(), std::nullopt);
    EXPECT_TRUE(mask.strokeColor());
    Path ring;
    ring.appendArc({60, -4}, 62, 0, 360);
    ring = ring.cgPath();
    ring.setLineWidth(2.0);
    ring.setLineCapStyle(LineCap::butt);
    ring.setLineJoinStyle(LineJoin::round);
    ring.setMiterLimit(1.0);
    EXPECT_EQ(mask.path(), ring);
}

TEST_F(Thermometers, ShapesItsNeedleAroundAPivotTwoPointsAboveItsLowerEdge) {
    Thermometer view({5, 6, 120, 64});
    ShapeLayer& layer = needle(view);
    EXPECT_EQ(layer.frame(), (Rect{0, 2.0 - 32.0, 120, 64}));
    EXPECT_EQ(layer.anchorPoint(), (Point{0.5, 0.5}));
    EXPECT_EQ(layer.fillColor(), FUIColor::white());
    Path path;
    path.moveTo({15, 33});
    path.lineTo({61, 34});
    path.lineTo({61, 30});
    path.close();
    EXPECT_EQ(layer.path(), path);
    EXPECT_EQ(layer.frame().center(), (Point{60, 2}));
}

TEST_F(Thermometers, SweepsTheFirstReadingFromTheHotEnd) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(ThermalState::nominal);
    const BasicAnimation* turn = needle(view).animation("rotationTransform");
    ASSERT_TRUE(turn);
    EXPECT_EQ(turn->keyPath, "transform");
    EXPECT_EQ(turn->duration, 0.4);
    EXPECT_EQ(turn->timingFunction, TimingFunction::easeIn());
    EXPECT_EQ(std::get<Rotation>(turn->fromValue), (Rotation{3.1, -1.0}));
    EXPECT_EQ(std::get<Rotation>(turn->toValue), (Rotation{0.2, -1.0}));
    EXPECT_EQ(turn->fillMode, FillMode::forwards);
    EXPECT_FALSE(turn->removedOnCompletion);

    EXPECT_DOUBLE_EQ(angleNow(view), 3.1);
    EXPECT_TRUE(view.isAnimating());
    advance(0.2);
    EXPECT_NEAR(angleNow(view), 3.1 - 2.9 * TimingFunction::easeIn().at(0.5), 1e-9);
    advance(0.2);
    EXPECT_FALSE(view.isAnimating());
    EXPECT_DOUBLE_EQ(angleNow(view), 0.2);
    advance(1000.0);
    EXPECT_DOUBLE_EQ(angleNow(view), 0.2);
}

TEST_F(Thermometers, HasAnAngleForEachState) {
    const std::pair<ThermalState, double> angles[] = {{ThermalState::nominal, 0.2},
                                                      {ThermalState::fair, 1.8},
                                                      {ThermalState::serious, 2.8},
                                                      {ThermalState::critical, 3.1},
                                                      {static_cast<ThermalState>(9), 0.0}};
    for (const auto& [state, angle] : angles) {
        Thermometer view({0, 0, 120, 64});
        view.setValue(state);
        advance(1.0);
        EXPECT_DOUBLE_EQ(angleNow(view), angle) << static_cast<int>(state);
    }
}

TEST_F(Thermometers, TurnsFromTheOldStatesAngleToTheNewOnes) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(ThermalState::serious);
    advance(1.0);
    view.setValue(ThermalState::fair);
    EXPECT_DOUBLE_EQ(angleNow(view), 2.8);
    advance(0.1);
    EXPECT_LT(angleNow(view), 2.8); // less of a clockwise turn: counter-clockwise on screen
    advance(1.0);
    EXPECT_DOUBLE_EQ(angleNow(view), 1.8);
    view.setValue(std::nullopt);
    EXPECT_DOUBLE_EQ(angleNow(view), 1.8);
    advance(1.0);
    EXPECT_DOUBLE_EQ(angleNow(view), 0.2);
}

TEST_F(Thermometers, StartsNoSecondAnimationForTheSameState) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(std::nullopt);
    EXPECT_EQ(needle(view).animation("rotationTransform"), nullptr);
    view.setValue(ThermalState::fair);
    const double begin = needle(view).animation("rotationTransform")->beginTime;
    advance(0.3);
    view.setValue(ThermalState::fair);
    EXPECT_EQ(needle(view).animation("rotationTransform")->beginTime, begin);
}

TEST_F(Thermometers, ReplacesATurnUnderWay) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(ThermalState::fair);
    advance(0.1);
    view.setValue(ThermalState::critical);
    EXPECT_DOUBLE_EQ(angleNow(view), 1.8); // from the old state's angle, not from where the needle was
    advance(0.4);
    EXPECT_DOUBLE_EQ(angleNow(view), 3.1);
}

TEST_F(Thermometers, RecoloursTheNeedleAtOnceWithoutTouchingItsAngle) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(ThermalState::fair);
    advance(1.0);
    view.setIndicatorColor(FUIColor::wetAsphalt());
    EXPECT_EQ(needle(view).fillColor(), FUIColor::wetAsphalt());
    EXPECT_DOUBLE_EQ(angleNow(view), 1.8);
    EXPECT_FALSE(view.needsDisplay());
    EXPECT_FALSE(view.dirtyRects().empty());
}

TEST_F(Thermometers, KeepsScaleAndNeedleOfItsFirstSize) {
    Thermometer view({0, 0, 120, 64});
    const Path ring = scale(view).mask()->path();
    const Path triangle = needle(view).path();
    view.setFrame({0, 0, 300, 200});
    RecordingCanvas canvas;
    view.display(canvas, mediaTime());
    EXPECT_EQ(scale(view).mask()->path(), ring);
    EXPECT_EQ(scale(view).frame(), (Rect{0, 0, 120, 64}));
    EXPECT_EQ(needle(view).path(), triangle);
    EXPECT_EQ(needle(view).frame(), (Rect{0, -30, 120, 64}));
}

TEST_F(Thermometers, KeepsTheNeedleAboveTheScaleWhenPreparedAgain) {
    Thermometer view({0, 0, 120, 64});
    const std::shared_ptr<Layer> last = view.layer()->sublayers().at(1);
    view.prepareLayer();
    ASSERT_EQ(view.layer()->sublayers().size(), 2U);
    EXPECT_EQ(view.layer()->sublayers().at(1), last);
}

TEST_F(Thermometers, NamesItsStateAsItsAccessibilityValue) {
    Thermometer view({0, 0, 120, 64});
    view.setValue(ThermalState::serious);
    EXPECT_EQ(view.accessibilityValue(), "serious");
    view.setValue(static_cast<ThermalState>(9));
    EXPECT_EQ(view.accessibilityValue(), std::nullopt);
}

TEST_F(Thermometers, TakesItsFrameFromAnArchive) {
    Coder coder(PropertyList::Dictionary{{"frame", PropertyList::List{0, 0, 120, 64}}});
    Thermometer view(coder);
    EXPECT_EQ(scale(view).frame(), (Rect{0, 0, 120, 64}));
}

} // namespace

} // namespace sentrel
