// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(ScriptedPowerService, GivesOutWhatStoodThenAndTellsWhatIsAskedOfIt) {
    ScriptedPlatform machine;
    ScriptedPowerService& power = machine.power();
    power.sources = {PropertyList::Dictionary{{"Current", 7}}};
    power.battery = PropertyList::Dictionary{{"Voltage", 12}};
    {
        const auto sources = power.powerSources();
        const auto battery = power.batteryService();
        power.sources.clear();
        power.battery.reset();
        EXPECT_EQ(sources->count(), 1U);
        EXPECT_TRUE(sources->description(0));
        EXPECT_TRUE(battery->property("Voltage"));
        EXPECT_THAT(power.calls.openHandles(), ElementsAre("power sources", "battery"));
    }
    EXPECT_FALSE(power.batteryService());
    EXPECT_THAT(power.calls.list(),
                ElementsAre("powerSources", "batteryService", "count", "description 0", "property Voltage",
                            "release battery", "release power sources", "batteryService"));
}

} // namespace
} // namespace sentrel::platform
