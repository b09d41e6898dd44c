// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/CounterRates.h>

#include <utility>

namespace sentrel::probes {

std::optional<double> CounterRates::perSecond(std::string_view identifier, double value, std::optional<double> range,
                                              std::int64_t now) {
    const auto found = counters_.find(identifier);
    if (found == counters_.end()) {
        counters_.emplace(identifier, Before{value, now});
        return std::nullopt;
    }
    const Before before = std::exchange(found->second, Before{value, now});
    const std::int64_t elapsed = now - before.nanoseconds;
    double grown = value - before.value;
    if (grown < 0 && range)
        grown += *range;
    if (elapsed <= 0 || elapsed > oldest || grown < 0)
        return std::nullopt;
    return grown * 1e9 / static_cast<double>(elapsed);
}

void CounterRates::keepOnly(std::int64_t now) noexcept {
    std::erase_if(counters_, [now](const auto& counter) { return counter.second.nanoseconds != now; });
}

} // namespace sentrel::probes
