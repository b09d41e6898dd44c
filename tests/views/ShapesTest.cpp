// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/Bar.h>
#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Triangle.h>

#include <limits>

namespace sentrel {

namespace {

class Shapes : public LineDefaults {};

template <class T>
class EveryShape : public LineDefaults {};
using Kinds = testing::Types<Shape, Triangle, Circle, Square, HorizontalLine, Bar>;
TYPED_TEST_SUITE(EveryShape, Kinds);

TYPED_TEST(EveryShape, StartsWithTheDefaultsOfAShape) {
    Coder coder(PropertyList::Dictionary{{"frame", PropertyList::List{1, 2, 30, 40}}});
    const TypeParam framed({1, 2, 30, 40});
    const TypeParam decoded(coder);
    for (const TypeParam* shape : {&framed, &decoded}) {
        EXPECT_EQ(shape->frame(), (Rect{1, 2, 30, 40}));
        EXPECT_TRUE(shape->fill());
        EXPECT_EQ(shape->lineWidth(), 2.0);
        EXPECT_EQ(shape->color(), FUIColor::peterRiver());
        EXPECT_FALSE(shape->flip());
        EXPECT_FALSE(shape->isFlipped());
        EXPECT_FALSE(shape->needsDisplay());
    }
}

TYPED_TEST(EveryShape, RequestsARedrawForAChangedColourAndTakesItBackForAnEqualOne) {
    TypeParam shape({0, 0, 30, 40});
    shape.setColor(FUIColor::carrot());
    EXPECT_TRUE(shape.needsDisplay());
    shape.setColor(FUIColor::carrot());
    EXPECT_FALSE(shape.needsDisplay());
}

TYPED_TEST(EveryShape, OnlyStoresItsOtherProperties) {
    TypeParam shape({0, 0, 30, 40});
    shape.setFill(false);
    shape.setLineWidth(7.0);
    shape.setFlip(true);
    EXPECT_FALSE(shape.fill());
    EXPECT_EQ(shape.lineWidth(), 7.0);
    EXPECT_TRUE(shape.isFlipped());
    EXPECT_FALSE(shape.needsDisplay());
}

TEST_F(Shapes, TheBaseDrawsNothing) {
    Shape shape({0, 0, 30, 40});
    EXPECT_TRUE(drawn(shape).calls().empty());
}

TEST_F(Shapes, AFilledTriangleStandsInTheSquareAtTheOrigin) {
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

TEST_F(Shapes, AnOutlinedTriangleKeepsHalfItsLineWidthFromTheEdges) {
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

TEST_F(Shapes, AFilledTriangleForgetsItsLineWidthForGood) {
    Triangle triangle({0, 0, 30, 40});
    drawn(triangle);
    EXPECT_EQ(triangle.lineWidth(), 0.0);
    triangle.setFill(false);
    const auto strokes = strokesOf(triangle);
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_EQ(strokes[0].path.lineWidth(), 0.0);
    EXPECT_EQ(strokes[0].path.elements()[0].points[0], (Point{0, 0}));
}

TEST_F(Shapes, AFilledCircleFillsTheWholeRectangle) {
    Circle circle({5, 6, 30, 40});
    const auto fills = fillsOf(circle);
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::ellipse({0, 0, 30, 40}));
}

TEST_F(Shapes, AnOutlinedCircleKeepsAWholeLineWidthFromTheEdges) {
    Circle circle({0, 0, 30, 40});
    circle.setFill(false);
    circle.setLineWidth(3.0);
    const auto strokes = strokesOf(circle);
    ASSERT_EQ(strokes.size(), 1U);
    Path path = Path::ellipse({3, 3, 24, 34});
    path.setLineWidth(3.0);
    EXPECT_EQ(strokes[0].path, path);
}

TEST_F(Shapes, AFilledSquareFillsTheWholeRectangle) {
    Square square({0, 0, 30, 40});
    square.setCornerRadius(5.0);
    const auto fills = fillsOf(square);
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].path, Path::roundedRect({0, 0, 30, 40}, 5, 5));
}

TEST_F(Shapes, AnOutlinedSquareKeepsAWholeLineWidthFromTheEdges) {
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

TEST_F(Shapes, ASquareStartsWithSharpCornersAndWithoutALabel) {
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

TEST_F(Shapes, OutlinesWiderThanTheirViewDrawNothing) {
    Circle circle({0, 0, 30, 10});
    circle.setFill(false);
    circle.setLineWidth(6.0);
    EXPECT_TRUE(strokesOf(circle)[0].path.empty());
    Square square({0, 0, 30, 10});
    square.setFill(false);
    square.setLineWidth(5.0);
    EXPECT_TRUE(strokesOf(square)[0].path.empty());
}

TEST_F(Shapes, AHorizontalLineRunsHalfItsWidthOffTheMiddle) {
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

TEST_F(Shapes, LinesAndBarsLeaveTheirWidthAndCapToEveryLaterPath) {
    HorizontalLine line({0, 0, 100, 20});
    line.setLineWidth(6.0);
    drawn(line);
    EXPECT_EQ(Path().lineWidth(), 6.0);
    EXPECT_EQ(Path().lineCapStyle(), LineCap::square);
    line.setRounded(true);
    drawn(line);
    EXPECT_EQ(Path().lineCapStyle(), LineCap::round);

    Bar bar({0, 0, 100, 20});
    bar.setRounded(false);
    bar.setLineWidth(9.0);
    drawn(bar);
    EXPECT_EQ(Path().lineWidth(), 9.0);
    EXPECT_EQ(Path().lineCapStyle(), LineCap::square);
}

TEST_F(Shapes, ANewBarHasATrackAcrossAndALineOverItsLeftHalf) {
    Bar bar({0, 0, 200, 20});
    EXPECT_EQ(bar.percent(), 50.0);
    EXPECT_TRUE(bar.rounded());
    const auto strokes = strokesOf(bar);
    ASSERT_EQ(strokes.size(), 2U);
    Path track = Path::line({0, 9}, {200, 9});
    track.setLineWidth(2.0);
    track.setLineCapStyle(LineCap::round);
    EXPECT_EQ(strokes[0].path, track);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::peterRiver(0.2));
    Path line = Path::line({0, 9}, {100, 9});
    EXPECT_EQ(strokes[1].path, line);
    EXPECT_EQ(line.lineCapStyle(), LineCap::round);
    EXPECT_EQ(std::get<Color>(strokes[1].paint), FUIColor::peterRiver());
}

TEST_F(Shapes, ABarDoesNotClampItsPercentage) {
    for (const auto& [percent, x] : {std::pair{150.0, 300.0}, {-10.0, -20.0}, {0.0, 0.0}, {100.0, 200.0}}) {
        Bar bar({0, 0, 200, 20});
        bar.setPercent(percent);
        EXPECT_EQ(strokesOf(bar)[1].path.elements()[1].points[0], (Point{x, 9})) << percent;
    }
}

TEST_F(Shapes, ABarTakesAPendingRedrawBackForAnEqualPercentage) {
    Bar bar({0, 0, 200, 20});
    bar.setPercent(60.0);
    EXPECT_TRUE(bar.needsDisplay());
    bar.setPercent(60.0); // meant so
    EXPECT_FALSE(bar.needsDisplay());
    bar.setRounded(false);
    EXPECT_FALSE(bar.needsDisplay());
    bar.setPercent(std::numeric_limits<double>::quiet_NaN());
    bar.setPercent(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(bar.needsDisplay()); // what is not a number differs from itself
}

TEST_F(Shapes, ABarOffersItsPercentageAsItsAccessibilityValue) {
    Bar bar({0, 0, 200, 20});
    EXPECT_EQ(bar.accessibilityValue(), "50%");
    bar.setPercent(-std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(bar.accessibilityValue(), "nan%");
    bar.setPercent(-std::numeric_limits<double>::infinity());
    EXPECT_EQ(bar.accessibilityValue(), "-inf%");
    EXPECT_EQ(Shape().accessibilityValue(), std::nullopt);
}

} // namespace

} // namespace sentrel
