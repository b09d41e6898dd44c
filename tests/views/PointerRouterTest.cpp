#include <SentrelKit/views/PointerRouter.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

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

class PointerRouterTest : public testing::Test {
protected:
    PointerRouterTest() {
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

TEST_F(PointerRouterTest, TellsViewsOfThePointersComingAndGoing) {
    PointerRouter router(root);
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

TEST_F(PointerRouterTest, GivesTheReleaseToTheViewThatWasPressed) {
    PointerRouter router(root);
    router.pressed({60, 60});
    router.moved({5, 5});
    router.released({5, 5});
    EXPECT_EQ(taken(), "vtwo+one^two");
    router.released({5, 5});
    EXPECT_EQ(taken(), "");
    router.pressed({5, 95}); // on the root, which does not care
    router.released({5, 95});
    router.pressed({500, 500});
    router.released({500, 500});
    EXPECT_EQ(taken(), "");
}

TEST_F(PointerRouterTest, HandsAPressThatAViewPassesOnToItsSuperview) {
    inner->passes = true;
    PointerRouter router(root);
    router.pressed({5, 45});
    EXPECT_EQ(taken(), "vinnervone");
    const auto label = std::make_shared<View>(Rect{30, 30, 10, 10});
    one->addSubview(label);
    router.pressed({35, 15});
    router.released({35, 15});
    EXPECT_EQ(taken(), "vone^one");
}

TEST_F(PointerRouterTest, ForgetsViewsThatLeaveTheTree) {
    PointerRouter router(root);
    router.moved({60, 60});
    two->removeWhenPressed = true;
    router.pressed({60, 60});
    two.reset();
    router.released({60, 60});
    router.moved({10, 10});
    EXPECT_EQ(taken(), "+twovtwo+one");
}

TEST_F(PointerRouterTest, ShowsTheCursorOfTheTopmostViewOrOfWhatItLiesIn) {
    PointerRouter router(root);
    EXPECT_EQ(router.cursorAt({5, 45}), Cursor::pointingHand);
    EXPECT_EQ(router.cursorAt({30, 10}), Cursor::arrow);
    EXPECT_EQ(router.cursorAt({90, 10}), Cursor::arrow);
    const auto label = std::make_shared<View>(Rect{0, 0, 10, 10});
    two->addSubview(label);
    EXPECT_EQ(router.cursorAt({55, 95}), Cursor::pointingHand);
    EXPECT_EQ(router.cursorAt({500, 10}), Cursor::arrow);
}

TEST_F(PointerRouterTest, FollowsAViewThatChangesItsSize) {
    PointerRouter router(root);
    two->setFrame({50, 0, 10, 10});
    router.moved({80, 80});
    EXPECT_EQ(taken(), "");
    router.moved({55, 95});
    EXPECT_EQ(taken(), "+two");
}

} // namespace

} // namespace sentrel
