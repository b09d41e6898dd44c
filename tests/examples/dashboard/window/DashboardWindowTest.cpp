// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/window/gtk/DashboardWindow.h"

#include "tests/embed/gtk/GtkProgram.h"
#include "tests/embed/support/AccessibleTree.h"
#include "tests/embed/support/ProcessFigures.h"
#include "tests/examples/dashboard/DescribedMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/settings/SharedDefaults.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Picture.h>

#include <SentrelKit/views/FUIColor.h>

#include <gdkmm/frameclock.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtkmm/settings.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

namespace dashboard {
namespace {

using namespace sentrel;
using testing::Contains;
using testing::ElementsAre;

class DashboardWindowTest : public testing::Test {
protected:
    DashboardWindowTest() { user.movePointer(5, 1000); }

    void show() {
        window.emplace(system, settings);
        window->show();
        shown = program.awaitShown(*window);
        ASSERT_TRUE(serveUntil([&] { return window->widget().surface().isVisible(); }));
    }

    // The widths and heights that a user gives the window, in pixels of scale 1.
    void resize(int width, int height) {
        user.moveWindow(shown, {40, 40, width, height});
        ASSERT_TRUE(serveUntil([&] { return window->get_width() == width && window->get_height() == height; }));
        settle();
    }

    static void settle() {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    // Whether the views tell of something by that name.
    [[nodiscard]] bool shows(const std::string& name) {
        const std::function<bool(const std::vector<AccessibleElement>&)> holds = [&](const auto& elements) {
            return std::any_of(elements.begin(), elements.end(), [&](const AccessibleElement& element) {
                return element.name == name || holds(element.children);
            });
        };
        return holds(window->widget().surface().accessibleElements());
    }

    // For the eye: SENTREL_SCREENSHOTS names a folder.
    void keepPicture(const std::string& name) const {
        if (const char* folder = std::getenv("SENTREL_SCREENSHOTS"))
            user.screenshot(shown).writePng(std::string(folder) + "/dashboard-" + name + ".png");
    }

    DescribedMachine machine;
    System system;
    Settings settings;
    std::optional<DashboardWindow> window;
    GtkProgram& program = GtkProgram::shared();
    const DisplayUser& user = program.user();
    DisplayUser::Window shown = 0;
};

std::vector<std::string> namesOf(const std::vector<AccessibleObject>& objects) {
    std::vector<std::string> names;
    names.reserve(objects.size());
    for (const AccessibleObject& object : objects)
        names.push_back(object.name);
    return names;
}

TEST_F(DashboardWindowTest, TellsAssistiveTechnologyOfEachPanel) {
    show();
    machine.live(4);
    settle();
    const auto names = namesOf(readAccessibleTree(serveUntil));
    for (const char* panel : {"Processor", "Memory", "Network", "Volumes", "Applications", "Battery", "Graphics",
                              "Settings", "Eject Stick"})
        EXPECT_THAT(names, Contains(panel));
    keepPicture("window");
}

TEST_F(DashboardWindowTest, ScrollsWhereItIsLowerThanItsContent) {
    show();
    machine.live(2);
    for (const int width : {360, 700, 1100}) {
        resize(width, 500);
        EXPECT_TRUE(serveUntil([&] {
            const Size size = {window->board().bounds().width, window->board().bounds().height};
            return size == Size{static_cast<double>(width), std::ceil(window->board().heightFor(width))};
        })) << width
            << " " << window->board().bounds().height;
        keepPicture("low-" + std::to_string(width));
    }
    resize(1100, 900);
    EXPECT_TRUE(serveUntil([&] { return window->board().bounds().height >= 900; })); // no room stays blank
}

TEST_F(DashboardWindowTest, TheSettingsButtonLeadsToTheUnit) {
    show();
    machine->power().change();
    machine.live(2);
    settle();
    const auto temperature = [&] {
        for (const AccessibleObject& object : readAccessibleTree(serveUntil))
            if (object.name == "Temperature")
                return object.value + object.text + object.description;
        return std::string();
    };
    EXPECT_TRUE(doAccessibleAction("Settings", serveUntil));
    EXPECT_TRUE(serveUntil([&] { return shows("Temperatures in Fahrenheit"); }));
    settle();
    keepPicture("settings");
    EXPECT_EQ(sharedDefaults()["temperature"].intValue(), 0);
    EXPECT_THAT(temperature(), testing::HasSubstr("29°"));
    EXPECT_TRUE(doAccessibleAction("Temperatures in Fahrenheit", serveUntil));
    EXPECT_TRUE(serveUntil([] { return sharedDefaults()["temperature"].intValue() == 1; }));
    EXPECT_TRUE(serveUntil([&] { return temperature().find("84°") != std::string::npos; }));
}

TEST_F(DashboardWindowTest, AClickOnEjectAsksFirst) {
    show();
    machine.live(2);
    settle();
    machine->volumes().calls.clear();
    EXPECT_TRUE(doAccessibleAction("Eject Stick", serveUntil));
    const auto isAsking = [&] { return shows("Eject now"); };
    EXPECT_TRUE(serveUntil(isAsking));
    settle();
    keepPicture("eject");
    EXPECT_EQ(machine->volumes().calls.count("unmount"), 0U);
    EXPECT_TRUE(doAccessibleAction("Keep", serveUntil));
    EXPECT_TRUE(serveUntil([&] { return !isAsking(); }));
    EXPECT_EQ(machine->volumes().calls.count("unmount"), 0U);
    EXPECT_TRUE(doAccessibleAction("Eject Stick", serveUntil));
    EXPECT_TRUE(serveUntil(isAsking));
    settle();
    EXPECT_TRUE(doAccessibleAction("Eject now", serveUntil));
    EXPECT_TRUE(serveUntil([&] {
        machine->advance(0);
        return machine->volumes().calls.count("eject") == 1;
    }));
}

TEST_F(DashboardWindowTest, NobodyMeasuresOrDrawsForAWindowThatNobodySees) {
    show();
    machine.live(3);
    settle();
    user.minimise(shown);
    ASSERT_TRUE(serveUntil([&] { return !window->widget().surface().isVisible(); }));
    settle();
    machine->host().calls.clear();
    machine->network().calls.clear();
    int frames = 0;
    const auto clock = window->get_frame_clock();
    sigc::connection painting;
    if (clock)
        painting = clock->signal_paint().connect([&] { ++frames; });
    machine.live(30);
    settle();
    EXPECT_THAT(machine->host().calls.list(), ElementsAre());
    EXPECT_THAT(machine->network().calls.list(), ElementsAre());
    EXPECT_EQ(frames, 0);
    painting.disconnect();

    user.activate(shown);
    ASSERT_TRUE(serveUntil([&] { return window->widget().surface().isVisible(); }));
    machine.live(5);
    EXPECT_GT(machine->host().calls.count("loadTicks"), 0U);
    EXPECT_GT(machine->host().calls.count("virtualMemory"), 0U);
}

TEST_F(DashboardWindowTest, DrawsNoFrameWhileTimeStands) {
    show();
    machine.live(3);
    machine->host().loadTicksValue.idle += 400;
    // Until rings have eased and the window is drawn.
    int frames = 0;
    sigc::connection painting = window->get_frame_clock()->signal_paint().connect([&] { ++frames; });
    ASSERT_TRUE(serveUntil([&] { return frames > 0 && !window->widget().surface().needsFrames(); }));
    const auto start = g_get_monotonic_time();
    int before = -1;
    // A quarter of a second without one: an animation would have drawn fifteen.
    ASSERT_TRUE(serveUntil([&, quietSince = start]() mutable {
        if (frames != before) {
            before = frames;
            quietSince = g_get_monotonic_time();
        }
        return g_get_monotonic_time() - quietSince > 250'000;
    }));
    painting.disconnect();
}

// Draws one colour.
class Tile final : public View {
public:
    Tile() : View({0, 0, 32, 32}) {}
    void drawRect(Canvas& canvas, Rect rect) override { canvas.fill(Path::rect(rect), FUIColor::alizarin()); }
};

TEST_F(DashboardWindowTest, ShowsAnApplicationsOwnIcon) {
    const TemporaryFolder folder;
    Tile tile;
    const std::string picture = folder.path() + "/icon.png";
    ASSERT_TRUE(renderPNG(tile, picture));
    auto& processes = machine->processes();
    for (int id = 100; id < 103; ++id)
        processes.terminate(id);
    processes.setParent(200, 1);
    processes.setTaskInfo(200, platform::TaskInfo{.residentBytes = 1U << 30U, .threads = 1, .startTime = 7});
    processes.launch(
        {.processIdentifier = 200, .startTime = 7, .localizedName = "Painter", .icon = Icon::atPath(picture)});
    processes.setParent(201, 1);
    processes.setTaskInfo(201, platform::TaskInfo{.residentBytes = 1U << 20U, .threads = 1, .startTime = 7});
    processes.launch({.processIdentifier = 201,
                      .startTime = 7,
                      .localizedName = "Broken",
                      .icon = Icon::atPath(folder.path() + "/nosuch.png")});
    show();
    resize(800, 980);
    machine.live(4);
    const auto icons = window->board().icons();
    const auto painter = std::find_if(
        icons.begin(), icons.end(), [&](const auto& icon) { return icon->icon() && icon->icon()->text() == picture; });
    ASSERT_NE(painter, icons.end());
    EXPECT_TRUE(serveUntil([&] {
        const Point middle = (*painter)->toSurface().apply({IconView::side / 2, IconView::side / 2});
        double x = 0;
        double y = 0;
        if (!window->widget().translate_coordinates(*window, middle.x, middle.y, x, y))
            return false;
        const DisplayUser::Place place = user.placeOf(shown);
        const int scale = window->get_scale_factor();
        const auto pixel =
            user.screenshot({place.x + static_cast<int>(x * scale), place.y + static_cast<int>(y * scale), 1, 1})
                .at(0, 0);
        return pixel == 0xE74C3C;
    }));
    keepPicture("icons");
}

TEST_F(DashboardWindowTest, FollowsTheThemeIntoTheDark) {
    show();
    machine.live(3);
    const auto theme = Gtk::Settings::get_default();
    theme->property_gtk_application_prefer_dark_theme() = true;
    EXPECT_TRUE(serveUntil([&] { return window->board().effectiveAppearance() == Appearance::dark; }));
    settle();
    keepPicture("dark");
    theme->property_gtk_application_prefer_dark_theme() = false;
    EXPECT_TRUE(serveUntil([&] { return window->board().effectiveAppearance() == Appearance::light; }));
}

TEST_F(DashboardWindowTest, LeavesNothingBehindWhenItIsShownAndHiddenManyTimes) {
    show();
    const auto cycle = [&] {
        window->hide();
        ASSERT_TRUE(serveUntil([&] { return !window->widget().surface().isVisible(); }));
        window->show();
        ASSERT_TRUE(serveUntil([&] { return window->widget().surface().isVisible(); }));
        machine.live(1); // samples and charts go on
        machine.forgetCalls();
        settle();
    };
    for (int i = 0; i < 100; ++i)
        cycle(); // until the histories are full
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    const std::uint64_t memory = residentBytes();
    const std::size_t timers = machine->dispatch().calls.openHandles().size();
    for (int i = 0; i < 200; ++i)
        cycle();
    EXPECT_EQ(machine->dispatch().calls.openHandles().size(), timers);
    EXPECT_LE(openDescriptors(), descriptors);
    EXPECT_LE(runningThreads(), threads);
    RecordProperty("grownBytes", std::to_string(static_cast<std::int64_t>(residentBytes() - memory)));
    // The address sanitizer keeps what is freed for a while, and looks for leaks itself.
    if (!underAddressSanitizer) {
        EXPECT_LT(residentBytes(), memory + (1U << 20U));
    }
    machine.live(1);
    window->hide();
    ASSERT_TRUE(serveUntil([&] { return !window->widget().surface().isVisible(); }));
    machine.live(1);
    machine->host().calls.clear();
    machine.live(5);
    EXPECT_THAT(machine->host().calls.list(), ElementsAre()); // hidden: nobody samples
}

TEST_F(DashboardWindowTest, OpensAndClosesOverAndOverWithoutALoss) {
    const auto once = [&] {
        window.emplace(system, settings);
        window->show();
        ASSERT_TRUE(serveUntil([&] { return window->widget().surface().isVisible(); }));
        machine.live(1);
        settle();
        window.reset();
        settle();
    };
    for (int i = 0; i < 5; ++i)
        once();
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    for (int i = 0; i < 20; ++i)
        once();
    EXPECT_LE(openDescriptors(), descriptors + 2);
    EXPECT_LE(runningThreads(), threads + 1);
    machine->host().calls.clear();
    machine.live(5);
    EXPECT_THAT(machine->host().calls.list(), ElementsAre()); // nobody samples any more
}

} // namespace
} // namespace dashboard
