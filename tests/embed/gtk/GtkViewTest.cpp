// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/GtkView.h>

#include "tests/embed/gtk/GtkProgram.h"
#include "tests/embed/support/AccessibleTree.h"
#include "tests/embed/support/ProcessFigures.h"
#include "tests/support/Sanitizers.h"

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/scripted/CompositePlatform.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Picture.h>

#include <glibmm/main.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/settings.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;

// A filled rectangle that keeps what happens to it.
class Counted final : public View {
public:
    explicit Counted(Rect frame) : View(frame) {}
    void drawRect(Canvas& canvas, Rect rect) override {
        ++drawn;
        canvas.fill(Path::rect(rect), FUIColor::emerald());
    }
    bool scrollWheel(const ScrollEvent& event) override {
        scrolls.push_back(event);
        return true;
    }
    void otherMouseDown(const MouseEvent& event) override { others.push_back(event); }
    bool keyDown(const KeyEvent& event) override {
        typed += event.text;
        return true;
    }
    [[nodiscard]] bool acceptsFocus() const override { return true; }
    [[nodiscard]] AccessibilityRole ownAccessibilityRole() const override { return AccessibilityRole::image; }

    int drawn = 0;
    std::vector<ScrollEvent> scrolls;
    std::vector<MouseEvent> others;
    std::string typed;
};

// Where nothing of the program lies.
constexpr int awayX = 5;
constexpr int awayY = 1000;

class GtkViewTest : public testing::Test {
protected:
    GtkViewTest() { user.movePointer(awayX, awayY); }

    // Shows a widget in the window.
    void show(Gtk::Widget& widget) {
        window.set_title("SentrelKit");
        window.set_child(widget);
        window.show();
        shown = program.awaitShown(window);
    }

    struct Pixel {
        int x;
        int y;
    };

    // The pixel of the screen at a point of a widget.
    [[nodiscard]] Pixel onScreen(Gtk::Widget& widget, double x, double y) {
        double inWindowX = 0.0;
        double inWindowY = 0.0;
        EXPECT_TRUE(widget.translate_coordinates(window, x, y, inWindowX, inWindowY));
        const DisplayUser::Place place = user.placeOf(shown);
        const int scale = window.get_scale_factor();
        return {place.x + static_cast<int>(inWindowX * scale), place.y + static_cast<int>(inWindowY * scale)};
    }

    void pointAt(Gtk::Widget& widget, double x, double y) {
        const Pixel place = onScreen(widget, x, y);
        user.movePointer(place.x, place.y);
    }

    // Whether the screen comes to show a colour there, to within a step of rounding.
    [[nodiscard]] bool awaitColor(Gtk::Widget& widget, double x, double y, Color color) {
        const auto isNear = [](std::uint32_t channel, double wanted) {
            return std::abs(static_cast<double>(channel & 0xFF) - wanted * 255.0) < 1.5;
        };
        return serveUntil([&] {
            const Pixel place = onScreen(widget, x, y);
            const std::uint32_t pixel = user.screenshot({place.x, place.y, 1, 1}).at(0, 0);
            return isNear(pixel >> 16, color.red) && isNear(pixel >> 8, color.green) && isNear(pixel, color.blue);
        });
    }

    // For the eye: SENTREL_SCREENSHOTS names a folder.
    void keepPicture(const std::string& name) const {
        if (const char* folder = std::getenv("SENTREL_SCREENSHOTS"))
            user.screenshot(shown).writePng(std::string(folder) + "/gtk-" + name + ".png");
    }

