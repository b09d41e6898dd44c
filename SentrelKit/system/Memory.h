// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Physical memory, paging and swap.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/SystemResource.h>

#include <cstdint>
#include <memory>

namespace sentrel {

/// The model of memory. The registry owns the one instance and samples it every 2 seconds. The figures of a sample are
/// 0 before the first one; a sample that fails leaves them as they were.
///
/// Getters answer from any thread without a lock and may mix two samples. Source: the platform's HostService; on Linux
/// /proc/meminfo and /proc/vmstat, where `free` is what the kernel calls available and wired, active, compressed and
/// free make up all of the memory.
class SENTREL_API Memory final : public SystemResource {
public:
    /// Reads the size of the memory; 0 if it cannot be told.
    explicit Memory(std::shared_ptr<probes::SystemManager> session = probes::session());

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::mem; }

    /// Takes one sample.
    void update() override;

    [[nodiscard]] std::uint64_t physical() const noexcept { return physical_; }     ///< installed, bytes
    [[nodiscard]] std::uint64_t wired() const noexcept { return wired_; }           ///< cannot be moved out, bytes
    [[nodiscard]] std::uint64_t active() const noexcept { return active_; }         ///< in use by programs, bytes
    [[nodiscard]] std::uint64_t compressed() const noexcept { return compressed_; } ///< the compressor, bytes
    [[nodiscard]] std::uint64_t free() const noexcept { return free_; } ///< bytes, with inactive memory: meant so
    [[nodiscard]] std::uint64_t appMemory() const noexcept { return appMemory_; }     ///< of programs, bytes
    [[nodiscard]] std::uint64_t cachedFiles() const noexcept { return cachedFiles_; } ///< of files, bytes

    /// Pages read in since boot. On Linux they are of 4096 bytes, and those of every block device count.
    [[nodiscard]] std::uint64_t pagesIn() const noexcept { return pagesIn_; }
    /// Pages written out since boot, counted the same way.
    [[nodiscard]] std::uint64_t pagesOut() const noexcept { return pagesOut_; }
    /// Page faults since boot.
    [[nodiscard]] std::uint64_t pagesFault() const noexcept { return pagesFault_; }

    /// Wired, active and compressed memory in percent of those and free, rounded half away from zero, 0 to 100; 0
    /// before the first sample.
    [[nodiscard]] int usage() const noexcept;

    /// Shares of the memory, in percent.
    struct Percents {
        int wired = 0;      ///< cannot be moved out
        int active = 0;     ///< in use by programs
        int compressed = 0; ///< what the compressor occupies
        int free = 0;       ///< free, with inactive memory
        /// Whether all four are the same.
        friend bool operator==(const Percents&, const Percents&) = default;
    };

    /// Each of the four in percent of their sum, rounded half away from zero, so that they need not add up to 100;
    /// zeros before the first sample.
    [[nodiscard]] Percents percents() const noexcept;

    /// Swap space, in bytes.
    struct Swap {
        std::uint64_t total = 0; ///< all of it; 0 without swap
        std::uint64_t used = 0;  ///< in use
        /// Whether both are the same.
        friend bool operator==(const Swap&, const Swap&) = default;
    };

    /// Swap space now, in bytes, asked for at each call. If it cannot be told: one line on the standard output, and
    /// zeros.
    [[nodiscard]] Swap swap() const;

private:
    const std::shared_ptr<probes::SystemManager> session_;
    std::uint64_t physical_ = 0;
    Relaxed<std::uint64_t> wired_;
    Relaxed<std::uint64_t> active_;
    Relaxed<std::uint64_t> compressed_;
    Relaxed<std::uint64_t> free_;
    Relaxed<std::uint64_t> appMemory_;
    Relaxed<std::uint64_t> cachedFiles_;
    Relaxed<std::uint64_t> pagesIn_;
    Relaxed<std::uint64_t> pagesOut_;
    Relaxed<std::uint64_t> pagesFault_;
};

} // namespace sentrel
