// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/layers/Layer.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

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

// The corners of a layer's figure in the coordinates of the view.
std::vector<Point> cornersOf(const ShapeLayer& layer, Rect frame) {
    std::vector<Point> corners;
    for (const PathElement& element : layer.path().elements())
        for (std::size_t i = 0; i < (element.kind == PathElement::Kind::curveTo ? 3U : 1U); ++i)
            if (element.kind != PathElement::Kind::closePath)
                corners.push_back({frame.x + element.points[i].x, frame.y + element.points[i].y});
    return corners;
}

TEST_F(Thermometers, FillsAViewOfAnySizeWhenItScalesToFit) {
    for (const Size size :
         {Size{8, 8}, Size{20, 12}, Size{40, 24}, Size{128, 64}, Size{300, 60}, Size{60, 120}, Size{600, 300}}) {
        Thermometer view({0, 0, size.width, size.height});
        EXPECT_FALSE(view.scalesToFit());
        view.setScalesToFit(true);
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        const double height = std::min(size.width / 2.0, size.height);
        const double foot = (size.height - height) / 2.0;
        EXPECT_EQ(scale(view).frame(), (Rect{size.width / 2.0 - height, foot, 2.0 * height, height}));
        const Path& ring = scale(view).mask()->path();
        double top = 0.0;
        for (const Point& point : cornersOf(*scale(view).mask(), scale(view).frame()))
            top = std::max(top, point.y);
        EXPECT_NEAR(top + ring.lineWidth() / 2.0, foot + height, 0.01);
        EXPECT_GE(ring.lineWidth(), 1.5);
        const std::vector<Point> corners = cornersOf(needle(view), needle(view).frame());
        ASSERT_EQ(corners.size(), 3U);
        const Point pivot = needle(view).frame().center();
        EXPECT_DOUBLE_EQ(pivot.x, size.width / 2.0);
        EXPECT_GE(pivot.y, foot + 1.0);
        EXPECT_LT(corners[0].x, pivot.x); // the tip points left, and keeps inside the ring
        EXPECT_GT(corners[0].x, size.width / 2.0 - height + ring.lineWidth());
        EXPECT_GE(corners[1].y - corners[2].y, 2.0);
    }
}

TEST_F(Thermometers, FollowsTheSizeOfItsViewWhenItScalesToFit) {
    Thermometer view({0, 0, 40, 24});
    view.setScalesToFit(true);
    view.setValue(ThermalState::serious);
    advance(1.0);
    view.setFrame({0, 0, 256, 128});
    view.layoutIfNeeded();
    EXPECT_EQ(scale(view).frame(), (Rect{0, 0, 256, 128}));
    EXPECT_EQ(scale(view).mask()->path().lineWidth(), 4.0);
    EXPECT_DOUBLE_EQ(angleNow(view), 2.8);
    view.setFrame({10, 20, 256, 128}); // only another place
    view.setScalesToFit(false);
    EXPECT_EQ(scale(view).mask()->path().lineWidth(), 2.0);
    EXPECT_EQ(needle(view).frame(), (Rect{0, 2.0 - 64.0, 256, 128}));
    view.setFrame({0, 0, 40, 24});
    view.layoutIfNeeded();
    EXPECT_EQ(scale(view).frame(), (Rect{0, 0, 256, 128}));
    EXPECT_DOUBLE_EQ(angleNow(view), 2.8);
    EXPECT_EQ(view.layer()->sublayers().size(), 2U);
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
