// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Glance.h"

#include "examples/simulation/Simulation.h"
#include "tools/sentrel/Layout.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using testing::ElementsAre;

TEST(GlanceTest, ShowsWhatTheModelsHave) {
    sentrel::ScriptedMachine machine;
    machine->network().localHostName = "otter";
    machine->host().loadTicksValue = {30, 10, 60, 0};
    machine->host().virtualMemoryValue.wire_count = 1;
    machine->host().virtualMemoryValue.free_count = 3;
    machine->volumes().mount("disk1", "/data");
    machine->volumes().mount("disk2", "/");
    sentrel::System system;
    Onlooker onlooker(system);
    onlooker.sample();
    const Glance glance = onlooker.glance();
    EXPECT_EQ(glance.host, "otter");
    EXPECT_DOUBLE_EQ(glance.usage, 40);
    EXPECT_THAT(glance.usageHistory, ElementsAre(glance.usage));
    EXPECT_EQ(glance.memoryUsage, 25);
    EXPECT_THAT(glance.volumes, ElementsAre(testing::Field(&Glance::Volume::path, "/"),
                                            testing::Field(&Glance::Volume::path, "/data")));
    EXPECT_FALSE(glance.battery);
    EXPECT_FALSE(glance.heat);
}

TEST(GlanceTest, KeepsTheHistoryOfEachSample) {
    sentrel::ScriptedMachine machine;
    sentrel::System system;
    Onlooker onlooker(system);
    machine->host().loadTicksValue = {30, 10, 60, 0};
    onlooker.sample();
    machine->host().loadTicksValue = {130, 10, 60, 0};
    onlooker.sample();
    EXPECT_THAT(onlooker.glance().usageHistory, ElementsAre(40, 100));
    EXPECT_EQ(onlooker.glance().receivedHistory.size(), 2U);
}

TEST(GlanceTest, FitsEverySimulatedMachineOnEveryScreen) {
    using simulation::Kind;
    for (const Kind kind : {Kind::laptop, Kind::hot, Kind::fullDisks, Kind::server}) {
        simulation::Machine machine(kind);
        sentrel::System system(machine.platform());
        Onlooker onlooker(system);
        onlooker.sample();
        onlooker.sample();
        const Glance glance = onlooker.glance();
        EXPECT_FALSE(glance.applications.empty());
        EXPECT_EQ(glance.battery.has_value(), kind == Kind::laptop || kind == Kind::hot);
        for (const View& view : {View{40, 10}, View{80, 24}, View{132, 43}, View{500, 200}})
            EXPECT_LE(layOut(glance, view).size(), view.rows);
    }
}

} // namespace
} // namespace tool
