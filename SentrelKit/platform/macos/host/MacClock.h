// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Clock.h>

namespace sentrel::platform {

/// The system's clocks. The monotonic one stands still while the machine sleeps, as deadlines of timers do.
class MacClock final : public Clock {
public:
    bool read(WallClockReading& reading) noexcept override;
    std::int64_t monotonicNanoseconds() noexcept override;
};

} // namespace sentrel::platform
