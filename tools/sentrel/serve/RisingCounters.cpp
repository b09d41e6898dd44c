// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/RisingCounters.h"

#include <algorithm>
#include <vector>

namespace tool {

double RisingCounters::value(const std::string& series, double counted, const Habits& habits) {
    const auto [entry, isNew] = counters_.try_emplace(series);
    Counter& counter = entry->second;
    counter.round = round_;
    const double fall = counter.counted - counted;
    if (isNew || fall <= 0.0)
        counter.value += counted - counter.counted;
    else if (fall <= habits.wobble)
        return counter.value;
    else if (habits.range && fall > *habits.range / 2.0)
        counter.value += *habits.range - fall;
    else
        counter.value += counted;
    counter.counted = counted;
    return counter.value;
}

void RisingCounters::endRound() {
    const auto isGone = [this](const auto& entry) { return entry.second.round != round_; };
    // Not for each one more, which would cost time in every round.
    if (static_cast<std::size_t>(std::ranges::count_if(counters_, isGone)) > 2 * remembered)
        forgetOldest();
    ++round_;
}

void RisingCounters::forgetOldest() {
    std::vector<std::uint64_t> gone;
    for (const auto& entry : counters_)
        if (entry.second.round != round_)
            gone.push_back(entry.second.round);
    std::ranges::sort(gone, std::greater<>());
    std::erase_if(counters_, [oldest = gone[remembered]](const auto& entry) { return entry.second.round <= oldest; });
}

} // namespace tool
