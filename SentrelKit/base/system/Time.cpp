// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Time.h>

#include <SentrelKit/base/system/System.h>

#include <cstdio>
#include <ctime>

namespace sentrel {

namespace {

constexpr std::int64_t secondsPerDay = 86400;

bool readClock(WallClock& clock, WallClockReading& reading) noexcept {
    if (clock.read(reading))
        return true;
    System_error("Error: gettimeofday -- %s", System_getLastError());
    return false;
}

bool inRange(std::int32_t value, std::int32_t low, std::int32_t high) noexcept {
    if (value >= low && value <= high)
        return true;
    std::printf("#v is outside the range (%d..%d)", low, high); // "#v" and the stream: meant so
    return false;
}

std::tm localTime(std::int64_t time) noexcept {
    // Every part of this one reads as 0.
    std::tm unknown{};
    unknown.tm_mon = -1;
    unknown.tm_year = -1900;
    const auto value = static_cast<std::time_t>(time);
    std::tm local{};
    return localtime_r(&value, &local) ? local : unknown;
}

} // namespace

std::int64_t Time_now(WallClock& clock) noexcept {
    WallClockReading reading;
    return readClock(clock, reading) ? reading.seconds : 0;
}

std::int64_t Time_milli(WallClock& clock) noexcept {
    WallClockReading reading;
    readClock(clock, reading);
    return reading.seconds * 1000 + reading.microseconds / 1000;
}

std::int64_t Time_build(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour, std::int32_t minute,
                        std::int32_t second) noexcept {
    if (!inRange(year, 1970, 2037) || !inRange(month, 1, 12) || !inRange(day, 1, 31) || !inRange(hour, 0, 23) ||
        !inRange(minute, 0, 59) || !inRange(second, 0, 61))
        return 0;
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    return std::mktime(&parts);
}

std::int32_t Time_seconds(std::int64_t time) noexcept {
    return localTime(time).tm_sec;
}

std::int32_t Time_minutes(std::int64_t time) noexcept {
    return localTime(time).tm_min;
}

std::int32_t Time_hour(std::int64_t time) noexcept {
    return localTime(time).tm_hour;
}

std::int32_t Time_day(std::int64_t time) noexcept {
    return localTime(time).tm_mday;
}

std::int32_t Time_weekday(std::int64_t time) noexcept {
    return localTime(time).tm_wday;
}

std::int32_t Time_month(std::int64_t time) noexcept {
    return localTime(time).tm_mon + 1;
}

std::int32_t Time_year(std::int64_t time) noexcept {
    return localTime(time).tm_year + 1900;
}

std::int64_t Time_daysBetween(std::int64_t from, std::int64_t to) noexcept {
    const auto a = static_cast<std::uint64_t>(from);
    const auto b = static_cast<std::uint64_t>(to);
    const std::uint64_t difference = from > to ? a - b : b - a;
    const std::uint64_t rest = difference % secondsPerDay;
    return static_cast<std::int64_t>(difference / secondsPerDay + (rest + secondsPerDay / 2) / secondsPerDay);
}

} // namespace sentrel
