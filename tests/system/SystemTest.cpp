// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/System.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using Kind = SystemResourceType;

using Status = Timer::Status;
using Group = System::Group;

// A resource that is only a kind: starting and stopping go by kind, never by object.
class OfKind final : public SystemResource {
public:
    explicit OfKind(Kind kind) : kind_(kind) {}
    Kind type() const noexcept override { return kind_; }
    void update() override {}

private:
    Kind kind_;
};

// The kinds whose tasks are started.
std::set<Kind> started(const System& system) {
    std::set<Kind> kinds;
    for (const System::TaskInfo& task : system.tasks())
        if (task.status == Status::started)
            kinds.insert(task.resource);
    return kinds;
}

PropertyList::Dictionary display(const char* model, std::uint8_t id) {
    const std::string name = model;
    return {{"IOName", "display"},
            {"device-id", PropertyList::Bytes{id, 0, 0, 0}},
            {"model", PropertyList::Bytes(name.begin(), name.end())}};
}

TEST(System, IsMadeOnceWhoeverAsksFirst) {
    System* seen[2] = {};
    std::thread other([&] { seen[0] = &System::shared(); });
    seen[1] = &System::shared();
    other.join();
    EXPECT_EQ(seen[0], seen[1]);
}

TEST(System, HoldsOneModelOfEachKind) {
    ScriptedMachine machine;
    const System system;
    EXPECT_EQ(system.cpu().type(), Kind::cpu);
    EXPECT_EQ(system.gpu().type(), Kind::gpu);
    EXPECT_EQ(system.disk().type(), Kind::disk);
    EXPECT_EQ(system.mem().type(), Kind::mem);
    EXPECT_EQ(system.net().type(), Kind::net);
    EXPECT_EQ(system.battery().type(), Kind::battery);
    EXPECT_EQ(system.apps().type(), Kind::app);
    EXPECT_EQ(static_cast<int>(Kind::cpu), 0);
    EXPECT_EQ(static_cast<int>(Kind::sensors), 5);
    EXPECT_EQ(static_cast<int>(Kind::app), 7);
}

TEST(System, MakesFiveTasksInOrderOnAMachineWithOneGraphicsProcessorAndSamplesNothing) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {display("Intel Something", 1)};
    System system;
    const std::vector<System::TaskInfo> expected = {
        {Kind::cpu, 1.1, Group::system, false, Status::initial},
        {Kind::mem, 2.0, Group::system, false, Status::initial},
        {Kind::net, 1.1, Group::network, false, Status::initial},
        {Kind::disk, 1.1, Group::system, true, Status::initial},
        {Kind::app, 1.3, Group::system, true, Status::initial},
    };
    EXPECT_EQ(system.tasks(), expected);
    system.start(system.gpu());
    EXPECT_EQ(system.tasks(), expected) << "there is no task to start";
}

TEST(System, SamplesTheGraphicsProcessorWhereThereAreTwo) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {display("Intel Something", 1), display("Other", 2)};
    System system;
    ASSERT_EQ(system.tasks().size(), 6U);
    EXPECT_EQ(system.tasks()[5], (System::TaskInfo{Kind::gpu, 1.1, Group::system, true, Status::initial}));
    EXPECT_EQ(system.tasks()[5].period(), std::chrono::milliseconds(1100));
    system.start(system.gpu());
    EXPECT_EQ(started(system), std::set<Kind>{Kind::gpu});
    EXPECT_EQ(system.gpu().name(), "Intel Something");
    machine->graphics().activeDeviceIDValue = PropertyList::Bytes{2, 0, 0, 0};
    machine->advance(1.1);
    EXPECT_EQ(system.gpu().name(), "Other");
}

TEST(System, SamplesAnOnlyGraphicsProcessorWhereFurtherFactsAreWanted) {
    ScriptedMachine machine;
    machine->graphics().processorsValue = {{.identifier = "0", .name = "Radeon", .use = 7}};
    System system;
    const auto tasks = system.tasks();
    ASSERT_EQ(tasks.size(), 5U);
    system.start(system.gpu());
    machine->advance(5);
    EXPECT_EQ(machine->graphics().calls.count("activeDeviceID"), 1U) << "when it was made";
    system.gpu().setMeasures({GPU::Measure::use});
    system.start(system.gpu());
    machine->advance(1.15);
    EXPECT_EQ(system.gpu().processors().size(), 1U);
    EXPECT_EQ(system.tasks(), tasks);
    system.stop(system.cpu());
    machine->advance(1.1);
    EXPECT_EQ(machine->graphics().calls.count("processors"), 2U);
    system.stop(system.gpu());
    machine->advance(5);
    EXPECT_EQ(machine->graphics().calls.count("processors"), 2U);
    system.start(system.gpu());
    machine->advance(1.15);
    system.stop();
    machine->advance(5);
    EXPECT_EQ(machine->graphics().calls.count("processors"), 3U);
}

TEST(System, StartingAllStartsWhatIsNotDelayed) {
    ScriptedMachine machine;
    System system;
    system.start();
    EXPECT_EQ(started(system), (std::set<Kind>{Kind::cpu, Kind::mem, Kind::net}));
}

