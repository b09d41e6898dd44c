// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Square.h>

#include "tests/views/DrawnCalls.h"
#include <SentrelKit/views/TextField.h>

#include <memory>

namespace sentrel {
namespace {

class Squares : public LineDefaults {};

TEST_F(Squares, AFilledSquareFillsTheWholeRectangle) {
    Square square({0, 0, 30, 40});
    square.setCornerRadius(5.0);
    const auto fills = fillsOf(square);
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::roundedRect({0, 0, 30, 40}, 5, 5));
}

TEST_F(Squares, AnOutlinedSquareKeepsAWholeLineWidthFromTheEdges) {
    Square square({0, 0, 30, 40});
    square.setFill(false);
    square.setLineWidth(3.0);
    square.setCornerRadius(5.0);
    const auto strokes = strokesOf(square);
    ASSERT_EQ(strokes.size(), 1U);
    Path path = Path::roundedRect({3, 3, 24, 34}, 5, 5);
    path.setLineWidth(3.0);
    EXPECT_EQ(strokes[0].path, path);
}

TEST_F(Squares, ASquareStartsWithSharpCornersAndWithoutALabel) {
    Square square({0, 0, 30, 40});
    EXPECT_EQ(square.cornerRadius(), 0.0);
    EXPECT_EQ(square.myLabel(), nullptr);
    auto label = std::make_shared<TextField>();
    square.setMyLabel(label);
    EXPECT_EQ(square.myLabel(), label);
    label.reset();
    EXPECT_EQ(square.myLabel(), nullptr);
    EXPECT_FALSE(square.needsDisplay());
}

} // namespace
} // namespace sentrel
