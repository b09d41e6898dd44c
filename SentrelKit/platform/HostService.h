// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The host: boot time, hardware description, processor load, memory, swap, clocks and heat. Every operation takes one
/// reading and decides nothing; one that fails gives no value. Any thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/HostFacts.h>
#include <SentrelKit/platform/MemoryFacts.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/ProcessorFacts.h>
#include <SentrelKit/platform/ThermalState.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace sentrel::platform {

/// The host's basic description. "Max" counts what the running system could use, offline processors included; the
/// plain counts are what is online now, on Linux isolated processors too.
struct host_basic_info {
    std::int32_t max_cpus = 0;         ///< logical processors that the system has reserved room for
    std::int32_t avail_cpus = 0;       ///< logical processors online
    std::uint32_t memory_size = 0;     ///< bytes of memory, at most 2^32 - 1
    std::int32_t cpu_type = 0;         ///< the platform's own number of the architecture; 0 where it has none
    std::int32_t cpu_subtype = 0;      ///< the same of its variant
    std::int32_t cpu_threadtype = 0;   ///< the same of its threading
    std::int32_t physical_cpu = 0;     ///< cores with at least one processor online
    std::int32_t physical_cpu_max = 0; ///< cores of the machine
    std::int32_t logical_cpu = 0;      ///< logical processors online
    std::int32_t logical_cpu_max = 0;  ///< logical processors of the machine
    std::uint64_t max_mem = 0;         ///< bytes of memory
};

/// Ticks of all processors together since boot. They wrap at 2^32 and otherwise never decrease.
struct HostLoadTicks {
    std::uint32_t user = 0;   ///< without nice
    std::uint32_t system = 0; ///< in the kernel, with interrupts and what a hypervisor took
    std::uint32_t idle = 0;   ///< with nothing to do, or waiting for a device
    std::uint32_t nice = 0;   ///< of user programs at a low priority
    /// Whether every figure is the same.
    friend bool operator==(const HostLoadTicks&, const HostLoadTicks&) = default;
};

/// Names a processor set to the service that gave it, which keeps it until it is asked for its default set again.
struct ProcessorSet {
    std::uintptr_t handle = 0; ///< the service's own name of it
};

/// What runs on a processor set.
struct ProcessorSetLoad {
    std::uint32_t tasks = 0;   ///< processes
    std::uint32_t threads = 0; ///< threads of all of them
};

/// Virtual-memory counters. The page counts are in units of 4096 bytes whatever the system's own page size; the three
/// since boot are plain counts.
struct VirtualMemoryCounters {
    std::uint32_t free_count = 0;            ///< pages that hold nothing
    std::uint32_t active_count = 0;          ///< pages in use
    std::uint32_t inactive_count = 0;        ///< pages that were not used for a while; they count as free
    std::uint32_t wire_count = 0;            ///< pages that cannot be moved out
    std::uint32_t compressor_page_count = 0; ///< what the compressor occupies, not what it has taken in
    std::uint64_t pageins = 0;               ///< pages read in since boot
    std::uint64_t pageouts = 0;              ///< pages written out since boot
    std::uint64_t faults = 0;                ///< page faults since boot
    std::uint32_t internal_page_count = 0;   ///< memory of programs that no file backs
    std::uint32_t purgeable_count = 0;       ///< the part of it that its owners allow to be dropped
    std::uint32_t external_page_count = 0;   ///< memory that files back
    /// Whether every figure is the same.
    friend bool operator==(const VirtualMemoryCounters&, const VirtualMemoryCounters&) = default;
};

/// Swap space, in bytes.
struct SwapUsage {
    std::uint64_t total = 0;     ///< all of it; 0 without swap
    std::uint64_t available = 0; ///< free
    std::uint64_t used = 0;      ///< in use
    /// Whether every figure is the same.
    friend bool operator==(const SwapUsage&, const SwapUsage&) = default;
};

/// Averages of the number of runnable threads over the last 1, 5 and 15 minutes.
using LoadAverages = std::array<double, 3>;

/// The questions about the host, each answered on the calling thread.
class SENTREL_API HostService {
public:
    virtual ~HostService() = default;

    /// The moment of the last boot, in seconds since the epoch.
    [[nodiscard]] virtual std::optional<std::int64_t> bootTime() = 0;

    /// What the machine is made of, as it stands now.
    [[nodiscard]] virtual std::optional<host_basic_info> hostInfo() = 0;

    /// Sampled every second: allocates nothing.
    [[nodiscard]] virtual std::optional<HostLoadTicks> loadTicks() noexcept = 0;

