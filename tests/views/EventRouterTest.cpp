// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace sentrel {

namespace {

// Writes its events into a shared log; tracks the pointer over its bounds.
class Listener : public View {
public:
    Listener(Rect frame, std::string name, std::string& log) : View(frame), name_(std::move(name)), log_(log) {}

    void updateTrackingAreas() override {
        removeTrackingAreas();
        addTrackingArea({bounds(), TrackingArea::mouseEnteredAndExited | TrackingArea::activeAlways});
    }
    void resetCursorRects() override { addCursorRect({0, 0, 10, 10}, Cursor::pointingHand); }
    void mouseEntered(const MouseEvent&) override { log_ += "+" + name_; }
    void mouseExited(const MouseEvent&) override { log_ += "-" + name_; }
    void mouseDown(const MouseEvent& event) override {
        log_ += "v" + name_;
        if (removeWhenPressed)
            removeFromSuperview();
        else if (passes)
            View::mouseDown(event);
    }
    void mouseUp(const MouseEvent&) override { log_ += "^" + name_; }

    bool removeWhenPressed = false;
    bool passes = false;

private:
    std::string name_;
    std::string& log_;
};

class EventRouterTest : public testing::Test {
protected:
    EventRouterTest() {
        root.addSubview(one);
        root.addSubview(two);
        one->addSubview(inner);
    }

    std::string taken() { return std::exchange(log, {}); }

