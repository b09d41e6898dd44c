// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIButton.h>

#include "tests/views/FlatControls.h"

#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/layers/Layer.h>

namespace sentrel {

namespace {

class FUIButtons : public FlatControls {
protected:
    FUIButtons() {
        button.setAction([this](Control& sender) {
            EXPECT_EQ(&sender, &button);
            ++sent;
        });
    }
    [[nodiscard]] Color shown() { return button.layer()->backgroundColorAt(mediaTime()).value(); }
    [[nodiscard]] static Color lighter() { return FUIColor::turquoise().blendedColor(0.15, FUIColor::white()); }
    [[nodiscard]] static Color darker() { return FUIColor::turquoise().blendedColor(0.15, FUIColor::black()); }

    int sent = 0;
    FUIButton button{Rect{0, 0, 100, 30}};
};

TEST_F(FUIButtons, StartsWithItsDefaultsOnALayerOfItsOwn) {
    EXPECT_EQ(button.title(), nullptr);
    EXPECT_EQ(button.borderRadius(), 4.0);
    EXPECT_EQ(button.backgroundColor(), FUIColor::turquoise());
    ASSERT_TRUE(button.wantsLayer());
    EXPECT_EQ(button.layer()->cornerRadius(), 4.0);
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise());
    EXPECT_EQ(button.layerContentsRedrawPolicy(), LayerContentsRedrawPolicy::onSetNeedsDisplay);
    EXPECT_EQ(static_cast<int>(button.layerContentsRedrawPolicy()), 1);
}

TEST_F(FUIButtons, ShowsANewRadiusOrColourAtOnceAndMarksItsLayer) {
    RecordingCanvas canvas;
    button.display(canvas);
    EXPECT_FALSE(button.layer()->needsDisplay());
    button.setBorderRadius(9.0);
    EXPECT_EQ(button.borderRadius(), 9.0);
    EXPECT_EQ(button.layer()->cornerRadius(), 9.0);
    EXPECT_TRUE(button.layer()->needsDisplay());
    button.display(canvas);
    button.setBackgroundColor(FUIColor::amethyst());
    EXPECT_EQ(button.backgroundColor(), FUIColor::amethyst());
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::amethyst());
    EXPECT_TRUE(button.layer()->needsDisplay());
}

TEST_F(FUIButtons, AsksForOneRedrawWithEachEvent) {
    int calls = 0;
    button.setDisplayHandler([&] { ++calls; });
    button.mouseEntered(event);
    EXPECT_EQ(calls, 1);
    button.mouseDown(event);
    EXPECT_EQ(calls, 2);
    button.mouseUp(event);
    EXPECT_EQ(calls, 3);
    button.setBorderRadius(9.0);
    EXPECT_EQ(calls, 4);
    button.setBackgroundColor(FUIColor::amethyst());
    EXPECT_EQ(calls, 5);
    button.setBackgroundColor(FUIColor::amethyst()); // meant so: also for an equal colour
    EXPECT_EQ(calls, 6);
    button.setBorderRadius(9.0);
    EXPECT_EQ(calls, 7);
}

TEST_F(FUIButtons, FadesInAQuarterOfASecondFromTheColourSetLast) {
    button.mouseEntered(event);
    const BasicAnimation* fade = button.layer()->animation("backgroundColor");
    ASSERT_TRUE(fade);
    EXPECT_EQ(fade->keyPath, "backgroundColor");
    EXPECT_EQ(fade->duration, 0.25);
    EXPECT_EQ(fade->timingFunction, TimingFunction::linear());
    EXPECT_EQ(std::get<Color>(fade->fromValue), FUIColor::turquoise());
    EXPECT_EQ(std::get<Color>(fade->toValue), lighter());
    EXPECT_EQ(button.layer()->backgroundColor(), lighter());

    EXPECT_EQ(shown(), FUIColor::turquoise());
    EXPECT_TRUE(button.isAnimating());
    advance(0.125);
    EXPECT_NEAR(shown().red, (FUIColor::turquoise().red + lighter().red) / 2, 1e-6);

    button.mouseDown(event); // meant so: from the colour set last, not from the one shown
    EXPECT_EQ(std::get<Color>(button.layer()->animation("backgroundColor")->fromValue), lighter());
    advance(0.25);
    EXPECT_EQ(shown(), darker());
    EXPECT_FALSE(button.isAnimating());
}

