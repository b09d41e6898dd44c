// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(ScriptedSensorService, HasNoSensorsUntilItIsGivenSome) {
    ScriptedPlatform machine;
    ScriptedSensorService& sensors = machine.sensors();
    std::vector<SensorReading> readings{SensorReading{.label = "before"}};
    EXPECT_EQ(sensors.sensors(readings), Availability::unsupported);
    EXPECT_EQ(sensors.energyCounters(readings), Availability::unsupported);
    EXPECT_EQ(readings[0].label, "before");
    sensors.sensorsValue = {SensorReading{.label = "heat"}};
    sensors.energyCountersValue = {SensorReading{.kind = SensorKind::energy}};
    EXPECT_EQ(sensors.sensors(readings), Availability::available);
    EXPECT_EQ(readings, *sensors.sensorsValue);
    EXPECT_EQ(sensors.energyCounters(readings), Availability::available);
    EXPECT_EQ(readings, *sensors.energyCountersValue);
    sensors.calls.fail("energyCounters", {.error = EACCES});
    EXPECT_EQ(sensors.energyCounters(readings), Availability::denied);
}

} // namespace
} // namespace sentrel::platform
