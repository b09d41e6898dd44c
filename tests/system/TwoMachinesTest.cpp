// SPDX-License-Identifier: Apache-2.0
/// Registries on several machines at the same time: what one model of one of them reads, keeps and hears is its own
/// machine's alone.

#include "tests/support/EchoHostGuard.h"
#include "tests/support/EchoServer.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/System.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace sentrel {
namespace {

using platform::ScriptedInterface;
using platform::ScriptedPlatform;
using platform::TaskInfo;
using platform::VolumeNotification;

constexpr std::int32_t application = 100; // the process id of the one application of each machine

PropertyList::Dictionary display(const std::string& model, std::uint8_t id) {
    return {{"IOName", "display"},
            {"device-id", PropertyList::Bytes{id, 0, 0, 0}},
            {"model", PropertyList::Bytes(model.begin(), model.end())}};
}

// A machine that is called by its name and on which each second brings so many units of everything, and a registry on
// it.
class Side {
public:
    Side(const std::string& name, std::int64_t perSecond, std::int64_t wallSeconds) : perSecond_(perSecond) {
        machine.clock().setWallMicroseconds(wallSeconds * 1'000'000);
        machine.host().bootTimeValue = wallSeconds - perSecond;
        machine.host().brandValue = name;
        machine.host().physicalMemoryValue = static_cast<std::uint64_t>(perSecond) * 4096;
        machine.host().hostInfoValue.logical_cpu = 1;
        machine.graphics().pciDevicesValue = {display("Intel " + name, 1), display(name, 2)};
        machine.volumes().mount("disk1", "/", 1000, static_cast<std::uint64_t>(1000 - perSecond));
        machine.volumes().disks["disk1"].description = platform::DiskDescription{name, name};
        machine.network().localHostName = name;
        machine.network().interfaces = {ScriptedInterface("en0").addAddress("192.0.2.4")};
        machine.power().battery = PropertyList::Dictionary{{"BatteryInstalled", true}, {"Voltage", perSecond}};
        machine.power().sources = {PropertyList::Dictionary{{"Current", -perSecond}}};
        machine.processes().setParent(application, 1);
        machine.processes().launch({.processIdentifier = application, .startTime = 7, .localizedName = name});
        grow(0);
        registry = std::make_unique<System>(machine);
        registry->start();
        for (const SystemResource* delayed :
             std::initializer_list<const SystemResource*>{&registry->disk(), &registry->apps(), &registry->gpu()})
            registry->start(*delayed);
    }

    // So much time passes here, and the counters with it.
    void pass(double seconds) {
        grow(seconds);
        machine.advance(seconds);
    }

    ScriptedPlatform machine;
    std::unique_ptr<System> registry;

private:
    void grow(double seconds) {
        passed_ += seconds;
        const auto grown = static_cast<std::int64_t>(passed_ * static_cast<double>(perSecond_) + 0.5);
        const auto ticks = static_cast<std::uint32_t>(grown);
        const auto all = static_cast<std::uint32_t>(passed_ * 100 + 0.5);
        machine.host().loadTicksValue =
            platform::HostLoadTicks{.user = ticks, .system = 0, .idle = all - ticks, .nice = 0};
        machine.host().virtualMemoryValue.wire_count = ticks;
        machine.volumes().disks["disk1"].statistics = platform::DiskStatistics{grown, grown};
        machine.network().interface("en0").bytesIn = grown;
        machine.processes().setTaskInfo(application,
                                        TaskInfo{.userNanoseconds = static_cast<std::uint64_t>(grown) * 10'000'000,
                                                 .residentBytes = 1,
                                                 .threads = 1,
                                                 .startTime = 7});
    }

    std::int64_t perSecond_;
    double passed_ = 0;
};

// Two machines that are not in force, and a third that is and that nobody touches.
class TwoMachines : public testing::Test {
protected:
    TwoMachines() { probes::System->setPublicAddress("203.0.113.99"); }
    ~TwoMachines() override {
        EXPECT_STREQ(probes::System->publicAddress, "203.0.113.99");
        EXPECT_EQ(probes::System->prevTicks.user, 0U);
        EXPECT_STREQ(probes::System->cpuBrand, "-");
        EXPECT_EQ(probes::System->powerSources(), nullptr);
        EXPECT_EQ(inForce_->power().changeSources(), 0U);
        EXPECT_TRUE(inForce_->desktop().delivered().empty());
    }

