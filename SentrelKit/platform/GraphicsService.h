// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The graphics processors. Any thread. An operation that fails gives no value.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/util/PropertyList.h>

#include <optional>
#include <vector>

namespace sentrel::platform {

/// The questions about the graphics processors.
class SENTREL_API GraphicsService {
public:
    virtual ~GraphicsService() = default;

    /// The properties of every PCI device, in the system's order: "IOName" (text; "display" for a display controller),
    /// "device-id" (bytes) and, where it is known, "model" (bytes of UTF-8 text).
    [[nodiscard]] virtual std::optional<std::vector<PropertyList::Dictionary>> pciDevices() = 0;

    /// Puts the "device-id" of the device that drives the main display into the caller's bytes. False, the bytes as
    /// they were, on failure, and also when there is no display.
    [[nodiscard]] virtual bool activeDeviceID(PropertyList::Bytes& deviceID) = 0;
};

} // namespace sentrel::platform
