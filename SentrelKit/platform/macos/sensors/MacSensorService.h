// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/SensorService.h>

namespace sentrel::platform {

/// No sensors: what answers for them, the management controller (AppleSMC) and the sensors of the HID service, is asked
/// by private calls whose keys differ from model to model. The public word on heat is HostService::thermalState.
class MacSensorService final : public SensorService {
public:
    Availability sensors(std::vector<SensorReading>& /*readings*/) override { return Availability::unsupported; }
    Availability energyCounters(std::vector<SensorReading>& /*readings*/) override { return Availability::unsupported; }
};

} // namespace sentrel::platform
