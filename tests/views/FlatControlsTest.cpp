// SPDX-License-Identifier: Apache-2.0
#include "tests/views/FlatControls.h"

#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>

namespace sentrel {

namespace {

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
