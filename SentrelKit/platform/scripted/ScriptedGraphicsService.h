// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <cerrno>
#include <optional>
#include <vector>

namespace sentrel::platform {

/// Graphics processors made of values: each answer is a public field. As made, a machine without PCI devices and
/// without a display. The values are set on the test's thread while no other one asks.
class SENTREL_API ScriptedGraphicsService final : public GraphicsService {
public:
    ScriptedCalls calls;                                      ///< what was asked, and how it fails
    std::vector<PropertyList::Dictionary> pciDevicesValue;    ///< what `pciDevices` answers
    std::optional<PropertyList::Bytes> activeDeviceIDValue{}; ///< absent: no display, so that asking fails with ENODEV

    std::optional<std::vector<GraphicsProcessor>> processorsValue{}; ///< absent: unsupported
    std::optional<std::vector<GraphicsClient>> clientsValue{};       ///< absent: unsupported

    std::optional<std::vector<PropertyList::Dictionary>> pciDevices() override {
        return calls.fails("pciDevices") ? std::nullopt : std::optional(pciDevicesValue);
    }
    bool activeDeviceID(PropertyList::Bytes& deviceID) override {
        if (calls.fails("activeDeviceID"))
            return false;
        if (activeDeviceIDValue)
            deviceID = *activeDeviceIDValue;
        else
            errno = ENODEV;
        return activeDeviceIDValue.has_value();
    }
    Availability processors(std::vector<GraphicsProcessor>& processors) override {
        return calls.answer("processors", processorsValue, processors);
    }
    Availability clients(std::vector<GraphicsClient>& clients) override {
        return calls.answer("clients", clientsValue, clients);
    }
};

} // namespace sentrel::platform