    // Serves the loop until it has nothing left to do but wait.
    static void settle() {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    GtkProgram& program = GtkProgram::shared();
    const DisplayUser& user = program.user();
    Gtk::Window window;
    DisplayUser::Window shown = 0;
};

// A button with a title on it.
std::shared_ptr<FUIButton> makeButton(Rect frame, const std::string& title) {
    auto button = std::make_shared<FUIButton>(frame);
    auto label = std::make_shared<TextField>(Rect{0, 0, frame.width, frame.height});
    label->setAlignment(TextAlignment::center);
    label->setStringValue(title);
    button->setTitle(label);
    button->addSubview(label);
    return button;
}

std::shared_ptr<View> makeRoot(double width, double height) {
    return std::make_shared<View>(Rect{0, 0, width, height});
}

// Drawing.

TEST_F(GtkViewTest, ShowsTheViewPixelByPixelAtTheScaleOfTheScreen) {
    auto root = makeRoot(300, 290); // of more than one tile
    auto ring = std::make_shared<GaugeCircleChart>(Rect{5, 5, 280, 280});
    root->addSubview(ring);
    ring->setPercent(42);
    GtkView widget(root);
    show(widget);
    const int scale = widget.get_scale_factor();
    if (const char* wanted = std::getenv("GDK_SCALE")) {
        EXPECT_EQ(scale, std::atoi(wanted));
    }
    const int width = 300 * scale;
    const int height = 290 * scale;
    const std::uint32_t ground = user.screenshot(shown).at(0, 0);
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width * height));
    // Over the window's ground.
    const auto over = [](std::uint32_t above, std::uint32_t below) {
        std::uint32_t result = 0;
        for (const unsigned int shift : {0U, 8U, 16U})
            result |= (((above >> shift) & 0xFF) + ((below >> shift & 0xFF) * (255 - (above >> 24)) + 127) / 255)
                      << shift;
        return result;
    };
    const auto isClose = [](std::uint32_t one, std::uint32_t other) {
        for (const unsigned int shift : {0U, 8U, 16U})
            if (std::abs(static_cast<int>(one >> shift & 0xFF) - static_cast<int>(other >> shift & 0xFF)) > 2)
                return false;
        return true;
    };
    EXPECT_TRUE(serveUntil([&] {
        const Screenshot shot = user.screenshot(shown);
        if (shot.width != width || shot.height != height ||
            !renderPixels(*root, pixels.data(), width, height, width * 4, scale))
            return false;
        const std::uint32_t below = shot.at(0, 0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                if (!isClose(shot.at(x, y), over(pixels[static_cast<std::size_t>(y * width + x)], below)))
                    return false;
        return true;
    })) << "on a ground of "
        << ground;
    keepPicture("ring-at-" + std::to_string(scale));
}

TEST_F(GtkViewTest, OnlyWhatChangesIsDrawn) {
    const auto root = makeRoot(200, 100);
    const auto left = std::make_shared<Counted>(Rect{0, 0, 90, 100});
    const auto right = std::make_shared<Counted>(Rect{110, 0, 90, 100});
    root->addSubview(left);
    root->addSubview(right);
    GtkView widget(root);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 150, 50, FUIColor::emerald()));
    settle();
    const int before = left->drawn;
    const int drawn = right->drawn;
    for (int i = 0; i < 50; ++i)
        right->setNeedsDisplay(true);
    EXPECT_TRUE(serveUntil([&] { return right->drawn == drawn + 1; }));
    settle();
    EXPECT_EQ(right->drawn, drawn + 1);
    EXPECT_EQ(left->drawn, before);
}

TEST_F(GtkViewTest, HasTheNaturalSizeOfItsViewAndFollowsIt) {
    Gtk::Box box(Gtk::Orientation::HORIZONTAL);
    const auto view = std::make_shared<Counted>(Rect{0, 0, 123, 45});
    GtkView widget(view);
    widget.set_halign(Gtk::Align::START);
    widget.set_valign(Gtk::Align::START);
    box.append(widget);
    window.set_default_size(300, 200);
    show(box);
    EXPECT_EQ(widget.get_width(), 123);
    EXPECT_EQ(widget.get_height(), 45);
    EXPECT_EQ(view->frame(), Rect({0, 0, 123, 45}));
    view->setNaturalSize(Size{80, 60});
    EXPECT_TRUE(serveUntil([&] { return widget.get_width() == 80 && widget.get_height() == 60; }));
    EXPECT_EQ(view->frame(), Rect({0, 0, 80, 60}));
    box.remove(widget);
}

