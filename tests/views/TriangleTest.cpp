// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Triangle.h>

#include "tests/views/DrawnCalls.h"
#include <SentrelKit/views/FUIColor.h>

namespace sentrel {
namespace {

class Triangles : public LineDefaults {};

TEST_F(Triangles, AFilledTriangleStandsInTheSquareAtTheOrigin) {
    for (const Rect frame : {Rect{0, 0, 30, 40}, Rect{0, 0, 40, 30}, Rect{0, 0, 30, 30}}) {
        Triangle triangle(frame);
        const auto fills = fillsOf(triangle);
        ASSERT_EQ(fills.size(), 1U);
        Path path;
        path.moveTo({0, 0});
        path.lineTo({15, 30});
        path.lineTo({30, 0});
        path.close();
        path.setLineJoinStyle(LineJoin::round);
        path.setLineWidth(0.0);
        EXPECT_EQ(fills[0].path, path);
        EXPECT_EQ(std::get<Color>(fills[0].paint), FUIColor::peterRiver());
    }
}

TEST_F(Triangles, AnOutlinedTriangleKeepsHalfItsLineWidthFromTheEdges) {
    Triangle triangle({0, 0, 30, 40});
    triangle.setFill(false);
    triangle.setLineWidth(4.0);
    const auto strokes = strokesOf(triangle);
    ASSERT_EQ(strokes.size(), 1U);
    Path path;
    path.moveTo({2, 2});
    path.lineTo({15, 28});
    path.lineTo({28, 2});
    path.close();
    path.setLineJoinStyle(LineJoin::round);
    path.setLineWidth(4.0);
    EXPECT_EQ(strokes[0].path, path);
}

TEST_F(Triangles, AFilledTriangleForgetsItsLineWidthForGood) {
    Triangle triangle({0, 0, 30, 40});
    drawn(triangle);
    EXPECT_EQ(triangle.lineWidth(), 0.0);
    triangle.setFill(false);
    const auto strokes = strokesOf(triangle);
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_EQ(strokes[0].path.lineWidth(), 0.0);
    EXPECT_EQ(strokes[0].path.elements()[0].points[0], (Point{0, 0}));
}

} // namespace
} // namespace sentrel
