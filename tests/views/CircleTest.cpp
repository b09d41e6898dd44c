// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Circle.h>

#include "tests/views/DrawnCalls.h"

namespace sentrel {
namespace {

class Circles : public LineDefaults {};

TEST_F(Circles, AFilledCircleFillsTheWholeRectangle) {
    Circle circle({5, 6, 30, 40});
    const auto fills = fillsOf(circle);
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::ellipse({0, 0, 30, 40}));
}

TEST_F(Circles, AnOutlinedCircleKeepsAWholeLineWidthFromTheEdges) {
    Circle circle({0, 0, 30, 40});
    circle.setFill(false);
    circle.setLineWidth(3.0);
    const auto strokes = strokesOf(circle);
    ASSERT_EQ(strokes.size(), 1U);
    Path path = Path::ellipse({3, 3, 24, 34});
    path.setLineWidth(3.0);
    EXPECT_EQ(strokes[0].path, path);
}

} // namespace
} // namespace sentrel
