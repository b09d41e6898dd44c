// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>
#include <SentrelKit/platform/support/Observer.h>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// A host made of values: each answer is a public field. As made, a machine that tells nothing: zeros, an empty brand,
/// no heat. The values are set on the test's thread while no other one asks. `brand` is recorded with the size of the
/// buffer, `processorSetLoad` with the handle of the set; a set that is not the default one fails with EINVAL. A
/// resource is recorded with its number, and the observation of its pressure, which needs that the resource has one,
/// with the threshold behind it: "observePressure 0 some 150000 2000000"; what keeps it is told as "observation".
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
    /// What `pressure` answers, for each resource in their order; absent: the machine does not count it.
    std::array<std::optional<Pressure>, 3> pressureValues;
    // What the operation of the same name answers; absent: the machine does not have it.
    std::optional<ProcessorLoad> processorLoadValue;               ///< what `processorLoad` answers
    std::optional<ProcessorFrequencies> processorFrequenciesValue; ///< what `processorFrequencies` answers
    std::optional<MemoryDetails> memoryDetailsValue;               ///< what `memoryDetails` answers
    std::optional<SwapCounters> swapCountersValue;                 ///< what `swapCounters` answers
    std::optional<MemoryCompression> memoryCompressionValue;       ///< what `memoryCompression` answers
    std::optional<std::vector<MemoryNode>> memoryNodesValue;       ///< what `memoryNodes` answers
    std::optional<OperatingSystem> operatingSystemValue;           ///< what `operatingSystem` answers
    std::optional<Virtualization> virtualizationValue;             ///< what `virtualization` answers
    std::optional<ControlGroup> controlGroupValue;                 ///< what `controlGroup` answers
    std::optional<std::vector<LoggedInUser>> usersValue;           ///< what `users` answers

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
    Availability pressure(PressureResource resource, Pressure& pressure) noexcept override;
    Observation observePressure(PressureResource resource, const PressureThreshold& threshold,
                                std::function<void()> crossed) override;
    Availability processorLoad(ProcessorLoad& load) noexcept override {
        return calls.answer("processorLoad", processorLoadValue, load);
    }
    Availability processorFrequencies(ProcessorFrequencies& frequencies) override {
        return calls.answer("processorFrequencies", processorFrequenciesValue, frequencies);
    }
    Availability memoryDetails(MemoryDetails& details) noexcept override {
        return calls.answer("memoryDetails", memoryDetailsValue, details);
    }
    Availability swapCounters(SwapCounters& counters) noexcept override {
        return calls.answer("swapCounters", swapCountersValue, counters);
    }
    Availability memoryCompression(MemoryCompression& compression) override {
        return calls.answer("memoryCompression", memoryCompressionValue, compression);
    }
    Availability memoryNodes(std::vector<MemoryNode>& nodes) override {
        return calls.answer("memoryNodes", memoryNodesValue, nodes);
    }
    Availability operatingSystem(OperatingSystem& system) override {
        return calls.answer("operatingSystem", operatingSystemValue, system);
    }
    Availability virtualization(Virtualization& virtualization) override {
        return calls.answer("virtualization", virtualizationValue, virtualization);
    }
    Availability controlGroup(ControlGroup& group) override {
        return calls.answer("controlGroup", controlGroupValue, group);
    }
    Availability users(std::vector<LoggedInUser>& users) override { return calls.answer("users", usersValue, users); }

    /// Tells those who observe the resource's pressure, on this thread, whatever their thresholds are.
    void press(PressureResource resource);

    /// How many observe the resource's pressure.
    [[nodiscard]] std::size_t pressureObservers(PressureResource resource) const {
        return pressureObservers_.at(static_cast<std::size_t>(resource)).count();
    }

private:
    // Reads the value after the call was recorded, whose hook may have changed it.
    template <class T>
    std::optional<T> answer(const char* operation, const T& value) const {
        return calls.fails(operation) ? std::nullopt : std::optional<T>(value);
    }

    std::array<Observers<Change>, 3> pressureObservers_;
};

} // namespace sentrel::platform
