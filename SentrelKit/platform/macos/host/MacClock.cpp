// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/MacClock.h>

#include <SentrelKit/platform/macos/common/Uptime.h>

namespace sentrel::platform {

bool MacClock::read(WallClockReading& reading) noexcept {
    return readSystem(reading);
}

std::int64_t MacClock::monotonicNanoseconds() noexcept {
    return uptimeNanoseconds();
}

} // namespace sentrel::platform
