// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Physical memory, paging and swap.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/MemoryFacts.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/probes/detail/CounterRate.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/detail/Measuring.h>
#include <SentrelKit/system/detail/PressureAlarm.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <vector>

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

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        pressure,    ///< `pressure`
        details,     ///< `details`
        swapRates,   ///< `swapRates` and `swapped`
        compression, ///< `compression`
        nodes,       ///< `nodes`
    };

    /// From the next sample on these groups are sampled too, and no others. A group that is not wanted costs nothing.
    /// Any thread.
    void setMeasures(MeasureSet<Measure> wanted) noexcept { measuring_.setWanted(wanted); }

    /// The groups that are wanted; none at first. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept { return measuring_.wanted(); }

    /// What the last sample said of a group; absent while the group is not wanted or was not sampled since. The facts
    /// of a group are absent unless it is available. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        return measuring_.availability(measure);
    }

    /// How much threads wait for memory. Linux 4.20: /proc/pressure/memory, readable for everybody. macOS:
    /// unsupported, it averages no waiting and has a level alone, which `setPressureThreshold` hears of. Under a short
    /// lock.
    [[nodiscard]] std::optional<Pressure> pressure() const;

    /// From now on `onPressure` fires when threads waited for memory as the threshold says; absent: no longer. The
    /// system itself counts, whether this model is sampled or not. The answer is why it does not: on Linux it depends
    /// on the kernel's version and on privilege which thresholds it takes (Linux 6.5: from everybody those with windows
    /// of 2, 4, 6, 8 or 10 s; else CAP_SYS_RESOURCE). macOS has levels of its own instead: a threshold of kind `some`
    /// stands for its warning, `full` for critical. On the main thread.
    Availability setPressureThreshold(const std::optional<PressureThreshold>& threshold) {
        return alarm_.set(threshold);
    }

    /// Fires on the main queue, on Linux at most once a window. Carries no value.
    [[nodiscard]] Signal<void>& onPressure() noexcept { return alarm_.crossed(); }

    /// Parts of the memory. Linux: the lines MemAvailable, Buffers, Cached, SReclaimable, SUnreclaim, HugePages_Total,
    /// HugePages_Free, Hugepagesize, Dirty and Writeback of /proc/meminfo, readable for everybody. macOS:
    /// host_statistics64, where only `available` (free and inactive) and `cached` (external and purgeable) are told.
    /// Under a short lock.
    [[nodiscard]] std::optional<MemoryDetails> details() const;

    /// Bytes a second between memory and swap.
    struct SwapRates {
        double in = 0;  ///< read back
        double out = 0; ///< written
        /// Whether both are the same.
        friend bool operator==(const SwapRates&, const SwapRates&) = default;
    };

    /// What was swapped since the sample before, a second. Absent until the second sample of the group, and when a
    /// counter stepped back. Linux: pswpin and pswpout of /proc/vmstat times the page size, readable for everybody;
    /// zram counts as swap. macOS: host_statistics64. Under a short lock.
    [[nodiscard]] std::optional<SwapRates> swapRates() const;
    /// What was swapped since boot, in bytes, as of the last sample; the same counters. Under a short lock.
    [[nodiscard]] std::optional<platform::SwapCounters> swapped() const;

    /// What is kept compressed, and what it takes. Linux: the first and the third figure of /sys/block/zram*/mm_stat of
    /// all devices that were given a size, used for swap or not, and Zswapped and Zswap of /proc/meminfo; unsupported
    /// where there is no such device and zswap is off. macOS: the compressor, by host_statistics64. Under a short lock.
    [[nodiscard]] std::optional<MemoryCompression> compression() const;

    /// Each node of a machine whose memory is not equally close to all processors, by rising number; one node elsewhere
    /// on Linux. Linux: /sys/devices/system/node/node*/meminfo, readable for everybody. Not on macOS. Under a short
    /// lock.
    [[nodiscard]] std::vector<MemoryNode> nodes() const;
    /// The same into the caller's list, which needs no memory once it has room.
    void nodes(std::vector<MemoryNode>& nodes) const;

private:
    void sampleFigures();
    void sampleMeasures();
    void sampleSwapRates();
    // Samples a group that is one record, if it is wanted.
    template <class Record, class Ask>
    void sampleRecord(Measure measure, Atomic<Record>& newest, Ask ask);

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
    Measuring<Measure> measuring_;
    Atomic<Pressure> pressure_;
    Atomic<MemoryDetails> details_;
    Atomic<std::optional<SwapRates>> swapRates_;
    Atomic<platform::SwapCounters> swapped_;
    Atomic<MemoryCompression> compression_;
    Atomic<std::vector<MemoryNode>> nodes_;
    // Of the sampling thread alone.
    probes::CounterRate swapInRate_;
    probes::CounterRate swapOutRate_;
    std::vector<MemoryNode> newNodes_;
    PressureAlarm alarm_;
};

/// Writes it as "{wired, active, compressed, free}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Memory::Percents& value);

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Memory::Measure value);

} // namespace sentrel
