// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"

#include <SentrelKit/platform/macos/graphics/MacGraphicsService.h>

using namespace darwin;
using sentrel::PropertyList;
using sentrel::platform::MacGraphicsService;
using testing::ElementsAre;

namespace {

const PropertyList::Bytes integratedID{0x9b, 0x3e, 0, 0};
const PropertyList::Bytes discreteID{0x40, 0x73, 0, 0};

class MacGraphics : public DarwinTest {
protected:
    void SetUp() override {
        DarwinTest::SetUp();
        RegistryEntry& bridge = machine().registry.add(
            {.name = "PCI0", .classes = {"IOPCIBridge"}, .properties = {{"IOName", "pci"}, {"device-id", bytes(1)}}});
        integrated = &bridge.add({.name = "IGPU",
                                  .classes = {"IOPCIDevice", "IOService"},
                                  .properties = {{"IOName", "display"}, {"device-id", integratedID}}});
        discrete = &bridge.add({.name = "GFX0",
                                .classes = {"IOPCIDevice", "IOService"},
                                .properties = {{"IOName", "display"}, {"device-id", discreteID}}});
    }

    static PropertyList bytes(std::uint8_t byte) { return PropertyList::Bytes{byte, 0, 0, 0}; }

    RegistryEntry* integrated = nullptr;
    RegistryEntry* discrete = nullptr;
};

TEST_F(MacGraphics, ListsThePropertiesOfEveryPciDevice) {
    const auto devices = MacGraphicsService().pciDevices();
    ASSERT_TRUE(devices);
    EXPECT_THAT(*devices, ElementsAre(integrated->properties, discrete->properties));
}

TEST_F(MacGraphics, LeavesOutADeviceWhosePropertiesCannotBeRead) {
    failures::plan("IORegistryEntryCreateCFProperties", KERN_FAILURE);
    const auto devices = MacGraphicsService().pciDevices();
    ASSERT_TRUE(devices);
    EXPECT_THAT(*devices, ElementsAre(discrete->properties));
}

TEST_F(MacGraphics, ThatCannotBeListedAreAbsent) {
    failures::plan("IOServiceGetMatchingServices", KERN_FAILURE);
    EXPECT_FALSE(MacGraphicsService().pciDevices());
    failures::plan("IOServiceMatching", KERN_FAILURE);
    EXPECT_FALSE(MacGraphicsService().pciDevices());
}

TEST_F(MacGraphics, FindTheDeviceOfTheMainDisplayAboveItsPort) {
    machine().display = &discrete->add({.name = "AppleDisplay", .classes = {"IODisplayConnect"}});
    PropertyList::Bytes id;
    EXPECT_TRUE(MacGraphicsService().activeDeviceID(id));
    EXPECT_EQ(id, discreteID);
}

TEST_F(MacGraphics, WithoutADisplayOrADeviceIdLeaveTheBytesAlone) {
    PropertyList::Bytes id = integratedID;
    EXPECT_FALSE(MacGraphicsService().activeDeviceID(id));
    machine().display = &machine().registry.add({.name = "Display", .classes = {"IODisplayConnect"}});
    EXPECT_FALSE(MacGraphicsService().activeDeviceID(id));
    machine().display->properties["device-id"] = "no bytes";
    EXPECT_FALSE(MacGraphicsService().activeDeviceID(id));
    EXPECT_EQ(id, integratedID);
}

TEST_F(MacGraphics, ReadsTheStatisticsOfTheAccelerators) {
    MacGraphicsService service;
    std::vector<sentrel::platform::GraphicsProcessor> processors;
    EXPECT_EQ(service.processors(processors), sentrel::Availability::unsupported);
    integrated->add({.name = "IntelAccelerator", .classes = {"IOAccelerator"}, .properties = {}});
    discrete->add({.name = "AMDAccelerator",
                   .classes = {"IOAccelerator"},
                   .properties = {{"CFBundleIdentifier", "com.example.driver"},
                                  {"model", "Example"},
                                  {"PerformanceStatistics", PropertyList::Dictionary{{"Device Utilization %", 12},
                                                                                     {"vramUsedBytes", 1000},
                                                                                     {"vramFreeBytes", 3000},
                                                                                     {"Core Clock(MHz)", 300},
                                                                                     {"Temperature(C)", 45},
                                                                                     {"Total Power(W)", "no number"},
                                                                                     {"Fan Speed(RPM)", 1200.5}}}}});
    ASSERT_EQ(service.processors(processors), sentrel::Availability::available);
    EXPECT_THAT(processors,
                ElementsAre(sentrel::platform::GraphicsProcessor{.identifier = "IOAccelerator0", .name = "Unknown"},
                            sentrel::platform::GraphicsProcessor{.identifier = "IOAccelerator1",
                                                                 .name = "Example",
                                                                 .driver = "com.example.driver",
                                                                 .use = 12,
                                                                 .memoryUsed = 1000,
                                                                 .memoryTotal = 4000,
                                                                 .clock = 300e6,
                                                                 .temperature = 45,
                                                                 .fan = 1200.5}));
    failures::plan("IOServiceGetMatchingServices", KERN_FAILURE);
    EXPECT_EQ(service.processors(processors), sentrel::Availability::failed);
    EXPECT_EQ(processors.size(), 2U);
}

} // namespace
