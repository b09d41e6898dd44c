// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ScriptedHostService, FailsEachOperationWithTheErrorThatWasScripted) {
    ScriptedPlatform machine;
    ScriptedHostService& host = machine.host();
    std::array<char, 8> buffer{};
    const std::vector<std::pair<std::string, std::function<bool()>>> questions = {
        {"bootTime", [&] { return host.bootTime().has_value(); }},
        {"hostInfo", [&] { return host.hostInfo().has_value(); }},
        {"loadTicks", [&] { return host.loadTicks().has_value(); }},
        {"defaultProcessorSet", [&] { return host.defaultProcessorSet().has_value(); }},
        {"processorSetLoad", [&] { return host.processorSetLoad({1}).has_value(); }},
        {"brand", [&] { return host.brand(buffer).has_value(); }},
        {"virtualMemory", [&] { return host.virtualMemory().has_value(); }},
        {"swapUsage", [&] { return host.swapUsage().has_value(); }},
        {"loadAverages", [&] { return host.loadAverages().has_value(); }},
        {"physicalMemory", [&] { return host.physicalMemory().has_value(); }},
        {"awakeUptime", [&] { return host.awakeUptime().has_value(); }},
        {"thermalState", [&] { return host.thermalState().has_value(); }}};
    for (const auto& [operation, ask] : questions) {
        EXPECT_TRUE(ask()) << operation;
        host.calls.fail(operation, {.call = 1, .error = EPERM});
        errno = 0;
        EXPECT_FALSE(ask()) << operation;
        EXPECT_EQ(errno, EPERM) << operation;
        EXPECT_TRUE(ask()) << operation;
        EXPECT_EQ(host.calls.count(operation), 3U) << operation;
    }
    EXPECT_EQ(host.calls.count("brand"), 3U);
    EXPECT_THAT(host.calls.list(), testing::Contains("brand 8"));
}

TEST(ScriptedHostService, KnowsNoOtherProcessorSetThanItsOwn) {
    ScriptedPlatform machine;
    EXPECT_FALSE(machine.host().processorSetLoad({2}));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(machine.host().calls.list(), ElementsAre("processorSetLoad 2"));
}

TEST(ScriptedGraphicsService, HasNoDisplayUntilItIsGivenOne) {
    ScriptedPlatform machine;
    PropertyList::Bytes deviceID{7};
    EXPECT_FALSE(machine.graphics().activeDeviceID(deviceID));
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(deviceID, PropertyList::Bytes{7});
    machine.graphics().activeDeviceIDValue = PropertyList::Bytes{1};
    EXPECT_TRUE(machine.graphics().activeDeviceID(deviceID));
    EXPECT_EQ(deviceID, PropertyList::Bytes{1});
}

