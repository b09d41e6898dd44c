// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/GraphicsDevices.h>

#include "tests/support/Allocations.h"
#include "tests/support/linux/FileTree.h"
#include "tests/support/linux/NvidiaStandIn.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using Processors = std::vector<GraphicsProcessor>;
constexpr auto available = Availability::available;

const std::string radeon = "sys/devices/pci0000:00/0000:00:03.1/0000:0a:00.0";
const std::string intel = "sys/devices/pci0000:00/0000:00:02.0";

TEST(GraphicsDevices, ReadTheProcessorOfADesktop) {
    const FileTree machine(machineListing("desktop"));
    GraphicsDevices devices(machine.root());
    Processors processors;
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors, (Processors{{.identifier = "0000:0a:00.0",
                                       .name = "Unknown",
                                       .driver = "amdgpu",
                                       .use = 7,
                                       .memoryUsed = 1288331264,
                                       .memoryTotal = 12868124672,
                                       .clock = 745e6,
                                       .temperature = 47,
                                       .power = 29,
                                       .fan = 612}}));
    machine.add(radeon + "/gpu_busy_percent=104\n" + radeon + "/mem_info_vram_used=no number\n" + radeon +
                "/hwmon/hwmon10/fan1_input=0");
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[0].use, 100);
    EXPECT_FALSE(processors[0].memoryUsed);
    EXPECT_EQ(processors[0].fan, 0) << "it stands still";
}

TEST(GraphicsDevices, ReadThoseOfALaptopAndWakeNone) {
    const FileTree machine(machineListing("laptop"));
    machine.add("usr/share/misc/pci.ids=8086  Intel Corporation");
    GraphicsDevices devices(machine.root());
    Processors processors;
    ASSERT_EQ(devices.read(processors), available);
    ASSERT_EQ(processors.size(), 2U);
    EXPECT_EQ(processors[0], (GraphicsProcessor{.identifier = "0000:00:02.0",
                                                .name = "Intel Device 3ea0",
                                                .driver = "i915",
                                                .idleSeconds = 1200.345,
                                                .clock = 450e6}));
    EXPECT_EQ(
        processors[1],
        (GraphicsProcessor{.identifier = "0000:01:00.0", .name = "Unknown", .driver = "nouveau", .isAsleep = true}));
    machine.add("sys/devices/pci0000:00/0000:01:00.0/power/runtime_status=active");
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_FALSE(processors[1].isAsleep);
    EXPECT_EQ(processors[1].temperature, 39);
}

TEST(GraphicsDevices, ReadWhatTheOlderAndTheNewerDriverOfIntelCallOtherwise) {
    for (const std::string& files :
         {intel + "/drm/card1/power/rc6_residency_ms=1500\n" + intel + "/drm/card1/gt_act_freq_mhz=300",
          intel + "/tile0/gt0/gtidle/idle_residency_ms=1500\n" + intel + "/tile0/gt0/freq0/act_freq=300"}) {
        const FileTree machine(files + "\n" + intel +
                               "/class=0x030000\nsys/bus/pci/devices/0000:00:02.0->../../../devices/" +
                               "pci0000:00/0000:00:02.0");
        GraphicsDevices devices(machine.root());
        Processors processors;
        ASSERT_EQ(devices.read(processors), available);
        EXPECT_EQ(processors[0].idleSeconds, 1.5);
        EXPECT_EQ(processors[0].clock, 300e6);
        EXPECT_EQ(processors[0].driver, "");
    }
}

TEST(GraphicsDevices, ReadTheMarkedStateOfTheClock) {
    EXPECT_EQ(parseClockStates("0: 500Mhz\n1: 1800Mhz *\n2: 2100Mhz\n"), 1800e6);
    EXPECT_EQ(parseClockStates("S: 19Mhz *\n0: 500Mhz\n"), 19e6);
    EXPECT_EQ(parseClockStates("0: 500MHz *"), 500e6);
    for (const char* const text :
         {"", "\n", "*", "0: *", "0: Mhz *", "0: 500Mhz\n", "0: 500 *", "0: -5Mhz *", "0: 99999999999Mhz *", ": : *"})
        EXPECT_FALSE(parseClockStates(text)) << text;
    const FileTree machine(machineListing("desktop"));
    machine.remove(radeon + "/hwmon/hwmon10/freq1_input");
    machine.add(radeon + "/pp_dpm_sclk=0: 500Mhz *");
    GraphicsDevices devices(machine.root());
    Processors processors;
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[0].clock, 500e6);
}

