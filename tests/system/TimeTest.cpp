// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Time.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace sentrel {
namespace {

TEST(Time, NowAndMilliFollowTheClockInForce) {
    ScriptedMachine machine;
    WallClockReading reading;
    ASSERT_TRUE(machine->clock().read(reading));
    EXPECT_EQ(Time::now(), reading.seconds);
    EXPECT_EQ(Time::milli(), reading.seconds * 1000 + reading.microseconds / 1000);
    const std::int64_t before = Time::milli();
    machine->advance(1.25);
    EXPECT_EQ(Time::milli(), before + 1250);
}

TEST(Time, SplitsADurationTowardZero) {
    EXPECT_EQ(Time::split(0), (Time::Split{0, 0, 0, 0}));
    EXPECT_EQ(Time::split(59), (Time::Split{0, 0, 0, 59}));
    EXPECT_EQ(Time::split(90'061), (Time::Split{1, 1, 1, 1}));
    EXPECT_EQ(Time::split(86'399), (Time::Split{0, 23, 59, 59}));
    EXPECT_EQ(Time::split(-90'061), (Time::Split{-1, -1, -1, -1}));
    EXPECT_EQ(Time::split(std::numeric_limits<std::int64_t>::max()).secs, 7);
    EXPECT_EQ(Time::split(std::numeric_limits<std::int64_t>::min()).secs, -8);
}

TEST(Time, PutsAnUptimeIntoWords) {
    struct Case {
        std::int64_t seconds;
        const char* text;
    };
    const Case cases[] = {
        {0, "0 minutes"},
        {59, "0 minutes"},
        {60, "1 minute"},
        {119, "1 minute"},
        {120, "2 minutes"},
        {3'599, "59 minutes"},
        {3'600, "1 hour, 0 minutes"},
        {7'199, "1 hour, 59 minutes"},
        {7'200, "2 hours, 0 minutes"},
        {7'260, "2 hours, 1 minute"},
        {86'399, "23 hours, 59 minutes"},
        {86'400, "1 day, 0 minutes"},
        {90'061, "1 day, 1 hour, 1 minute"},
        {172'799, "1 day, 23 hours, 59 minutes"},
        {172'800, "2 days, 0 minutes"},
        {273'120, "3 days, 3 hours, 52 minutes"},
        {274'320, "3 days, 4 hours, 12 minutes"},
        {86'400'000, "1000 days, 0 minutes"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(Time::uptime(each.seconds), each.text) << each.seconds;
}

TEST(Time, TakesDurationsToo) {
    using namespace std::chrono_literals;
    EXPECT_EQ(Time::split(25h + 1s), (Time::Split{1, 1, 0, 1}));
    EXPECT_EQ(Time::uptime(26h + 3min), Time::uptime(std::int64_t{26 * 3600 + 180}));
}

TEST(Time, NeverShowsDaysOrHoursOfANegativeUptime) {
    EXPECT_EQ(Time::uptime(-1), "0 minutes");
    EXPECT_EQ(Time::uptime(-59), "0 minutes");
    EXPECT_EQ(Time::uptime(-60), "-1 minutes");
    EXPECT_EQ(Time::uptime(-7'260), "-1 minutes");
    EXPECT_EQ(Time::uptime(-90'061), "-1 minutes");
    EXPECT_EQ(Time::uptime(std::numeric_limits<std::int64_t>::min()), "-30 minutes");
}

} // namespace
} // namespace sentrel