    std::string log;
    View root{Rect{0, 0, 100, 100}};
    std::shared_ptr<Listener> one = std::make_shared<Listener>(Rect{0, 50, 50, 50}, "one", log); // upper left
    std::shared_ptr<Listener> two = std::make_shared<Listener>(Rect{50, 0, 50, 50}, "two", log); // lower right
    std::shared_ptr<Listener> inner = std::make_shared<Listener>(Rect{0, 0, 20, 20}, "inner", log);
};

TEST_F(EventRouterTest, TellsViewsOfThePointersComingAndGoing) {
    EventRouter router(root);
    router.moved({40, 10});
    EXPECT_EQ(taken(), "+one");
    router.moved({41, 11});
    EXPECT_EQ(taken(), "");
    router.moved({5, 45});
    EXPECT_EQ(taken(), "+inner");
    router.moved({60, 60});
    EXPECT_EQ(taken(), "-one-inner+two");
    router.left();
    EXPECT_EQ(taken(), "-two");
}

TEST_F(EventRouterTest, GivesTheReleaseToTheViewThatWasPressed) {
    EventRouter router(root);
    router.pressed({60, 60});
    router.moved({5, 5});
    router.released({5, 5});
    EXPECT_EQ(taken(), "+twovtwo-two+one^two");
    router.released({5, 5});
    EXPECT_EQ(taken(), "");
    router.pressed({5, 95}); // on the root, which does not care
    router.released({5, 95});
    router.pressed({500, 500});
    router.released({500, 500});
    EXPECT_EQ(taken(), "-one");
}

// A release outside came without the pointer's leaving, and a tap without its coming.
TEST_F(EventRouterTest, PlacesThePointerBeforeAPressAndBeforeARelease) {
    EventRouter router(root);
    router.pressed({60, 60});
    EXPECT_EQ(taken(), "+twovtwo");
    router.released({500, 500});
    EXPECT_EQ(taken(), "-two^two");
    router.pressed({60, 60});
    router.left();
    router.released({60, 60});
    EXPECT_EQ(taken(), "+twovtwo-two+two^two");
}

TEST_F(EventRouterTest, HandsAPressThatAViewPassesOnToItsSuperview) {
    inner->passes = true;
    EventRouter router(root);
    router.pressed({5, 45});
    EXPECT_EQ(taken(), "+one+innervinnervone");
    const auto label = std::make_shared<View>(Rect{30, 30, 10, 10});
    one->addSubview(label);
    router.pressed({35, 15});
    router.released({35, 15});
    EXPECT_EQ(taken(), "-innervone^one");
}

TEST_F(EventRouterTest, CancelsAGestureWithoutARelease) {
    EventRouter router(root);
    router.pressed({60, 60});
    router.cancel();
    EXPECT_EQ(taken(), "+twovtwo-two");
    router.released({60, 60});
    EXPECT_EQ(taken(), "+two"); // of a press that is over
    router.cancel();
    router.cancel();
    EXPECT_EQ(taken(), "-two");
}

// The part of a view that its superview clips off reacted to the pointer.
TEST_F(EventRouterTest, IsInNoPartOfAViewThatIsClippedOff) {
    one->setFrame({0, 0, 10, 10});
    inner->setFrame({5, 0, 90, 90});
    EventRouter router(root);
    router.moved({7, 95});
    EXPECT_EQ(taken(), "+one+inner");
    router.moved({15, 95});
    EXPECT_EQ(taken(), "-one-inner");
    router.pressed({15, 95}); // the root itself
    router.released({15, 95});
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(router.cursorAt({15, 95}), Cursor::arrow);
    two->setFrame({95, 95, 50, 50});
    router.moved({98, -1});
    EXPECT_EQ(taken(), "");
    router.moved({98, 1});
    EXPECT_EQ(taken(), "+two");
}

// Whatever lay at the freed view's address got its events.
TEST_F(EventRouterTest, TellsNothingToTheSuccessorOfAViewThatIsFreed) {
    alignas(Listener) std::byte place[sizeof(Listener)];
    const auto make = [&](std::string name) {
        return std::shared_ptr<Listener>(new (place) Listener(Rect{50, 0, 50, 50}, std::move(name), log),
                                         [](Listener* view) { view->~Listener(); });
    };
    root.addSubview(make("old"));
    EventRouter router(root);
    router.pressed({60, 60});
    EXPECT_EQ(taken(), "+two+oldvold");
    root.subviews().back()->removeFromSuperview();
    root.addSubview(make("new"));
    router.released({60, 60});
    EXPECT_EQ(taken(), "+new");
    root.subviews().back()->removeFromSuperview();
    root.addSubview(make("last"));
    router.left();
    EXPECT_EQ(taken(), "-two");
    root.subviews().back()->removeFromSuperview();
}

TEST_F(EventRouterTest, MayBeDestroyedByARelease) {
    auto window = std::make_unique<View>(Rect{0, 0, 100, 100});
    auto close = std::make_shared<FUIButton>(Rect{0, 0, 100, 100});
    const std::weak_ptr<FUIButton> button = close;
    auto router = std::make_unique<EventRouter>(*window);
    close->setAction([&](Control&) {
        router.reset();
        window.reset();
    });
    window->addSubview(std::exchange(close, nullptr));
    router->pressed({5, 5});
    router->released({5, 5});
    EXPECT_EQ(window, nullptr);
    EXPECT_TRUE(button.expired());
}

TEST_F(EventRouterTest, ForgetsViewsThatLeaveTheTree) {
    EventRouter router(root);
    router.moved({60, 60});
    two->removeWhenPressed = true;
    router.pressed({60, 60});
    two.reset();
    router.released({60, 60});
    router.moved({10, 10});
    EXPECT_EQ(taken(), "+twovtwo+one");
}

TEST_F(EventRouterTest, KeepsAViewThatLeavesTheTreeUntilItsEventIsOver) {
    two->removeWhenPressed = true;
    const std::weak_ptr<Listener> released = std::exchange(two, nullptr);
    EventRouter router(root);
    router.pressed({60, 60});
    EXPECT_EQ(taken(), "+twovtwo");
    EXPECT_TRUE(released.expired());
}

TEST_F(EventRouterTest, ShowsTheCursorOfTheTopmostViewOrOfWhatItLiesIn) {
    EventRouter router(root);
    EXPECT_EQ(router.cursorAt({5, 45}), Cursor::pointingHand);
    EXPECT_EQ(router.cursorAt({30, 10}), Cursor::arrow);
    EXPECT_EQ(router.cursorAt({90, 10}), Cursor::arrow);
    const auto label = std::make_shared<View>(Rect{0, 0, 10, 10});
    two->addSubview(label);
    EXPECT_EQ(router.cursorAt({55, 95}), Cursor::pointingHand);
    EXPECT_EQ(router.cursorAt({500, 10}), Cursor::arrow);
}

TEST_F(EventRouterTest, FollowsAViewThatChangesItsSize) {
    EventRouter router(root);
    two->setFrame({50, 0, 10, 10});
    router.moved({80, 80});
    EXPECT_EQ(taken(), "");
    router.moved({55, 95});
    EXPECT_EQ(taken(), "+two");
}

TEST_F(EventRouterTest, TellsWhichButtonWentDownWithWhichModifiers) {
    class Buttons : public View {
    public:
        using View::View;
        void mouseDown(const MouseEvent& event) override { seen.push_back(event); }
        void mouseUp(const MouseEvent& event) override { seen.push_back(event); }
        void otherMouseDown(const MouseEvent& event) override { others.push_back(event); }
        void otherMouseUp(const MouseEvent& event) override { others.push_back(event); }
        std::vector<MouseEvent> seen;
        std::vector<MouseEvent> others;
    };
    const auto view = std::make_shared<Buttons>(Rect{0, 0, 100, 100});
    const auto inside = std::make_shared<View>(Rect{0, 0, 100, 100});
    view->addSubview(inside);
    root.addSubview(view);
    EventRouter router(root);
    router.pressed({5, 5}, MouseButton::primary, {.shift = true});
    router.pressed({6, 6}, MouseButton::secondary, {.control = true});
    router.released({7, 7});
    router.released({200, 8}, MouseButton::secondary);
    ASSERT_EQ(view->seen.size(), 2U);
    EXPECT_TRUE(view->seen[0].modifiers.shift);
    EXPECT_EQ(view->seen[1].location, (Point{7, 7}));
    ASSERT_EQ(view->others.size(), 2U);
    EXPECT_EQ(view->others[0].button, MouseButton::secondary);
    EXPECT_EQ(view->others[0].modifiers, (Modifiers{.control = true}));
    EXPECT_EQ(view->others[1].location, (Point{200, 8}));
    router.pressed({5, 5}, MouseButton::middle);
    router.cancel();
    router.released({5, 5}, MouseButton::middle);
    EXPECT_EQ(view->others.size(), 3U);
}

TEST_F(EventRouterTest, DoesNotPressAButtonWithAnyOtherButton) {
    const auto button = std::make_shared<FUIButton>(Rect{0, 0, 100, 100});
    int actions = 0;
    button->setAction([&](Control&) { ++actions; });
    root.addSubview(button);
    EventRouter router(root);
    router.pressed({5, 5}, MouseButton::secondary);
    router.released({5, 5}, MouseButton::secondary);
    EXPECT_EQ(actions, 0);
    router.pressed({5, 5});
    router.released({5, 5});
    EXPECT_EQ(actions, 1);
}

TEST_F(EventRouterTest, HandsTheWheelToTheTopmostViewThatUsesIt) {
    class Wheel : public View {
    public:
        using View::View;
        bool scrollWheel(const ScrollEvent& event) override {
            turned += event.deltaY;
            return true;
        }
        double turned = 0.0;
    };
    const auto view = std::make_shared<Wheel>(Rect{0, 0, 50, 100});
    view->addSubview(std::make_shared<View>(Rect{0, 0, 50, 100}));
    root.addSubview(view);
    EventRouter router(root);
    EXPECT_TRUE(router.scrolled({{5, 5}, 0.0, 15.0}));
    EXPECT_FALSE(router.scrolled({{95, 5}, 0.0, 15.0}));
    EXPECT_EQ(view->turned, 15.0);
    view->setEnabled(false);
    EXPECT_FALSE(router.scrolled({{5, 5}, 0.0, 15.0}));
}

TEST_F(EventRouterTest, TellsAViewThatMayNotBeUsedOnlyThatThePointerLeft) {
    EventRouter router(root);
    router.pressed({60, 60});
    EXPECT_EQ(taken(), "+twovtwo");
    two->setEnabled(false);
    router.moved({61, 61});
    EXPECT_EQ(taken(), "-two");
    router.released({61, 61});
    router.pressed({60, 60});
    router.released({60, 60});
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(router.cursorAt({55, 95}), Cursor::arrow);
    two->setEnabled(true);
    EXPECT_EQ(router.cursorAt({55, 95}), Cursor::pointingHand);
    two->setHidden(true);
    router.pressed({60, 60});
    EXPECT_EQ(taken(), "");
}

TEST_F(EventRouterTest, FindsTheTipOfTheTopmostViewOrOfWhatItLiesIn) {
    EventRouter router(root);
    one->setToolTip("outer");
    EXPECT_EQ(router.toolTipAt({5, 45}), "outer");
    inner->setToolTip("inner");
    EXPECT_EQ(router.toolTipAt({5, 45}), "inner");
    EXPECT_EQ(router.toolTipAt({60, 60}), "");
}

// Three controls in a row, and a router.
class KeyboardTest : public testing::Test {
protected:
    KeyboardTest() {
        root.addSubview(button);
        root.addSubview(box);
        box->addSubview(light);
        root.addSubview(last);
        last->setAction([this](Control&) { log += "last "; });
        button->setAction([this](Control&) { log += "button "; });
        light->onClicked().listen(owner, [this] { log += "light "; });
    }