    // Eleven seconds on the one and twenty-two on the other, which go by in turns.
    void passInTurns() {
        for (int turn = 0; turn < 220; ++turn) {
            first.pass(0.05);
            second.pass(0.1);
        }
    }

    ScriptedMachine inForce_; // made first
    Side first{"otter", 20, 1'000'000'000};
    Side second{"badger", 60, 1'500'000'000};
};

TEST_F(TwoMachines, HaveTheirOwnProcessorsTicksAndClocks) {
    passInTurns();
    EXPECT_NEAR(first.registry->cpu().usage(), 20, 0.5);
    EXPECT_NEAR(second.registry->cpu().usage(), 60, 0.5);
    EXPECT_EQ(first.registry->cpu().brand(), "otter");
    EXPECT_EQ(second.registry->cpu().brand(), "badger");
    EXPECT_EQ(first.registry->cpu().uptime(), 20 + 11);
    EXPECT_EQ(second.registry->cpu().uptime(), 60 + 22);
}

TEST_F(TwoMachines, HaveTheirOwnMemory) {
    passInTurns();
    EXPECT_EQ(first.registry->mem().physical(), 20U * 4096);
    EXPECT_EQ(second.registry->mem().physical(), 60U * 4096);
    EXPECT_EQ(first.registry->mem().wired(), 20U * 10 * 4096);
    EXPECT_EQ(second.registry->mem().wired(), 60U * 22 * 4096);
}

TEST_F(TwoMachines, HaveTheirOwnVolumesDisksAndNotices) {
    passInTurns();
    for (const auto& [side, name, rate] : {std::tuple(&first, "otter", 20), std::tuple(&second, "badger", 60)}) {
        const auto volume = side->registry->disk().HD();
        ASSERT_TRUE(volume);
        EXPECT_EQ(volume->name(), name);
        EXPECT_NEAR(volume->rbytesps(), rate, 1);
        EXPECT_EQ(side->registry->disk().usage(), rate / 10);
    }
    first.machine.volumes().mount("disk2", "/Volumes/otter");
    first.machine.volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/Volumes/otter"});
    second.pass(0);
    EXPECT_EQ(first.registry->disk().volumes().size(), 1U) << "its own queue has not run yet";
    first.pass(0);
    EXPECT_EQ(first.registry->disk().volumes().size(), 2U);
    EXPECT_EQ(second.registry->disk().volumes().size(), 1U);
}

TEST_F(TwoMachines, HaveTheirOwnInterfacesAndConfiguration) {
    passInTurns();
    EXPECT_NEAR(first.registry->net().interfaces().at("en0")->ibytesps(), 20, 1);
    EXPECT_NEAR(second.registry->net().interfaces().at("en0")->ibytesps(), 60, 1);
    EXPECT_EQ(first.registry->net().localhostName(), "otter");
    EXPECT_EQ(second.registry->net().localhostName(), "badger");
    first.machine.network().localHostName = "fish otter";
    first.machine.network().change();
    first.pass(0);
    EXPECT_EQ(first.registry->net().localhostName(), "fish otter");
    EXPECT_EQ(second.registry->net().localhostName(), "badger");
}

TEST_F(TwoMachines, CheckTheirOwnConnections) {
    first.machine.network().reachable = platform::Connectivity::no;
    passInTurns();
    EXPECT_EQ(first.registry->net().connection(), Network::ConnectionType::local);
    EXPECT_EQ(second.registry->net().connection(), Network::ConnectionType::internet);
    first.machine.network().reachable = platform::Connectivity::yes;
    first.pass(40);
    EXPECT_EQ(first.registry->net().connection(), Network::ConnectionType::internet);
    EXPECT_EQ(first.machine.desktop().delivered().size(), 1U);
    EXPECT_TRUE(second.machine.desktop().delivered().empty());
}

TEST_F(TwoMachines, HaveTheirOwnBatteriesAndObservers) {
    int firstEvents = 0;
    int secondEvents = 0;
    const auto owner = std::make_shared<int>();
    first.registry->battery().onBatteryChanged().listen(owner, [&] { ++firstEvents; });
    second.registry->battery().onBatteryChanged().listen(owner, [&] { ++secondEvents; });
    EXPECT_EQ(first.registry->battery().voltage(), 20);
    EXPECT_EQ(second.registry->battery().voltage(), 60);
    second.machine.power().sources.front().insert_or_assign("Current", -6);
    second.machine.power().change();
    EXPECT_EQ(firstEvents, 0);
    EXPECT_EQ(secondEvents, 1);
    EXPECT_EQ(first.registry->battery().current(), -20);
    EXPECT_EQ(second.registry->battery().current(), -6);
    first.machine.power().sources.front().insert_or_assign("Current", -2);
    first.machine.power().change();
    EXPECT_EQ(firstEvents, 1);
    EXPECT_EQ(secondEvents, 1);
    EXPECT_EQ(first.registry->battery().current(), -2);
    EXPECT_EQ(second.registry->battery().current(), -6);
}

TEST_F(TwoMachines, HaveTheirOwnGraphicsProcessors) {
    first.machine.graphics().activeDeviceIDValue = PropertyList::Bytes{2, 0, 0, 0};
    passInTurns();
    EXPECT_EQ(first.registry->gpu().name(), "otter");
    EXPECT_EQ(second.registry->gpu().name(), "Intel badger");
}

TEST_F(TwoMachines, HaveTheirOwnApplications) {
    passInTurns();
    ASSERT_EQ(first.registry->apps().cpu().size(), 1U);
    ASSERT_EQ(second.registry->apps().cpu().size(), 1U);
    EXPECT_EQ(first.registry->apps().cpu()[0]->name(), "otter");
    EXPECT_EQ(second.registry->apps().cpu()[0]->name(), "badger");
    EXPECT_NEAR(first.registry->apps().cpu()[0]->cpu(), 20, 1);
    EXPECT_NEAR(second.registry->apps().cpu()[0]->cpu(), 60, 1);
    first.machine.processes().terminate(application);
    passInTurns();
    EXPECT_EQ(first.registry->apps().count(), 0);
    EXPECT_EQ(second.registry->apps().count(), 1);
}

TEST_F(TwoMachines, LeaveEachOtherAloneAsOneIsReleased) {
    passInTurns();
    first.registry.reset();
    int asked = 0;
    first.machine.volumes().calls.onCall([&](const std::string&) { ++asked; });
    first.machine.network().calls.onCall([&](const std::string&) { ++asked; });
    first.machine.network().change();
    first.machine.power().change();
    first.machine.volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/"});
    first.machine.processes().refreshRunningApplications();
    passInTurns();
    EXPECT_EQ(asked, 0);
    EXPECT_NEAR(second.registry->cpu().usage(), 60, 0.5);
    EXPECT_NEAR(second.registry->disk().HD()->rbytesps(), 60, 1);
    second.machine.network().localHostName = "honey badger";
    second.machine.network().change();
    second.machine.power().sources.front().insert_or_assign("Current", -6);
    second.machine.power().change();
    second.pass(0);
    EXPECT_EQ(second.registry->net().localhostName(), "honey badger");
    EXPECT_EQ(second.registry->battery().current(), -6);
}

TEST_F(TwoMachines, StartAndStopTheirOwnTasks) {
    first.registry->stop();
    const std::uint64_t before = first.registry->mem().wired();
    passInTurns();
    EXPECT_EQ(first.registry->mem().wired(), before);
    EXPECT_NE(second.registry->mem().wired(), before);
}

TEST(Override, AVolumeThatAReaderKeepsBeyondItIsLeftAlone) {
    std::shared_ptr<Disk::Volume> volume;
    {
        ScriptedPlatform machine;
        machine.volumes().mount("disk1", "/Volumes/otter");
        machine.volumes().disks["disk1"].smartAncestor = 0;
        const platform::Override scope(machine);
        volume = Disk().volumes().at("disk1");
        EXPECT_TRUE(volume->smartStatus());
    }
    EXPECT_EQ(volume->name(), "disk1");
    EXPECT_FALSE(volume->smartStatus());
    EXPECT_FALSE(volume->eject());
}

TEST(Override, LeavesAModelWithTheMachineItWasMadeOn) {
    ScriptedMachine outer;
    outer->host().virtualMemoryValue.wire_count = 1;
    ScriptedPlatform inner;
    inner.host().virtualMemoryValue.wire_count = 2;
    std::unique_ptr<Memory> memory;
    {
        const platform::Override scope(inner);
        memory = std::make_unique<Memory>();
    }
    memory->update();
    EXPECT_EQ(memory->wired(), 2U * 4096);
}

// A check that was under way as an override ended wrote the address into the session that came in force with that.
TEST(Override, AsItEndsACheckWritesTheAddressOfItsOwnSession) {
    std::promise<void> asked;
    std::promise<void> answer;
    EchoServer server([&](int connection) {
        asked.set_value();
        answer.get_future().wait();
        EXPECT_TRUE(EchoServer::send(connection, "HTTP/1.1 200 OK\r\n\r\nIP: 203.0.113.7\r\n"));
    });
    const EchoHostGuard host({"127.0.0.1", server.port()});
    const ScriptedMachine outer;
    probes::System->setPublicAddress("203.0.113.99");
    ScriptedPlatform inner;
    inner.network().interfaces = {ScriptedInterface("en0").addAddress("192.0.2.4")};
    std::shared_ptr<probes::SystemManager> session;
    std::unique_ptr<Network> network;
    std::thread background;
    {
        const platform::Override scope(inner);
        session = probes::session();
        network = std::make_unique<Network>();
        network->update(); // hands the check to the background queue
        background = std::thread([&] { inner.dispatch().runPending(); });
        asked.get_future().wait();
    }
    answer.set_value();
    background.join();
    EXPECT_EQ(network->publicAddress(), "203.0.113.7");
    EXPECT_STREQ(session->publicAddress, "203.0.113.7");
    EXPECT_STREQ(probes::System->publicAddress, "203.0.113.99");
}

TEST(Override, ACheckOfAMachineThatWentWithItsModelFindsNothingOut) {
    EchoServer server(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\nIP: 203.0.113.7\r\n"));
    const EchoHostGuard host({"127.0.0.1", server.port()});
    const ScriptedMachine outer;
    probes::System->setPublicAddress("203.0.113.99");
    ScriptedPlatform inner;
    inner.network().interfaces = {ScriptedInterface("en0").addAddress("192.0.2.4")};
    {
        const platform::Override scope(inner);
        Network().update();
    }
    inner.dispatch().runPending();
    EXPECT_TRUE(server.requests().empty());
    EXPECT_STREQ(probes::System->publicAddress, "203.0.113.99");
}

// The source of changes lasts as long as its machine; it delivered to the session in force, and stopped the process.
TEST(Override, AfterItAChangeOfThePowerSourcesReachesNobody) {
    ScriptedPlatform machine;
    machine.power().battery = PropertyList::Dictionary{{"BatteryInstalled", true}};
    machine.power().sources = {PropertyList::Dictionary{{"Current", -20}}};
    {
        const platform::Override scope(machine);
        const Battery battery;
        EXPECT_EQ(battery.current(), -20);
    }
    machine.power().change();
    const platform::Override again(machine);
    EXPECT_EQ(probes::System->powerSources(), nullptr);
    const Battery battery;
    EXPECT_EQ(battery.current(), -20);
    machine.power().sources.front().insert_or_assign("Current", -6);
    machine.power().change();
    EXPECT_EQ(battery.current(), -6);
}

} // namespace
} // namespace sentrel