TEST_F(GtkViewTest, FollowsTheThemeUnlessItsHostChose) {
    const auto label = std::make_shared<TextField>(Rect{0, 0, 120, 40});
    label->setStringValue("Processor");
    const auto chosen = std::make_shared<TextField>(Rect{0, 0, 120, 40});
    chosen->setAppearance(Appearance::light);
    Gtk::Box box(Gtk::Orientation::VERTICAL);
    GtkView widget(label);
    GtkView other(chosen);
    box.append(widget);
    box.append(other);
    show(box);
    EXPECT_TRUE(serveUntil([&] { return label->appearance() == Appearance::light; }));
    const auto settings = Gtk::Settings::get_default();
    settings->property_gtk_application_prefer_dark_theme() = true;
    EXPECT_TRUE(serveUntil([&] { return label->appearance() == Appearance::dark; }));
    settle();
    keepPicture("dark");
    EXPECT_EQ(chosen->appearance(), Appearance::light);
    settings->property_gtk_application_prefer_dark_theme() = false;
    EXPECT_TRUE(serveUntil([&] { return label->appearance() == Appearance::light; }));
    box.remove(widget);
    box.remove(other);
}

// The pointer.

TEST_F(GtkViewTest, AButtonIsLitUnderThePointerPressedAndReleased) {
    const auto root = makeRoot(200, 100);
    const auto button = makeButton({20, 20, 160, 60}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    root->addSubview(button);
    GtkView widget(root);
    show(widget);
    const Color resting = button->backgroundColor();
    ASSERT_TRUE(awaitColor(widget, 40, 30, resting));
    keepPicture("button-resting");
    const std::string arrow = user.pointerName();

    pointAt(widget, 40, 40);
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::white())));
    EXPECT_TRUE(serveUntil([&] { return user.pointerName() != arrow; })) << "a hand, and not " << arrow;
    keepPicture("button-under-the-pointer");
    user.pressButton();
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::black())));
    keepPicture("button-pressed");
    EXPECT_EQ(sent, 0);
    user.releaseButton();
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting));
    pointAt(widget, 5, 5);
    EXPECT_TRUE(serveUntil([&] { return user.pointerName() == arrow; }));
}

TEST_F(GtkViewTest, APressOfAButtonThatEndsOutsideSendsNothing) {
    const auto root = makeRoot(200, 100);
    const auto button = makeButton({20, 20, 160, 60}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    root->addSubview(button);
    GtkView widget(root);
    show(widget);
    const Color resting = button->backgroundColor();
    ASSERT_TRUE(awaitColor(widget, 40, 30, resting));
    pointAt(widget, 40, 40);
    user.pressButton();
    ASSERT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::black())));
    user.movePointer(awayX, awayY); // outside the window too
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting));
    user.releaseButton();
    // The next whole click is the first that counts.
    pointAt(widget, 40, 40);
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::white())));
    EXPECT_EQ(sent, 0);
    user.pressButton();
    user.releaseButton();
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
}

TEST_F(GtkViewTest, ALinkOpensItsAddress) {
    platform::ScriptedPlatform script;
    platform::CompositePlatform machine(platform::current(), {.desktop = &script.desktop()});
    const platform::Override override(machine);
    const auto link = std::make_shared<FUILink>(Rect{0, 0, 200, 30});
    link->setStringValue("More about this");
    link->setUrl("https://example.org/more");
    GtkView widget(link);
    show(widget);
    const Pixel place = onScreen(widget, 20, 15);
    user.click(place.x, place.y);
    EXPECT_TRUE(serveUntil([&] { return !script.desktop().calls.list().empty(); }));
    EXPECT_THAT(script.desktop().calls.list(), ElementsAre("openAddress https://example.org/more"));
}

TEST_F(GtkViewTest, TheWheelAndTheOtherButtonsReachTheView) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    GtkView widget(view);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
    const Pixel place = onScreen(widget, 30, 60);
    user.click(place.x, place.y, 5);
    ASSERT_TRUE(serveUntil([&] { return !view->scrolls.empty(); }));
    EXPECT_GT(view->scrolls[0].deltaY, 0.0);
    EXPECT_EQ(view->scrolls[0].location, (Point{30, 60}));
    user.click(place.x, place.y, 3);
    ASSERT_TRUE(serveUntil([&] { return !view->others.empty(); }));
    EXPECT_EQ(view->others[0].button, MouseButton::secondary);
    EXPECT_EQ(view->others[0].location, (Point{30, 60}));
}

// The keyboard.

