// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Calendar time. Time values are seconds since the epoch; the calendar helpers give local time. Any thread. The
/// current time comes from the clock in force (WallClock.h), or from the one that is handed in.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/WallClock.h>

#include <cstdint>

namespace sentrel {

/// The current time in seconds since the epoch. 0, and one line on the standard error stream, if the clock cannot be
/// read.
[[nodiscard]] SENTREL_API std::int64_t Time_now(WallClock& clock = WallClock::current()) noexcept;

/// The current time in milliseconds since the epoch. If the clock cannot be read one line says so on the standard error
/// stream, and the number means nothing.
[[nodiscard]] SENTREL_API std::int64_t Time_milli(WallClock& clock = WallClock::current()) noexcept;

/// The local time value of a moment; the platform decides about daylight saving. Years 1970 to 2037, months 1 to 12,
/// days 1 to 31, hours 0 to 23, minutes 0 to 59, seconds 0 to 61: the first part outside its range prints
/// "#v is outside the range (low..high)" to the standard output and gives 0. A day that the month does not have is
/// carried over into the next month.
[[nodiscard]] SENTREL_API std::int64_t Time_build(std::int32_t year, std::int32_t month, std::int32_t day,
                                                  std::int32_t hour, std::int32_t minute, std::int32_t second) noexcept;

/// The local second of a time value, 0 to 61; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_seconds(std::int64_t time) noexcept;

/// The local minute of a time value, 0 to 59; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_minutes(std::int64_t time) noexcept;

/// The local hour of a time value, 0 to 23; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_hour(std::int64_t time) noexcept;

/// The local day of the month of a time value, 1 to 31; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_day(std::int64_t time) noexcept;

/// The local day of the week of a time value, 0 (Sunday) to 6; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_weekday(std::int64_t time) noexcept;

/// The local month of a time value, 1 to 12; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_month(std::int64_t time) noexcept;

/// The local year of a time value in full, for example 2017; 0 beyond what the platform's calendar can express.
[[nodiscard]] SENTREL_API std::int32_t Time_year(std::int64_t time) noexcept;

/// Whole days between two time values in either order, rounded to the nearest day; 0 or more.
[[nodiscard]] SENTREL_API std::int64_t Time_daysBetween(std::int64_t from, std::int64_t to) noexcept;

} // namespace sentrel
