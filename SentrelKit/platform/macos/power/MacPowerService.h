// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>

namespace sentrel::platform {

/// The power sources, and the battery's entry in the device registry.
class MacPowerService final : public PowerService {
public:
    std::unique_ptr<PowerSourcesInfo> powerSources() override;
    std::optional<PropertyList::Dictionary> externalAdapterDetails() override;
    std::unique_ptr<BatteryService> batteryService() override;
    Observation observe(std::function<void()> changed) override;
};

} // namespace sentrel::platform
