// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/base/system/detail/WallClock.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace sentrel {
namespace {

/// A time zone in force for a scope.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        if (const char* kept = std::getenv("TZ"))
            kept_ = kept;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (kept_)
            setenv("TZ", kept_->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    std::optional<std::string> kept_;
};

class SetClock final : public WallClock {
public:
    explicit SetClock(std::optional<WallClockReading> reading) : reading_(reading) { setCurrent(this); }
    ~SetClock() override { setCurrent(nullptr); }
    SetClock(const SetClock&) = delete;
    SetClock& operator=(const SetClock&) = delete;

    bool read(WallClockReading& reading) noexcept override {
        if (!reading_) {
            errno = EFAULT;
            return false;
        }
        reading = *reading_;
        return true;
    }

private:
    std::optional<WallClockReading> reading_;
};

constexpr const char* berlin = "CET-1CEST,M3.5.0,M10.5.0/3";

TEST(Time, NowIsTheSystemsClock) {
    const std::int64_t before = std::time(nullptr);
    const std::int64_t now = Time_now();
    const std::int64_t milli = Time_milli();
    const std::int64_t after = std::time(nullptr) + 1;
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
    EXPECT_GE(milli, before * 1000);
    EXPECT_LE(milli, after * 1000);
}

TEST(Time, NowAndMilliComeFromTheClockInForce) {
    const SetClock clock(WallClockReading{1500000000, 123999});
    EXPECT_EQ(Time_now(), 1500000000);
    EXPECT_EQ(Time_milli(), 1500000000123); // the rest of the division is dropped
}

TEST(Time, AnUnreadableClockIsReported) {
    const SetClock clock(std::nullopt);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Time_now(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: gettimeofday -- Bad address");
    testing::internal::CaptureStderr();
    static_cast<void>(Time_milli());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: gettimeofday -- Bad address");
}

TEST(Time, BuildsLocalTimeWithDaylightSavingOfThePlatform) {
    const TimeZone zone(berlin);
    EXPECT_EQ(Time_build(1970, 1, 1, 1, 0, 0), 0);
    EXPECT_EQ(Time_build(2017, 1, 15, 12, 0, 0), 1484478000);
    EXPECT_EQ(Time_build(2017, 7, 15, 12, 0, 0), 1500112800);
}

TEST(Time, SplitsInLocalTime) {
    const TimeZone zone(berlin);
    const std::int64_t time = 1500112800 + 34 * 60 + 56; // Saturday, 15 July 2017, 12:34:56
    EXPECT_EQ(Time_seconds(time), 56);
    EXPECT_EQ(Time_minutes(time), 34);
    EXPECT_EQ(Time_hour(time), 12);
    EXPECT_EQ(Time_day(time), 15);
    EXPECT_EQ(Time_weekday(time), 6);
    EXPECT_EQ(Time_month(time), 7);
    EXPECT_EQ(Time_year(time), 2017);
}

TEST(Time, SplitsMomentsBeforeTheEpochAndBeyond32Bits) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(Time_year(-1), 1969);
    EXPECT_EQ(Time_month(-1), 12);
    EXPECT_EQ(Time_hour(-1), 23);
    EXPECT_EQ(Time_year(INT64_C(4102444800)), 2100);
}

TEST(Time, AValueBeyondTheCalendarReadsAsZeroes) {
    for (const std::int64_t value : {INT64_MAX, INT64_MIN}) {
        EXPECT_EQ(Time_seconds(value), 0);
        EXPECT_EQ(Time_day(value), 0);
        EXPECT_EQ(Time_weekday(value), 0);
        EXPECT_EQ(Time_month(value), 0);
        EXPECT_EQ(Time_year(value), 0);
    }
}

TEST(Time, EveryPartIsChecked) {
    const TimeZone zone("UTC0");
    struct Case {
        std::int32_t year, month, day, hour, minute, second;
        const char* printed;
    };
    // The literal "#v" and the standard output: meant so.
    const Case cases[] = {
        {2038, 1, 1, 0, 0, 0, "#v is outside the range (1970..2037)"},
        {1969, 12, 31, 0, 0, 0, "#v is outside the range (1970..2037)"},
        {2017, 0, 1, 0, 0, 0, "#v is outside the range (1..12)"},
        {2017, 13, 1, 0, 0, 0, "#v is outside the range (1..12)"},
        {2017, 1, 0, 0, 0, 0, "#v is outside the range (1..31)"},
        {2017, 1, 32, 0, 0, 0, "#v is outside the range (1..31)"},
        {2017, 1, 1, -1, 0, 0, "#v is outside the range (0..23)"},
        {2017, 1, 1, 24, 0, 0, "#v is outside the range (0..23)"},
        {2017, 1, 1, 0, -1, 0, "#v is outside the range (0..59)"},
        {2017, 1, 1, 0, 60, 0, "#v is outside the range (0..59)"},
        {2017, 1, 1, 0, 0, -1, "#v is outside the range (0..61)"},
        {2017, 1, 1, 0, 0, 62, "#v is outside the range (0..61)"},
        {2038, 13, 32, 24, 60, 62, "#v is outside the range (1970..2037)"}, // only the first
    };
    for (const Case& c : cases) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        EXPECT_EQ(Time_build(c.year, c.month, c.day, c.hour, c.minute, c.second), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.printed);
    }
}

TEST(Time, TheEndsOfEveryRangeAreIn) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(Time_build(1970, 1, 1, 0, 0, 1), 1);
    EXPECT_EQ(Time_build(2037, 12, 31, 23, 59, 59), 2145916799);
    EXPECT_EQ(Time_build(2016, 12, 31, 23, 59, 61), 1483228801);
}

TEST(Time, ADayThatTheMonthDoesNotHaveIsCarriedOver) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(Time_build(2017, 2, 31, 0, 0, 0), Time_build(2017, 3, 3, 0, 0, 0));
}

TEST(Time, DaysBetweenAreRoundedAndNeverNegative) {
    EXPECT_EQ(Time_daysBetween(0, 0), 0);
    EXPECT_EQ(Time_daysBetween(0, 43199), 0);
    EXPECT_EQ(Time_daysBetween(0, 43200), 1);
    EXPECT_EQ(Time_daysBetween(43200, 0), 1);
    EXPECT_EQ(Time_daysBetween(-86400 * 10, 86400 * 10 + 43199), 20);
    EXPECT_EQ(Time_daysBetween(86400 * 10 + 43199, -86400 * 10), 20);
}

TEST(Time, DaysBetweenTheFarthestMomentsDoNotOverflow) {
    EXPECT_EQ(Time_daysBetween(INT64_MIN, INT64_MAX), INT64_C(213503982334601));
    EXPECT_EQ(Time_daysBetween(INT64_MAX, INT64_MIN), INT64_C(213503982334601));
}

TEST(WallClock, TheSystemsOwnComesBackForNone) {
    WallClock& own = WallClock::current();
    {
        const SetClock clock(WallClockReading{1, 0});
        EXPECT_NE(&WallClock::current(), &own);
    }
    EXPECT_EQ(&WallClock::current(), &own);
}

} // namespace
} // namespace sentrel
