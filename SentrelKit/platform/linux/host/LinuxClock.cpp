// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LinuxClock.h>

#include <SentrelKit/platform/linux/common/MonotonicTime.h>

namespace sentrel::platform {

bool LinuxClock::read(WallClockReading& reading) noexcept {
    return readSystem(reading);
}

std::int64_t LinuxClock::monotonicNanoseconds() noexcept {
    return monotonicNow();
}

} // namespace sentrel::platform
