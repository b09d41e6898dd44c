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

namespace {

// As the lines have them; `missing` where there is none.
struct DetailLines {
    std::uint64_t total = missing;
    std::uint64_t available = missing;
    std::uint64_t buffers = missing;
    std::uint64_t cached = missing;
    std::uint64_t slabReclaimable = missing;
    std::uint64_t slabUnreclaimable = missing;
    std::uint64_t hugePagesTotal = missing;
    std::uint64_t hugePagesFree = missing;
    std::uint64_t hugePageSize = missing;
    std::uint64_t dirty = missing;
    std::uint64_t writeback = missing;
};

constexpr auto detailFields = std::to_array<Field<DetailLines>>({{"MemTotal", &DetailLines::total},
                                                                 {"MemAvailable", &DetailLines::available},
                                                                 {"Buffers", &DetailLines::buffers},
                                                                 {"Cached", &DetailLines::cached},
                                                                 {"Dirty", &DetailLines::dirty},
                                                                 {"Writeback", &DetailLines::writeback},
                                                                 {"SReclaimable", &DetailLines::slabReclaimable},
                                                                 {"SUnreclaim", &DetailLines::slabUnreclaimable},
                                                                 {"HugePages_Total", &DetailLines::hugePagesTotal},
                                                                 {"HugePages_Free", &DetailLines::hugePagesFree},
                                                                 {"Hugepagesize", &DetailLines::hugePageSize}});

struct PairLines {
    std::uint64_t first = missing;
    std::uint64_t second = missing;
};

constexpr auto swapFields =
    std::to_array<Field<PairLines>>({{"pswpin", &PairLines::first}, {"pswpout", &PairLines::second}});
constexpr auto zswapFields =
    std::to_array<Field<PairLines>>({{"Zswap", &PairLines::second}, {"Zswapped", &PairLines::first}});

std::optional<std::uint64_t> figure(std::uint64_t value, std::uint64_t unit = 1024) noexcept {
    return value == missing ? std::nullopt : std::optional(value * unit);
}

bool isWhole(const PairLines& lines) noexcept {
    return lines.first != missing && lines.second != missing;
}

} // namespace

std::optional<MemoryDetails> parseMemoryDetails(std::string_view memInfo) noexcept {
    DetailLines lines;
    readFields(memInfo, detailFields, ':', largestKiB, lines);
    if (lines.total == missing)
        return std::nullopt;
    MemoryDetails details;
    details.available = figure(lines.available);
    details.buffers = figure(lines.buffers);
    details.cached = figure(lines.cached);
    details.slabReclaimable = figure(lines.slabReclaimable);
    details.slabUnreclaimable = figure(lines.slabUnreclaimable);
    details.hugePagesTotal = figure(lines.hugePagesTotal, 1);
    details.hugePagesFree = figure(lines.hugePagesFree, 1);
    details.hugePageSize = figure(lines.hugePageSize);
    details.dirty = figure(lines.dirty);
    details.writeback = figure(lines.writeback);
    return details;
}

std::optional<SwapCounters> parseSwapCounters(std::string_view vmStat, std::uint64_t pageSize) noexcept {
    PairLines lines;
    readFields(vmStat, swapFields, ' ', unlimited / pageSize, lines);
    if (!isWhole(lines))
        return std::nullopt;
    return SwapCounters{lines.first * pageSize, lines.second * pageSize};
}

std::optional<MemoryCompression> parseZswap(std::string_view memInfo) noexcept {
    PairLines lines;
    readFields(memInfo, zswapFields, ':', largestKiB, lines);
    if (!isWhole(lines))
        return std::nullopt;
    return MemoryCompression{lines.first * 1024, lines.second * 1024};
}

std::optional<MemoryCompression> parseZram(std::string_view mmStat) noexcept {
    const std::optional<std::uint64_t> stored = takeNumber(mmStat);
    const std::optional<std::uint64_t> compressed = stored ? takeNumber(mmStat) : std::nullopt;
    const std::optional<std::uint64_t> occupied = compressed ? takeNumber(mmStat) : std::nullopt;
    if (!occupied)
        return std::nullopt;
    return MemoryCompression{*stored, *occupied};
}

std::optional<MemoryNode> parseMemoryNode(std::string_view content) noexcept {
    std::optional<std::uint32_t> number;
    std::optional<std::uint64_t> total;
    std::optional<std::uint64_t> free;
    while (std::optional<std::string_view> line = takeLine(content)) {
        if (takeUpTo(*line, ' ') != "Node")
            continue;
        number = takeNumber<std::uint32_t>(*line);
        const std::string_view key = takeWord(*line);
        if (key != "MemTotal:" && key != "MemFree:")
            continue;
        const std::optional<std::uint64_t> value = takeNumber(*line);
        if (value && *value <= largestKiB)
            (key == "MemTotal:" ? total : free) = *value * 1024;
        if (number && total && free)
            return MemoryNode{*number, *total, *free};
    }
    return std::nullopt;
}

} // namespace sentrel::platform
