// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Board.h"
#include "examples/dashboard/Sampler.h"

#include "tests/examples/dashboard/DescribedMachine.h"
#include "tests/views/TextRendererSuppressions.h"

#include <SentrelKit/settings/SharedDefaults.h>
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/drawing/Picture.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace dashboard {
namespace {

using namespace sentrel;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// An element of the tree that a screen reader is told.
struct Told {
    std::string name;
    std::string value;
    std::shared_ptr<View> view;
};

class BoardTest : public testing::Test {
protected:
    DescribedMachine machine;
    System system;
    Settings settings;
    std::shared_ptr<Board> board = std::make_shared<Board>(system, settings);
    Sampler sampler{system, settings, [this] { board->refresh(); }};

    void show(double width) {
        board->setSettingsHandler([this] { sampler.settingsChanged(); });
        sampler.start();
        board->refresh();
        machine->power().change();
        machine.live(5);
        resize(width);
    }

    void resize(double width, double height = 0) {
        board->setFrame({0, 0, width, std::max(height, board->heightFor(width))});
        board->layoutIfNeeded();
    }

    [[nodiscard]] std::vector<Told> told() const {
        std::vector<Told> all;
        const std::function<void(const std::vector<AccessibleElement>&)> collect = [&](const auto& elements) {
            for (const AccessibleElement& element : elements) {
                all.push_back({element.name, element.value.value_or(""), element.view.lock()});
                collect(element.children);
            }
        };
        collect(accessibleElements(board));
        return all;
    }

    [[nodiscard]] std::vector<std::string> panels() const {
        std::vector<std::string> names;
        const auto elements = accessibleElements(board);
        for (const AccessibleElement& element : elements.at(0).children)
            if (element.role == AccessibilityRole::group)
                names.push_back(element.name);
        return names;
    }

    [[nodiscard]] std::shared_ptr<View> find(const std::string& name) const {
        for (const Told& element : told())
            if (element.name == name)
                return element.view;
        return nullptr;
    }

    [[nodiscard]] std::string valueOf(const std::string& name) const {
        for (const Told& element : told())
            if (element.name == name)
                return element.value;
        return "(none)";
    }

    void press(const std::string& name) {
        const auto view = find(name);
        ASSERT_TRUE(view) << name;
        EXPECT_TRUE(view->press()) << name;
        board->layoutIfNeeded();
    }
};

TEST_F(BoardTest, HasAPanelForEachThingThatTheMachineHas) {
    show(800);
    EXPECT_THAT(panels(),
                ElementsAre("Processor", "Memory", "Network", "Volumes", "Applications", "Battery", "Graphics"));
    EXPECT_EQ(valueOf("Processor load"), "15 percent");
    EXPECT_EQ(valueOf("User"), "10.0 percent");
    EXPECT_EQ(valueOf("System"), "5.0 percent");
    EXPECT_EQ(valueOf("Thermal state"), "nominal");
    EXPECT_EQ(valueOf("Swap"), "1024 MB of 4 GB");
    EXPECT_EQ(valueOf("Swap use"), "25 percent");
    EXPECT_EQ(valueOf("Charge"), "50 percent");
    EXPECT_EQ(valueOf("Ethernet en0"), "192.0.2.7");
    EXPECT_EQ(valueOf("DNS"), "192.0.2.53");
    EXPECT_EQ(valueOf("Stick"), "3.69 MB of 4.10 MB");
    EXPECT_TRUE(find("192.0.2.1")); // the link to the router
}

TEST_F(BoardTest, LeavesOutWhatThereIsNot) {
    machine->power().battery.reset();
    machine->graphics().pciDevicesValue.clear();
    machine->volumes().mounts.clear();
    System bare;
    Board of(bare, settings);
    of.refresh();
    std::vector<std::string> shown;
    for (const auto& view : of.subviews())
        if (!view->isHidden() && !view->accessibilityName().empty())
            shown.push_back(view->accessibilityName());
    EXPECT_THAT(shown, ElementsAre("Processor", "Memory", "Network", "Applications"));
}

// Whether everything lies inside of what holds it, and nothing on what lies beside it.
void expectTidy(const View& view, const std::string& where) {
    std::vector<const View*> shown;
    for (const auto& inside : view.subviews())
        if (!inside->isHidden())
            shown.push_back(inside.get());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const Rect one = shown[i]->frame();
        const std::string name = where + "/" + shown[i]->accessibilityName() + "#" + std::to_string(i);
        EXPECT_GE(one.x, 0) << name;
        EXPECT_GE(one.y, 0) << name;
        EXPECT_LE(one.x + one.width, view.bounds().width) << name;
        EXPECT_LE(one.y + one.height, view.bounds().height) << name;
        for (std::size_t j = 0; j < i; ++j) {
            const Rect other = shown[j]->frame();
            const bool meets = one.x < other.x + other.width && other.x < one.x + one.width &&
                               one.y < other.y + other.height && other.y < one.y + one.height;
            EXPECT_FALSE(meets) << name << " lies on #" << j;
        }
        if (const auto* const text = dynamic_cast<const TextField*>(shown[i]); text && view.accessibilityName() != "") {
            EXPECT_GE(one.height + 1, text->fittingSize().height) << name;
        }
        expectTidy(*shown[i], name);
    }
}

TEST_F(BoardTest, IsTidyInEveryWidth) {
    show(360);
    for (const bool showsSettings : {false, true}) {
        if (showsSettings)
            press("Settings");
        for (const double width : {360.0, 421.0, 640.0, 800.0, 1023.0, 1280.0, 1920.0, 3840.0}) {
            resize(width);
            expectTidy(*board, std::to_string(width));
            resize(width, 1080);
            expectTidy(*board, std::to_string(width) + " tall");
        }
    }
    press("Eject Stick");
    resize(360);
    expectTidy(*board, "asking");
}

TEST_F(BoardTest, FillsTheWidthWithoutBlankColumns) {
    show(800);
    for (const double width : {800.0, 1280.0, 1920.0}) {
        resize(width);
        double covered = 0;
        for (const auto& view : board->subviews())
            if (!view->isHidden())
                covered += view->frame().width * view->frame().height;
        EXPECT_GT(covered, 0.8 * width * board->bounds().height) << width;
    }
}

TEST_F(BoardTest, ShowsNoNameAsSomebodyElseWroteIt) {
    show(800);
    RecordingCanvas canvas;
    board->display(canvas);
    EXPECT_TRUE(find("Odd?]0;name?of two lines"));
    for (const Told& element : told())
        for (const std::string& text : {element.name, element.value})
            EXPECT_EQ(std::count_if(text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }), 0) << text;
}

