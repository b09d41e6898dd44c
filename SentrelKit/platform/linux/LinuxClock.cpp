#include <SentrelKit/platform/linux/LinuxClock.h>

#include <SentrelKit/platform/linux/MonotonicTime.h>

#include <sys/time.h>

namespace sentrel::platform {

bool LinuxClock::read(WallClockReading& reading) noexcept {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
        return false;
    reading.seconds = now.tv_sec;
    reading.microseconds = static_cast<std::int32_t>(now.tv_usec);
    return true;
}

std::int64_t LinuxClock::monotonicNanoseconds() noexcept {
    return monotonicNow();
}

} // namespace sentrel::platform
