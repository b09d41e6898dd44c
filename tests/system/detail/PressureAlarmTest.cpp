// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/PressureAlarm.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace sentrel {
namespace {

class PressureAlarmTest : public testing::Test {
protected:
    PressureAlarmTest() {
        machine->host().pressureValues[2] = Pressure{};
        alarm->crossed().listen(owner, [this] { ++fires; });
    }

    ScriptedMachine machine;
    std::shared_ptr<int> owner = std::make_shared<int>();
    std::unique_ptr<PressureAlarm> alarm = std::make_unique<PressureAlarm>(probes::session(), PressureResource::io);
    int fires = 0;
};

TEST_F(PressureAlarmTest, WatchesNothingUntilItIsSet) {
    EXPECT_EQ(machine->host().pressureObservers(PressureResource::io), 0U);
    EXPECT_EQ(machine->host().calls.count("observePressure"), 0U);
}

TEST_F(PressureAlarmTest, FiresOnTheMainQueueEachTime) {
    EXPECT_EQ(alarm->set(PressureThreshold{PressureThreshold::Kind::full, 100, 3'000'000}), Availability::available);
    EXPECT_THAT(machine->host().calls.list(), testing::Contains("observePressure 2 full 100 3000000"));
    machine->host().press(PressureResource::io);
    EXPECT_EQ(fires, 0);
    machine->advance(0);
    EXPECT_EQ(fires, 1);
    machine->host().press(PressureResource::io);
    machine->advance(0);
    EXPECT_EQ(fires, 2);
}

TEST_F(PressureAlarmTest, SaysWhyItCannotWatchAndForgetsTheThresholdBefore) {
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::available);
    machine->host().press(PressureResource::io); // on its way when the threshold goes
    machine->host().calls.fail("observePressure", {.call = 1, .error = EPERM});
    machine->host().calls.fail("observePressure", {.call = 2, .error = EINVAL});
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::denied);
    EXPECT_EQ(machine->host().pressureObservers(PressureResource::io), 0U);
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::failed);
    machine->host().pressureValues[2].reset();
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::unsupported);
    machine->advance(1);
    EXPECT_EQ(fires, 0);
}

TEST_F(PressureAlarmTest, FiresNoMoreOnceItIsUnset) {
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::available);
    machine->host().press(PressureResource::io);
    EXPECT_EQ(alarm->set(std::nullopt), Availability::available);
    machine->advance(1);
    EXPECT_EQ(fires, 0);
    EXPECT_EQ(machine->host().pressureObservers(PressureResource::io), 0U);
}

TEST_F(PressureAlarmTest, MayGoWhileItsWordIsOnItsWay) {
    EXPECT_EQ(alarm->set(PressureThreshold{}), Availability::available);
    machine->host().press(PressureResource::io);
    alarm.reset();
    machine->advance(1);
    EXPECT_EQ(fires, 0);
}

} // namespace
} // namespace sentrel