// What a listing tells stands, whatever happens to the machine meanwhile.
TEST(ScriptedNetworkService, ListsTheInterfacesAsTheyStoodWhileTimePassesAndTheTableChanges) {
    ScriptedPlatform machine;
    ScriptedNetworkService& network = machine.network();
    network.interfaces = {ScriptedInterface("en0").addAddress("192.0.2.4"), ScriptedInterface("en1")};
    std::vector<std::string> entries;
    network.calls.onEntry([&](const std::string& entry) {
        entries.push_back(entry);
        machine.advance(0.5);
        network.interfaces = {ScriptedInterface("en7")};
    });
    std::vector<std::string> listed;
    EXPECT_TRUE(network.listInterfaces([&](const InterfaceInfo& info) { listed.emplace_back(info.name); }));
    EXPECT_THAT(entries, ElementsAre("listInterfaces en0", "listInterfaces en1"));
    EXPECT_THAT(listed, ElementsAre("en0", "en1"));
    EXPECT_EQ(machine.clock().monotonicNanoseconds(), 1'000'000'000);
    listed.clear();
    EXPECT_TRUE(network.listInterfaces([&](const InterfaceInfo& info) { listed.emplace_back(info.name); }));
    EXPECT_THAT(listed, ElementsAre("en7"));
    EXPECT_THAT(network.calls.list(), ElementsAre("listInterfaces", "listInterfaces"));
}

TEST(ScriptedNetworkService, TellsTheQuestionsAboutAnInterfaceAndItsEntry) {
    ScriptedPlatform machine;
    ScriptedNetworkService& network = machine.network();
    network.interfaces = {ScriptedInterface("en0")};
    EXPECT_TRUE(network.mediaStatus("en0"));
    EXPECT_FALSE(network.mediaStatus("en9"));
    EXPECT_EQ(errno, ENXIO);
    {
        const auto entry = network.matchInterface("en0");
        ASSERT_TRUE(entry && *entry);
        EXPECT_TRUE((*entry)->properties());
        EXPECT_TRUE((*entry)->search("IOLinkSpeed").empty());
        EXPECT_THAT(network.calls.openHandles(), ElementsAre("entry en0"));
    }
    EXPECT_THAT(network.calls.list(), ElementsAre("mediaStatus en0", "mediaStatus en9", "matchInterface en0",
                                                  "properties en0", "search en0 IOLinkSpeed", "release entry en0"));
    network.calls.fail("mediaStatus", {.arguments = "en0", .error = EBUSY});
    EXPECT_FALSE(network.mediaStatus("en0"));
    EXPECT_EQ(errno, EBUSY);
}

TEST(ScriptedVolumeService, ListsTheMountsAsTheyStoodWhileTheTableChanges) {
    ScriptedPlatform machine;
    ScriptedVolumeService& volumes = machine.volumes();
    volumes.mount("disk1", "/");
    volumes.mount("disk2", "/b");
    volumes.calls.onEntry([&](const std::string& entry) {
        if (entry == "listMountedFileSystems /")
            volumes.unmount("/b");
    });
    std::array<MountedFileSystem, 2> entries;
    EXPECT_EQ(volumes.listMountedFileSystems(entries), 2);
    EXPECT_EQ(entries[1].on, "/b");
    EXPECT_EQ(volumes.countMountedFileSystems(), 1);
}

TEST(ScriptedVolumeService, FailsForOnePathOnly) {
    ScriptedPlatform machine;
    machine.volumes().mount("disk1", "/");
    machine.volumes().mount("disk2", "/b");
    machine.volumes().calls.fail("space", {.arguments = "/b", .error = ESTALE});
    EXPECT_TRUE(machine.volumes().space("/"));
    EXPECT_FALSE(machine.volumes().space("/b"));
    EXPECT_EQ(errno, ESTALE);
}

TEST(ScriptedVolumeService, RefusesAnUnmountForTheReasonThatItsErrorNames) {
    ScriptedPlatform machine;
    machine.volumes().disks["disk2"];
    machine.volumes().calls.fail("unmount", {.arguments = "disk2 whole", .call = 1, .error = EBUSY});
    const auto session = machine.volumes().openSession();
    session->setQueue(machine.dispatch().backgroundQueue());
    const auto disk = session->disk("disk2");
    std::vector<std::string> answers;
    for (int attempt = 0; attempt < 2; ++attempt)
        disk->unmount({.whole = true}, [&](const auto&, const Dissenter* dissenter) {
            answers.push_back(dissenter ? dissenter->reason : "done");
        });
    EXPECT_THAT(answers, IsEmpty());
    machine.advance(0);
    EXPECT_THAT(answers, ElementsAre("Device or resource busy", "done"));
}

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

TEST(ScriptedProcessService, FailsForOneProcessAndTellsWhichWereAskedFor) {
    ScriptedPlatform machine;
    ScriptedProcessService& processes = machine.processes();
    processes.setTaskInfo(100, TaskInfo{});
    processes.setTaskInfo(101, TaskInfo{});
    processes.calls.fail("taskInfo", {.arguments = "101", .error = EPERM});
    EXPECT_TRUE(processes.taskInfo(100));
    EXPECT_FALSE(processes.taskInfo(101));
    EXPECT_EQ(errno, EPERM);
    EXPECT_THAT(processes.calls.list(), ElementsAre("taskInfo 100", "taskInfo 101"));
}

UserNotification titled(const std::string& title) {
    UserNotification notification;
    notification.title = title;
    return notification;
}

TEST(ScriptedDesktop, ServesSeveralThreads) {
    ScriptedPlatform machine;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 100; ++i) {
                machine.desktop().presentWhileFrontmost();
                machine.desktop().deliver(titled(std::to_string(thread)));
                EXPECT_TRUE(machine.desktop().openAddress("https://example.org/"));
                EXPECT_LE(machine.desktop().opened().size(), machine.desktop().calls.list().size());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(machine.desktop().delivered().size(), 400U);
    EXPECT_EQ(machine.desktop().opened().size(), 400U);
    EXPECT_EQ(machine.desktop().calls.count("presentWhileFrontmost"), 1U);
}

TEST(ScriptedDesktop, KeepsNothingOfWhatFails) {
    ScriptedPlatform machine;
    machine.desktop().calls.fail("deliver", {.call = 1});
    machine.desktop().calls.fail("openAddress", {.arguments = "nowhere:"});
    machine.desktop().deliver(titled("Lost"));
    machine.desktop().deliver(titled("Shown"));
    EXPECT_FALSE(machine.desktop().openAddress("nowhere:"));
    EXPECT_EQ(machine.desktop().delivered().size(), 1U);
    EXPECT_THAT(machine.desktop().opened(), IsEmpty());
    EXPECT_THAT(machine.desktop().calls.list(), ElementsAre("deliver Lost", "deliver Shown", "openAddress nowhere:"));
}

TEST(ScriptedPreferenceStore, TellsWhatIsAskedOfASuite) {
    ScriptedPlatform machine;
    const auto suite = machine.preferences().suite("test");
    ASSERT_EQ(suite, machine.preferences().scripted("test"));
    EXPECT_THAT(machine.preferences().calls.list(), ElementsAre("suite test"));
    ScriptedCalls& calls = machine.preferences().scripted("test")->calls;
    calls.fail("object", {.arguments = "a"});
    calls.fail("remove");
    const std::vector<std::string> both{"a", "b"};
    EXPECT_TRUE(suite->set("b", 5));
    EXPECT_FALSE(suite->object("a"));
    EXPECT_EQ(suite->object("b"), PropertyList(5));
    EXPECT_FALSE(suite->remove(both));
    EXPECT_THAT(suite->keys(), ElementsAre("b"));
    EXPECT_THAT(calls.list(), ElementsAre("set b", "object a", "object b", "remove a b", "keys"));
}

TEST(ScriptedClock, FailsToReadTheWallClockWhereThatIsScripted) {
    ScriptedPlatform machine;
    machine.clock().calls.fail("read", {.call = 2, .error = EFAULT});
    WallClockReading reading;
    EXPECT_TRUE(machine.clock().read(reading));
    EXPECT_EQ(reading.seconds, 1'500'000'000);
    EXPECT_FALSE(machine.clock().read(reading));
    EXPECT_EQ(errno, EFAULT);
}

TEST(ScriptedDispatch, TellsItsQueuesClosuresAndTimers) {
    ScriptedPlatform machine;
    ScriptedDispatch& dispatch = machine.dispatch();
    dispatch.mainQueue()->async([] {});
    dispatch.serialQueue("own")->after(1'000, [] {});
    {
        const auto timer = dispatch.backgroundQueue()->makeTimer(1'000'000'000, [] {});
        timer->resume();
        EXPECT_THAT(dispatch.calls.openHandles(), ElementsAre("timer background"));
    }
    EXPECT_THAT(dispatch.calls.list(),
                ElementsAre("async main", "serialQueue own", "after own 1000", "makeTimer background 1000000000",
                            "resume timer background", "release timer background"));
}

} // namespace
} // namespace sentrel::platform
