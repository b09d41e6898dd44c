// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Rates out of counters: by how much one grew between two samples, by the time between them.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace sentrel::probes {

/// The counters of the sample before. One thread at a time.
class CounterRates {
public:
    /// Older baselines do not count: a package of processors goes once round its energy counter in minutes, and nobody
    /// could tell how often it did. In nanoseconds.
    static constexpr std::int64_t oldest = 60'000'000'000;

    /// The mean growth a second since the sample before of the counter with that identifier. A counter that is lower
    /// than before went once round its range; without a range it began anew. Absent for the first sample, for a counter
    /// that began anew, without time in between and where the sample before is older than `oldest`. The time is that of
    /// a clock that never steps back, in nanoseconds, one for the whole sample. Takes no memory for a counter that is
    /// known.
    [[nodiscard]] std::optional<double> perSecond(std::string_view identifier, double value,
                                                  std::optional<double> range, std::int64_t now);

    /// Ends a sample: forgets the counters that were not in it.
    void keepOnly(std::int64_t now) noexcept;

private:
    struct Before {
        double value = 0;
        std::int64_t nanoseconds = 0;
    };
    std::map<std::string, Before, std::less<>> counters_;
};

} // namespace sentrel::probes
