// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/TrafficRates.h>

#include <SentrelKit/probes/detail/CounterRate.h>

#include <cstddef>

namespace sentrel::probes {

void TrafficRates::take(std::span<const InterfaceCounters> counters, std::int64_t time,
                        std::vector<InterfaceTraffic>& traffic) {
    const std::int64_t elapsed = before_.elapsed(time);
    traffic.resize(counters.size());
    for (std::size_t place = 0; place < counters.size(); ++place) {
        const InterfaceCounters& now = counters[place];
        InterfaceTraffic& record = traffic[place];
        record.counters = now;
        const InterfaceCounters* const before = before_.find(place, [&now](const InterfaceCounters& each) {
            return each.index == now.index && each.name == now.name; // one made anew under its name is another one
        });
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
    before_.keep(counters, time);
}

} // namespace sentrel::probes