TEST_F(GtkViewTest, TabLeadsFromViewToViewAndToTheNextWidgetAndSpacePresses) {
    const auto root = makeRoot(300, 60);
    const auto one = makeButton({10, 10, 80, 40}, "One");
    const auto two = makeButton({110, 10, 80, 40}, "Two");
    const auto off = makeButton({210, 10, 80, 40}, "Off");
    off->setEnabled(false);
    std::string log;
    one->setAction([&](Control&) { log += "one "; });
    two->setAction([&](Control&) { log += "two "; });
    for (const auto& button : {one, two, off})
        root->addSubview(button);
    Gtk::Box box(Gtk::Orientation::HORIZONTAL);
    GtkView widget(root);
    Gtk::Button before("before");
    Gtk::Button after("after");
    box.append(before);
    box.append(widget);
    box.append(after);
    show(box);
    ASSERT_TRUE(serveUntil([&] { return before.has_focus(); }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return one->focus() == Focus::visible; }));
    EXPECT_TRUE(awaitColor(widget, 50, 11, FUIColor::belizeHole())) << "the ring";
    keepPicture("focus");
    user.typeKey("space");
    EXPECT_TRUE(serveUntil([&] { return log == "one "; }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return two->focus() == Focus::visible; }));
    EXPECT_EQ(one->focus(), Focus::none);
    user.typeKey("Return");
    EXPECT_TRUE(serveUntil([&] { return log == "one two "; }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return after.has_focus(); }));
    EXPECT_EQ(two->focus(), Focus::none);
    user.typeKey("shift+Tab");
    EXPECT_TRUE(serveUntil([&] { return two->focus() == Focus::visible; }));
    // A click focuses too, without a ring.
    const Pixel place = onScreen(widget, 50, 30);
    user.click(place.x, place.y);
    EXPECT_TRUE(serveUntil([&] { return one->focus() == Focus::quiet; }));
    EXPECT_EQ(two->focus(), Focus::none);
    EXPECT_TRUE(serveUntil([&] { return log == "one two one "; }));
    for (Gtk::Widget* child :
         {static_cast<Gtk::Widget*>(&before), static_cast<Gtk::Widget*>(&widget), static_cast<Gtk::Widget*>(&after)})
        box.remove(*child);
}

TEST_F(GtkViewTest, KeysReachTheFocusedView) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    GtkView widget(view);
    show(widget);
    ASSERT_TRUE(serveUntil([&] { return view->focus() != Focus::none; }));
    user.typeKey("a");
    user.typeKey("shift+b");
    EXPECT_TRUE(serveUntil([&] { return view->typed == "aB"; })) << view->typed;
}

// Assistive technology.

TEST_F(GtkViewTest, AssistiveTechnologyReadsAndPressesTheViews) {
    const auto stack = std::make_shared<Stack>(Stack::Axis::row);
    stack->setAlignment(Stack::Alignment::center);
    const auto ring = stack->add(GaugeCircleChart::labelled({0, 0, 96, 96}, "Processor"));
    ring->setPercent(42);
    const auto button = stack->add(makeButton({0, 0, 80, 40}, "Eject"));
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    const auto light = stack->add(std::make_shared<FUIIndicator>(Rect{0, 0, 30, 30}));
    light->setAccessibilityName("Sampling");
    const auto label = stack->add(std::make_shared<TextField>());
    label->setStringValue("All is well");
    GtkView widget(stack);
    show(widget);

    const auto find = [&](const std::string& name) {
        const auto objects = readAccessibleTree(serveUntil);
        const auto found = std::ranges::find(objects, name, &AccessibleObject::name);
        return found == objects.end() ? AccessibleObject{} : *found;
    };
    AccessibleObject object = find("Processor");
    EXPECT_EQ(object.role, "level bar");
    EXPECT_EQ(object.description, "42 percent");
    EXPECT_EQ(object.value, "42");
    ring->setPercent(77);
    ASSERT_TRUE(serveUntil([&] { return find("Processor").value == "77"; }));
    EXPECT_EQ(find("Processor").description, "77 percent");
    EXPECT_EQ(find("All is well").role, "label");
    object = find("Sampling");
    EXPECT_EQ(object.role, "check box");
    EXPECT_FALSE(object.is("checked"));
    light->setIsActive(true);
    EXPECT_TRUE(serveUntil([&] { return find("Sampling").is("checked"); }));
    object = find("Eject");
    EXPECT_EQ(object.role, "push button");
    EXPECT_TRUE(object.is("focusable"));
    EXPECT_TRUE(object.is("sensitive"));
    EXPECT_TRUE(doAccessibleAction("Eject", serveUntil));
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
    user.typeKey("Tab"); // from the first one
    EXPECT_TRUE(serveUntil([&] { return light->focus() == Focus::visible; }));
    EXPECT_TRUE(serveUntil([&] { return find("Sampling").is("focused"); }));
    EXPECT_FALSE(find("Eject").is("focused"));
    button->setEnabled(false);
    EXPECT_TRUE(serveUntil([&] { return !find("Eject").is("sensitive"); }));
    button->setHidden(true);
    EXPECT_TRUE(serveUntil([&] { return find("Eject").name.empty(); }));
    button->setHidden(false);
    EXPECT_TRUE(serveUntil([&] { return find("Eject").role == "push button"; }));
}

