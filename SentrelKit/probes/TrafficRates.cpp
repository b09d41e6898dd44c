// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/TrafficRates.h>

#include <SentrelKit/probes/detail/CounterRate.h>

#include <algorithm>
#include <cstddef>

namespace sentrel::probes {

namespace {

// The counters of the same interface, which stand where they stood as long as none came or went.
const InterfaceCounters* find(std::span<const InterfaceCounters> before, const InterfaceCounters& now,
                              std::size_t guess) noexcept {
    const auto isSame = [&now](const InterfaceCounters& each) {
        return each.index == now.index && each.name == now.name;
    };
    if (guess < before.size() && isSame(before[guess]))
        return &before[guess];
    const auto found = std::ranges::find_if(before, isSame);
    return found == before.end() ? nullptr : &*found;
}

} // namespace

void TrafficRates::take(std::span<const InterfaceCounters> counters, std::int64_t time,
                        std::vector<InterfaceTraffic>& traffic) {
    const std::int64_t elapsed = time - time_;
    traffic.resize(counters.size());
    for (std::size_t place = 0; place < counters.size(); ++place) {
        const InterfaceCounters& now = counters[place];
        InterfaceTraffic& record = traffic[place];
        record.counters = now;
        const InterfaceCounters* const before = find(before_, now, place);
        const auto rate = [&](std::int64_t InterfaceCounters::*counter) {
            return before ? counterRate(now.*counter, before->*counter, elapsed) : std::nullopt;
        };
        record.packetsInRate = rate(&InterfaceCounters::packetsIn);
        record.packetsOutRate = rate(&InterfaceCounters::packetsOut);
        record.errorsInRate = rate(&InterfaceCounters::errorsIn);
        record.errorsOutRate = rate(&InterfaceCounters::errorsOut);
        record.dropsInRate = rate(&InterfaceCounters::dropsIn);
        record.dropsOutRate = before && now.dropsOut && before->dropsOut
                                  ? counterRate(*now.dropsOut, *before->dropsOut, elapsed)
                                  : std::nullopt;
    }
    before_.assign(counters.begin(), counters.end());
    time_ = time;
}

} // namespace sentrel::probes
