// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/linux/common/EventSource.h>
#include <SentrelKit/platform/linux/common/SampledTable.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/host/CpuFrequencies.h>
#include <SentrelKit/platform/linux/host/MemInfo.h>
#include <SentrelKit/platform/linux/host/MemoryDevices.h>
#include <SentrelKit/platform/linux/host/ProcStat.h>
#include <SentrelKit/platform/linux/host/ProcessCount.h>
#include <SentrelKit/platform/linux/host/ThermalZones.h>

#include <array>
#include <vector>

namespace sentrel::platform {

/// The host as /proc, /sys and the monotonic clock tell it. What stands for what is said in the headers beside this
/// one.
///
/// The one processor set is the machine: processes of other process-id namespaces count too, as do their threads.
class LinuxHostService final : public HostService {
public:
    /// The queues outlive the host; without them nothing can be observed.
    explicit LinuxHostService(const SystemRoot& root = SystemRoot(), EventSource* events = nullptr);

    std::optional<std::int64_t> bootTime() override;
    std::optional<host_basic_info> hostInfo() override;
    std::optional<HostLoadTicks> loadTicks() noexcept override;
    std::optional<ProcessorSet> defaultProcessorSet() noexcept override;
    std::optional<ProcessorSetLoad> processorSetLoad(ProcessorSet set) noexcept override;
    std::optional<std::size_t> brand(std::span<char> buffer) override;
    std::optional<VirtualMemoryCounters> virtualMemory() noexcept override;
    std::optional<SwapUsage> swapUsage() noexcept override;
    std::optional<LoadAverages> loadAverages() noexcept override;
    std::optional<std::uint64_t> physicalMemory() override;
    std::optional<double> awakeUptime() noexcept override;
    std::optional<ThermalState> thermalState() override;
    Availability pressure(PressureResource resource, Pressure& pressure) noexcept override;
    Observation observePressure(PressureResource resource, const PressureThreshold& threshold,
                                std::function<void()> crossed) override;
    Availability processorLoad(ProcessorLoad& load) noexcept override;
    Availability processorFrequencies(ProcessorFrequencies& frequencies) override;
    Availability memoryDetails(MemoryDetails& details) noexcept override;
    Availability swapCounters(SwapCounters& counters) noexcept override;
    Availability memoryCompression(MemoryCompression& compression) override;
    Availability memoryNodes(std::vector<MemoryNode>& nodes) override;
    Availability operatingSystem(OperatingSystem& system) override;
    Availability virtualization(Virtualization& virtualization) override;
    Availability controlGroup(ControlGroup& group) override;
    Availability users(std::vector<LoggedInUser>& users) override;

private:
    [[nodiscard]] std::optional<std::string_view> wholeStatText() noexcept SENTREL_REQUIRES(loadLock_);
    [[nodiscard]] std::optional<std::string_view> memInfoText() noexcept SENTREL_REQUIRES(memoryLock_);
    [[nodiscard]] std::optional<std::string_view> vmStatText() noexcept SENTREL_REQUIRES(memoryLock_);
    [[nodiscard]] std::optional<MemInfo> readMemInfo() noexcept SENTREL_REQUIRES(memoryLock_);
    [[nodiscard]] std::uint64_t compressedBytes(const MemInfo& info, const VmStat& stat) noexcept
        SENTREL_REQUIRES(memoryLock_);

    const SystemRoot root_;
    EventSource* const events_;

    Lock loadLock_;
    KeptFile stat_ SENTREL_GUARDED_BY(loadLock_);
    KeptFile loadAverage_ SENTREL_GUARDED_BY(loadLock_);
    SteadyTicks ticks_ SENTREL_GUARDED_BY(loadLock_);
    ProcessCount processes_ SENTREL_GUARDED_BY(loadLock_);
    SampledTable wholeStat_ SENTREL_GUARDED_BY(loadLock_);

    Lock frequencyLock_;
    CpuFrequencies frequencies_ SENTREL_GUARDED_BY(frequencyLock_);

    Lock memoryLock_;
    KeptFile memInfo_ SENTREL_GUARDED_BY(memoryLock_);
    SampledTable memInfoTable_ SENTREL_GUARDED_BY(memoryLock_);
    KeptFile vmStat_ SENTREL_GUARDED_BY(memoryLock_);
    SampledTable vmStatTable_ SENTREL_GUARDED_BY(memoryLock_);
    KeptFile zswapPool_ SENTREL_GUARDED_BY(memoryLock_);
    KeptFile zswapSwitch_ SENTREL_GUARDED_BY(memoryLock_);
    ZramDevices zram_ SENTREL_GUARDED_BY(memoryLock_);
    MemoryNodeFiles nodes_ SENTREL_GUARDED_BY(memoryLock_);

    Lock pressureLock_;
    std::array<KeptFile, 3> pressure_ SENTREL_GUARDED_BY(pressureLock_);

    Lock thermalLock_;
    ThermalZones zones_ SENTREL_GUARDED_BY(thermalLock_);
    std::optional<std::int64_t> zonesFound_ SENTREL_GUARDED_BY(thermalLock_); // CLOCK_MONOTONIC
};

} // namespace sentrel::platform