TEST_F(BoardTest, AsksBeforeItEjects) {
    show(800);
    EXPECT_FALSE(find("Eject /")); // the root volume stays
    machine->volumes().calls.clear();
    press("Eject Stick");
    ASSERT_TRUE(find("Eject now"));
    press("Keep");
    EXPECT_FALSE(find("Eject now"));
    EXPECT_EQ(machine->volumes().calls.count("unmount"), 0U);
    EXPECT_EQ(machine->volumes().calls.count("openSession"), 0U);

    press("Eject Stick");
    machine.live(2); // the question stays
    press("Eject now");
    machine->advance(0);
    EXPECT_THAT(machine->volumes().calls.list(), Contains("unmount disk2 whole"));
    EXPECT_EQ(machine->volumes().calls.count("eject"), 1U);
    EXPECT_TRUE(find("Ejecting. Wait until it is gone from this list."));
}

TEST_F(BoardTest, SaysThatAnEjectWasRefused) {
    show(800);
    machine->volumes().disks["disk2"].isSystemDisk = true;
    press("Eject Stick");
    testing::internal::CaptureStderr();
    press("Eject now");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(machine->volumes().calls.count("unmount"), 0U);
    EXPECT_TRUE(find("It could not be ejected."));
}

TEST_F(BoardTest, ForgetsAVolumeThatIsGone) {
    show(800);
    press("Eject Stick");
    machine->volumes().unmount("/media/user/Stick");
    machine->volumes().notify({});
    machine.live(2);
    EXPECT_FALSE(find("Stick"));
    EXPECT_FALSE(find("Eject now"));
}

