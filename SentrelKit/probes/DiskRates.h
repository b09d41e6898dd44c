// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/DiskFacts.h>
#include <SentrelKit/probes/detail/SampleBefore.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace sentrel::probes {

/// What a disk, or a part of one, did between two samples, the time by the clock that never steps back. Absent at the
/// first sample of a device, where no time went by, where a counter went back, and where the system does not count.
struct DiskActivity {
    DiskOperations counters{};            ///< as they stand, with the device's name
    std::optional<double> readsRate{};    ///< reads completed a second
    std::optional<double> writesRate{};   ///< writes completed a second
    std::optional<double> busy{};         ///< percent of the time in which there was something to do, 0 to 100
    std::optional<double> readLatency{};  ///< mean seconds from a read's request to its end; absent if none ended
    std::optional<double> writeLatency{}; ///< the same for writes
    std::optional<double> queueLength{};  ///< operations that waited or were being done, on the mean over the time
};

/// Makes figures of counters. One thread at a time.
class SENTREL_API DiskRates {
public:
    /// Makes `activity` that of the counters, which were taken at that time in nanoseconds. Allocates nothing once
    /// warm.
    void take(std::span<const DiskOperations> counters, std::int64_t time, std::vector<DiskActivity>& activity);

    /// The next sample is a first one again.
    void forget() noexcept { before_.forget(); }

private:
    SampleBefore<DiskOperations> before_;
};

} // namespace sentrel::probes
