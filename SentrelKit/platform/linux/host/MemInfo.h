// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /proc/meminfo and /proc/vmstat, and how they stand for the eleven virtual-memory counters.
///
/// Every byte of MemTotal is in exactly one of wired, active, compressed, free and inactive, and free + inactive is
/// MemAvailable, so that what is not used is what the kernel says a new program could have:
///
///     free_count             MemFree, as far as it is available: below it lies the reserve that no program gets
///     inactive_count         the rest of MemAvailable: file cache and kernel caches that can be dropped
///     compressor_page_count  pages of the compressed pool: zram devices and zswap
///     active_count           Active(anon) + Inactive(anon): memory of programs (shared memory and temporary files
///                            included) that is not locked in place
///     wire_count             the rest: kernel, locked and huge pages, the reserve, file cache too busy to drop
///
///     internal_page_count    AnonPages + Shmem
///     purgeable_count        0: the kernel keeps no count of memory given up by its owner (MADV_FREE)
///     external_page_count    Buffers + Cached - Shmem: the file cache
///     pageins, pageouts      pgpgin, pgpgout: what was read from and written to block devices, swap included, in units
///                            of 4096 bytes
///     faults                 pgfault
///
/// Swap is SwapTotal and SwapFree.

#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/MemoryFacts.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// /proc/meminfo, in KiB. A line that is missing is 0, except where it is optional.
struct MemInfo {
    std::uint64_t memTotal = 0;
    std::uint64_t memFree = 0;
    std::optional<std::uint64_t> memAvailable; ///< absent before Linux 3.14
    std::uint64_t buffers = 0;
    std::uint64_t cached = 0;
    std::uint64_t activeAnon = 0;
    std::uint64_t inactiveAnon = 0;
    std::uint64_t anonPages = 0;
    std::uint64_t shmem = 0;
    std::uint64_t reclaimableSlab = 0;
    std::uint64_t zswap = 0; ///< pool size, not what it holds unpacked
    std::uint64_t swapTotal = 0;
    std::uint64_t swapFree = 0;
};

/// Absent unless MemTotal and MemFree are there and make sense.
[[nodiscard]] std::optional<MemInfo> parseMemInfo(std::string_view content) noexcept;

/// /proc/vmstat. A line that is missing is 0.
struct VmStat {
    std::uint64_t zsmallocPages = 0; ///< of the kernel's page size: the pool of every zram device and of zswap
    std::uint64_t kibIn = 0;
    std::uint64_t kibOut = 0;
    std::uint64_t faults = 0;
};

[[nodiscard]] VmStat parseVmStat(std::string_view content) noexcept;

/// What is left of the memory for programs, in KiB; reckoned as `free` did where the kernel does not say.
[[nodiscard]] std::uint64_t availableKiB(const MemInfo& info) noexcept;

/// The counters by the table above. `compressedBytes` is the size of the compressed pool.
[[nodiscard]] VirtualMemoryCounters memoryCounters(const MemInfo& info, const VmStat& stat,
                                                   std::uint64_t compressedBytes) noexcept;

[[nodiscard]] SwapUsage swapUsageOf(const MemInfo& info) noexcept;

/// The lines of /proc/meminfo by their names; absent unless MemTotal is there.
[[nodiscard]] std::optional<MemoryDetails> parseMemoryDetails(std::string_view memInfo) noexcept;

/// The lines pswpin and pswpout of /proc/vmstat, which count pages; absent unless both are there.
[[nodiscard]] std::optional<SwapCounters> parseSwapCounters(std::string_view vmStat, std::uint64_t pageSize) noexcept;

/// What zswap keeps, the lines Zswapped and Zswap of /proc/meminfo; absent unless both are there (Linux 5.19).
[[nodiscard]] std::optional<MemoryCompression> parseZswap(std::string_view memInfo) noexcept;

/// What a zram device keeps, by its file mm_stat: bytes before they were compressed, after it, and of memory that it
/// takes for them. Absent unless the three are there.
[[nodiscard]] std::optional<MemoryCompression> parseZram(std::string_view mmStat) noexcept;

/// The lines MemTotal and MemFree of a node's own meminfo, "Node 0 MemTotal: 1024 kB"; absent unless both are there.
[[nodiscard]] std::optional<MemoryNode> parseMemoryNode(std::string_view content) noexcept;

} // namespace sentrel::platform
