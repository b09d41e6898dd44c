// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Time.h>

#include <SentrelKit/base/system/Time.h>

namespace sentrel {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;

} // namespace

std::int64_t Time::now() {
    return Time_now();
}

std::int64_t Time::milli() {
    return Time_milli();
}

Time::Split Time::split(std::int64_t seconds) {
    Split parts;
    parts.days = seconds / day;
    seconds -= parts.days * day;
    parts.hrs = seconds / hour;
    seconds -= parts.hrs * hour;
    parts.mins = seconds / minute;
    parts.secs = seconds - parts.mins * minute;
    return parts;
}

std::string Time::uptime(std::int64_t seconds) {
    const Split parts = split(seconds);
    std::string text;
    if (seconds >= day)
        text += std::to_string(parts.days) + (seconds >= 2 * day ? " days, " : " day, ");
    const std::int64_t afterDays = seconds - parts.days * day;
    if (afterDays >= hour)
        text += std::to_string(parts.hrs) + (afterDays >= 2 * hour ? " hours, " : " hour, ");
    const std::int64_t afterHours = afterDays - parts.hrs * hour;
    text += std::to_string(parts.mins) + (afterHours >= minute && afterHours < 2 * minute ? " minute" : " minutes");
    return text;
}

} // namespace sentrel
