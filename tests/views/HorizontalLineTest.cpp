// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/HorizontalLine.h>

#include "tests/views/DrawnCalls.h"
#include <SentrelKit/views/FUIColor.h>

namespace sentrel {
namespace {

class HorizontalLines : public LineDefaults {};

TEST_F(HorizontalLines, AHorizontalLineRunsHalfItsWidthOffTheMiddle) {
    HorizontalLine line({0, 0, 100, 20});
    EXPECT_FALSE(line.rounded());
    line.setLineWidth(6.0);
    const auto strokes = strokesOf(line);
    ASSERT_EQ(strokes.size(), 1U);
    Path path;
    path.moveTo({0, 7});
    path.lineTo({100, 7});
    path.setLineWidth(6.0);
    path.setLineCapStyle(LineCap::square);
    EXPECT_EQ(strokes[0].path, path);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::peterRiver());
}

} // namespace
} // namespace sentrel
