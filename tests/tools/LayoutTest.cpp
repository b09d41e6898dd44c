// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Layout.h"

#include "tools/terminal/TextWidth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace tool {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string textOf(const Line& line) {
    std::string text;
    for (const Span& span : line)
        text += span.text;
    return text;
}

std::vector<std::string> textsOf(const std::vector<Line>& lines) {
    std::vector<std::string> texts;
    for (const Line& line : lines)
        texts.push_back(textOf(line));
    return texts;
}

std::string screenOf(const Glance& glance, const View& view) {
    std::string screen;
    for (const std::string& text : textsOf(layOut(glance, view)))
        screen += text + '\n';
    return screen;
}

Glance machine() {
    constexpr std::int64_t gigabyte = std::int64_t{1} << 30U;
    Glance glance;
    glance.host = "otter";
    glance.system = "Debian GNU/Linux 12 (bookworm)";
    glance.uptime = 3660;
    glance.usage = 50;
    glance.user = 40;
    glance.kernel = 10;
    glance.load = {1, 2, 3};
    glance.processes = 200;
    glance.cores = {0, 50, 100};
    glance.usageHistory = {0, 50, 100};
    glance.memoryUsage = 25;
    glance.memory = 16ULL << 30U;
    glance.memoryFree = 12ULL << 30U;
    glance.receivedPerSecond = 2048;
    glance.receivedHistory = {1024, 2048};
    glance.sentHistory = {0, 0};
    glance.volumes = {{"/", true, 100 * gigabyte, 99 * gigabyte, gigabyte, 0, 0}, {"/home", false, 0, 0, 0, 0, 0}};
    glance.battery = Glance::Battery{20, false, -12, "2:05 remaining"};
    glance.graphics = {{"Graphics 7", 12.0, std::nullopt, 30.0}, {"Silent", std::nullopt, std::nullopt, std::nullopt}};
    glance.applications = {{"alpha", 3, 1, 300}, {"beta", 1, 3, 100}, {"gamma", 2, 2, 200}};
    return glance;
}

TEST(LayoutTest, ShowsEverythingWhereThereIsRoom) {
    const std::string screen = screenOf(machine(), {80, 30});
    for (const char* text :
         {"otter  Debian GNU/Linux 12 (bookworm)  up 1 hour, 1 minute", "user 40 %, system 10 %",
          "load 1.00 2.00 3.00, 200 pro", "12 GB of 16 GB free", "2.0 KB/s  peak 2.0 KB/s", "1024 MB free",
          "does not answer", "-12 W, 2:05 remaining", "Graphics 7, 30 W", "alpha", "beta", "gamma", "q quit"})
        EXPECT_THAT(screen, HasSubstr(text)) << screen;
    EXPECT_THAT(screen, Not(HasSubstr("Silent"))) << "there is nothing to tell of it";
}

TEST(LayoutTest, KeepsWhatMattersMostInASmallTerminal) {
    const std::vector<std::string> texts = textsOf(layOut(machine(), {40, 10}));
    ASSERT_EQ(texts.size(), 10U);
    EXPECT_THAT(texts, ElementsAre(StartsWith("otter  Debian"), AllOf(StartsWith("CPU "), EndsWith("  50 % ")),
                                   AllOf(StartsWith("Memory "), EndsWith("  25 % ")),
                                   AllOf(StartsWith("Net in "), EndsWith(" 2.0 KB/s")), StartsWith("Net out "),
                                   StartsWith("/ "), StartsWith("Applications "), StartsWith("beta "),
                                   StartsWith("gamma "), StartsWith("q quit")));
}

TEST(LayoutTest, NeverIsLargerThanTheTerminal) {
    Glance crowded = machine();
    crowded.cores.assign(128, 99);
    crowded.usageHistory.assign(512, 70);
    crowded.swap = 100;
    crowded.swapUsed = 50;
    crowded.volumes.assign(40, {"/a/very/long/path/to/a/volume/with/家", true, 1000, 999, 1, 1e9, 1e9});
    crowded.interfaces.assign(12, {"eth0", "2001:db8:1111:2222:3333:4444:5555:6666", false, 1e9, 1e9});
    crowded.applications.assign(50,
                                {"ein sehr langer Name für ein Programm, mit e\xCC\x81 und 家", 7, 9999, 1ULL << 60U});
    crowded.heat = "serious";
    for (const Glance& glance : {Glance(), machine(), crowded})
        for (const bool isUnicode : {true, false})
            for (const std::size_t rows : {0U, 1U, 2U, 3U, 10U, 24U, 200U})
                for (const std::size_t columns : {0U,  1U,  2U,  5U,  8U,  9U,  12U,  16U,  20U,  39U, 40U,
                                                  49U, 50U, 59U, 60U, 80U, 99U, 109U, 110U, 111U, 300U})
                    for (const bool isHelp : {false, true}) {
                        const View view{columns, rows, Order::name, isHelp, isUnicode};
                        const auto texts = textsOf(layOut(glance, view));
                        ASSERT_LE(texts.size(), rows);
                        for (const std::string& text : texts) {
                            ASSERT_LE(terminal::columnsOf(text), columns) << text;
                            ASSERT_TRUE(isUnicode || std::ranges::all_of(text, [](char c) { return c > 0; })) << text;
                        }
                    }
}