// Whether anybody sees it.

TEST_F(GtkViewTest, TellsItsHostWhetherAnybodySeesItAndDrawsOnlyThen) {
    const auto root = makeRoot(200, 100);
    const auto view = std::make_shared<Counted>(Rect{0, 0, 50, 50});
    const auto button = makeButton({60, 20, 100, 60}, "Fades");
    root->addSubview(view);
    root->addSubview(button);
    GtkView widget(root);
    std::vector<bool> told;
    const auto owner = std::make_shared<int>();
    widget.surface().onVisibilityChanged().listen(owner, [&](const bool& isSeen) { told.push_back(isSeen); });
    EXPECT_FALSE(widget.surface().isVisible());
    show(widget);
    EXPECT_THAT(told, ElementsAre(true));
    ASSERT_TRUE(awaitColor(widget, 25, 75, FUIColor::emerald()));

    struct Way {
        const char* name;
        std::function<void()> away;
        std::function<void()> back;
    };
    const Way ways[] = {
        {"minimised", [&] { user.minimise(shown); }, [&] { user.activate(shown); }},
        {"on another workspace", [&] { user.showWorkspace(1); }, [&] { user.showWorkspace(0); }},
        {"hidden", [&] { window.hide(); }, [&] { window.show(); }},
        {"a hidden widget", [&] { widget.hide(); }, [&] { widget.show(); }},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        told.clear();
        button->aimateBackgroundColor({1, 0, 0}); // something moves
        way.away();
        ASSERT_TRUE(serveUntil([&] { return told == std::vector<bool>{false}; }));
        settle();
        const int drawn = view->drawn;
        EXPECT_FALSE(widget.surface().needsFrames());
        for (int i = 0; i < 3; ++i) {
            view->setNeedsDisplay(true);
            button->aimateBackgroundColor({0, 0, 1});
            settle();
        }
        EXPECT_EQ(view->drawn, drawn);
        EXPECT_FALSE(widget.surface().needsFrames());
        way.back();
        ASSERT_TRUE(serveUntil([&] { return told == std::vector<bool>({false, true}); }));
        EXPECT_TRUE(serveUntil([&] { return view->drawn > drawn; }));
    }
}

TEST_F(GtkViewTest, RunsTheFrameClockWhileSomethingMovesAndRestsAfterwards) {
    const auto button = makeButton({0, 0, 100, 60}, "Fades");
    GtkView widget(button);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 10, 10, button->backgroundColor()));
    button->aimateBackgroundColor({1, 0, 0});
    EXPECT_TRUE(widget.surface().needsFrames());
    EXPECT_TRUE(awaitColor(widget, 10, 10, {1, 0, 0}));
    EXPECT_TRUE(serveUntil([&] { return !widget.surface().needsFrames(); }));
    // At rest the loop waits: half a second brings next to nothing to do.
    settle();
    bool isOver = false;
    g_timeout_add_once(
        500, [](gpointer over) { *static_cast<bool*>(over) = true; }, &isOver);
    int turns = 0;
    while (!isOver) {
        g_main_context_iteration(nullptr, TRUE);
        ++turns;
    }
    EXPECT_LT(turns, 10);
}

