// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The host, its processor and its memory: each function asks the platform once and fills a plain record. They are
/// synchronous, and ask the session in force unless another is handed in. Source: the platform's HostService and
/// GraphicsService (host statistics on macOS; /proc, /sys and the monotonic clock on Linux).

#include <SentrelKit/Export.h>
#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <functional>
#include <optional>

namespace sentrel::probes {

/// Processor load since the previous call, and what runs.
struct CPUData {
    double user;           ///< percent in user mode, nice included, 0 to 100
    double system;         ///< percent in system mode
    double idle;           ///< percent idle
    std::uint32_t tasks;   ///< processes
    std::uint32_t threads; ///< threads of all of them
};

/// Memory now, and paging since boot.
struct MEMData {
    std::uint64_t free;       ///< bytes
    std::uint64_t active;     ///< bytes
    std::uint64_t inactive;   ///< bytes
    std::uint64_t wired;      ///< bytes
    std::uint64_t compressed; ///< bytes that the compressor occupies
    std::uint64_t pageins;    ///< count
    std::uint64_t pageouts;   ///< count
    std::uint64_t faults;     ///< count
    std::uint64_t app;        ///< bytes of programs; wraps around if more is purgeable than they have: meant so
    std::uint64_t cached;     ///< bytes of files
};

using platform::host_basic_info;
/// Takes the host's description, valid only during the call.
using HostInfoBlock = std::function<void(const host_basic_info*)>;

/// The moment of the last boot in seconds since the epoch; 0 if it cannot be told. Any thread.
[[nodiscard]] SENTREL_API std::int64_t _getboottime(SystemManager& session = *System);

/// Calls the block once, before it returns; not at all if the host cannot be described. Any thread.
SENTREL_API void _getHostInfo(const HostInfoBlock& block, SystemManager& session = *System);

/// Fills the record with the load since the previous call with this session; the first call measures the load since
/// boot.
/// Without a tick in between, or if the ticks cannot be read, the percentages are 0. Always 1. One thread at a time.
SENTREL_API int _getCPUData(CPUData* data, SystemManager& session = *System);

/// The processor's brand without "(R)", "(TM)", "@ " and "CPU " and with single blanks, in the field `cpuBrand` of the
/// session, which each call writes anew; empty if it cannot be told. One thread at a time.
SENTREL_API const char* _getCPUBrand(SystemManager& session = *System);

/// The "device-id" of the graphics processor that drives the main display; absent if there is none. Any thread.
[[nodiscard]] SENTREL_API std::optional<PropertyList::Bytes> _getActiveGPUDeviceID(SystemManager& session = *System);

/// The same into the caller's bytes, which need no memory once they have room; false, the bytes as they were, if there
/// is none. Any thread.
[[nodiscard]] SENTREL_API bool _getActiveGPUDeviceID(PropertyList::Bytes& deviceID, SystemManager& session = *System);

/// Fills the record and returns 1. If memory cannot be read: one line on the standard error stream, the record
/// untouched, 0. Any thread.
SENTREL_API int _getMEMData(MEMData* data, SystemManager& session = *System);

} // namespace sentrel::probes
