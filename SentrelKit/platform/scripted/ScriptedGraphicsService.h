// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>

#include <cerrno>

namespace sentrel::platform {

/// Graphics processors made of values: each answer is a public field. An operation fails, with `failure` in errno,
/// while its field holds nothing.
class SENTREL_API ScriptedGraphicsService final : public GraphicsService {
public:
    /// What `pciDevices` answers.
    std::optional<std::vector<PropertyList::Dictionary>> pciDevicesValue = std::vector<PropertyList::Dictionary>();
    std::optional<PropertyList::Bytes> activeDeviceIDValue; ///< what `activeDeviceID` answers
    int failure = ENODEV;                                   ///< what errno says after a failure

    std::optional<std::vector<PropertyList::Dictionary>> pciDevices() override {
        if (!pciDevicesValue)
            errno = failure;
        return pciDevicesValue;
    }
    bool activeDeviceID(PropertyList::Bytes& deviceID) override {
        if (activeDeviceIDValue)
            deviceID = *activeDeviceIDValue;
        else
            errno = failure;
        return activeDeviceIDValue.has_value();
    }
};

} // namespace sentrel::platform
