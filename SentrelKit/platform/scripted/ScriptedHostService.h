// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/HostService.h>

#include <cerrno>
#include <string>

namespace sentrel::platform {

/// A host made of values: each answer is a public field. An operation fails, with `failure` in errno, while its field
/// holds nothing.
class SENTREL_API ScriptedHostService final : public HostService {
public:
    std::optional<std::int64_t> bootTimeValue = 0;                              ///< what `bootTime` answers
    std::optional<host_basic_info> hostInfoValue = host_basic_info{};           ///< what `hostInfo` answers
    std::optional<HostLoadTicks> loadTicksValue = HostLoadTicks{};              ///< what `loadTicks` answers
    std::optional<ProcessorSet> processorSetValue = ProcessorSet{1};            ///< what `defaultProcessorSet` answers
    std::optional<ProcessorSetLoad> processorSetLoadValue = ProcessorSetLoad{}; ///< what `processorSetLoad` answers
    std::optional<std::string> brandValue = std::string();                      ///< what `brand` answers
    /// What `virtualMemory` answers.
    std::optional<VirtualMemoryCounters> virtualMemoryValue = VirtualMemoryCounters{};
    std::optional<SwapUsage> swapUsageValue = SwapUsage{};                 ///< what `swapUsage` answers
    std::optional<LoadAverages> loadAveragesValue = LoadAverages{};        ///< what `loadAverages` answers
    std::optional<std::uint64_t> physicalMemoryValue = 0;                  ///< what `physicalMemory` answers
    std::optional<double> awakeUptimeValue = 0.0;                          ///< what `awakeUptime` answers
    std::optional<ThermalState> thermalStateValue = ThermalState::nominal; ///< what `thermalState` answers
    int failure = EIO;                                                     ///< what errno says after a failure
    int brandAsked = 0;                                                    ///< how often the brand was asked for

    std::optional<std::int64_t> bootTime() override { return answer(bootTimeValue); }
    std::optional<host_basic_info> hostInfo() override { return answer(hostInfoValue); }
    std::optional<HostLoadTicks> loadTicks() noexcept override { return answer(loadTicksValue); }
    std::optional<ProcessorSet> defaultProcessorSet() noexcept override { return answer(processorSetValue); }
    std::optional<ProcessorSetLoad> processorSetLoad(ProcessorSet set) noexcept override;
    std::optional<std::size_t> brand(std::span<char> buffer) override;
    std::optional<VirtualMemoryCounters> virtualMemory() noexcept override { return answer(virtualMemoryValue); }
    std::optional<SwapUsage> swapUsage() noexcept override { return answer(swapUsageValue); }
    std::optional<LoadAverages> loadAverages() noexcept override { return answer(loadAveragesValue); }
    std::optional<std::uint64_t> physicalMemory() override { return answer(physicalMemoryValue); }
    std::optional<double> awakeUptime() noexcept override { return answer(awakeUptimeValue); }
    std::optional<ThermalState> thermalState() override { return answer(thermalStateValue); }

private:
    template <class T>
    std::optional<T> answer(const std::optional<T>& value) const {
        if (!value)
            errno = failure;
        return value;
    }
};

} // namespace sentrel::platform
