// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

#include <memory>

namespace sentrel {

namespace {

std::shared_ptr<View> box(double width, double height) {
    return std::make_shared<View>(Rect{0, 0, width, height});
}

TEST(Stack, PlacesARowFromTheLeftAndAColumnFromTheTop) {
    for (const bool isRow : {true, false}) {
        Stack stack(isRow ? Stack::Axis::row : Stack::Axis::column, {0, 0, 100, 100});
        const auto one = stack.add(box(10, 20));
        const auto other = stack.add(box(30, 5));
        stack.setSpacing(4);
        stack.setPadding(3);
        stack.layoutIfNeeded();
        EXPECT_EQ(one->frame(), isRow ? (Rect{3, 3, 10, 94}) : (Rect{3, 3, 94, 20}));
        EXPECT_EQ(other->frame(), isRow ? (Rect{17, 3, 30, 94}) : (Rect{3, 27, 94, 5}));
        EXPECT_EQ(stack.naturalSize(), isRow ? (Size{50, 26}) : (Size{36, 35}));
    }
}

TEST(Stack, SharesWhatIsLeftOverOrLacks) {
    Stack row(Stack::Axis::row, {0, 0, 100, 10});
    const auto fixed = row.add(box(10, 10));
    const auto one = row.add(box(20, 10), 1.0);
    const auto two = row.add(box(10, 10), 2.0);
    const auto none = row.add(box(0, 10), -5.0);
    row.layoutIfNeeded();
    EXPECT_EQ(fixed->frame().width, 10);
    EXPECT_EQ(one->frame().width, 40);
    EXPECT_EQ(two->frame().width, 50);
    EXPECT_EQ(none->frame().width, 0);
    row.setFrame({0, 0, 28, 10});
    row.layoutIfNeeded();
    EXPECT_EQ(fixed->frame().width, 10);
    EXPECT_EQ(one->frame().width, 16);
    EXPECT_EQ(two->frame().width, 2);
    row.setFrame({0, 0, 5, 10});
    row.layoutIfNeeded();
    EXPECT_EQ(fixed->frame().width, 10); // cut off
    EXPECT_EQ(two->frame().width, 0);
}

TEST(Stack, AlignsAcross) {
    struct Case {
        Stack::Alignment alignment;
        Rect frame;
    };
    for (const Case& expected :
         {Case{Stack::Alignment::fill, {0, 0, 10, 40}}, Case{Stack::Alignment::start, {0, 0, 10, 20}},
          Case{Stack::Alignment::center, {0, 10, 10, 20}}, Case{Stack::Alignment::end, {0, 20, 10, 20}}}) {
        Stack row(Stack::Axis::row, {0, 0, 100, 40});
        row.setAlignment(expected.alignment);
        const auto view = row.add(box(10, 20));
        row.layoutIfNeeded();
        EXPECT_EQ(view->frame(), expected.frame);
    }
}

TEST(Stack, GivesHiddenViewsNoRoom) {
    Stack row(Stack::Axis::row, {0, 0, 100, 10});
    row.setSpacing(5);
    const auto one = row.add(box(10, 10));
    const auto other = row.add(box(20, 10));
    row.layoutIfNeeded();
    EXPECT_EQ(other->frame().x, 15);
    one->setHidden(true);
    row.layoutIfNeeded();
    EXPECT_EQ(other->frame().x, 0);
    EXPECT_EQ(row.naturalSize(), (Size{20, 10}));
    one->setHidden(false);
    row.layoutIfNeeded();
    EXPECT_EQ(other->frame().x, 15);
    one->removeFromSuperview();
    row.layoutIfNeeded();
    EXPECT_EQ(other->frame().x, 0);
}

TEST(Stack, FollowsWhatLiesInItHoweverDeep) {
    Stack column(Stack::Axis::column, {0, 0, 300, 100});
    const auto row = column.add(std::make_shared<Stack>(Stack::Axis::row));
    const auto label = row->add(std::make_shared<TextField>());
    const auto next = row->add(box(10, 10));
    label->setStringValue("1");
    column.layoutIfNeeded();
    const double before = next->frame().x;
    EXPECT_GT(before, 0.0);
    label->setStringValue("a longer text");
    RecordingCanvas canvas;
    column.display(canvas, 0.0); // which lays out
    EXPECT_GT(next->frame().x, before);
    EXPECT_GE(label->frame().width, label->fittingSize().width);
    next->setNaturalSize(Size{50, 60});
    column.layoutIfNeeded();
    EXPECT_EQ(next->frame().width, 50);
    EXPECT_EQ(row->frame().height, 60);
}

TEST(Stack, AsksItsHostForAFrameWhenItIsToBeLaidOutAnew) {
    Stack row(Stack::Axis::row, {0, 0, 100, 10});
    const auto view = row.add(box(10, 10));
    RecordingCanvas canvas;
    row.display(canvas, 0.0);
    int calls = 0;
    row.setDisplayHandler([&] { ++calls; });
    view->setStretch(1.0);
    EXPECT_EQ(calls, 1);
    view->setStretch(1.0);
    row.setSpacing(0.0);
    EXPECT_EQ(calls, 1);
    view->setNaturalSize(Size{20, 10});
    EXPECT_EQ(calls, 2);
    row.setSpacing(1.0);
    EXPECT_EQ(calls, 3);
}

TEST(Stack, PutsEdgesOnWholePoints) {
    Stack row(Stack::Axis::row, {0, 0, 100, 10});
    const std::shared_ptr<View> views[] = {row.add(box(1, 1), 1.0), row.add(box(1, 1), 1.0), row.add(box(1, 1), 1.0)};
    row.layoutIfNeeded();
    EXPECT_EQ(views[0]->frame(), (Rect{0, 0, 33, 10}));
    EXPECT_EQ(views[1]->frame(), (Rect{33, 0, 34, 10}));
    EXPECT_EQ(views[2]->frame(), (Rect{67, 0, 33, 10}));
}

} // namespace

} // namespace sentrel
