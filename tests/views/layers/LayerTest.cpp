// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/layers/Layer.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

namespace sentrel {

namespace {

BasicAnimation fade(Color from, Color to, double begin, double duration) {
    BasicAnimation animation;
    animation.keyPath = "backgroundColor";
    animation.fromValue = from;
    animation.toValue = to;
    animation.beginTime = begin;
    animation.duration = duration;
    return animation;
}

BasicAnimation turn(double from, double to, double begin) {
    BasicAnimation animation;
    animation.keyPath = "transform";
    animation.fromValue = Rotation{from, -1.0};
    animation.toValue = Rotation{to, -1.0};
    animation.beginTime = begin;
    animation.duration = 1.0;
    return animation;
}

TEST(Layer, StartsEmptyWithItsAnchorInTheMiddle) {
    const Layer layer;
    EXPECT_EQ(layer.frame(), Rect{});
    EXPECT_EQ(layer.anchorPoint(), (Point{0.5, 0.5}));
    EXPECT_EQ(layer.backgroundColor(), std::nullopt);
    EXPECT_EQ(layer.cornerRadius(), 0.0);
    EXPECT_EQ(ShapeLayer().fillColor(), FUIColor::black());
    EXPECT_EQ(ShapeLayer().strokeColor(), std::nullopt);
}

TEST(Layer, FillsItsBoundsWithItsBackground) {
    Layer layer;
    layer.setFrame({10, 20, 30, 40});
    layer.setCornerRadius(4.0);
    layer.setBackgroundColor(FUIColor::turquoise());
    RecordingCanvas canvas;
    layer.display(canvas, 0.0);
    const auto fills = canvas.all<RecordingCanvas::Fill>();
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::roundedRect({0, 0, 30, 40}, 4, 4));
    EXPECT_EQ(std::get<Color>(fills[0].paint), FUIColor::turquoise());
    const auto concats = canvas.all<RecordingCanvas::Concat>();
    ASSERT_EQ(concats.size(), 1U);
    EXPECT_EQ(concats[0].transform, Transform::translation(10, 20));
}

TEST(Layer, FadesItsBackgroundAsAFunctionOfTime) {
    Layer layer;
    layer.setBackgroundColor(FUIColor::white());
    layer.addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, 2.0), "fade");
    EXPECT_EQ(layer.backgroundColorAt(100.0), FUIColor::black());
    EXPECT_NEAR(layer.backgroundColorAt(100.5)->red, 0.25, 1e-9);
    EXPECT_NEAR(layer.backgroundColorAt(101.0)->green, 0.5, 1e-9);
    EXPECT_EQ(layer.backgroundColorAt(102.0), FUIColor::white());
    EXPECT_NEAR(layer.backgroundColorAt(100.5)->red, 0.25, 1e-9); // time may be asked for in any order
    EXPECT_TRUE(layer.isAnimating(101.9));
    EXPECT_FALSE(layer.isAnimating(102.0));
}

TEST(Layer, ReplacesTheAnimationUnderTheSameKey) {
    Layer layer;
    layer.addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, 2.0), "fade");
    layer.addAnimation(fade(FUIColor::carrot(), FUIColor::carrot(), 100.0, 2.0), "fade");
    EXPECT_EQ(layer.backgroundColorAt(100.5), FUIColor::carrot());
    layer.removeAnimation("fade");
    EXPECT_EQ(layer.animation("fade"), nullptr);
    EXPECT_EQ(layer.backgroundColorAt(100.5), std::nullopt);
}

TEST(Layer, StartsAnAnimationFromItsOwnValueWhenItNamesNone) {
    Layer layer;
    layer.setBackgroundColor(FUIColor::black());
    BasicAnimation animation = fade({}, FUIColor::white(), 100.0, 1.0);
    animation.fromValue = {};
    layer.addAnimation(animation, "fade");
    EXPECT_NEAR(layer.backgroundColorAt(100.5)->red, 0.5, 1e-9);
}

