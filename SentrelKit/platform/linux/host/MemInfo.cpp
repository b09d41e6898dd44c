// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/MemInfo.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace sentrel::platform {

namespace {

// No machine has more: one with 2^50 KiB would overflow nothing below.
constexpr std::uint64_t largestKiB = std::uint64_t{1} << 50;

std::uint64_t lessBy(std::uint64_t value, std::uint64_t part) noexcept {
    return value - std::min(value, part);
}

// Counters of 32 bits end at 16 TiB; a larger machine shows that much.
std::uint32_t pages(std::uint64_t kib) noexcept {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(kib / 4, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

std::optional<MemInfo> parseMemInfo(std::string_view content) noexcept {
    MemInfo info;
    bool hasTotal = false;
    bool hasFree = false;
    while (std::optional<std::string_view> line = takeLine(content)) {
        const std::size_t colon = line->find(':');
        if (colon == std::string_view::npos)
            continue;
        const std::string_view key = line->substr(0, colon);

        // The keys are told apart by their first letter before they are compared: half of the cost of a sample.
        std::uint64_t* field = nullptr;
        std::uint64_t available = 0;
        switch (key.empty() ? '\0' : key.front()) {
        case 'M':
            if (key == "MemTotal")
                field = &info.memTotal;
            else if (key == "MemFree")
                field = &info.memFree;
            else if (key == "MemAvailable")
                field = &available;
            break;
        case 'B':
            if (key == "Buffers")
                field = &info.buffers;
            break;
        case 'C':
            if (key == "Cached")
                field = &info.cached;
            break;
        case 'A':
            if (key == "Active(anon)")
                field = &info.activeAnon;
            else if (key == "AnonPages")
                field = &info.anonPages;
            break;
        case 'I':
            if (key == "Inactive(anon)")
                field = &info.inactiveAnon;
            break;
        case 'S':
            if (key == "Shmem")
                field = &info.shmem;
            else if (key == "SReclaimable")
                field = &info.reclaimableSlab;
            else if (key == "SwapTotal")
                field = &info.swapTotal;
            else if (key == "SwapFree")
                field = &info.swapFree;
            break;
        case 'Z':
            if (key == "Zswap")
                field = &info.zswap;
            break;
        default:
            break;
        }
        if (!field)
            continue;

        line->remove_prefix(colon + 1);
        const std::optional<std::uint64_t> value = takeNumber(*line);
        if (!value || *value > largestKiB)
            continue;
        *field = *value;
        hasTotal = hasTotal || field == &info.memTotal;
        hasFree = hasFree || field == &info.memFree;
        if (field == &available)
            info.memAvailable = available;
    }
    if (!hasTotal || !hasFree || info.memTotal == 0)
        return std::nullopt;
    return info;
}

VmStat parseVmStat(std::string_view content) noexcept {
    struct Wanted {
        std::string_view key;
        std::uint64_t VmStat::*field;
    };
    static constexpr Wanted wanted[] = {{"nr_zspages ", &VmStat::zsmallocPages},
                                        {"pgpgin ", &VmStat::kibIn},
                                        {"pgpgout ", &VmStat::kibOut},
                                        {"pgfault ", &VmStat::faults}};
    VmStat stat;
    std::size_t left = std::size(wanted);
    while (left > 0) {
        std::optional<std::string_view> line = takeLine(content);
        if (!line)
            break;
        if (!line->starts_with("pg") && !line->starts_with("nr_z"))
            continue;
        for (const Wanted& entry : wanted) {
            if (line->starts_with(entry.key)) {
                line->remove_prefix(entry.key.size());
                stat.*entry.field = takeNumber(*line).value_or(0);
                --left;
                break;
            }
        }
    }
    return stat;
}

std::uint64_t availableKiB(const MemInfo& info) noexcept {
    const std::uint64_t available = info.memAvailable.value_or(
        info.memFree + lessBy(info.buffers + info.cached, info.shmem) + info.reclaimableSlab);
    return std::min(available, info.memTotal);
}

VirtualMemoryCounters memoryCounters(const MemInfo& info, const VmStat& stat, std::uint64_t compressedBytes) noexcept {
    const std::uint64_t available = availableKiB(info);
    const std::uint64_t free = std::min(info.memFree, available);
    const std::uint64_t used = info.memTotal - available;
    const std::uint64_t compressed = std::min(compressedBytes / 1024, used);
    const std::uint64_t active = std::min(info.activeAnon + info.inactiveAnon, used - compressed);

    VirtualMemoryCounters counters;
    counters.free_count = pages(free);
    counters.inactive_count = pages(available - free);
    counters.compressor_page_count = pages(compressed);
    counters.active_count = pages(active);
    counters.wire_count = pages(used - compressed - active);
    counters.internal_page_count = pages(info.anonPages + info.shmem);
    counters.external_page_count = pages(lessBy(info.buffers + info.cached, info.shmem));
    counters.pageins = stat.kibIn / 4;
    counters.pageouts = stat.kibOut / 4;
    counters.faults = stat.faults;
    return counters;
}

SwapUsage swapUsageOf(const MemInfo& info) noexcept {
    const std::uint64_t free = std::min(info.swapFree, info.swapTotal);
    return {info.swapTotal * 1024, free * 1024, (info.swapTotal - free) * 1024};
}

} // namespace sentrel::platform
