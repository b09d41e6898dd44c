// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/linux/common/ClassFolder.h>
#include <SentrelKit/platform/linux/common/NumberFile.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <vector>

namespace sentrel::platform {

/// The zones of /sys/class/powercap that count energy (Documentation/power/powercap/powercap.rst): "intel-rapl:0" is a
/// package of processors, labelled "package-0", "intel-rapl:0:1" a part of it, labelled "package-0 uncore". They are
/// looked for when other zones are in the class than before; whether one may be read is found out at each sample. One
/// thread at a time.
class EnergyZones {
public:
    explicit EnergyZones(SystemRoot root);

    /// As SensorService::energyCounters says.
    [[nodiscard]] Availability read(std::vector<SensorReading>& readings);

private:
    struct Zone {
        SensorReading reading;
        NumberFile counter;
        bool isRead = false; // at this sample
    };

    void find();

    const SystemRoot root_;
    ClassFolder folder_;
    std::vector<Zone> zones_;
};

} // namespace sentrel::platform
