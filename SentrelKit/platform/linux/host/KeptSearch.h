// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/MonotonicTime.h>

#include <cstdint>
#include <optional>

namespace sentrel::platform {

/// When to look again for what comes and goes seldom, such as devices: once a minute, not at every reading.
class KeptSearch {
public:
    /// Whether a look is due now; it counts as done then.
    [[nodiscard]] bool isDue() noexcept {
        const std::int64_t now = monotonicNow();
        if (done_ && now - *done_ < interval)
            return false;
        done_ = now;
        return true;
    }

private:
    static constexpr std::int64_t interval = 60'000'000'000; // nanoseconds

    std::optional<std::int64_t> done_; // CLOCK_MONOTONIC
};

} // namespace sentrel::platform
