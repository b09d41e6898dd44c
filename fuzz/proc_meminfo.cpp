// SPDX-License-Identifier: Apache-2.0
// /proc/meminfo and, behind a zero byte, /proc/vmstat: whatever they say, every page is counted once.

#include <SentrelKit/platform/linux/host/MemInfo.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t half = text.find('\0');
    const VmStat stat = half == std::string_view::npos ? VmStat() : parseVmStat(text.substr(half + 1));
    const auto info = parseMemInfo(text.substr(0, half));
    if (!info)
        return 0;

    const VirtualMemoryCounters counters = memoryCounters(*info, stat, stat.zsmallocPages * 4096);
    const std::uint64_t sum = std::uint64_t{counters.free_count} + counters.inactive_count + counters.active_count +
                              counters.wire_count + counters.compressor_page_count;
    // Each of the five loses less than a page; above 16 TiB they end at the width of their counters.
    if (info->memTotal / 4 <= 0xffff'ffffu && (sum > info->memTotal / 4 || sum + 5 < info->memTotal / 4))
        std::abort();
    const SwapUsage swap = swapUsageOf(*info);
    if (swap.used + swap.available != swap.total)
        std::abort();
    return 0;
}
