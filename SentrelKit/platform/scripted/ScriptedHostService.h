// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <string>

namespace sentrel::platform {

/// A host made of values: each answer is a public field. As made, a machine that tells nothing: zeros, an empty brand,
/// no heat. The values are set on the test's thread while no other one asks. `brand` is recorded with the size of the
/// buffer, `processorSetLoad` with the handle of the set; a set that is not the default one fails with EINVAL.
class SENTREL_API ScriptedHostService final : public HostService {
public:
    ScriptedCalls calls;                                    ///< what was asked, and how it fails
    std::int64_t bootTimeValue = 0;                         ///< what `bootTime` answers
    host_basic_info hostInfoValue;                          ///< what `hostInfo` answers
    HostLoadTicks loadTicksValue;                           ///< what `loadTicks` answers
    ProcessorSet processorSetValue{1};                      ///< what `defaultProcessorSet` answers
    ProcessorSetLoad processorSetLoadValue;                 ///< what `processorSetLoad` answers
    std::string brandValue;                                 ///< what `brand` answers
    VirtualMemoryCounters virtualMemoryValue;               ///< what `virtualMemory` answers
    SwapUsage swapUsageValue;                               ///< what `swapUsage` answers
    LoadAverages loadAveragesValue{};                       ///< what `loadAverages` answers
    std::uint64_t physicalMemoryValue = 0;                  ///< what `physicalMemory` answers
    double awakeUptimeValue = 0;                            ///< what `awakeUptime` answers
    ThermalState thermalStateValue = ThermalState::nominal; ///< what `thermalState` answers

    std::optional<std::int64_t> bootTime() override { return answer("bootTime", bootTimeValue); }
    std::optional<host_basic_info> hostInfo() override { return answer("hostInfo", hostInfoValue); }
    std::optional<HostLoadTicks> loadTicks() noexcept override { return answer("loadTicks", loadTicksValue); }
    std::optional<ProcessorSet> defaultProcessorSet() noexcept override {
        return answer("defaultProcessorSet", processorSetValue);
    }
    std::optional<ProcessorSetLoad> processorSetLoad(ProcessorSet set) noexcept override;
    std::optional<std::size_t> brand(std::span<char> buffer) override;
    std::optional<VirtualMemoryCounters> virtualMemory() noexcept override {
        return answer("virtualMemory", virtualMemoryValue);
    }
    std::optional<SwapUsage> swapUsage() noexcept override { return answer("swapUsage", swapUsageValue); }
    std::optional<LoadAverages> loadAverages() noexcept override { return answer("loadAverages", loadAveragesValue); }
    std::optional<std::uint64_t> physicalMemory() override { return answer("physicalMemory", physicalMemoryValue); }
    std::optional<double> awakeUptime() noexcept override { return answer("awakeUptime", awakeUptimeValue); }
    std::optional<ThermalState> thermalState() override { return answer("thermalState", thermalStateValue); }

private:
    // Reads the value after the call was recorded, whose hook may have changed it.
    template <class T>
    std::optional<T> answer(const char* operation, const T& value) const {
        return calls.fails(operation) ? std::nullopt : std::optional<T>(value);
    }
};

} // namespace sentrel::platform