TEST(GraphicsDevices, FollowProcessorsThatComeAndGo) {
    const FileTree machine;
    GraphicsDevices devices(machine.root());
    Processors processors{GraphicsProcessor{.name = "before"}};
    EXPECT_EQ(devices.read(processors), Availability::unsupported);
    machine.add("sys/bus/pci/devices/0000:00:1f.0/class=0x060100");
    EXPECT_EQ(devices.read(processors), Availability::unsupported) << "a bridge";
    EXPECT_EQ(processors[0].name, "before");
    machine.add("sys/bus/pci/devices/0000:05:00.0/class=0x038000");
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors.size(), 1U);
    machine.remove("sys/bus/pci/devices/0000:05:00.0");
    EXPECT_EQ(devices.read(processors), Availability::unsupported);
}

// The laptop with the driver that its maker wrote, and its second processor awake.
class LaptopOfNvidia : public FileTree {
public:
    LaptopOfNvidia() : FileTree(machineListing("laptop")) {
        const std::string device = "sys/devices/pci0000:00/0000:01:00.0";
        for (const char* const file : {"/driver", "/hwmon"})
            remove(device + file);
        add(device + "/driver->../../../bus/pci/drivers/nvidia\n" + device + "/power/runtime_status=active");
    }
};

TEST(GraphicsDevices, AskTheLibraryOfADriverThatTellsNothingItself) {
    const NvidiaStandIn library;
    const LaptopOfNvidia machine;
    library.install(machine);
    GraphicsDevices devices(machine.root());
    EXPECT_EQ(library->started, 0) << "nobody asked yet";
    Processors processors;
    for (int sample = 0; sample < 3; ++sample)
        ASSERT_EQ(devices.read(processors), available);
    ASSERT_EQ(processors.size(), 2U);
    EXPECT_EQ(processors[0].driver, "i915");
    GraphicsProcessor expected = NvidiaStandIn::processorAt("0000:01:00.0");
    expected.driver = "nvidia";
    EXPECT_EQ(processors[1], expected);
    EXPECT_EQ(library->started, 1);
    EXPECT_EQ(library->looked, 1);
    library->figures = 15; // lost
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[1].figures, Availability::failed);
    EXPECT_FALSE(processors[1].use);
    library->figures = 0;
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[1].figures, available);
}

TEST(GraphicsDevices, LoadTheLibraryOnlyForAProcessorOfItsDriverThatIsAwake) {
    const NvidiaStandIn library;
    Processors processors;
    const FileTree others(machineListing("laptop"));
    library.install(others);
    others.add("sys/devices/pci0000:00/0000:01:00.0/power/runtime_status=active");
    ASSERT_EQ(GraphicsDevices(others.root()).read(processors), available);
    EXPECT_EQ(processors[1].temperature, 39) << "nouveau";
    EXPECT_EQ(library->started, 0);

    const LaptopOfNvidia machine;
    library.install(machine);
    machine.add("sys/devices/pci0000:00/0000:01:00.0/power/runtime_status=suspended");
    GraphicsDevices devices(machine.root());
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_TRUE(processors[1].isAsleep);
    EXPECT_EQ(processors[1].figures, available) << "nobody was asked";
    EXPECT_EQ(library->started, 0);
    machine.add("sys/devices/pci0000:00/0000:01:00.0/power/runtime_status=active");
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[1].use, 37);
}

TEST(GraphicsDevices, SayThatTheLibraryIsMissingOrFails) {
    const LaptopOfNvidia machine;
    GraphicsDevices devices(machine.root());
    Processors processors;
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[0].figures, available);
    EXPECT_EQ(processors[1].figures, Availability::unsupported);
    EXPECT_EQ(processors[1].name, "Unknown");

    const NvidiaStandIn library;
    library.install(machine);
    library->start = 4;
    ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(library->started, 0) << "not looked for at each sample";
    machine.add("sys/bus/pci/devices/0000:00:1f.0/class=0x060100");
    for (int sample = 0; sample < 3; ++sample)
        ASSERT_EQ(devices.read(processors), available);
    EXPECT_EQ(processors[1].figures, Availability::denied);
    EXPECT_EQ(library->started, 1) << "nor started";
}

TEST(GraphicsDevices, TakeNoMemoryOnceWarm) {
    const NvidiaStandIn library;
    const LaptopOfNvidia laptop;
    library.install(laptop);
    const FileTree desktop(machineListing("desktop"));
    for (const FileTree* const machine : {static_cast<const FileTree*>(&laptop), &desktop}) {
        GraphicsDevices devices(machine->root());
        Processors processors;
        ASSERT_EQ(devices.read(processors), available);
        const std::size_t before = allocations();
        for (int sample = 0; sample < 16; ++sample)
            ASSERT_EQ(devices.read(processors), available);
        if (countsAllocations) {
            EXPECT_EQ(allocations(), before);
        }
    }
}

} // namespace
} // namespace sentrel::platform
