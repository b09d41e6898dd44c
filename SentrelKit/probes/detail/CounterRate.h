// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <utility>

namespace sentrel::probes {

/// How fast a counter grew, a second; absent where no time went by, and for a counter that went back.
template <std::integral Count>
[[nodiscard]] std::optional<double> counterRate(Count now, Count before, std::int64_t nanoseconds) noexcept {
    constexpr double second = 1e9;
    if (nanoseconds <= 0 || now < before)
        return std::nullopt;
    return (static_cast<double>(now) - static_cast<double>(before)) * second / static_cast<double>(nanoseconds);
}

/// The rate of a counter from one reading to the next. One thread at a time.
class CounterRate {
public:
    /// What the counter says at a moment of the monotonic clock; the rate since the reading before, a second. Absent at
    /// the first reading and the one after a reading that was absent, when the counter went back, and when no time has
    /// passed.
    std::optional<double> sample(std::optional<std::uint64_t> count, std::int64_t nanoseconds) noexcept {
        if (!count) {
            last_.reset();
            return std::nullopt;
        }
        const std::optional<Reading> before = std::exchange(last_, Reading{*count, nanoseconds});
        return before ? counterRate(*count, before->count, nanoseconds - before->nanoseconds) : std::nullopt;
    }

private:
    struct Reading {
        std::uint64_t count;
        std::int64_t nanoseconds;
    };

    std::optional<Reading> last_;
};

} // namespace sentrel::probes