TEST_F(GtkViewTest, LeavesNothingBehindWhenItIsShownAndHiddenManyTimes) {
    const auto stack = std::make_shared<Stack>(Stack::Axis::row);
    stack->add(GaugeCircleChart::labelled({0, 0, 96, 96}, "Processor"))->setPercent(42);
    stack->add(makeButton({0, 0, 80, 40}, "Eject"));
    GtkView widget(stack);
    show(widget);
    const auto cycle = [&] {
        window.hide();
        ASSERT_TRUE(serveUntil([&] { return !widget.surface().isVisible(); }));
        window.show();
        ASSERT_TRUE(serveUntil([&] { return widget.surface().isVisible() && widget.surface().dirtyRects().empty(); }));
    };
    for (int i = 0; i < 30; ++i)
        cycle();
    const auto descriptors = openDescriptors();
    const auto threads = runningThreads();
    const auto memory = residentBytes();
    for (int i = 0; i < 200; ++i)
        cycle();
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LE(runningThreads(), threads);
    // The address sanitizer keeps what is freed for a while, and looks for leaks itself.
    if (!underAddressSanitizer) {
        EXPECT_LT(residentBytes(), memory + (2U << 20U));
    }
    RecordProperty("grownBytes", std::to_string(static_cast<std::int64_t>(residentBytes() - memory)));
}

// Lives.

TEST_F(GtkViewTest, ItsViewLivesOnAndCanBeShownElsewhere) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    auto widget = std::make_unique<GtkView>(view);
    show(*widget);
    ASSERT_TRUE(awaitColor(*widget, 50, 50, FUIColor::emerald()));
    window.unset_child();
    widget.reset();
    view->setNeedsDisplay(true);
    settle();
    GtkView next(view);
    show(next);
    EXPECT_TRUE(awaitColor(next, 50, 50, FUIColor::emerald()));
    window.unset_child();
}

TEST_F(GtkViewTest, KeepsAViewThatNobodyElseKeeps) {
    auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    const std::weak_ptr<View> watched = view;
    {
        GtkView widget(std::exchange(view, nullptr));
        show(widget);
        EXPECT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
        EXPECT_EQ(widget.view(), watched.lock());
        window.unset_child();
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(GtkViewTest, ItMayGoByTheActionOfAButtonHoweverThatIsPressed) {
    for (const char* const how : {"pointer", "key", "assistive technology"}) {
        SCOPED_TRACE(how);
        const auto button = makeButton({0, 0, 160, 60}, "Close");
        auto widget = std::make_unique<GtkView>(button);
        button->setAction([&](Control&) {
            window.unset_child();
            widget.reset();
        });
        show(*widget);
        ASSERT_TRUE(awaitColor(*widget, 10, 10, button->backgroundColor()));
        if (how[0] == 'p') {
            const Pixel place = onScreen(*widget, 80, 30);
            user.click(place.x, place.y);
        } else if (how[0] == 'k') {
            EXPECT_TRUE(button->focus() != Focus::none || widget->child_focus(Gtk::DirectionType::TAB_FORWARD));
            user.typeKey("Return");
        } else {
            EXPECT_TRUE(doAccessibleAction("Close", serveUntil));
        }
        EXPECT_TRUE(serveUntil([&] { return !widget; }));
        settle();
    }
}

TEST_F(GtkViewTest, ItMayGoAfterFramesThatOutranTheIdleLoop) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    auto widget = std::make_unique<GtkView>(view);
    show(*widget);
    ASSERT_TRUE(awaitColor(*widget, 50, 50, FUIColor::emerald()));
    settle();
    // Keeps the loop from idle work, and lets frames through.
    sigc::connection busy = Glib::signal_idle().connect([] { return true; }, Glib::PRIORITY_DEFAULT_IDLE - 1);
    for (int frame = 0; frame < 3; ++frame) {
        const int before = view->drawn;
        view->setNeedsDisplay(true);
        ASSERT_TRUE(serveUntil([&] { return view->drawn > before; }));
    }
    window.unset_child();
    widget.reset();
    busy.disconnect();
    settle(); // nothing of the widget runs
}

TEST_F(GtkViewTest, TheMainQueueRunsInTheLoop) {
    bool hasRun = false;
    dispatch::mainQueue()->async([&] { hasRun = true; });
    EXPECT_TRUE(serveUntil([&] { return hasRun; }));
}

} // namespace
} // namespace sentrel
