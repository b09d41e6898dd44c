// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"

#include <SentrelKit/platform/macos/power/MacPowerService.h>

#include <cerrno>

using namespace darwin;
using sentrel::Observation;
using sentrel::PropertyList;
using sentrel::platform::MacPowerService;

namespace {

const PropertyList::Dictionary battery{{"Current Capacity", 50}, {"Max Capacity", 100}, {"Is Charging", true}};
const PropertyList::Dictionary ups{{"Name", "a box under the desk"}};

class MacPower : public DarwinTest {
protected:
    MacPowerService power;
};

TEST_F(MacPower, DescribesEachSourceOfASnapshot) {
    machine().powerSources = {battery, ups};
    const auto sources = power.powerSources();
    ASSERT_TRUE(sources);
    EXPECT_EQ(sources->count(), 2u);
    EXPECT_EQ(sources->description(0), battery);
    EXPECT_EQ(sources->description(1), ups);
}

TEST_F(MacPower, KeepsASnapshotAsItWas) {
    machine().powerSources = {battery};
    const auto sources = power.powerSources();
    machine().powerSources = {ups, ups};
    EXPECT_EQ(sources->count(), 1u);
    EXPECT_EQ(sources->description(0), battery);
}

TEST_F(MacPower, ThatCannotBeHadIsAbsentAtEachStep) {
    EXPECT_FALSE(power.powerSources());
    machine().powerSources = {battery};
    failures::plan("IOPSCopyPowerSourcesList", 1);
    const auto withoutList = power.powerSources();
    ASSERT_TRUE(withoutList);
    EXPECT_FALSE(withoutList->count());
    failures::plan("IOPSGetPowerSourceDescription", 1);
    EXPECT_FALSE(power.powerSources()->description(0));
    machine().powerSources->clear();
    EXPECT_EQ(power.powerSources()->count(), 0u);
}

TEST_F(MacPower, TellsOfTheAdapterWhileThereIsOne) {
    EXPECT_FALSE(power.externalAdapterDetails());
    machine().adapter = {{"Watts", 61}};
    EXPECT_EQ(power.externalAdapterDetails(), machine().adapter);
}

TEST_F(MacPower, ReadsThePropertiesOfTheBatterysEntry) {
    EXPECT_FALSE(power.batteryService());
    RegistryEntry& entry = machine().registry.add(
        {.name = "AppleSmartBattery", .classes = {"AppleSmartBattery"}, .properties = {{"CycleCount", 321}}});
    const auto service = power.batteryService();
    ASSERT_TRUE(service);
    EXPECT_EQ(service->property("CycleCount"), PropertyList(321));
    entry.properties["CycleCount"] = 322;
    EXPECT_EQ(service->property("CycleCount"), PropertyList(322));
    EXPECT_FALSE(service->property("Voltage"));
    EXPECT_FALSE(service->property("\xff"));
    failures::plan("IORegistryEntryCreateCFProperty", 1);
    EXPECT_FALSE(service->property("CycleCount"));
}

TEST_F(MacPower, HearsOfChangesUntilTheObservationIsReleased) {
    int heard = 0;
    Observation observation = power.observe([&heard] { ++heard; });
    ASSERT_TRUE(observation);
    signalSources();
    signalSources();
    EXPECT_EQ(heard, 2);
    observation.reset();
    signalSources();
    EXPECT_EQ(heard, 2);
}

TEST_F(MacPower, TellsAllThatObserve) {
    int first = 0;
    int second = 0;
    const Observation one = power.observe([&first] { ++first; });
    const Observation other = power.observe([&second] { ++second; });
    signalSources();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST_F(MacPower, ReleasedWhileTheLoopCallsIsNotCalledAgain) {
    // The loop has both sources at hand; the first observer releases the second.
    int heard = 0;
    Observation second;
    const Observation first = power.observe([&second] { second.reset(); });
    second = power.observe([&heard] { ++heard; });
    signalSources();
    EXPECT_EQ(heard, 0);
}

TEST_F(MacPower, ReleasesItsObservationFromInsideItsCall) {
    int heard = 0;
    Observation observation;
    observation = power.observe([&] {
        ++heard;
        observation.reset();
    });
    signalSources();
    signalSources();
    EXPECT_EQ(heard, 1);
}

TEST_F(MacPower, ThatIsRefusedNoticesObservesNothing) {
    failures::plan("IOPSNotificationCreateRunLoopSource", 1);
    errno = 0;
    EXPECT_FALSE(power.observe([] {}));
    EXPECT_EQ(errno, ENOTSUP);
}

} // namespace
