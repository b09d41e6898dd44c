// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>

namespace sentrel::platform {

/// Nanoseconds of one of the kernel's clocks; absent, with errno set, if there is none of that kind.
inline std::optional<std::int64_t> clockNanoseconds(clockid_t clock) noexcept {
    timespec time{};
    if (clock_gettime(clock, &time) != 0)
        return std::nullopt;
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Nanoseconds of CLOCK_MONOTONIC.
inline std::int64_t monotonicNow() noexcept {
    return clockNanoseconds(CLOCK_MONOTONIC).value_or(0);
}

/// The moment so many nanoseconds from now; negative counts as 0, and what would overflow is never reached.
inline std::int64_t monotonicDeadline(std::int64_t nanoseconds) noexcept {
    std::int64_t deadline = 0;
    if (__builtin_add_overflow(monotonicNow(), std::max<std::int64_t>(nanoseconds, 0), &deadline))
        return std::numeric_limits<std::int64_t>::max();
    return deadline;
}

/// The time-out for poll and epoll, in milliseconds rounded up, until a deadline: -1 without one.
inline int pollTimeout(std::optional<std::int64_t> deadline, std::int64_t now) noexcept {
    if (!deadline)
        return -1;
    if (*deadline <= now)
        return 0;
    const std::int64_t milliseconds = (*deadline - now - 1) / 1'000'000 + 1;
    return static_cast<int>(std::min<std::int64_t>(milliseconds, std::numeric_limits<int>::max()));
}

} // namespace sentrel::platform