TEST_F(BoardTest, TheUnitIsKeptInTheSuiteThatAllShare) {
    show(800);
    EXPECT_EQ(valueOf("Temperature"), "29°");
    EXPECT_FALSE(find("Temperatures in Fahrenheit"));
    press("Settings");
    EXPECT_EQ(valueOf("Temperatures in Fahrenheit"), "off");
    press("Temperatures in Fahrenheit");
    EXPECT_EQ(valueOf("Temperatures in Fahrenheit"), "on");
    EXPECT_EQ(sharedDefaults()["temperature"].intValue(), 1);
    EXPECT_EQ(valueOf("Temperature"), "84°");

    sharedDefaults().set(DefaultsKey<std::int64_t>("temperature"), 0); // another program
    machine.live(1);
    EXPECT_EQ(valueOf("Temperatures in Fahrenheit"), "off");
    EXPECT_EQ(valueOf("Temperature"), "29°");
    press("Done");
    EXPECT_FALSE(find("Temperatures in Fahrenheit"));
}

TEST_F(BoardTest, WhatIsNotSampledIsNotShownAndStaysChosen) {
    show(800);
    press("Settings");
    machine->host().calls.clear();
    const auto memory = [&]() -> std::shared_ptr<View> {
        for (const Told& element : told())
            if (element.name == "Memory" && element.view->accessibilityRole() == AccessibilityRole::toggle)
                return element.view;
        return nullptr;
    };
    ASSERT_TRUE(memory());
    EXPECT_TRUE(memory()->press());
    EXPECT_THAT(panels(), Not(Contains("Memory")));
    machine.live(6);
    EXPECT_EQ(machine->host().calls.count("virtualMemory"), 0U);
    EXPECT_GT(machine->host().calls.count("loadTicks"), 0U);
    EXPECT_FALSE(Settings().samples(Group::memory));
    EXPECT_TRUE(Settings::ofEverything().samples(Group::memory));

    EXPECT_TRUE(memory()->press());
    EXPECT_THAT(panels(), Contains("Memory"));
    machine.live(6);
    EXPECT_GT(machine->host().calls.count("virtualMemory"), 0U);
}

TEST_F(BoardTest, NothingIsSampledWhileTheSamplerRests) {
    show(800);
    sampler.stop();
    machine->host().calls.clear();
    machine->network().calls.clear();
    machine->processes().calls.clear();
    machine.live(30);
    EXPECT_THAT(machine->host().calls.list(), ElementsAre());
    EXPECT_THAT(machine->network().calls.list(), ElementsAre());
    EXPECT_THAT(machine->processes().calls.list(), ElementsAre());
    sampler.start();
    machine.live(5);
    EXPECT_GT(machine->host().calls.count("loadTicks"), 0U);
}

TEST_F(BoardTest, AsksForNoFrameWhileNoFigureChanges) {
    show(800);
    RecordingCanvas canvas;
    board->display(canvas);
    board->refresh();
    board->layoutIfNeeded();
    board->display(canvas); // a ring's label, if the first look changed one
    board->refresh();
    for (const Rect& rect : board->dirtyRects())
        ADD_FAILURE() << "asks for " << rect.x << ", " << rect.y << ", " << rect.width << ", " << rect.height;
    EXPECT_FALSE(board->isAnimating(mediaTime() + 5));
}

TEST_F(BoardTest, HistoriesBeginAnewAfterAPause) {
    show(800);
    const auto spanIn = [&] {
        RecordingCanvas canvas;
        board->setNeedsDisplay(true);
        board->display(canvas);
        for (const auto& call : canvas.calls())
            if (const auto* const text = std::get_if<RecordingCanvas::Text>(&call))
                if (text->text.rfind("last ", 0) == 0 || text->text == "just begun")
                    return text->text;
        return std::string();
    };
    EXPECT_EQ(spanIn(), "last 4 s"); // four samples of 1.1 s
    board->forgetHistory();
    board->refresh();
    EXPECT_EQ(spanIn(), "just begun");
    machine.live(3);
    board->refresh();
    EXPECT_EQ(spanIn(), "last 3 s");
    machine.live(200);
    EXPECT_EQ(spanIn(), "last 2 min");
}

} // namespace
} // namespace dashboard