TEST_F(FUIButtons, ReturnsToRestAndSendsItsActionOnceWhenReleasedInside) {
    button.mouseEntered(event);
    button.mouseDown(event);
    EXPECT_EQ(button.layer()->backgroundColor(), darker());
    EXPECT_EQ(sent, 0);
    button.mouseUp(event);
    EXPECT_EQ(sent, 1);
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise()); // meant so: not the lighter one
}

TEST_F(FUIButtons, SendsNothingWhenReleasedOutside) {
    button.mouseEntered(event);
    button.mouseDown(event);
    button.mouseExited(event);
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise());
    button.mouseUp(event);
    EXPECT_EQ(sent, 0);
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise());
}

TEST_F(FUIButtons, SendsNothingForATargetThatIsGone) {
    auto target = std::make_shared<int>();
    button.setTarget(target);
    button.mouseEntered(event);
    button.mouseUp(event);
    EXPECT_EQ(sent, 1);
    target.reset();
    button.mouseUp(event);
    EXPECT_EQ(sent, 1);
    button.setTarget(nullptr);
    button.mouseUp(event);
    EXPECT_EQ(sent, 2);
}

TEST_F(FUIButtons, LetsItsActionReplaceItselfOrReleaseTheButton) {
    auto owned = std::make_shared<FUIButton>(Rect{0, 0, 100, 30});
    const std::string name(100, 'a'); // too long to lie inside the action itself
    std::vector<std::string> log;
    owned->setAction([&owned, &log, name](Control& sender) {
        sender.setAction(nullptr);
        owned.reset();
        log.push_back(name);
    });
    FUIButton& pressed = *owned;
    pressed.mouseEntered(event);
    pressed.mouseUp(event);
    EXPECT_EQ(log, std::vector{name});
    EXPECT_EQ(owned, nullptr);
}

TEST_F(FUIButtons, SendsItsActionForAPressAndAReleaseInsideOnly) {
    EventRouter router(button);
    router.pressed({5, 5}); // a tap: nothing was heard of the finger before
    EXPECT_EQ(button.layer()->backgroundColor(), darker());
    router.released({5, 5});
    EXPECT_EQ(sent, 1);
    router.pressed({5, 5});
    router.released({5, 35});
    EXPECT_EQ(sent, 1);
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise());
    router.pressed({5, 5});
    router.moved({5, 35});
    router.moved({5, 5});
    router.released({5, 5});
    EXPECT_EQ(sent, 2);
    router.pressed({5, 35});
    router.released({5, 5});
    EXPECT_EQ(sent, 2);
}

TEST_F(FUIButtons, ReturnsToRestAndSendsNothingForAGestureThatIsCancelled) {
    EventRouter router(button);
    router.pressed({5, 5});
    router.cancel();
    EXPECT_EQ(button.layer()->backgroundColor(), FUIColor::turquoise());
    router.released({5, 5});
    EXPECT_EQ(sent, 0);
}

TEST_F(FUIButtons, DoesNotKeepItsTitleAlive) {
    auto label = std::make_shared<TextField>();
    button.setTitle(label);
    EXPECT_EQ(button.title(), label);
    label.reset();
    EXPECT_EQ(button.title(), nullptr);
}

TEST_F(FUIButtons, TracksThePointerOverItsBoundsOnce) {
    button.updateTrackingAreas();
    button.updateTrackingAreas();
    EXPECT_EQ(button.trackingAreas(), (std::vector<TrackingArea>{{{0, 0, 100, 30}, 0x481}}));
}

TEST_F(FUIButtons, GivesItsLayerUpUnharmed) {
    std::shared_ptr<Layer> layer;
    {
        FUIButton gone({0, 0, 10, 10});
        layer = gone.layer();
    }
    layer->setNeedsDisplay();
}

TEST_F(FUIButtons, SendsItsActionWithAFlashWhenPressedByKey) {
    EXPECT_TRUE(button.press());
    EXPECT_EQ(sent, 1);
    EXPECT_EQ(button.layer()->backgroundColor(), button.backgroundColor());
    const BasicAnimation* const fade = button.layer()->animation("backgroundColor");
    ASSERT_NE(fade, nullptr);
    EXPECT_EQ(std::get<Color>(fade->fromValue), button.backgroundColor().blendedColor(0.15, FUIColor::black()));
}

} // namespace

} // namespace sentrel