TEST(Layer, ShowsItsOwnValueWhereAnimatedKindsDoNotMix) {
    Layer layer;
    layer.setBackgroundColor(FUIColor::emerald());
    BasicAnimation animation = fade({}, FUIColor::white(), 100.0, 1.0);
    animation.fromValue = Rotation{};
    layer.addAnimation(animation, "fade");
    EXPECT_EQ(layer.backgroundColorAt(100.5), FUIColor::emerald());
}

TEST(Layer, KeepsTheLastValueOfAnAnimationThatFillsForwards) {
    Layer layer;
    BasicAnimation kept = turn(0.0, 2.0, 100.0);
    kept.fillMode = FillMode::forwards;
    kept.removedOnCompletion = false;
    layer.addAnimation(kept, "turn");
    EXPECT_EQ(layer.rotationAt(1000.0), (Rotation{2.0, -1.0}));
    RecordingCanvas canvas;
    layer.display(canvas, 1000.0);
    EXPECT_NE(layer.animation("turn"), nullptr);

    layer.addAnimation(turn(0.0, 2.0, 100.0), "turn");
    EXPECT_EQ(layer.rotationAt(1000.0), Rotation{});
    layer.display(canvas, 1000.0);
    EXPECT_EQ(layer.animation("turn"), nullptr);
}

TEST(Layer, TurnsClockwiseAboutItsAnchorForANegativeAxis) {
    Layer layer;
    layer.setFrame({10, 20, 40, 20});
    layer.addAnimation(turn(M_PI / 2, M_PI / 2, 100.0), "turn");
    RecordingCanvas canvas;
    layer.display(canvas, 100.5);
    const Transform place = canvas.all<RecordingCanvas::Concat>()[0].transform;
    const Point pivot = place.apply({20, 10});
    EXPECT_NEAR(pivot.x, 30.0, 1e-9);
    EXPECT_NEAR(pivot.y, 30.0, 1e-9);
    const Point left = place.apply({0, 10}); // y grows upward: a quarter turn clockwise takes left to the top
    EXPECT_NEAR(left.x, 30.0, 1e-9);
    EXPECT_NEAR(left.y, 50.0, 1e-9);
}

TEST(Layer, IsOverAtOnceWithADurationThatIsNoTime) {
    for (const double duration : {0.0, -1.0, std::nan("")}) {
        Layer layer;
        layer.addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, duration), "fade");
        EXPECT_FALSE(layer.isAnimating(100.0)) << duration;
        EXPECT_EQ(layer.backgroundColorAt(100.0), std::nullopt) << duration;
    }
}

TEST(Layer, BeginsAnAnimationNowOnThePlatformsClock) {
    platform::ScriptedPlatform machine;
    const platform::Override scope(machine);
    machine.advance(7.5);
    Layer layer;
    layer.addAnimation(fade(FUIColor::black(), FUIColor::white(), 0.0, 1.0), "fade");
    EXPECT_NEAR(layer.animation("fade")->beginTime, 7.5, 1e-9);
    EXPECT_TRUE(layer.isAnimating(mediaTime()));
    machine.advance(1.0);
    EXPECT_FALSE(layer.isAnimating(mediaTime()));
}

TEST(Layer, NeedsDisplayUntilItIsDisplayedAfterItsAnimations) {
    Layer layer;
    const auto inner = std::make_shared<Layer>();
    layer.addSublayer(inner);
    RecordingCanvas canvas;
    layer.display(canvas, 0.0);
    EXPECT_FALSE(layer.needsDisplay());
    int calls = 0;
    layer.setDisplayHandler([&] { ++calls; });
    inner->addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, 1.0), "fade");
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(layer.isAnimating(100.5));
    layer.display(canvas, 100.5);
    EXPECT_TRUE(layer.needsDisplay());
    layer.display(canvas, 101.0);
    EXPECT_FALSE(layer.needsDisplay());
}

