// SPDX-License-Identifier: Apache-2.0
/// The models and the registry above the simulated macOS: the figures that a Mac with these answers would show.

#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/FurnishedMac.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Workspace.h"
#include "tests/support/EchoHostGuard.h"

#include <SentrelKit/platform/macos/MacPlatform.h>
#include <SentrelKit/system/System.h>

#include <memory>

using namespace darwin;
using namespace sentrel;

namespace {

class MacModels : public DarwinTest {
protected:
    void SetUp() override {
        DarwinTest::SetUp();
        furnish();
        platform = std::make_unique<platform::MacPlatform>();
        registry = std::make_unique<System>(*platform);
    }

    void TearDown() override {
        registry.reset();
        queues::advance(10); // what was under way ends
        platform.reset();
        DarwinTest::TearDown();
    }

    const EchoHostGuard guard{{}}; // contact nobody
    std::unique_ptr<platform::MacPlatform> platform;
    std::unique_ptr<System> registry;
};

TEST_F(MacModels, ShowTheProcessorAndTheMemory) {
    EXPECT_EQ(registry->cpu().brand(), "Example Processor 2.50GHz");
    EXPECT_EQ(registry->cpu().thermalState(), ThermalState::serious);
    registry->start(System::Group::system);
    queues::advance(1.2);
    machine().load.cpu_ticks[CPU_STATE_USER] = 60;
    machine().load.cpu_ticks[CPU_STATE_SYSTEM] = 20;
    machine().load.cpu_ticks[CPU_STATE_IDLE] = 1020;
    queues::advance(2);
    EXPECT_EQ(registry->mem().free(), std::uint64_t{1000} * 4096);
    EXPECT_EQ(registry->mem().wired(), std::uint64_t{500} * 4096);
    machine().load.cpu_ticks[CPU_STATE_USER] += 60;
    machine().load.cpu_ticks[CPU_STATE_SYSTEM] += 20;
    machine().load.cpu_ticks[CPU_STATE_IDLE] += 20;
    queues::advance(1.1);
    EXPECT_NEAR(registry->cpu().usage(), 80, 0.5);
}

TEST_F(MacModels, ShowTheGraphicsProcessorOfTheMainDisplay) {
    EXPECT_TRUE(registry->gpu().hasBoth());
    EXPECT_EQ(registry->gpu().name(), "Radeon Pro 560X");
    EXPECT_TRUE(registry->gpu().isUsingDiscreteGPU());
}

TEST_F(MacModels, ShowTheVolumeWithItsSpaceAndItsRates) {
    registry->start(registry->disk());
    queues::advance(1.2);
    const auto root = registry->disk().HD();
    ASSERT_TRUE(root);
    EXPECT_EQ(root->name(), "Macintosh HD");
    EXPECT_EQ(root->total(), 1000 * 4096);
    EXPECT_EQ(root->free(), 250 * 4096);
    EXPECT_EQ(registry->disk().volumes().size(), 1u);
}

TEST_F(MacModels, ShowWhatTheDiskBelowAVolumesContainerDoes) {
    Disk& disk = registry->disk();
    disk.setMeasures({Disk::Measure::activity, Disk::Measure::devices});
    registry->start(disk);
    count(1000, 1000);
    queues::advance(1.2);
    EXPECT_EQ(disk.availability(Disk::Measure::activity), Availability::available);
    EXPECT_EQ(disk.device(*disk.HD())->whole, "disk1");
    const int asked = failures::calls("IORegistryEntryCreateCFProperties");
    count(1000 + 22'000, 1000 + 11'000);
    queues::advance(1.1);
    EXPECT_EQ(failures::calls("IORegistryEntryCreateCFProperties"), asked) << "devices are described once";
    const std::optional<probes::DiskActivity> activity = disk.activity(*disk.HD());
    ASSERT_TRUE(activity);
    EXPECT_EQ(activity->counters.name, "disk1");
    EXPECT_NEAR(activity->readsRate.value(), 200, 1e-6);
    EXPECT_NEAR(activity->writesRate.value(), 100, 1e-6);
    EXPECT_NEAR(activity->readLatency.value(), 0.002, 1e-9);
    EXPECT_NEAR(activity->writeLatency.value(), 0.003, 1e-9);
    EXPECT_FALSE(activity->busy || activity->queueLength || activity->counters.operationsNow) << "which nobody counts";
}

TEST_F(MacModels, ShowTheBatteryAndHearOfItsChanges) {
    EXPECT_EQ(registry->battery().percent(), 50);
    EXPECT_TRUE(registry->battery().isCharging());
    machine().powerSources->front().insert_or_assign("Current Capacity", 60);
    signalSources();
    EXPECT_EQ(registry->battery().percent(), 60);
}

TEST_F(MacModels, ShowTheRadioOfAWirelessInterface) {
    Network& net = registry->net();
    net.setMeasures({Network::Measure::wireless});
    registry->start(net);
    queues::advance(1.2);
    ASSERT_EQ(net.wireless().size(), 1u);
    EXPECT_EQ(net.wireless()[0].name, "en0");
    EXPECT_EQ(net.wireless()[0].signal, -52);
    EXPECT_EQ(net.wireless()[0].channel(), 36);
    machine().radios.reset();
    queues::advance(1.1);
    EXPECT_TRUE(net.wireless().empty());
    EXPECT_EQ(net.availability(Network::Measure::wireless), Availability::unsupported);
}

TEST_F(MacModels, SayThatThereAreNoAveragesOfWaitingAndNoSensors) {
    registry->cpu().setMeasures({CPU::Measure::pressure});
    registry->mem().setMeasures({Memory::Measure::pressure});
    registry->disk().setMeasures({Disk::Measure::pressure});
    registry->start(System::Group::system);
    registry->start(registry->disk());
    registry->start(registry->sensors());
    queues::advance(2.4);
    EXPECT_EQ(registry->cpu().availability(CPU::Measure::pressure), Availability::unsupported);
    EXPECT_EQ(registry->mem().availability(Memory::Measure::pressure), Availability::unsupported);
    EXPECT_EQ(registry->disk().availability(Disk::Measure::pressure), Availability::unsupported);
    EXPECT_FALSE(registry->cpu().pressure() || registry->mem().pressure() || registry->disk().pressure());
    for (const auto kind : {Sensors::Kind::temperature, Sensors::Kind::fan, Sensors::Kind::energy})
        EXPECT_EQ(registry->sensors().availability(kind), Availability::unsupported);
    EXPECT_TRUE(registry->sensors().all().empty());
}

TEST_F(MacModels, ShowWhoIsLoggedIn) {
    const auto users = registry->host().users();
    ASSERT_TRUE(users);
    EXPECT_THAT(*users, testing::ElementsAre(LoggedInUser{"anna", "console", "", 1'600'000'100, 90}));
}

TEST_F(MacModels, ShowTheInterfaceThatHasAnAddress) {
    registry->start(registry->net());
    queues::advance(1.2);
    EXPECT_EQ(registry->net().localhostName(), "tower");
    EXPECT_EQ(registry->net().router(), "192.0.2.1");
}

} // namespace
