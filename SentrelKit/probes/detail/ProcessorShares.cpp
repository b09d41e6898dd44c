// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/ProcessorShares.h>

#include <cstddef>

namespace sentrel::probes {

namespace {

double growth(std::uint64_t before, std::uint64_t now) noexcept {
    return now > before ? static_cast<double>(now - before) : 0;
}

std::optional<double> growth(std::optional<std::uint64_t> before, std::optional<std::uint64_t> now) noexcept {
    return before && now ? std::optional(growth(*before, *now)) : std::nullopt;
}

} // namespace

std::optional<ProcessorShares> processorShares(const platform::ProcessorTicks& before,
                                               const platform::ProcessorTicks& now) noexcept {
    const double user = growth(before.user, now.user) + growth(before.nice, now.nice);
    const double system = growth(before.system, now.system);
    const double idle = growth(before.idle, now.idle);
    const std::optional<double> iowait = growth(before.iowait, now.iowait);
    const std::optional<double> steal = growth(before.steal, now.steal);
    const double total = user + system + idle + iowait.value_or(0) + steal.value_or(0);
    if (total <= 0)
        return std::nullopt;
    const auto percent = [total](double ticks) { return ticks / total * 100; };
    ProcessorShares shares{percent(user), percent(system), percent(idle), std::nullopt, std::nullopt};
    if (iowait)
        shares.iowait = percent(*iowait);
    if (steal)
        shares.steal = percent(*steal);
    return shares;
}

void coreShares(const std::vector<platform::NumberedTicks>& before, const std::vector<platform::NumberedTicks>& now,
                std::vector<CoreShares>& shares) {
    shares.clear();
    std::size_t at = 0;
    for (const platform::NumberedTicks& core : now) {
        while (at < before.size() && before[at].number < core.number)
            ++at;
        if (at == before.size() || before[at].number != core.number)
            continue;
        if (const std::optional<ProcessorShares> since = processorShares(before[at].ticks, core.ticks))
            shares.push_back({core.number, *since});
    }
}

} // namespace sentrel::probes
