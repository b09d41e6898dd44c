// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUILink.h>

#include "tests/views/FlatControls.h"

#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

namespace sentrel {

namespace {

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

TEST_F(FUILinks, IsWhiteByDefaultWhereTheAppearanceIsDark) {
    link.setAppearance(Appearance::dark);
    link.setHoverColor(std::nullopt);
    link.mouseEntered({});
    RecordingCanvas canvas;
    link.display(canvas);
    EXPECT_EQ(canvas.all<RecordingCanvas::Text>().at(0).color, FUIColor::white());
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
    EventRouter router(link);
    router.pressed({5, 5});
    EXPECT_EQ(link.textColor(), FUIColor::belizeHole());
    router.cancel();
    EXPECT_EQ(link.textColor(), FUIColor::asbestos());
    router.released({5, 5});
    advance(1.0);
    EXPECT_TRUE(opened().empty());
}

TEST_F(FUILinks, OpensItsAddressInItsOwnColourWhenPressedByKey) {
    const auto color = link.textColor();
    link.setUrl("https://example.org/");
    EXPECT_TRUE(link.press());
    advance(1.0);
    EXPECT_EQ(opened(), (std::vector<std::string>{"https://example.org/"}));
    EXPECT_EQ(link.textColor(), color);
}

} // namespace

} // namespace sentrel
