// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the host tells of its memory beyond the first figures. What a system does not count is absent.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <optional>

namespace sentrel {

/// Parts of the memory, in bytes unless said otherwise. They overlap, and need not add up.
struct MemoryDetails {
    std::optional<std::uint64_t> available;         ///< what new programs could have without swapping
    std::optional<std::uint64_t> buffers;           ///< cache of raw block devices
    std::optional<std::uint64_t> cached;            ///< cache of files, shared memory included on Linux
    std::optional<std::uint64_t> slabReclaimable;   ///< caches of the kernel's own objects that can be dropped
    std::optional<std::uint64_t> slabUnreclaimable; ///< the kernel's own objects that cannot
    std::optional<std::uint64_t> hugePagesTotal;    ///< number of huge pages set apart
    std::optional<std::uint64_t> hugePagesFree;     ///< number of them that hold nothing
    std::optional<std::uint64_t> hugePageSize;      ///< bytes of one
    std::optional<std::uint64_t> dirty;             ///< waits to be written to a device
    std::optional<std::uint64_t> writeback;         ///< is being written to a device
    /// Whether everything is the same.
    friend bool operator==(const MemoryDetails&, const MemoryDetails&) = default;
};

/// What is kept compressed in memory.
struct MemoryCompression {
    std::uint64_t stored = 0;   ///< bytes before they were compressed
    std::uint64_t occupied = 0; ///< bytes of memory that it takes now
    /// `stored` by `occupied`, more than 1 where it saves memory; absent while nothing is stored.
    [[nodiscard]] std::optional<double> ratio() const noexcept {
        if (stored == 0 || occupied == 0)
            return std::nullopt;
        return static_cast<double>(stored) / static_cast<double>(occupied);
    }
    /// Whether both are the same.
    friend bool operator==(const MemoryCompression&, const MemoryCompression&) = default;
};

/// The memory that is close to some of the processors.
struct MemoryNode {
    std::uint32_t number = 0; ///< the system's number of it
    std::uint64_t total = 0;  ///< bytes
    std::uint64_t free = 0;   ///< bytes that hold nothing at all, no cache either
    /// Whether everything is the same.
    friend bool operator==(const MemoryNode&, const MemoryNode&) = default;
};

namespace platform {

/// Bytes swapped since boot.
struct SwapCounters {
    std::uint64_t in = 0;  ///< read back
    std::uint64_t out = 0; ///< written
    /// Whether both are the same.
    friend bool operator==(const SwapCounters&, const SwapCounters&) = default;
};

} // namespace platform
} // namespace sentrel
