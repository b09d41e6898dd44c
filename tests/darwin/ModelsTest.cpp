// SPDX-License-Identifier: Apache-2.0
/// The models and the registry above the simulated macOS: the figures that a Mac with these answers would show.

#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Workspace.h"
#include "tests/support/EchoHostGuard.h"
#include "tests/support/InterfaceList.h"

#include <SentrelKit/platform/macos/MacPlatform.h>
#include <SentrelKit/system/System.h>

#include <memory>
#include <optional>

using namespace darwin;
using namespace sentrel;

namespace {

PropertyList::Bytes bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

class MacModels : public DarwinTest {
protected:
    void SetUp() override {
        DarwinTest::SetUp();
        Machine& mac = machine();
        mac.basic.logical_cpu = 8;
        mac.basic.physical_cpu = 4;
        mac.physicalMemory = std::uint64_t{16} << 30;
        mac.memory.free_count = 1000;
        mac.memory.wire_count = 500;
        mac.load.cpu_ticks[CPU_STATE_IDLE] = 1000;
        mac.thermalState = 2;
        addGraphics();
        addDisk();
        addBattery();
        mac.interfaceList = InterfaceList()
                                .add({.name = "en0", .index = 4, .bytesIn = 1000, .bytesOut = 100})
                                .address({{5, address()}})
                                .bytes();
        mac.mediaStatus["en0"] = 3;
        mac.reachability = 2;
        mac.localHostName = "tower";
        mac.storeKeys["State:/Network/Global/IPv4"] = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
        platform = std::make_unique<platform::MacPlatform>();
        registry = std::make_unique<System>(*platform);
    }

    void TearDown() override {
        registry.reset();
        queues::advance(10); // what was under way ends
        platform.reset();
        DarwinTest::TearDown();
    }

    void addGraphics() {
        RegistryEntry& bridge = machine().registry.add({.name = "PCI0", .classes = {"IOPCIBridge"}});
        bridge.add({.name = "IGPU",
                    .classes = {"IOPCIDevice"},
                    .properties = {{"IOName", "display"},
                                   {"device-id", PropertyList::Bytes{1, 0, 0, 0}},
                                   {"model", bytes("Intel UHD Graphics 630")}}});
        RegistryEntry& discrete = bridge.add({.name = "GFX0",
                                              .classes = {"IOPCIDevice"},
                                              .properties = {{"IOName", "display"},
                                                             {"device-id", PropertyList::Bytes{2, 0, 0, 0}},
                                                             {"model", bytes("Radeon Pro 560X")}}});
        machine().display = &discrete.add({.name = "Display", .classes = {"IODisplayConnect"}});
    }

    void addDisk() {
        machine().mounts = {{.type = "apfs",
                             .from = "/dev/disk1s1",
                             .on = "/",
                             .flags = 0x4000,
                             .blockSize = 4096,
                             .blocks = 1000,
                             .freeBlocks = 250},
                            {.type = "devfs", .from = "devfs", .on = "/dev", .flags = 0x100000}};
        driver = &machine().registry.add({.name = "driver", .classes = {"IOBlockStorageDriver"}});
        count(0, 0);
        RegistryEntry& whole = driver->add(
            {.name = "disk1", .classes = {"IOMedia"}, .properties = {{"BSD Name", "disk1"}, {"Whole", true}}});
        whole.add({.name = "disk1s1",
                   .classes = {"IOMedia"},
                   .properties = {{"BSD Name", "disk1s1"}, {"DAVolumeName", "Macintosh HD"}}});
    }

    void addBattery() {
        machine().powerSources = {{{"Current Capacity", 50}, {"Max Capacity", 100}, {"Is Charging", true}}};
        machine().registry.add({.name = "AppleSmartBattery",
                                .classes = {"AppleSmartBattery"},
                                .properties = {{"BatteryInstalled", true}, {"CycleCount", 321}}});
    }

    void count(int read, int written) {
        driver->properties["Statistics"] = PropertyList::Dictionary{{"Bytes (Read)", read}, {"Bytes (Write)", written}};
    }

    // As this host lays an address out, since it is this host that makes it a text.
    static InterfaceList::Bytes address() { return {2, 0, 0, 0, 192, 0, 2, 7, 0, 0, 0, 0, 0, 0, 0, 0}; }

    const EchoHostGuard guard{{}}; // contact nobody
    RegistryEntry* driver = nullptr;
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

TEST_F(MacModels, ShowTheBatteryAndHearOfItsChanges) {
    EXPECT_EQ(registry->battery().percent(), 50);
    EXPECT_TRUE(registry->battery().isCharging());
    machine().powerSources->front().insert_or_assign("Current Capacity", 60);
    signalSources();
    EXPECT_EQ(registry->battery().percent(), 60);
}

TEST_F(MacModels, ShowTheInterfaceThatHasAnAddress) {
    registry->start(registry->net());
    queues::advance(1.2);
    EXPECT_EQ(registry->net().localhostName(), "tower");
    EXPECT_EQ(registry->net().router(), "192.0.2.1");
}

} // namespace
