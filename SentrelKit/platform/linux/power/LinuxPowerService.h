// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>
#include <SentrelKit/platform/linux/power/PowerChanges.h>
#include <SentrelKit/platform/linux/power/PowerReader.h>

#include <functional>
#include <memory>

namespace sentrel::platform {

/// /sys/class/power_supply and the uevents of its devices. PowerSupply.h and PowerFigures.h hold the rules.
class LinuxPowerService final : public PowerService {
public:
    explicit LinuxPowerService(const SystemRoot& root, const PowerChangeTimes& times = {});

    [[nodiscard]] std::unique_ptr<PowerSourcesInfo> powerSources() override;
    [[nodiscard]] std::optional<PropertyList::Dictionary> externalAdapterDetails() override;
    [[nodiscard]] std::unique_ptr<BatteryService> batteryService() override;

    /// The loop is the calling thread's default GLib main context, as in PowerChanges.h. Never fails.
    [[nodiscard]] Observation observe(std::function<void()> changed) override;

private:
    const std::shared_ptr<PowerReader> reader_;
    const PowerChangeTimes times_;
};

} // namespace sentrel::platform
