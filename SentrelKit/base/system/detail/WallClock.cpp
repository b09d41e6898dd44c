// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/WallClock.h>

#include <atomic>
#include <sys/time.h>

namespace sentrel {

namespace {

class SystemWallClock final : public WallClock {
public:
    bool read(WallClockReading& reading) noexcept override { return readSystem(reading); }
};

std::atomic<WallClock*> replacement{nullptr};

} // namespace

WallClock& WallClock::current() noexcept {
    static SystemWallClock system;
    WallClock* clock = replacement.load(std::memory_order_acquire);
    return clock ? *clock : system;
}

bool WallClock::readSystem(WallClockReading& reading) noexcept {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
        return false;
    reading.seconds = now.tv_sec;
    reading.microseconds = static_cast<std::int32_t>(now.tv_usec);
    return true;
}

void WallClock::setCurrent(WallClock* clock) noexcept {
    replacement.store(clock, std::memory_order_release);
}

} // namespace sentrel