// A handler that set another one, or none, was destroyed while it ran.
TEST(Layer, LetsADisplayHandlerReplaceItselfWhileItRuns) {
    const auto layer = std::make_shared<Layer>();
    Layer outer;
    outer.addSublayer(layer);
    std::vector<std::string> log;
    const std::string name(100, 'a'); // too long to lie inside the handler itself
    outer.setDisplayHandler([&] { log.emplace_back("outer"); });
    layer->setDisplayHandler([&outer, layer, &log, name] {
        layer->setDisplayHandler(nullptr);
        outer.setDisplayHandler(nullptr);
        log.push_back(name);
    });
    layer->addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, 1.0), "fade");
    layer->addAnimation(fade(FUIColor::white(), FUIColor::black(), 100.0, 1.0), "fade");
    EXPECT_EQ(log.back(), name);
    EXPECT_LE(log.size(), 2U);
    EXPECT_EQ(layer->backgroundColorAt(100.0), FUIColor::white());
}

TEST(Layer, AsksOnceForAnAnimationThatReplacesAnother) {
    Layer layer;
    layer.addAnimation(fade(FUIColor::black(), FUIColor::white(), 100.0, 1.0), "fade");
    int calls = 0;
    layer.setDisplayHandler([&] { ++calls; });
    layer.addAnimation(fade(FUIColor::white(), FUIColor::black(), 100.0, 1.0), "fade");
    EXPECT_EQ(calls, 1);
}

TEST(Layer, AsksForARedrawOnlyWhenAPropertyChanges) {
    Layer layer;
    ShapeLayer shape;
    GradientLayer gradient;
    const auto mask = std::make_shared<ShapeLayer>();
    const std::pair<const char*, std::function<void()>> setters[] = {
        {"frame",
         [&] {
             layer.setFrame({1, 2, 3, 4});
         }},
        {"anchor",
         [&] {
             layer.setAnchorPoint({0.0, 1.0});
         }},
        {"background", [&] { layer.setBackgroundColor(FUIColor::white()); }},
        {"corners", [&] { layer.setCornerRadius(3.0); }},
        {"path",
         [&] {
             shape.setPath(Path::line({0, 0}, {1, 1}));
         }},
        {"fill", [&] { shape.setFillColor(std::nullopt); }},
        {"stroke", [&] { shape.setStrokeColor(FUIColor::white()); }},
        {"colours", [&] { gradient.setColors({FUIColor::white()}); }},
        {"start",
         [&] {
             gradient.setStartPoint({0.0, 0.0});
         }},
        {"end",
         [&] {
             gradient.setEndPoint({1.0, 0.0});
         }},
        {"mask", [&] { gradient.setMask(mask); }},
    };
    int calls = 0;
    for (Layer* each : {&layer, static_cast<Layer*>(&shape), static_cast<Layer*>(&gradient)})
        each->setDisplayHandler([&] { ++calls; });
    for (const auto& [name, set] : setters) {
        calls = 0;
        set();
        EXPECT_EQ(calls, 1) << name;
        set();
        EXPECT_EQ(calls, 1) << name;
    }
}

