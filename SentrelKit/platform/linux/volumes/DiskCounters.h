// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The cumulative counters of whole disks, read from sysfs through kept descriptors.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/MediaEntry.h>
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include <cstdint>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// Disks whose counters are read together. A sample asks for one disk after the other, and looks a path up before each:
/// counters that are read in between find the processor's caches cold. So the first disk that needs a new reading
/// brings along those that were asked for since their last one.
class CounterGroup {
public:
    /// Nanoseconds of a clock that never steps back.
    using Clock = std::int64_t (*)() noexcept;

    explicit CounterGroup(Clock clock = coarseClock) noexcept : clock_(clock) {}

private:
    friend class DiskCounters;

    struct Member {
        KeptFile own;
        std::vector<KeptFile> below{}; // of what carries the disk
        std::optional<DiskStatistics> reading{};
        std::int64_t readAt = std::numeric_limits<std::int64_t>::min() / 2;
        bool wasGiven = false;

        [[nodiscard]] std::optional<DiskStatistics> read();
    };

    static std::int64_t coarseClock() noexcept;
    void readTogether(std::int64_t now) SENTREL_REQUIRES(lock_);

    const Clock clock_;
    Lock lock_;
    std::list<Member> members_ SENTREL_GUARDED_BY(lock_);
};

/// The counters of one disk, in its group for as long as it lives. Any thread.
class DiskCounters {
public:
    /// The group and the devices outlive it.
    DiskCounters(CounterGroup& group, const BlockDevices& devices, const std::string& kernelName);
    ~DiskCounters();
    DiskCounters(const DiskCounters&) = delete;
    DiskCounters& operator=(const DiskCounters&) = delete;

    /// The counters as they stood when this disk or another one of its group was asked, at most 20 ms ago; each reading
    /// is given once. Absent without a device.
    [[nodiscard]] std::optional<DiskStatistics> statistics();

private:
    CounterGroup& group_;
    std::list<CounterGroup::Member>::iterator member_;
};

} // namespace sentrel::platform