TEST(System, StartingAGroupStartsOnlyThatGroup) {
    ScriptedMachine machine;
    System system;
    system.start(Group::network);
    EXPECT_EQ(started(system), std::set<Kind>{Kind::net});
    System other;
    other.start(Group::system);
    EXPECT_EQ(started(other), (std::set<Kind>{Kind::cpu, Kind::mem}));
}

TEST(System, AfterStoppingAGroupStartsAgainAndTheRestStaysSuspended) {
    ScriptedMachine machine;
    System system;
    system.start();
    system.stop();
    EXPECT_EQ(started(system), std::set<Kind>{});
    system.start(Group::system);
    EXPECT_EQ(started(system), (std::set<Kind>{Kind::cpu, Kind::mem}));
    EXPECT_EQ(system.tasks()[2].status, Status::suspended);
}

TEST(System, ADelayedTaskStartsByItsResourceAndStopsWithTheRest) {
    ScriptedMachine machine;
    System system;
    system.start(system.disk());
    EXPECT_EQ(started(system), std::set<Kind>{Kind::disk});
    system.stop();
    EXPECT_EQ(started(system), std::set<Kind>{});
    EXPECT_EQ(system.tasks()[3].status, Status::suspended);
    system.start();
    EXPECT_EQ(system.tasks()[3].status, Status::suspended) << "still only by its resource";
}

TEST(System, StartsAndStopsByKindWhateverTheObject) {
    ScriptedMachine machine;
    System system;
    system.start(OfKind(Kind::app));
    EXPECT_EQ(started(system), std::set<Kind>{Kind::app});
    system.stop(OfKind(Kind::app));
    EXPECT_EQ(started(system), std::set<Kind>{});
    system.start(system.battery()); // no task, by design
    system.start(OfKind(Kind::sensors));
    EXPECT_EQ(started(system), std::set<Kind>{});
}

TEST(System, ASecondStartDoesNotShiftTheFirstSample) {
    ScriptedMachine machine;
    machine->host().loadTicksValue = platform::HostLoadTicks{100, 0, 100, 0};
    System system;
    system.cpu().update(); // takes up the ticks since boot
    machine->host().loadTicksValue = platform::HostLoadTicks{200, 0, 100, 0};
    system.start();
    machine->advance(0.6);
    system.start();
    EXPECT_NE(system.cpu().usage(), 100.0);
    machine->advance(0.5);
    EXPECT_EQ(system.cpu().usage(), 100.0);
}

TEST(System, TheFirstSampleAfterARestartComesOneIntervalLater) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue.wire_count = 1;
    System system;
    system.start(system.mem());
    machine->advance(1.9);
    system.stop();
    machine->advance(100);
    system.start(system.mem());
    machine->advance(1.9);
    EXPECT_EQ(system.mem().wired(), 0U);
    machine->advance(0.1);
    EXPECT_EQ(system.mem().wired(), 4096U);
}

TEST(System, AsksForNoVolumesWhileNothingIsStarted) {
    ScriptedMachine machine;
    machine->volumes().mount("disk1", "/");
    const System system;
    machine->advance(0);
    machine->volumes().calls.clear();
    machine->advance(60);
    EXPECT_TRUE(machine->volumes().calls.list().empty());
}

TEST(System, TellsAnObserverAfterEachSampleOfAKind) {
    ScriptedMachine machine;
    System system;
    std::vector<std::uint64_t> seen;
    Observation observation = system.observeSamples(system.mem(), [&] { seen.push_back(system.mem().wired()); });
    EXPECT_TRUE(observation);
    system.mem().update(); // not of its task
    system.start(system.cpu());
    machine->advance(4);
    EXPECT_TRUE(seen.empty());
    system.start(system.mem());
    machine->host().virtualMemoryValue.wire_count = 1;
    machine->advance(2);
    machine->host().virtualMemoryValue.wire_count = 2;
    machine->advance(2);
    EXPECT_EQ(seen, (std::vector<std::uint64_t>{4096, 8192}));
    system.stop();
    machine->advance(4);
    EXPECT_EQ(seen.size(), 2U);
    system.start(system.mem());
    observation.reset();
    machine->advance(4);
    EXPECT_EQ(seen.size(), 2U);
}

TEST(System, TellsAnObserverAfterEachSampleOfTheSensors) {
    ScriptedMachine machine;
    System system;
    int samples = 0;
    const Observation observation = system.observeSamples(system.sensors(), [&] { ++samples; });
    machine->advance(10);
    EXPECT_EQ(samples, 0);
    system.start(system.sensors());
    machine->advance(4.6);
    EXPECT_EQ(samples, 2);
}

TEST(System, TellsNobodyOfAKindWithoutATask) {
    ScriptedMachine machine;
    System system;
    EXPECT_FALSE(system.observeSamples(system.battery(), [] {}));
}

TEST(System, AnObserverOfSamplesMayOutliveTheRegistry) {
    ScriptedMachine machine;
    int samples = 0;
    Observation observation;
    {
        System system;
        observation = system.observeSamples(system.cpu(), [&] { ++samples; });
        system.start(system.cpu());
        machine->advance(1.1);
    }
    machine->advance(5);
    EXPECT_EQ(samples, 1);
}

} // namespace
} // namespace sentrel
