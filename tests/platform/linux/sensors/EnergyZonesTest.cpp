// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/EnergyZones.h>

#include "tests/support/Allocations.h"
#include "tests/support/linux/FileTree.h"

#include <gtest/gtest.h>
#include <vector>

namespace sentrel::platform {
namespace {

using Readings = std::vector<SensorReading>;

TEST(EnergyZones, CountWhatAPackageAndItsPartsUsed) {
    const FileTree machine(machineListing("desktop"));
    EnergyZones zones(machine.root());
    Readings readings;
    ASSERT_EQ(zones.read(readings), Availability::available);
    ASSERT_EQ(readings.size(), 2U);
    EXPECT_EQ(readings[0], (SensorReading{.kind = SensorKind::energy,
                                          .identifier = "intel-rapl:0",
                                          .chip = "intel-rapl",
                                          .label = "package-0",
                                          .value = 41873.190517,
                                          .range = 65532.610987}));
    EXPECT_EQ(readings[1].identifier, "intel-rapl:0:0");
    EXPECT_EQ(readings[1].label, "package-0 core");
    machine.add("sys/devices/virtual/powercap/intel-rapl/intel-rapl:0/energy_uj=17");
    ASSERT_EQ(zones.read(readings), Availability::available);
    EXPECT_EQ(readings[0].value, 17e-6);
}

TEST(EnergyZones, AreUnsupportedWithoutACounter) {
    const FileTree machine;
    EnergyZones zones(machine.root());
    Readings readings{SensorReading{.label = "before"}};
    EXPECT_EQ(zones.read(readings), Availability::unsupported);
    machine.add("sys/class/powercap/intel-rapl/enabled=1\nsys/class/powercap/dtpm/name=dtpm");
    EXPECT_EQ(zones.read(readings), Availability::unsupported);
    EXPECT_EQ(readings[0].label, "before");
}

TEST(EnergyZones, AreLeftOutWhereTheCounterIsNone) {
    const FileTree machine("sys/class/powercap/a:0/energy_uj=-1\n"
                           "sys/class/powercap/b:0/energy_uj=2000000\n"
                           "sys/class/powercap/b:0/max_energy_range_uj=0");
    EnergyZones zones(machine.root());
    Readings readings;
    ASSERT_EQ(zones.read(readings), Availability::available);
    ASSERT_EQ(readings.size(), 1U);
    EXPECT_EQ(
        readings[0],
        (SensorReading{.kind = SensorKind::energy, .identifier = "b:0", .chip = "b", .label = "b:0", .value = 2}));
    machine.add("sys/class/powercap/b:0/energy_uj=");
    EXPECT_EQ(zones.read(readings), Availability::failed);
}

TEST(EnergyZones, TakeNoMemoryOnceWarm) {
    const FileTree machine(machineListing("desktop"));
    EnergyZones zones(machine.root());
    Readings readings;
    ASSERT_EQ(zones.read(readings), Availability::available);
    const std::size_t before = allocations();
    ASSERT_EQ(zones.read(readings), Availability::available);
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

} // namespace
} // namespace sentrel::platform
