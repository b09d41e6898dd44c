// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIIndicator.h>

#include "tests/views/FlatControls.h"

#include <SentrelKit/views/FUIColor.h>

namespace sentrel {

namespace {

class FUIIndicators : public FlatControls {
protected:
    FUIIndicator light{Rect{0, 0, 16, 16}};
};

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

} // namespace

} // namespace sentrel
