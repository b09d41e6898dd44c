// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/MemInfo.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <limits>

namespace sentrel::platform {

namespace {

// A line of a file, by the text before its number, and where the number goes.
template <class Record>
struct Field {
    std::string_view key;
    std::uint64_t Record::*value;
};

// Reads the lines that the table names, each once, in whatever order they come. Without one that is there, or with one
// whose number makes no sense, the record keeps what it had.
template <class Record, std::size_t Count>
void readFields(std::string_view content, const std::array<Field<Record>, Count>& table, char separator,
                std::uint64_t largest, Record& record) noexcept {
    std::size_t left = Count;
    while (left > 0) {
        std::optional<std::string_view> line = takeLine(content);
        if (!line)
            return;
        const std::string_view key = takeUpTo(*line, separator);
        const auto field =
            std::find_if(table.begin(), table.end(), [key](const auto& each) { return each.key == key; });
        if (field == table.end())
            continue;
        const std::optional<std::uint64_t> value = takeNumber(*line);
        if (!value || *value > largest)
            continue;
        record.*field->value = *value;
        --left;
    }
}

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

// No machine has more: one with 2^50 KiB would overflow nothing below.
constexpr std::uint64_t largestKiB = std::uint64_t{1} << 50;
constexpr std::uint64_t missing = unlimited;

struct MemInfoLines : MemInfo {
    std::uint64_t available = missing;
};

// In the kernel's order (meminfo_proc_show).
constexpr auto memInfoFields = std::to_array<Field<MemInfoLines>>({{"MemTotal", &MemInfoLines::memTotal},
                                                                   {"MemFree", &MemInfoLines::memFree},
                                                                   {"MemAvailable", &MemInfoLines::available},
                                                                   {"Buffers", &MemInfoLines::buffers},
                                                                   {"Cached", &MemInfoLines::cached},
                                                                   {"Active(anon)", &MemInfoLines::activeAnon},
                                                                   {"Inactive(anon)", &MemInfoLines::inactiveAnon},
                                                                   {"SwapTotal", &MemInfoLines::swapTotal},
                                                                   {"SwapFree", &MemInfoLines::swapFree},
                                                                   {"Zswap", &MemInfoLines::zswap},
                                                                   {"AnonPages", &MemInfoLines::anonPages},
                                                                   {"Shmem", &MemInfoLines::shmem},
                                                                   {"SReclaimable", &MemInfoLines::reclaimableSlab}});

constexpr auto vmStatFields = std::to_array<Field<VmStat>>({{"nr_zspages", &VmStat::zsmallocPages},
                                                            {"pgpgin", &VmStat::kibIn},
                                                            {"pgpgout", &VmStat::kibOut},
                                                            {"pgfault", &VmStat::faults}});

std::uint64_t lessBy(std::uint64_t value, std::uint64_t part) noexcept {
    return value - std::min(value, part);
}

// Counters of 32 bits end at 16 TiB; a larger machine shows that much.
std::uint32_t pages(std::uint64_t kib) noexcept {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(kib / 4, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

std::optional<MemInfo> parseMemInfo(std::string_view content) noexcept {
    MemInfoLines lines;
    lines.memFree = missing;
    readFields(content, memInfoFields, ':', largestKiB, lines);
    if (lines.memTotal == 0 || lines.memFree == missing)
        return std::nullopt;
    if (lines.available != missing)
        lines.memAvailable = lines.available;
    return static_cast<const MemInfo&>(lines);
}

VmStat parseVmStat(std::string_view content) noexcept {
    VmStat stat;
    readFields(content, vmStatFields, ' ', unlimited, stat);
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
