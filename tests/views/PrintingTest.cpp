// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/Events.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Color.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/drawing/Path.h>
#include <SentrelKit/views/layers/Animation.h>

#include <gtest/gtest.h>

#include <sstream>

namespace sentrel {
namespace {

TEST(PrintingTest, EnumerationsOfViewsAreWrittenByTheirNames) {
    std::ostringstream text;
    text << AccessibilityRole::levelIndicator << ' ' << MouseButton::middle << ' ' << Key::pageDown << ' '
         << Stack::Axis::column << ' ' << Stack::Alignment::end << ' ' << Cursor::pointingHand << ' '
         << LayerContentsRedrawPolicy::crossfade << ' ' << Focus::visible << ' ' << Appearance::dark << ' '
         << TextAlignment::right << ' ' << LineCap::square << ' ' << LineJoin::bevel << ' ' << PathElement::Kind::arc
         << ' ' << FillMode::forwards;
    EXPECT_EQ(text.str(), "levelIndicator middle pageDown column end pointingHand crossfade visible dark right square "
                          "bevel arc forwards");
}

TEST(PrintingTest, PlacesAndColorsAreWrittenWithTheirFigures) {
    std::ostringstream text;
    text << Point{1, 2.5} << ' ' << Size{3, 4} << ' ' << Rect{1, 2, 3, 4} << ' ' << Color{0.25, 0.5, 0.75, 1};
    EXPECT_EQ(text.str(), "{1, 2.5} {3, 4} {1, 2, 3, 4} {0.25, 0.5, 0.75, 1}");
}

} // namespace
} // namespace sentrel
