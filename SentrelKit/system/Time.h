// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Time stamps and the uptime text. Any thread.

#include <SentrelKit/Export.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace sentrel {

/// Functions only.
class SENTREL_API Time {
public:
    Time() = delete;

    /// A duration in whole units; all are negative or 0 for a negative duration.
    struct Split {
        std::int64_t days = 0; ///< any number
        std::int64_t hrs = 0;  ///< -23 to 23
        std::int64_t mins = 0; ///< -59 to 59
        std::int64_t secs = 0; ///< -59 to 59
        /// Whether all four are the same.
        friend bool operator==(const Split&, const Split&) = default;
    };

    /// Whole seconds since 1970; 0, and one line on the standard error stream, if the clock cannot be read.
    [[nodiscard]] static std::int64_t now();

    /// Milliseconds since 1970.
    [[nodiscard]] static std::int64_t milli();

    /// Seconds as days, hours, minutes and seconds.
    [[nodiscard]] static Split split(std::int64_t seconds);
    /// A duration as days, hours, minutes and seconds.
    [[nodiscard]] static Split split(std::chrono::seconds time) { return split(std::int64_t{time.count()}); }

    /// "3 days, 4 hours, 12 minutes". Days and hours are left out when there are none, seconds always.
    [[nodiscard]] static std::string uptime(std::int64_t seconds);
    /// The same of a duration.
    [[nodiscard]] static std::string uptime(std::chrono::seconds time) { return uptime(std::int64_t{time.count()}); }
};

/// Writes it as "{days, hrs, mins, secs}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Time::Split& value);

} // namespace sentrel
