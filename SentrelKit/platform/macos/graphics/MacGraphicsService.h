// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>

namespace sentrel::platform {

/// The graphics processors as the device registry and the display services tell them.
class MacGraphicsService final : public GraphicsService {
public:
    std::optional<std::vector<PropertyList::Dictionary>> pciDevices() override;
    bool activeDeviceID(PropertyList::Bytes& deviceID) override;
    Availability processors(std::vector<GraphicsProcessor>& processors) override;
    // The system tells nobody what a processor does for one program.
    Availability clients(std::vector<GraphicsClient>& /*clients*/) override { return Availability::unsupported; }
};

} // namespace sentrel::platform
