// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/PointerRouter.h>
#include <SentrelKit/views/layers/Layer.h>

namespace sentrel {

namespace {

class FlatControls : public LineDefaults {
protected:
    void advance(double seconds) { machine.advance(seconds); }
    [[nodiscard]] const std::vector<std::string>& opened() { return machine.desktop().opened; }

    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
    MouseEvent event;
};

class FUILinks : public FlatControls {
protected:
    FUILinks() {
        link.setTextColor(FUIColor::asbestos());
        link.setHoverColor(FUIColor::peterRiver());
        link.setActiveColor(FUIColor::belizeHole());
        link.setUrl("https://example.org/a?b=c");
        link.setNeedsDisplay(false);
    }
    FUILink link{Rect{0, 0, 100, 20}};
};

class FUIIndicators : public FlatControls {
protected:
    FUIIndicator light{Rect{0, 0, 16, 16}};
};

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

TEST_F(FUILinks, StartsWithoutAddressAndColours) {
    const FUILink fresh({0, 0, 100, 20});
    EXPECT_EQ(fresh.url(), std::nullopt);
    EXPECT_EQ(fresh.activeColor(), std::nullopt);
    EXPECT_EQ(fresh.hoverColor(), std::nullopt);
}

TEST_F(FUILinks, ChangesItsColourWithEachEventAndAsksForARedraw) {
    const auto expectShown = [this](Color color) {
        EXPECT_EQ(link.textColor(), color);
        EXPECT_TRUE(link.needsDisplay());
        link.setNeedsDisplay(false);
    };
    link.mouseEntered(event);
    expectShown(FUIColor::peterRiver());
    link.mouseDown(event);
    expectShown(FUIColor::belizeHole());
    link.mouseUp(event);
    expectShown(FUIColor::peterRiver());
    link.mouseExited(event);
    expectShown(FUIColor::asbestos());
    link.mouseExited(event);
    expectShown(FUIColor::asbestos());
}

TEST_F(FUILinks, AsksForOneRedrawWithEachEvent) {
    int calls = 0;
    link.setDisplayHandler([&] { ++calls; });
    link.mouseEntered(event);
    EXPECT_EQ(calls, 1);
    link.mouseDown(event);
    EXPECT_EQ(calls, 2);
    link.mouseUp(event);
    EXPECT_EQ(calls, 3);
    link.mouseUp(event); // meant so: also without another colour
    EXPECT_EQ(calls, 4);
}

TEST_F(FUILinks, FallsBackToTheDefaultTextColourForAbsentColours) {
    link.setHoverColor(std::nullopt);
    link.setActiveColor(std::nullopt);
    link.mouseEntered(event);
    EXPECT_EQ(link.textColor(), std::nullopt);
    link.mouseDown(event);
    EXPECT_EQ(link.textColor(), std::nullopt);
    link.mouseExited(event);
    EXPECT_EQ(link.textColor(), FUIColor::asbestos());
}

TEST_F(FUILinks, OpensItsAddressOnTheBackgroundQueueWhenTheButtonComesUp) {
    link.mouseDown(event);
    advance(0.0);
    EXPECT_TRUE(opened().empty());
    link.mouseUp(event);
    EXPECT_TRUE(opened().empty()); // not on the main thread
    advance(0.0);
    EXPECT_EQ(opened(), (std::vector<std::string>{"https://example.org/a?b=c"}));
}

TEST_F(FUILinks, OpensTheAddressOfTheMomentOfTheClick) {
    link.mouseUp(event);
    link.setUrl("https://example.net");
    advance(0.0);
    EXPECT_EQ(opened(), (std::vector<std::string>{"https://example.org/a?b=c"}));
}

TEST_F(FUILinks, OpensNothingWithoutAnAddress) {
    link.setUrl(std::nullopt);
    link.mouseUp(event);
    advance(1.0);
    EXPECT_TRUE(opened().empty());
    EXPECT_EQ(link.textColor(), FUIColor::peterRiver());
}

TEST_F(FUILinks, OpensNothingThatDoesNotParse) {
    for (const char* url : {"", "not an address", "http://a b", "://", "1http://a", "http://%zz", "; rm -rf /"}) {
        link.setUrl(url);
        link.mouseUp(event);
    }
    advance(1.0);
    EXPECT_TRUE(opened().empty());
}

TEST_F(FUILinks, TracksThePointerOverItsBoundsOnce) {
    link.updateTrackingAreas();
    link.updateTrackingAreas();
    EXPECT_EQ(link.trackingAreas(), (std::vector<TrackingArea>{{{0, 0, 100, 20}, 0x481}}));
}

TEST_F(FUILinks, ReturnsToItsColourAndOpensNothingForAGestureThatIsCancelled) {
    PointerRouter router(link);
    router.pressed({5, 5});
    EXPECT_EQ(link.textColor(), FUIColor::belizeHole());
    router.cancel();
    EXPECT_EQ(link.textColor(), FUIColor::asbestos());
    router.released({5, 5});
    advance(1.0);
    EXPECT_TRUE(opened().empty());
}

TEST_F(FUIIndicators, StartsInactive) {
    EXPECT_FALSE(light.isActive());
    EXPECT_EQ(light.activeColor(), FUIColor::clouds());
    EXPECT_EQ(light.inactiveColor(), FUIColor::silver());
    EXPECT_TRUE(light.trackingAreas().empty());
}

TEST_F(FUIIndicators, FillsItsEllipseInTheColourOfItsState) {
    auto fills = fillsOf(light);
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::ellipse({0, 0, 16, 16}));
    EXPECT_EQ(std::get<Color>(fills[0].paint), FUIColor::silver());
    light.setIsActive(true);
    EXPECT_EQ(std::get<Color>(fillsOf(light)[0].paint), FUIColor::clouds());
    EXPECT_TRUE(strokesOf(light).empty());
}

TEST_F(FUIIndicators, AsksForARedrawAlsoForAnEqualValue) {
    const std::function<void()> setters[] = {[&] { light.setIsActive(false); },
                                             [&] { light.setActiveColor(FUIColor::clouds()); },
                                             [&] { light.setInactiveColor(FUIColor::silver()); }};
    for (const auto& set : setters) {
        light.setNeedsDisplay(false);
        set(); // meant so
        EXPECT_TRUE(light.needsDisplay());
    }
}

TEST_F(FUIIndicators, FiresOncePerReleaseAndLeavesItsStateToTheSubscriber) {
    int clicks = 0;
    const auto owner = std::make_shared<int>();
    light.onClicked().listen(owner, [&] { ++clicks; });
    light.mouseDown(event);
    EXPECT_EQ(clicks, 0);
    light.mouseUp({Point{500, 500}}); // wherever the pointer is by then
    EXPECT_EQ(clicks, 1);
    light.mouseUp(event);
    EXPECT_EQ(clicks, 2);
    EXPECT_FALSE(light.isActive());
}

TEST_F(FUIIndicators, AddsOneMoreTrackingAreaWithEachUpdate) {
    for (std::size_t updates = 1; updates <= 3; ++updates) {
        light.updateTrackingAreas(); // meant so
        ASSERT_EQ(light.trackingAreas().size(), updates);
        EXPECT_EQ(light.trackingAreas().back(), (TrackingArea{{0, 0, 16, 16}, 0x81}));
    }
}

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
    PointerRouter router(button);
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
    PointerRouter router(button);
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

TEST_F(FlatControls, ShowThePointingHandOverTheirBounds) {
    FUILink link({0, 0, 10, 20});
    FUIIndicator light({0, 0, 10, 20});
    FUIButton button({0, 0, 10, 20});
    for (View* control : std::initializer_list<View*>{&link, &light, &button}) {
        control->resetCursorRects();
        EXPECT_EQ(control->cursorRects(), (std::vector<CursorRect>{{{0, 0, 10, 20}, Cursor::pointingHand}}));
    }
}

TEST_F(FlatControls, TakeTheirFrameFromAnArchive) {
    Coder coder(PropertyList::Dictionary{{"frame", PropertyList::List{1, 2, 30, 40}}, {"stringValue", "Help"}});
    const FUILink link(coder);
    EXPECT_EQ(link.frame(), (Rect{1, 2, 30, 40}));
    EXPECT_EQ(link.stringValue(), "Help");
    EXPECT_EQ(FUIIndicator(coder).frame(), (Rect{1, 2, 30, 40}));
    const FUIButton button(coder);
    EXPECT_EQ(button.frame(), (Rect{1, 2, 30, 40}));
    EXPECT_TRUE(button.wantsLayer());
}

} // namespace

} // namespace sentrel
