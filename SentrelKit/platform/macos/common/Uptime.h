// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

namespace sentrel::platform {

/// Nanoseconds that the machine was awake: the clock that dispatch and run loops keep their deadlines on.
[[nodiscard]] inline std::int64_t uptimeNanoseconds() noexcept {
    return static_cast<std::int64_t>(clock_gettime_nsec_np(CLOCK_UPTIME_RAW));
}

} // namespace sentrel::platform
