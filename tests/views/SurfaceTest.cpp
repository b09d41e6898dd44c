// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/Surface.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>
#include <SentrelKit/views/layers/Layer.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sentrel {

namespace {

class SurfaceTest : public testing::Test {
protected:
    SurfaceTest() {
        root->addSubview(child);
        surface.setDisplayHandler([this] { ++asked; });
        surface.setFramesHandler([this](bool needed) { frames += needed ? "on " : "off "; });
    }

    void show() {
        surface.setVisible(true);
        surface.draw(canvas);
        asked = 0;
    }

    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
    std::shared_ptr<View> root = std::make_shared<View>(Rect{0, 0, 100, 100});
    std::shared_ptr<FUIButton> child = std::make_shared<FUIButton>(Rect{10, 10, 20, 20});
    Surface surface{root};
    RecordingCanvas canvas;
    int asked = 0;
    std::string frames;
};

TEST_F(SurfaceTest, AsksItsHostToDrawWhileSomebodySeesIt) {
    EXPECT_EQ(asked, 0);
    root->setNeedsDisplay(true);
    EXPECT_EQ(asked, 0);
    surface.setVisible(true);
    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(surface.dirtyRects().empty());
    surface.draw(canvas);
    EXPECT_TRUE(surface.dirtyRects().empty());
    child->setNeedsDisplay(true);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(surface.dirtyRects(), (std::vector<Rect>{{10, 70, 20, 20}}));
    surface.draw(canvas, surface.dirtyRects());
    EXPECT_TRUE(surface.dirtyRects().empty());
    surface.setVisible(false);
    child->setNeedsDisplay(true);
    EXPECT_EQ(asked, 2);
}

TEST_F(SurfaceTest, NeedsFramesFromWhenSomethingBeginsToMoveUntilItIsDrawnAtItsEnd) {
    show();
    EXPECT_FALSE(surface.needsFrames());
    child->aimateBackgroundColor({1, 0, 0});
    EXPECT_EQ(frames, "on ");
    EXPECT_TRUE(surface.needsFrames());
    machine.advance(0.1);
    surface.draw(canvas, surface.dirtyRects());
    machine.advance(0.2); // over, but not yet drawn
    EXPECT_EQ(frames, "on ");
    EXPECT_EQ(surface.dirtyRects(), (std::vector<Rect>{{10, 70, 20, 20}}));
    surface.draw(canvas, surface.dirtyRects());
    EXPECT_EQ(frames, "on off ");
    EXPECT_TRUE(surface.dirtyRects().empty());
}

TEST_F(SurfaceTest, NeedsNoFramesWhileNobodySeesIt) {
    child->aimateBackgroundColor({1, 0, 0});
    EXPECT_EQ(frames, "");
    surface.setVisible(true);
    EXPECT_EQ(frames, "on ");
    surface.setVisible(false);
    EXPECT_EQ(frames, "on off ");
    surface.setVisible(true);
    child->setHidden(true);
    surface.draw(canvas);
    EXPECT_EQ(frames, "on off on off ");
}

TEST_F(SurfaceTest, TellsAHandlerThatComesLateWhatIsGoingOn) {
    surface.setVisible(true);
    child->aimateBackgroundColor({1, 0, 0});
    std::string late;
    surface.setFramesHandler([&](bool needed) { late += needed ? "on" : "off"; });
    surface.setDisplayHandler([&] { late += " draw"; });
    EXPECT_EQ(late, "on draw");
}

TEST_F(SurfaceTest, TellsWhoeverFeedsTheViewsWhetherAnybodyLooks) {
    std::string told;
    const auto owner = std::make_shared<int>();
    surface.onVisibilityChanged().listen(owner, [&](const bool& visible) { told += visible ? "seen " : "unseen "; });
    EXPECT_FALSE(surface.isVisible());
    surface.setVisible(true);
    surface.setVisible(true);
    surface.setVisible(false);
    EXPECT_EQ(told, "seen unseen ");
}

TEST_F(SurfaceTest, LaysOutBeforeItSaysWhatIsToBeDrawn) {
    const auto stack = std::make_shared<Stack>(Stack::Axis::row);
    const auto label = stack->add(std::make_shared<TextField>());
    Surface stacked(stack);
    stacked.setSize({200, 20});
    int calls = 0;
    stacked.setVisible(true);
    stacked.setDisplayHandler([&] { ++calls; });
    stacked.draw(canvas);
    calls = 0;
    label->setStringValue("42%");
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(stacked.dirtyRects().empty());
    EXPECT_EQ(calls, 1); // what the layout asks for is part of the same drawing
    EXPECT_GT(label->frame().width, 0.0);
    EXPECT_EQ(stacked.naturalSize(), stack->naturalSize());
    EXPECT_EQ(stack->frame(), (Rect{0, 0, 200, 20}));
}

TEST_F(SurfaceTest, LeavesItsViewToOthersWhenItGoes) {
    const auto view = std::make_shared<FUIButton>(Rect{0, 0, 10, 10});
    {
        Surface first(view);
        first.setVisible(true);
        ASSERT_TRUE(first.events().focusNext());
    }
    EXPECT_EQ(view->focus(), Focus::none);
    view->setNeedsDisplay(true);
    Surface second(view);
    EXPECT_EQ(second.view(), view);
}

TEST_F(SurfaceTest, MayGoByTheActionOfAButton) {
    auto view = std::make_shared<FUIButton>(Rect{0, 0, 10, 10});
    auto own = std::make_unique<Surface>(view);
    own->setVisible(true);
    view->setAction([&](Control&) { own.reset(); });
    view.reset();
    own->events().pressed({5, 5});
    own->events().released({5, 5});
    EXPECT_EQ(own, nullptr);
}

TEST_F(SurfaceTest, DrawsOnlyTheDamageOnPixelsThatKeepTheRest) {
    root->setWantsLayer(true);
    child->setBackgroundColor({1, 0, 0});
    std::vector<std::uint32_t> pixels(100 * 100, 0x01020304);
    surface.setVisible(true);
    ASSERT_TRUE(surface.drawPixels(pixels.data(), 100, 100, 400, 1.0, {{0, 0, 100, 100}}));
    EXPECT_EQ(pixels[0], 0U);
    EXPECT_EQ(pixels[80 * 100 + 20], 0xFFFF0000U);
    pixels[0] = 0x01020304;
    child->setBackgroundColor({0, 0, 1});
    ASSERT_TRUE(surface.drawPixels(pixels.data(), 100, 100, 400, 1.0, surface.dirtyRects()));
    EXPECT_EQ(pixels[0], 0x01020304U);
    EXPECT_EQ(pixels[80 * 100 + 20], 0xFF0000FFU);
    EXPECT_FALSE(surface.drawPixels(nullptr, 100, 100, 400, 1.0, {}));
}

TEST_F(SurfaceTest, TellsTheAccessibleElementsOfItsView) {
    ASSERT_EQ(surface.accessibleElements().size(), 1U);
    EXPECT_EQ(surface.accessibleElements()[0].role, AccessibilityRole::button);
}

} // namespace

} // namespace sentrel
