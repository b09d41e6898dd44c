// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Sensors.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/System.h>

#include "tests/support/Allocations.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <vector>

namespace sentrel {
namespace {

using platform::SensorReading;
using testing::IsEmpty;
using Kind = Sensors::Kind;

const SensorReading heat{.kind = Kind::temperature,
                         .identifier = "coretemp@coretemp.0/temp1",
                         .chip = "coretemp",
                         .label = "Package id 0",
                         .value = 47,
                         .maximum = 100,
                         .critical = 105,
                         .alarm = false};
const SensorReading fan{.kind = Kind::fan, .identifier = "chip/fan1", .chip = "chip", .label = "fan1", .value = 823};

SensorReading package(double joules) {
    return {.kind = Kind::energy,
            .identifier = "intel-rapl:0",
            .chip = "intel-rapl",
            .label = "package-0",
            .value = joules,
            .range = 1000};
}

static_assert(!std::is_base_of_v<SystemResource, Sensors>, "no model reports the kind sensors");

TEST(Sensors, AreAskedOnlyOnceTheyAreStarted) {
    ScriptedMachine machine;
    machine->sensors().sensorsValue = {heat};
    System system;
    const auto tasks = system.tasks();
    system.start();
    machine->advance(10);
    EXPECT_THAT(machine->sensors().calls.list(), IsEmpty());
    EXPECT_THAT(system.sensors().all(), IsEmpty());
    EXPECT_FALSE(system.sensors().availability(Kind::temperature));

    system.start(system.sensors());
    machine->advance(2.25);
    EXPECT_THAT(machine->sensors().calls.list(), IsEmpty());
    machine->advance(0.06);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 1U);
    EXPECT_EQ(system.sensors().all().size(), 1U);
    machine->advance(2.3);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 2U);
    EXPECT_EQ(system.tasks().size(), tasks.size());
}

TEST(Sensors, StopWithTheRegistryAndByThemselves) {
    ScriptedMachine machine;
    System system;
    system.start(system.sensors());
    system.start(system.sensors());
    machine->advance(2.31);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 1U);
    system.stop(system.sensors());
    machine->advance(10);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 1U);
    system.start(system.sensors());
    machine->advance(2.31);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 2U);
    system.stop();
    machine->advance(10);
    EXPECT_EQ(machine->sensors().calls.count("sensors"), 2U);
}

TEST(Sensors, HaveWhatTheChipsSayThen) {
    ScriptedMachine machine;
    machine->sensors().sensorsValue = {heat, fan};
    Sensors sensors;
    sensors.update();
    EXPECT_EQ(sensors.all(), (std::vector<Sensors::Sensor>{{heat, {}}, {fan, {}}}));
    EXPECT_EQ(sensors.of(Kind::fan), (std::vector<Sensors::Sensor>{{fan, {}}}));
    EXPECT_THAT(sensors.of(Kind::voltage), IsEmpty());

    machine->sensors().sensorsValue->front().value = 51;
    machine->sensors().sensorsValue->front().alarm = true;
    sensors.update();
    EXPECT_EQ(sensors.all()[0].value, 51);
    EXPECT_EQ(sensors.all()[0].alarm, true);

    machine->sensors().sensorsValue = {fan}; // the other one's device is gone
    sensors.update();
    EXPECT_EQ(sensors.all(), (std::vector<Sensors::Sensor>{{fan, {}}}));
    machine->sensors().sensorsValue = {heat, fan};
    sensors.update();
    EXPECT_EQ(sensors.all().size(), 2U);
}

TEST(Sensors, MakePowerOfEnergyByTheTimeThatPassed) {
    ScriptedMachine machine;
    machine->sensors().energyCountersValue = {package(100)};
    Sensors sensors;
    sensors.update();
    EXPECT_EQ(sensors.all(), (std::vector<Sensors::Sensor>{{package(100), {}}}));
    machine->advance(2);
    machine->sensors().energyCountersValue = {package(130)};
    sensors.update();
    EXPECT_EQ(sensors.all()[0].watts, 15);
    EXPECT_EQ(sensors.all()[0].value, 130);
    machine->advance(4); // never the interval that was asked for
    machine->sensors().energyCountersValue = {package(10)};
    sensors.update();
    EXPECT_EQ(sensors.all()[0].watts, 220) << "once round the range of 1000";
    machine->advance(61);
    machine->sensors().energyCountersValue = {package(20)};
    sensors.update();
    EXPECT_FALSE(sensors.all()[0].watts) << "stopped meanwhile";
}

TEST(Sensors, MakePowerOfAChipsEnergyCounterToo) {
    ScriptedMachine machine;
    SensorReading counter{.kind = Kind::energy, .identifier = "amd_energy/energy1", .value = 10};
    machine->sensors().sensorsValue = {counter};
    Sensors sensors;
    sensors.update();
    machine->advance(1);
    machine->sensors().sensorsValue->front().value = 52.5;
    sensors.update();
    EXPECT_EQ(sensors.of(Kind::energy)[0].watts, 42.5);
    machine->advance(1);
    machine->sensors().sensorsValue->front().value = 1;
    sensors.update();
    EXPECT_FALSE(sensors.of(Kind::energy)[0].watts) << "it began anew";
}

TEST(Sensors, TellWhyThereAreNoneOfAKind) {
    ScriptedMachine machine;
    Sensors sensors;
    sensors.update();
    EXPECT_EQ(sensors.availability(Kind::temperature), Availability::unsupported);
    EXPECT_EQ(sensors.availability(Kind::energy), Availability::unsupported);

    machine->sensors().sensorsValue = {heat};
    machine->sensors().calls.fail("energyCounters", {.error = EACCES});
    sensors.update();
    EXPECT_EQ(sensors.availability(Kind::temperature), Availability::available);
    EXPECT_EQ(sensors.availability(Kind::fan), Availability::unsupported);
    EXPECT_EQ(sensors.availability(Kind::energy), Availability::denied);
    EXPECT_THAT(sensors.of(Kind::energy), IsEmpty());

    machine->sensors().calls.fail("sensors");
    sensors.update();
    EXPECT_EQ(sensors.availability(Kind::temperature), Availability::failed);
    EXPECT_THAT(sensors.all(), IsEmpty()) << "nothing of the sample before";

    machine->sensors().calls.succeed();
    machine->sensors().energyCountersValue = {package(1)};
    sensors.update();
    EXPECT_EQ(sensors.availability(Kind::energy), Availability::available);
}

TEST(Sensors, TakeNoMemoryOnceWarmNorDoesAReaderWithAListOfItsOwn) {
    ScriptedMachine machine;
    machine->sensors().sensorsValue = {heat, fan};
    machine->sensors().energyCountersValue = {package(100)};
    Sensors sensors;
    std::vector<Sensors::Sensor> list;
    for (int sample = 0; sample < 3; ++sample) {
        sensors.update();
        sensors.all(list);
    }
    const std::size_t before = allocations();
    for (int sample = 0; sample < 16; ++sample) {
        sensors.update();
        sensors.all(list);
    }
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
    EXPECT_EQ(list.size(), 3U);
}

} // namespace
} // namespace sentrel
