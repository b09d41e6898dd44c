// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Clock.h>

namespace sentrel::platform {

/// gettimeofday and CLOCK_MONOTONIC.
class LinuxClock final : public Clock {
public:
    bool read(WallClockReading& reading) noexcept override;
    std::int64_t monotonicNanoseconds() noexcept override;
};

} // namespace sentrel::platform
