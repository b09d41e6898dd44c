// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/EnergyRates.h>

#include <utility>

namespace sentrel::probes {

std::optional<double> EnergyRates::watts(std::string_view identifier, double joules, std::optional<double> range,
                                         std::int64_t now) {
    const auto found = counters_.find(identifier);
    if (found == counters_.end()) {
        counters_.emplace(identifier, Before{joules, now});
        return std::nullopt;
    }
    const Before before = std::exchange(found->second, Before{joules, now});
    const std::int64_t elapsed = now - before.nanoseconds;
    double used = joules - before.joules;
    if (used < 0 && range)
        used += *range;
    if (elapsed <= 0 || elapsed > oldest || used < 0)
        return std::nullopt;
    return used * 1e9 / static_cast<double>(elapsed);
}

void EnergyRates::keepOnly(std::int64_t now) noexcept {
    std::erase_if(counters_, [now](const auto& counter) { return counter.second.nanoseconds != now; });
}

} // namespace sentrel::probes
