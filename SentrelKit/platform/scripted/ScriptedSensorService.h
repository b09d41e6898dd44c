// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <optional>
#include <vector>

namespace sentrel::platform {

/// Sensors made of values: each answer is a public field. As made, a machine without sensors. The values are set on the
/// test's thread while no other one asks.
class SENTREL_API ScriptedSensorService final : public SensorService {
public:
    ScriptedCalls calls;                                             ///< what was asked, and how it fails
    std::optional<std::vector<SensorReading>> sensorsValue{};        ///< absent: unsupported
    std::optional<std::vector<SensorReading>> energyCountersValue{}; ///< absent: unsupported

    Availability sensors(std::vector<SensorReading>& readings) override {
        return calls.answer("sensors", sensorsValue, readings);
    }
    Availability energyCounters(std::vector<SensorReading>& readings) override {
        return calls.answer("energyCounters", energyCountersValue, readings);
    }
};

} // namespace sentrel::platform
