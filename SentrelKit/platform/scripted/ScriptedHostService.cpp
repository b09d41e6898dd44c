// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedHostService.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace sentrel::platform {

std::optional<ProcessorSetLoad> ScriptedHostService::processorSetLoad(ProcessorSet set) noexcept {
    if (calls.fails("processorSetLoad", std::to_string(set.handle)))
        return std::nullopt;
    if (processorSetValue.handle == set.handle)
        return processorSetLoadValue;
    errno = EINVAL;
    return std::nullopt;
}

std::optional<std::size_t> ScriptedHostService::brand(std::span<char> buffer) {
    if (calls.fails("brand", std::to_string(buffer.size())))
        return std::nullopt;
    return brandValue.copy(buffer.data(), buffer.size());
}

Availability ScriptedHostService::pressure(PressureResource resource, Pressure& pressure) noexcept {
    const auto number = static_cast<std::size_t>(resource);
    if (calls.fails("pressure", std::to_string(number)))
        return availabilityOf(errno);
    const std::optional<Pressure>& value = pressureValues.at(number);
    if (!value)
        return Availability::unsupported;
    pressure = *value;
    return Availability::available;
}

Observation ScriptedHostService::observePressure(PressureResource resource, const PressureThreshold& threshold,
                                                 std::function<void()> crossed) {
    const auto number = static_cast<std::size_t>(resource);
    const char* const kind = threshold.kind == PressureThreshold::Kind::some ? " some " : " full ";
    if (calls.fails("observePressure", std::to_string(number) + kind + std::to_string(threshold.stall) + " " +
                                           std::to_string(threshold.window)))
        return {};
    if (!pressureValues.at(number)) {
        errno = ENOENT;
        return {};
    }
    return pressureObservers_.at(number).add([call = std::move(crossed)](Change) { call(); },
                                             std::make_shared<ScriptedHandle>(calls, "observation"));
}

void ScriptedHostService::press(PressureResource resource) {
    Observers<Change>& observers = pressureObservers_.at(static_cast<std::size_t>(resource));
    observers.post({});
    observers.tell();
}

} // namespace sentrel::platform