    View root{Rect{0, 0, 100, 100}};
    std::shared_ptr<FUIButton> button = std::make_shared<FUIButton>(Rect{0, 0, 20, 20});
    std::shared_ptr<View> box = std::make_shared<View>(Rect{20, 0, 20, 20});
    std::shared_ptr<FUIIndicator> light = std::make_shared<FUIIndicator>(Rect{0, 0, 20, 20});
    std::shared_ptr<FUIButton> last = std::make_shared<FUIButton>(Rect{40, 0, 20, 20});
    std::shared_ptr<int> owner = std::make_shared<int>();
    std::string log;
    EventRouter router{root};
};

TEST_F(KeyboardTest, LeadsFromControlToControlInTheOrderOfTheTree) {
    EXPECT_EQ(router.focused(), nullptr);
    for (const std::shared_ptr<View>& view :
         {std::shared_ptr<View>(button), std::shared_ptr<View>(light), std::shared_ptr<View>(last)}) {
        EXPECT_TRUE(router.keyPressed({Key::tab}));
        EXPECT_EQ(router.focused(), view);
        EXPECT_EQ(view->focus(), Focus::visible);
    }
    EXPECT_EQ(light->focus(), Focus::none);
    EXPECT_FALSE(router.keyPressed({Key::tab})); // the host moves it on
    EXPECT_EQ(router.focused(), last);
    EXPECT_TRUE(router.keyPressed({.key = Key::tab, .modifiers = {.shift = true}}));
    EXPECT_EQ(router.focused(), light);
    EXPECT_FALSE(router.keyPressed({.key = Key::tab, .modifiers = {.control = true}}));
    router.setFocused(nullptr);
    EXPECT_EQ(router.focused(), nullptr);
    EXPECT_TRUE(router.focusPrevious());
    EXPECT_EQ(router.focused(), last);
}

TEST_F(KeyboardTest, LeavesOutWhatIsHiddenOrMayNotBeUsed) {
    button->setHidden(true);
    box->setEnabled(false);
    EXPECT_TRUE(router.focusNext());
    EXPECT_EQ(router.focused(), last);
    router.setFocused(light.get());
    EXPECT_EQ(router.focused(), nullptr);
    last->setEnabled(false);
    EXPECT_FALSE(router.focusNext());
    FUIButton stranger;
    router.setFocused(&stranger);
    EXPECT_EQ(router.focused(), nullptr);
}

TEST_F(KeyboardTest, PressesTheFocusedControlWithSpaceAndReturnOnce) {
    EXPECT_FALSE(router.keyPressed({Key::space}));
    router.setFocused(button.get());
    EXPECT_TRUE(router.keyPressed({Key::space, " "}));
    EXPECT_TRUE(router.keyPressed({Key::enter}));
    EXPECT_FALSE(router.keyPressed({.key = Key::space, .isRepeat = true}));
    EXPECT_FALSE(router.keyPressed({.key = Key::enter, .modifiers = {.alternate = true}}));
    router.setFocused(light.get());
    EXPECT_TRUE(router.keyPressed({Key::space}));
    EXPECT_EQ(log, "button button light ");
}

TEST_F(KeyboardTest, GivesAKeyToTheFocusedViewAndThenToWhatItLiesIn) {
    class Typist : public View {
    public:
        Typist(Rect frame, bool uses) : View(frame), uses_(uses) {}
        [[nodiscard]] bool acceptsFocus() const override { return true; }
        bool keyDown(const KeyEvent& event) override {
            text += event.text;
            return uses_;
        }
        std::string text;

    private:
        bool uses_;
    };
    const auto outer = std::make_shared<Typist>(Rect{0, 0, 10, 10}, true);
    const auto inner = std::make_shared<Typist>(Rect{0, 0, 10, 10}, false);
    outer->addSubview(inner);
    root.addSubview(outer);
    EXPECT_FALSE(router.keyPressed({Key::other, "x"}));
    router.setFocused(inner.get());
    EXPECT_TRUE(router.keyPressed({Key::other, "a"}));
    EXPECT_TRUE(router.keyPressed({Key::tab})); // used: the focus stays
    EXPECT_EQ(router.focused(), inner);
    EXPECT_EQ(inner->text, "a");
    EXPECT_EQ(outer->text, "a");
}

TEST_F(KeyboardTest, FocusesWhatIsClickedWithoutARing) {
    router.pressed({5, 95});
    EXPECT_EQ(button->focus(), Focus::quiet);
    router.released({5, 95});
    router.pressed({90, 5}); // nothing to focus: it stays
    EXPECT_EQ(router.focused(), button);
    EXPECT_EQ(log, "button ");
}

TEST_F(KeyboardTest, ComesBackToTheViewThatItLeft) {
    router.keyboardLeft();
    router.keyboardCame();
    EXPECT_EQ(router.focused(), nullptr);
    router.setFocused(light.get(), Focus::quiet);
    router.keyboardLeft();
    EXPECT_EQ(router.focused(), nullptr);
    EXPECT_EQ(light->focus(), Focus::none);
    router.keyboardCame();
    EXPECT_EQ(light->focus(), Focus::quiet);
    router.keyboardLeft();
    light->setEnabled(false);
    router.keyboardCame();
    EXPECT_EQ(router.focused(), nullptr);
}

TEST_F(KeyboardTest, ForgetsAFocusedViewThatLeavesTheTree) {
    router.setFocused(light.get());
    box->removeFromSuperview();
    EXPECT_EQ(router.focused(), nullptr);
    root.addSubview(box);
    EXPECT_EQ(router.focused(), nullptr);
    EXPECT_TRUE(router.focusNext());
    EXPECT_EQ(router.focused(), button);
}

TEST(Keyboard, MayDestroyTheRouterByAPress) {
    auto window = std::make_unique<View>(Rect{0, 0, 100, 100});
    auto close = std::make_shared<FUIButton>(Rect{0, 0, 100, 100});
    auto router = std::make_unique<EventRouter>(*window);
    close->setAction([&](Control&) {
        router.reset();
        window.reset();
    });
    window->addSubview(std::exchange(close, nullptr));
    ASSERT_TRUE(router->focusNext());
    EXPECT_TRUE(router->keyPressed({Key::enter}));
    EXPECT_EQ(window, nullptr);
}

// A view of two cells, one above the other, that reports what the pointer is in, in any of the ways to turn y.
class Cells : public testing::TestWithParam<std::tuple<bool, bool>> {
protected:
    class Cell : public Listener {
    public:
        Cell(Rect frame, std::string name, std::string& log, bool flipped)
            : Listener(frame, std::move(name), log), flipped_(flipped) {}
        [[nodiscard]] bool isFlipped() const override { return flipped_; }
        void resetCursorRects() override { addCursorRect(bounds(), Cursor::pointingHand); }

