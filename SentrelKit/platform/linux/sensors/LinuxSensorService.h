// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/linux/sensors/EnergyZones.h>
#include <SentrelKit/platform/linux/sensors/MonitorChips.h>

#include <vector>

namespace sentrel::platform {

/// The hwmon and the powercap class of /sys: what stands for what is said in MonitorChips.h and EnergyZones.h.
class LinuxSensorService final : public SensorService {
public:
    explicit LinuxSensorService(const SystemRoot& root = SystemRoot()) : chips_(root), zones_(root) {}

    Availability sensors(std::vector<SensorReading>& readings) override {
        const LockScope scope(lock_);
        return chips_.read(readings);
    }
    Availability energyCounters(std::vector<SensorReading>& readings) override {
        const LockScope scope(lock_);
        return zones_.read(readings);
    }

private:
    Lock lock_;
    MonitorChips chips_ SENTREL_GUARDED_BY(lock_);
    EnergyZones zones_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
