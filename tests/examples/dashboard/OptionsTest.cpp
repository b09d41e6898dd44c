// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace dashboard {
namespace {

std::optional<Options> parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "dashboard");
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    return parseOptions(static_cast<int>(pointers.size()), pointers.data());
}

TEST(Options, ChooseByThemselvesUnlessTold) {
    const auto options = parse({});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->mode, Mode::choose);
    EXPECT_EQ(options->seconds, std::nullopt);
    EXPECT_EQ(options->picture, "dashboard.png");
    EXPECT_EQ(parse({"--terminal"})->mode, Mode::report);
    EXPECT_EQ(parse({"--seconds", "2.5"})->seconds, 2.5);
    EXPECT_EQ(parse({"--seconds", "1", "-h", "rest"})->mode, Mode::help);
}

TEST(Options, APictureFileSaysWhatIsDone) {
    EXPECT_EQ(parse({"--output", "a.png"})->mode, Mode::report);
    EXPECT_EQ(parse({"--output", "a.png", "--terminal"})->picture, "a.png");
    const auto snapshot = parse({"--snapshot", "b.png", "--width", "360", "--scale", "1.5", "--dark"});
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->mode, Mode::snapshot);
    EXPECT_EQ(snapshot->picture, "b.png");
    EXPECT_EQ(snapshot->width, 360);
    EXPECT_EQ(snapshot->scale, 1.5);
    EXPECT_TRUE(snapshot->isDark);
}

TEST(Options, ASimulatedMachineGoesWithEachOfThem) {
    EXPECT_FALSE(parse({})->simulated);
    EXPECT_EQ(parse({"--simulate", "laptop"})->simulated, simulation::Kind::laptop);
    EXPECT_EQ(parse({"--simulate", "full-disks", "--terminal"})->simulated, simulation::Kind::fullDisks);
}

TEST(Options, AWrongOneIsToldInOneLine) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--nosuch"},
        {"file"},
        {""},
        {"--seconds"},
        {"--seconds", ""},
        {"--seconds", "0"},
        {"--seconds", "-1"},
        {"--seconds", "86401"},
        {"--seconds", "nan"},
        {"--seconds", "2s"},
        {"--simulate"},
        {"--simulate", "toaster"},
        {"--width", "359"},
        {"--width", "7681"},
        {"--scale", "0.4"},
        {"--scale", "5"},
        {"--scale", "inf"},
        {"--snapshot"},
        {"--snapshot", ""},
        {"--output", ""},
        {"--snapshot", "a.png", "--output", "b.png"},
        {"--snapshot", "a.png", "--terminal"},
        {"--terminal", "--snapshot", "a.png"},
        {"--nosuch\x1b[2J\n"},
    };
    for (const auto& arguments : wrong) {
        testing::internal::CaptureStderr();
        const auto options = parse(arguments);
        const std::string told = testing::internal::GetCapturedStderr();
        const std::string& first = arguments.front();
        EXPECT_FALSE(options) << first;
        EXPECT_EQ(told.rfind("dashboard: ", 0), 0U) << told;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
        EXPECT_EQ(told.find('\x1b'), std::string::npos) << told;
    }
}

} // namespace
} // namespace dashboard