    private:
        bool flipped_;
    };
};

// In views whose y grows upward, the lowest pixel row hit twice or not at all, and so did the uppermost.
TEST_P(Cells, HaveEachPixelOnce) {
    const auto [rootFlipped, cellFlipped] = GetParam();
    std::string log;
    Cell root({0, 0, 4, 7}, "root", log, rootFlipped);
    const auto one = std::make_shared<Cell>(Rect{0, 0, 2, 3}, "one", log, cellFlipped);
    const auto other = std::make_shared<Cell>(Rect{0, 3, 2, 3}, "other", log, cellFlipped);
    root.addSubview(one);
    root.addSubview(other);
    EventRouter router(root);
    const int upper = rootFlipped ? 0 : 1; // the rows that the cells leave free are below or above them
    for (int y = -2; y < 9; ++y) {
        for (int x = -2; x < 6; ++x) {
            SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
            const Point point{static_cast<double>(x), static_cast<double>(y)};
            View* expected = x >= 0 && x < 4 && y >= 0 && y < 7 ? &root : nullptr;
            if (x >= 0 && x < 2 && y >= upper && y < upper + 6)
                expected = ((y < upper + 3) == rootFlipped ? one : other).get();
            EXPECT_EQ(root.hitTest(point), expected);
            EXPECT_EQ(router.cursorAt(point), expected ? Cursor::pointingHand : Cursor::arrow);
            log.clear();
            router.moved(point);
            router.moved({-5, -5});
            EXPECT_EQ(log, !expected               ? ""
                           : expected == &root     ? "+root-root"
                           : expected == one.get() ? "+root+one-root-one"
                                                   : "+root+other-root-other");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EachWayUp, Cells, testing::Combine(testing::Bool(), testing::Bool()));

} // namespace

} // namespace sentrel