TEST(Layer, AsksOnceForChangesMadeTogether) {
    Layer layer;
    RecordingCanvas canvas;
    layer.display(canvas, 0.0);
    int calls = 0;
    layer.setDisplayHandler([&] { ++calls; });
    layer.changeTogether([&] {
        layer.setCornerRadius(3.0);
        layer.changeTogether([&] { layer.setBackgroundColor(FUIColor::white()); });
        layer.setNeedsDisplay();
        EXPECT_EQ(calls, 0);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(layer.needsDisplay());
    layer.changeTogether([&] { layer.setCornerRadius(3.0); });
    EXPECT_EQ(calls, 1);

    const auto failing = [&] {
        layer.setCornerRadius(4.0);
        throw std::runtime_error("no more");
    };
    EXPECT_THROW(layer.changeTogether(failing), std::runtime_error);
    EXPECT_EQ(calls, 1);
    layer.changeTogether([] {});
    EXPECT_EQ(calls, 2);
    layer.setCornerRadius(5.0);
    EXPECT_EQ(calls, 3);
}

TEST(Layer, LetsItsSublayersOutliveIt) {
    const auto inner = std::make_shared<Layer>();
    {
        Layer outer;
        outer.addSublayer(inner);
    }
    inner->setNeedsDisplay();
    inner->removeFromSuperlayer();
}

TEST(Layer, RunsANumberOfItsViewAsAFunctionOfTime) {
    Layer layer;
    EXPECT_EQ(layer.numberAt("value", 0.0, 7.0), 7.0);
    BasicAnimation run;
    run.keyPath = "value";
    run.fromValue = 20.0;
    run.beginTime = 10.0;
    run.duration = 2.0;
    layer.addAnimation(run, "value");
    EXPECT_EQ(layer.numberAt("value", 10.0, 40.0), 20.0);
    EXPECT_NEAR(layer.numberAt("value", 11.0, 40.0), 30.0, 1e-9);
    EXPECT_EQ(layer.numberAt("value", 12.0, 40.0), 40.0);
    EXPECT_EQ(layer.numberAt("other", 11.0, 40.0), 40.0);
}

TEST(Layer, KnowsTheTimeThatItWasLastDisplayedAt) {
    Layer layer;
    EXPECT_EQ(layer.displayTime(), std::numeric_limits<double>::infinity());
    RecordingCanvas canvas;
    layer.display(canvas, 12.5);
    EXPECT_EQ(layer.displayTime(), 12.5);
}

TEST(LayerDeathTest, RefusesToHoldItself) {
    const auto layer = std::make_shared<Layer>();
    EXPECT_DEATH(layer->addSublayer(layer), "ancestor != layer.get\\(\\)");
    EXPECT_DEATH(layer->addSublayer(nullptr), "layer");
}

TEST(ShapeLayer, FillsAndStrokesItsPath) {
    ShapeLayer layer;
    const Path path = Path::ellipse({0, 0, 10, 10});
    layer.setPath(path);
    layer.setFillColor(FUIColor::carrot());
    layer.setStrokeColor(FUIColor::silver());
    RecordingCanvas canvas;
    layer.display(canvas, 0.0);
    ASSERT_EQ(canvas.all<RecordingCanvas::Fill>().size(), 1U);
    EXPECT_EQ(canvas.all<RecordingCanvas::Fill>()[0].path, path);
    EXPECT_EQ(std::get<Color>(canvas.all<RecordingCanvas::Fill>()[0].paint), FUIColor::carrot());
    ASSERT_EQ(canvas.all<RecordingCanvas::Stroke>().size(), 1U);
    EXPECT_EQ(std::get<Color>(canvas.all<RecordingCanvas::Stroke>()[0].paint), FUIColor::silver());
}

TEST(GradientLayer, FillsItsBoundsOrShowsThroughItsMask) {
    GradientLayer layer;
    layer.setFrame({0, 0, 30, 40});
    layer.setColors({FUIColor::peterRiver(), FUIColor::alizarin()});
    layer.setStartPoint({0, 0});
    layer.setEndPoint({1, 0});
    const LinearGradient gradient{{0, 0}, {30, 0}, {FUIColor::peterRiver(), FUIColor::alizarin()}};
    RecordingCanvas whole;
    layer.display(whole, 0.0);
    ASSERT_EQ(whole.all<RecordingCanvas::Fill>().size(), 1U);
    EXPECT_EQ(whole.all<RecordingCanvas::Fill>()[0].path, Path::rect({0, 0, 30, 40}));
    EXPECT_EQ(std::get<LinearGradient>(whole.all<RecordingCanvas::Fill>()[0].paint), gradient);

    const auto mask = std::make_shared<ShapeLayer>();
    mask->setPath(Path::ellipse({0, 0, 10, 10}));
    layer.setMask(mask);
    RecordingCanvas masked;
    layer.display(masked, 0.0);
    ASSERT_EQ(masked.all<RecordingCanvas::Fill>().size(), 1U);
    EXPECT_EQ(masked.all<RecordingCanvas::Fill>()[0].path, mask->path());
    EXPECT_EQ(std::get<LinearGradient>(masked.all<RecordingCanvas::Fill>()[0].paint), gradient);
    EXPECT_EQ(masked.all<RecordingCanvas::Clip>()[0].path, Path::rect({0, 0, 30, 40}));
}

} // namespace

} // namespace sentrel
