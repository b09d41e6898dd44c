// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/SensorService.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

namespace sentrel::platform {

namespace {

void expectReadings(const std::vector<SensorReading>& readings) {
    EXPECT_FALSE(readings.empty());
    std::set<std::string> identifiers;
    for (const SensorReading& reading : readings) {
        EXPECT_LE(reading.kind, SensorKind::energy);
        EXPECT_TRUE(identifiers.insert(reading.identifier).second) << reading.identifier;
        EXPECT_FALSE(reading.identifier.empty());
        EXPECT_FALSE(reading.chip.empty());
        EXPECT_FALSE(reading.label.empty());
        EXPECT_TRUE(std::isfinite(reading.value));
        for (const auto& limit : {reading.minimum, reading.maximum, reading.critical})
            EXPECT_TRUE(std::isfinite(limit.value_or(0)));
        EXPECT_TRUE(!reading.range || reading.kind == SensorKind::energy);
        EXPECT_GT(reading.range.value_or(1), 0);
        if (reading.kind == SensorKind::energy) {
            EXPECT_GE(reading.value, 0);
        }
    }
}

} // namespace

TEST_P(PlatformContract, SensorsAreToldFromOneAnotherAndHaveFiniteValues) {
    const std::vector<SensorReading> before{SensorReading{.label = "before"}};
    std::vector<SensorReading> readings = before;
    const Availability answer = platform().sensors().sensors(readings);
    if (answer == Availability::available)
        return expectReadings(readings);
    EXPECT_EQ(readings, before);
}

TEST_P(PlatformContract, EnergyCountersCountEnergy) {
    const std::vector<SensorReading> before{SensorReading{.label = "before"}};
    std::vector<SensorReading> readings = before;
    const Availability answer = platform().sensors().energyCounters(readings);
    if (answer == Availability::available) {
        expectReadings(readings);
        EXPECT_TRUE(std::all_of(readings.begin(), readings.end(),
                                [](const SensorReading& reading) { return reading.kind == SensorKind::energy; }));
        return;
    }
    EXPECT_EQ(readings, before);
}

TEST_P(PlatformContract, AQuestionAboutTheSensorsThatFailsHasNoAnswer) {
    std::vector<SensorReading> any;
    if (machine->isReal() || platform().sensors().sensors(any) == Availability::unsupported)
        return;
    const std::vector<SensorReading> before{SensorReading{.label = "before"}};
    std::vector<SensorReading> readings = before;
    fail("sensors");
    EXPECT_EQ(platform().sensors().sensors(readings), Availability::failed);
    fail("energyCounters");
    EXPECT_EQ(platform().sensors().energyCounters(readings), Availability::failed);
    EXPECT_EQ(readings, before);
}

} // namespace sentrel::platform
