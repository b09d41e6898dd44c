// SPDX-License-Identifier: Apache-2.0
// The dashboard as people start it.
#include "tests/embed/support/DesktopSession.h"
#include "tests/embed/support/DisplayUser.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/EnvironmentValue.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

namespace sentrel {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DashboardProgram : public testing::Test {
protected:
    // Runs the program in the folder to its end; its exit status.
    int run(const std::string& arguments) {
        const std::string command = "cd " + folder_.path() + " && " DASHBOARD " " + arguments + " >out 2>err";
        const int status = std::system(command.c_str());
        printed = contentsOf(folder_.path("out"));
        told = contentsOf(folder_.path("err"));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    struct Size {
        std::uint32_t width;
        std::uint32_t height;
    };

    // As a picture file's first chunk says.
    [[nodiscard]] Size pictureSize(const std::string& name) const {
        const std::string bytes = contentsOf(folder_.path(name));
        const auto number = [&](std::size_t at) {
            std::uint32_t value = 0;
            for (std::size_t i = at; i < at + 4 && i < bytes.size(); ++i)
                value = value << 8U | static_cast<unsigned char>(bytes[i]);
            return value;
        };
        EXPECT_EQ(bytes.substr(0, 8), "\x89PNG\r\n\x1a\n");
        return {number(16), number(20)};
    }

    std::string printed;
    std::string told;

private:
    const TemporaryFolder folder_;
    // What the text renderer keeps is taken for lost, and the program has no suppressions as tests have.
    const EnvironmentValue noLeaks_{"LSAN_OPTIONS", "detect_leaks=0"};
    const EnvironmentValue noSettings_{"XDG_CONFIG_HOME", folder_.path()};
};

// A machine without a display.
class WithoutADisplay : public DashboardProgram {
private:
    const EnvironmentValue noDisplay_{"DISPLAY", std::nullopt};
    const EnvironmentValue noWayland_{"WAYLAND_DISPLAY", std::nullopt};
};

TEST_F(WithoutADisplay, ItPrintsAndDrawsAndSaysWhy) {
    EXPECT_EQ(run("--seconds 0.3"), 0);
    EXPECT_THAT(printed, HasSubstr("Processor\n  brand"));
    EXPECT_THAT(printed, HasSubstr("\nWrote dashboard.png\n"));
    EXPECT_THAT(told, HasSubstr("dashboard: printing the report, no window: there is no display"));
    EXPECT_EQ(pictureSize("dashboard.png").width, 2000U);
}

TEST_F(WithoutADisplay, ADisplayThatDoesNotOpenIsNone) {
    const EnvironmentValue gone("DISPLAY", ":4242");
    EXPECT_EQ(run("--seconds 0.3"), 0);
    EXPECT_THAT(printed, HasSubstr("\nWrote dashboard.png\n"));
    EXPECT_THAT(told, HasSubstr("no window: the display :4242 does not open\n"));
}

TEST_F(WithoutADisplay, TheOutputIsWhereThePictureGoes) {
    EXPECT_EQ(run("--seconds 0.3 --output other.png"), 0);
    EXPECT_THAT(printed, HasSubstr("Processor\n"));
    EXPECT_GT(pictureSize("other.png").height, 1000U);
    EXPECT_EQ(run("--seconds 0.3 --output /nosuch/other.png"), 1);
    EXPECT_THAT(told, HasSubstr("dashboard: cannot write /nosuch/other.png\n"));
}

TEST_F(WithoutADisplay, ASnapshotIsAPictureOfTheSizeThatWasAsked) {
    EXPECT_EQ(run("--seconds 0.3 --snapshot narrow.png --width 360 --scale 1.5"), 0);
    EXPECT_EQ(printed, "Wrote narrow.png\n");
    const auto narrow = pictureSize("narrow.png");
    EXPECT_EQ(narrow.width, 540U);
    EXPECT_EQ(run("--seconds 0.3 --snapshot wide.png --width 1280 --scale 1 --dark"), 0);
    const auto wide = pictureSize("wide.png");
    EXPECT_EQ(wide.width, 1280U);
    EXPECT_LT(wide.height * 3 / 2, narrow.height); // columns side by side
}

TEST_F(WithoutADisplay, ASimulatedMachineIsDrawnLikeAnother) {
    EXPECT_EQ(run("--simulate laptop --seconds 0.3 --snapshot laptop.png"), 0);
    EXPECT_EQ(pictureSize("laptop.png").width, 2000U);
    EXPECT_EQ(run("--simulate server --seconds 0.3"), 0);
    EXPECT_THAT(printed, HasSubstr("no battery"));
}

TEST_F(WithoutADisplay, AWrongOptionEndsItWithOneLine) {
    for (const char* arguments : {"--nosuch", "--seconds nothing", "--snapshot", "--width 10 --snapshot a.png"}) {
        EXPECT_EQ(run(arguments), 2) << arguments;
        EXPECT_EQ(printed, "");
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    }
}

TEST_F(WithoutADisplay, HelpTellsEveryOption) {
    EXPECT_EQ(run("--help"), 0);
    for (const char* option :
         {"--seconds", "--terminal", "--output", "--snapshot", "--width", "--scale", "--dark", "--simulate", "--help"})
        EXPECT_THAT(printed, HasSubstr(option));
}

// A desktop of the test's own, which names its display.
class OnADisplay : public DashboardProgram {
private:
    const DesktopSession desktop_;
    const EnvironmentValue backend_{"GDK_BACKEND", "x11"};
    const EnvironmentValue renderer_{"GSK_RENDERER", "cairo"};
    const EnvironmentValue drivers_{"GDK_DEBUG", "gl-disable"};
};

TEST_F(OnADisplay, ItShowsTheWindowForAsLongAsItIsTold) {
    EXPECT_EQ(run("--seconds 0.7"), 0);
    EXPECT_EQ(printed, "");
    EXPECT_THAT(told, HasSubstr("dashboard: showing the window"));
    EXPECT_THAT(told, Not(HasSubstr("CRITICAL")));
    EXPECT_THAT(told, Not(HasSubstr("WARNING")));
}

TEST_F(OnADisplay, TheWindowEndsTheProgramWhenItIsClosed) {
    ChildProgram program({"sh", "-c", DASHBOARD " 2>&1"});
    EXPECT_THAT(program.readLine().value_or(""), HasSubstr("showing the window"));
    const DisplayUser user;
    std::optional<DisplayUser::Window> window;
    ASSERT_TRUE(eventually([&] { return (window = user.windowNamed("Machine Dashboard")).has_value(); }));
    user.close(*window);
    EXPECT_EQ(program.readLine(), std::nullopt); // no word of complaint
}

TEST_F(OnADisplay, TheReportIsPrintedWhereItIsAskedFor) {
    for (const char* arguments : {"--seconds 0.3 --terminal", "--seconds 0.3 --output dashboard.png"}) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_THAT(printed, HasSubstr("\nWrote dashboard.png\n"));
        EXPECT_THAT(told, Not(HasSubstr("window")));
    }
}

} // namespace
} // namespace sentrel