    /// The set that every process runs on unless told otherwise. Allocates nothing.
    [[nodiscard]] virtual std::optional<ProcessorSet> defaultProcessorSet() noexcept = 0;

    /// What runs on a set. Allocates nothing.
    [[nodiscard]] virtual std::optional<ProcessorSetLoad> processorSetLoad(ProcessorSet set) noexcept = 0;

    /// Writes the processor's brand as its maker spells it; gives the number of bytes written, which may count a
    /// terminator. A text longer than the buffer is cut (Linux), or a failure where the system gives it only whole
    /// (macOS).
    [[nodiscard]] virtual std::optional<std::size_t> brand(std::span<char> buffer) = 0;

    /// Sampled every other second: allocates nothing.
    [[nodiscard]] virtual std::optional<VirtualMemoryCounters> virtualMemory() noexcept = 0;

    /// The swap space as it stands now. Allocates nothing.
    [[nodiscard]] virtual std::optional<SwapUsage> swapUsage() noexcept = 0;

    /// The averages as they stand now. Allocates nothing.
    [[nodiscard]] virtual std::optional<LoadAverages> loadAverages() noexcept = 0;

    /// Installed memory in bytes, as far as the system can use it.
    [[nodiscard]] virtual std::optional<std::uint64_t> physicalMemory() = 0;

    /// Seconds since boot that the machine was awake.
    [[nodiscard]] virtual std::optional<double> awakeUptime() noexcept = 0;

    /// The heat by the machine's own judgement.
    [[nodiscard]] virtual std::optional<ThermalState> thermalState() = 0;

    /// How much threads wait for a resource; the record stays as it was unless it is available. Allocates nothing.
    /// Linux 4.20: /proc/pressure, readable for everybody. macOS: unsupported: it averages no waiting, and has of
    /// memory alone a level, of which it only tells that it is reached.
    [[nodiscard]] virtual Availability pressure(PressureResource resource, Pressure& pressure) noexcept = 0;

    /// Calls each time threads waited for a resource as long as the threshold says within its window, at most once a
    /// window. The system itself counts; nothing runs meanwhile. On the background queue. Empty, with errno set, where
    /// the system refuses or does not have it (`availabilityOf`). Linux: a trigger of /proc/pressure. macOS: a dispatch
    /// source of memory pressure, at its warning for `some` and at critical for `full`, whatever the threshold's times;
    /// ENOTSUP for processor and disks.
    [[nodiscard]] virtual Observation observePressure(PressureResource resource, const PressureThreshold& threshold,
                                                      std::function<void()> crossed) = 0;

    // What follows leaves the record as it was unless it is available.

    /// What the processors have done since boot. Allocates nothing once the record has room.
    [[nodiscard]] virtual Availability processorLoad(ProcessorLoad& load) noexcept = 0;

    /// How fast each processor runs. Allocates nothing once the record has room, except for a look at what there is
    /// once a minute.
    [[nodiscard]] virtual Availability processorFrequencies(ProcessorFrequencies& frequencies) = 0;

    /// The parts of the memory now. Allocates nothing.
    [[nodiscard]] virtual Availability memoryDetails(MemoryDetails& details) noexcept = 0;

    /// What was swapped since boot. Allocates nothing.
    [[nodiscard]] virtual Availability swapCounters(SwapCounters& counters) noexcept = 0;

    /// What is kept compressed now. Allocates nothing, except for a look at what there is once a minute.
    [[nodiscard]] virtual Availability memoryCompression(MemoryCompression& compression) = 0;

    /// Each node of memory now, by rising number. Allocates nothing once the record has room, except for a look at what
    /// there is once a minute.
    [[nodiscard]] virtual Availability memoryNodes(std::vector<MemoryNode>& nodes) = 0;

    /// The system that runs.
    [[nodiscard]] virtual Availability operatingSystem(OperatingSystem& system) = 0;

    /// What the machine is virtualised by; available with empty texts on a bare one.
    [[nodiscard]] virtual Availability virtualization(Virtualization& virtualization) = 0;

    /// The limits and the use of this process's control group.
    [[nodiscard]] virtual Availability controlGroup(ControlGroup& group) = 0;

    /// Who is logged in, in the order of the system's own list. Linux: /run/utmp. macOS: getutxent, for everybody; of
    /// its walk a process has one, so that a host that walks that list itself does so on no other thread meanwhile.
    [[nodiscard]] virtual Availability users(std::vector<LoggedInUser>& users) = 0;
};

} // namespace sentrel::platform
