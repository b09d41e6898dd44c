// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/macos/common/MachPort.h>

#include <mach/mach.h>

namespace sentrel::platform {

/// The host as the Mach host interface, `sysctl` and the process information tell it.
class MacHostService final : public HostService {
public:
    MacHostService();

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
    [[nodiscard]] std::optional<vm_statistics64> memoryStatistics() noexcept;

    const MachPort host_; // asked for once: each answer is one more right
    Lock setLock_;
    MachPort defaultSet_ SENTREL_GUARDED_BY(setLock_); // the right of the last answer
};

} // namespace sentrel::platform
