// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/DiskRates.h>

#include <SentrelKit/probes/detail/CounterRate.h>

#include <algorithm>
#include <cstddef>

namespace sentrel::probes {

namespace {

constexpr double millisecond = 1e6; // nanoseconds

// How many milliseconds a time grew, also over its end; absent where it went back or is not told.
std::optional<double> growth(std::optional<std::uint32_t> now, std::optional<std::uint32_t> before) noexcept {
    if (!now || !before)
        return std::nullopt;
    constexpr std::uint32_t half = std::uint32_t{1} << 31U;
    const std::uint32_t grown = *now - *before;
    return grown < half ? std::optional(static_cast<double>(grown)) : std::nullopt;
}

// Seconds that each of the operations that ended took.
std::optional<double> latency(std::int64_t now, std::int64_t before, std::uint32_t timeNow,
                              std::uint32_t timeBefore) noexcept {
    const std::optional<double> spent = growth(timeNow, timeBefore);
    if (!spent || now <= before)
        return std::nullopt;
    return *spent / 1000 / (static_cast<double>(now) - static_cast<double>(before));
}

void measure(const DiskOperations& now, const DiskOperations& before, std::int64_t elapsed, DiskActivity& activity) {
    activity.readsRate = counterRate(now.reads, before.reads, elapsed);
    activity.writesRate = counterRate(now.writes, before.writes, elapsed);
    activity.readLatency = latency(now.reads, before.reads, now.readTime, before.readTime);
    activity.writeLatency = latency(now.writes, before.writes, now.writeTime, before.writeTime);
    if (elapsed <= 0)
        return;
    const double milliseconds = static_cast<double>(elapsed) / millisecond;
    // The kernel counts whole ticks: a disk that is always busy can seem to be so for longer than the time.
    if (const std::optional<double> busy = growth(now.busyTime, before.busyTime))
        activity.busy = std::min(*busy / milliseconds * 100, 100.0);
    if (const std::optional<double> queued = growth(now.queueTime, before.queueTime))
        activity.queueLength = *queued / milliseconds;
}

} // namespace

void DiskRates::take(std::span<const DiskOperations> counters, std::int64_t time, std::vector<DiskActivity>& activity) {
    activity.resize(counters.size());
    for (std::size_t place = 0; place < counters.size(); ++place) {
        DiskActivity& record = activity[place];
        record.counters = counters[place];
        record.readsRate.reset();
        record.writesRate.reset();
        record.busy.reset();
        record.readLatency.reset();
        record.writeLatency.reset();
        record.queueLength.reset();
        const auto isSame = [&name = counters[place].name](const DiskOperations& each) { return each.name == name; };
        if (const DiskOperations* const before = before_.find(place, isSame))
            measure(counters[place], *before, before_.elapsed(time), record);
    }
    before_.keep(counters, time);
}

} // namespace sentrel::probes
