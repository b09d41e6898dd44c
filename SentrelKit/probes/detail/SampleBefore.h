// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sentrel::probes {

/// The counters of many devices as the sample before had them. One thread at a time. Keeping a sample allocates nothing
/// once warm.
template <class Counters>
class SampleBefore {
public:
    /// The counters of the device for which `isSame` says so, null if there is none. A device stands where it stood as
    /// long as none came or went, so the place that it has now is looked at first.
    template <class IsSame>
    [[nodiscard]] const Counters* find(std::size_t place, IsSame isSame) const noexcept {
        if (place < counters_.size() && isSame(counters_[place]))
            return &counters_[place];
        const auto found = std::ranges::find_if(counters_, isSame);
        return found == counters_.end() ? nullptr : &*found;
    }

    /// Nanoseconds from the sample before to that time.
    [[nodiscard]] std::int64_t elapsed(std::int64_t time) const noexcept { return time - time_; }

    /// Makes these counters, of that time, the sample before.
    void keep(std::span<const Counters> counters, std::int64_t time) {
        counters_.assign(counters.begin(), counters.end());
        time_ = time;
    }

    /// There is no sample before.
    void forget() noexcept { counters_.clear(); }

private:
    std::vector<Counters> counters_;
    std::int64_t time_ = 0;
};

} // namespace sentrel::probes
