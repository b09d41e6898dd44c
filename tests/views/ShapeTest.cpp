// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/Bar.h>
#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Triangle.h>

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

} // namespace

} // namespace sentrel