TEST(LayoutTest, FillsAHugeTerminalWithApplicationsBesideTheMachine) {
    Glance glance = machine();
    glance.applications.assign(300, {"worker", 7, 1, 1024});
    const auto texts = textsOf(layOut(glance, {200, 60}));
    ASSERT_EQ(texts.size(), 60U);
    EXPECT_EQ(std::ranges::count_if(texts, [](const std::string& text) { return text.find("worker") != text.npos; }),
              57);
    EXPECT_THAT(texts[1], AllOf(StartsWith("CPU"), HasSubstr("Applications")));
}

TEST(LayoutTest, OrdersApplicationsAsWanted) {
    const auto names = [](Order order) {
        std::vector<std::string> found;
        for (const std::string& text : textsOf(layOut(machine(), {80, 30, order})))
            for (const char* name : {"alpha", "beta", "gamma"})
                if (text.starts_with(name))
                    found.emplace_back(name);
        return found;
    };
    EXPECT_THAT(names(Order::processor), ElementsAre("beta", "gamma", "alpha"));
    EXPECT_THAT(names(Order::memory), ElementsAre("alpha", "gamma", "beta"));
    EXPECT_THAT(names(Order::name), ElementsAre("alpha", "beta", "gamma"));
}

TEST(LayoutTest, DrawsHistoriesWithTheNewestAtTheRight) {
    const auto texts = textsOf(layOut(machine(), {80, 30}));
    EXPECT_THAT(texts[2], HasSubstr("   ▁▅█"));
    const auto ascii = textsOf(layOut(machine(), {80, 30, Order::processor, false, false}));
    EXPECT_THAT(ascii[2], HasSubstr("   .+#"));
    EXPECT_THAT(ascii, Each(Not(HasSubstr("█"))));
}

TEST(LayoutTest, DrawsBarsInTheColourOfWhatIsLeft) {
    const auto toneOf = [](const Glance& glance, std::size_t line) {
        return layOut(glance, {80, 30})[line].at(2).tone;
    };
    Glance glance = machine();
    EXPECT_EQ(toneOf(glance, 1), Tone::good);
    glance.usage = 70;
    EXPECT_EQ(toneOf(glance, 1), Tone::warn);
    glance.usage = 100;
    EXPECT_EQ(toneOf(glance, 1), Tone::bad);
}

TEST(LayoutTest, ShowsNothingThatATerminalObeys) {
    Glance glance = machine();
    glance.host = "\x1B]0;owned\x07";
    glance.volumes[0].path = "/\x1B[2J";
    glance.graphics[0].name = "\x1B[31m";
    glance.applications[0].name = "one\ntwo";
    EXPECT_THAT(textsOf(layOut(glance, {80, 30})), Each(Not(testing::ContainsRegex("[\x01-\x1F\x7F]"))));
}

TEST(LayoutTest, ToleratesFiguresThatAreNoNumbers) {
    Glance glance = machine();
    glance.usage = std::numeric_limits<double>::quiet_NaN();
    glance.usageHistory = {glance.usage, std::numeric_limits<double>::infinity()};
    glance.receivedHistory = {-5, -1}; // a counter that went back
    EXPECT_EQ(layOut(glance, {80, 24}).size(), 24U);
}

TEST(LayoutTest, SaysOfAVolumeThatNeverAnsweredOnlyThat) {
    for (const std::size_t columns : {40U, 80U}) {
        const auto texts = textsOf(layOut(machine(), {columns, 30}));
        EXPECT_THAT(texts, testing::Contains(AllOf(StartsWith("/home "), HasSubstr(" does not answer"),
                                                   Not(HasSubstr("%")), Not(HasSubstr("[")))));
    }
}

TEST(LayoutTest, TellsNoPowerOfABatteryThatNoneFlowsOf) {
    Glance glance = machine();
    glance.battery = Glance::Battery{100, false, -0.0, ""};
    EXPECT_THAT(textsOf(layOut(glance, {80, 30})),
                testing::Contains(AllOf(StartsWith("Battery "), HasSubstr(" 100 % "), Not(HasSubstr("W")))));
}

TEST(LayoutTest, ShowsTheKeysOnRequest) {
    EXPECT_THAT(screenOf(machine(), {80, 24, Order::processor, true}),
                AllOf(HasSubstr("c  applications by processor"), HasSubstr("q  quit"), Not(HasSubstr("Memory"))));
}

} // namespace
} // namespace tool
