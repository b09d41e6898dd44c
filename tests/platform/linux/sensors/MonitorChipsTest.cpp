// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/MonitorChips.h>

#include "tests/support/Allocations.h"
#include "tests/support/linux/FileTree.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Readings = std::vector<SensorReading>;
constexpr auto available = Availability::available;

std::vector<std::string> identifiers(const Readings& readings) {
    std::vector<std::string> names;
    for (const SensorReading& reading : readings)
        names.push_back(reading.identifier);
    return names;
}

SensorReading named(const Readings& readings, const std::string& identifier) {
    const auto found = std::find_if(readings.begin(), readings.end(),
                                    [&](const SensorReading& reading) { return reading.identifier == identifier; });
    return found == readings.end() ? SensorReading{} : *found;
}

TEST(MonitorChips, ReadsTheChipsOfADesktop) {
    const FileTree machine(machineListing("desktop"));
    MonitorChips chips(machine.root());
    Readings readings;
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings),
                ElementsAre("nvme@nvme0/temp1", "nvme@nvme0/temp2", "k10temp@0000:00:18.3/temp1",
                            "k10temp@0000:00:18.3/temp3", "nct6798@nct6775.656/temp1", "nct6798@nct6775.656/fan2",
                            "nct6798@nct6775.656/in0", "nct6798@nct6775.656/in1", "amdgpu@0000:0a:00.0/temp1",
                            "amdgpu@0000:0a:00.0/temp2", "amdgpu@0000:0a:00.0/fan1", "amdgpu@0000:0a:00.0/in0",
                            "amdgpu@0000:0a:00.0/power1"));
    EXPECT_EQ(readings[0], (SensorReading{.kind = SensorKind::temperature,
                                          .identifier = "nvme@nvme0/temp1",
                                          .chip = "nvme",
                                          .label = "Composite",
                                          .value = 41.85,
                                          .minimum = -20.15,
                                          .maximum = 83.85,
                                          .critical = 87.85,
                                          .alarm = false}));
    EXPECT_EQ(readings[5], (SensorReading{.kind = SensorKind::fan,
                                          .identifier = "nct6798@nct6775.656/fan2",
                                          .chip = "nct6798",
                                          .label = "fan2",
                                          .value = 823,
                                          .minimum = 0,
                                          .alarm = false}));
    EXPECT_EQ(readings[7], (SensorReading{.kind = SensorKind::voltage,
                                          .identifier = "nct6798@nct6775.656/in1",
                                          .chip = "nct6798",
                                          .label = "in1",
                                          .value = 1,
                                          .minimum = 0,
                                          .maximum = 0,
                                          .alarm = true}));
    EXPECT_EQ(readings[12], (SensorReading{.kind = SensorKind::power,
                                           .identifier = "amdgpu@0000:0a:00.0/power1",
                                           .chip = "amdgpu",
                                           .label = "PPT",
                                           .value = 29,
                                           .maximum = 186}));
}

TEST(MonitorChips, ReadsTheChipsOfALaptopWithoutWakingWhatSleepsAndWithoutFaults) {
    const FileTree machine(machineListing("laptop"));
    MonitorChips chips(machine.root());
    Readings readings;
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("acpitz@thermal_zone0/temp1", "BAT0@BAT0/in0", "BAT0@BAT0/power1",
                                                   "BAT1@BAT1/in0", "BAT1@BAT1/curr1", "coretemp@coretemp.0/temp1",
                                                   "coretemp@coretemp.0/temp2", "thinkpad@thinkpad_hwmon/fan1"));
    EXPECT_EQ(readings[4].value, 0.531);
    EXPECT_EQ(readings[6].alarm, true) << "that of a limit";
    EXPECT_EQ(readings[7].value, 0) << "a fan that stands still";
    EXPECT_FALSE(readings[7].alarm);

    machine.add("sys/devices/pci0000:00/0000:01:00.0/power/runtime_status=active\n"
                "sys/devices/platform/thinkpad_hwmon/hwmon/hwmon4/fan2_fault=0\n"
                "sys/devices/platform/thinkpad_hwmon/hwmon/hwmon4/fan2_input=2100");
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_EQ(readings.size(), 10U);
    EXPECT_EQ(named(readings, "nouveau@0000:01:00.0/temp1").value, 39);
    EXPECT_EQ(named(readings, "thinkpad@thinkpad_hwmon/fan2").value, 2100);
}

TEST(MonitorChips, HasEachSampleAsItIsThen) {
    const FileTree machine("sys/class/hwmon/hwmon0/name=chip\n"
                           "sys/class/hwmon/hwmon0/temp1_input=20000\n"
                           "sys/class/hwmon/hwmon0/temp1_max_alarm=0\n"
                           "sys/class/hwmon/hwmon0/fan1_input=600");
    MonitorChips chips(machine.root());
    Readings readings;
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("chip@hwmon0/temp1", "chip@hwmon0/fan1"));
    machine.add("sys/class/hwmon/hwmon0/temp1_input=-5500\n"
                "sys/class/hwmon/hwmon0/temp1_max_alarm=1\n"
                "sys/class/hwmon/hwmon0/fan1_input=no number");
    ASSERT_EQ(chips.read(readings), available);
    ASSERT_THAT(identifiers(readings), ElementsAre("chip@hwmon0/temp1"));
    EXPECT_EQ(readings[0].value, -5.5);
    EXPECT_EQ(readings[0].alarm, true);
    machine.add("sys/class/hwmon/hwmon0/temp1_input=");
    EXPECT_EQ(chips.read(readings), Availability::failed);
    EXPECT_EQ(readings[0].value, -5.5) << "the list as it was";
    machine.add("sys/class/hwmon/hwmon0/temp1_input=1000\nsys/class/hwmon/hwmon0/fan1_input=700");
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("chip@hwmon0/temp1", "chip@hwmon0/fan1"));
}

TEST(MonitorChips, FollowsDevicesThatComeAndGo) {
    const FileTree machine;
    MonitorChips chips(machine.root());
    Readings readings;
    EXPECT_EQ(chips.read(readings), Availability::unsupported);
    machine.add("sys/class/hwmon/hwmon3/name=drivetemp\nsys/class/hwmon/hwmon3/temp1_input=31000");
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("drivetemp@hwmon3/temp1"));
    machine.add("sys/class/hwmon/hwmon1/name=other\nsys/class/hwmon/hwmon1/temp7_input=32000");
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("other@hwmon1/temp7", "drivetemp@hwmon3/temp1"));
    machine.remove("sys/class/hwmon/hwmon3");
    ASSERT_EQ(chips.read(readings), available);
    EXPECT_THAT(identifiers(readings), ElementsAre("other@hwmon1/temp7"));
    machine.remove("sys/class/hwmon/hwmon1");
    EXPECT_EQ(chips.read(readings), Availability::unsupported);
}

TEST(MonitorChips, LeavesOutWhatIsNoSensor) {
    const FileTree machine("sys/class/hwmon/hwmon0/name=chip\n"
                           "sys/class/hwmon/hwmon0/temp1_max=80000\n"
                           "sys/class/hwmon/hwmon0/pwm1=100\n"
                           "sys/class/hwmon/hwmon0/freq1_input=100000000\n"
                           "sys/class/hwmon/other/temp1_input=20000\n"
                           "sys/class/hwmon/hwmonX/temp1_input=20000");
    MonitorChips chips(machine.root());
    Readings readings;
    EXPECT_EQ(chips.read(readings), Availability::unsupported);
    EXPECT_THAT(readings, IsEmpty());
}

TEST(MonitorChips, TakesTextsAndNumbersAsTheyCome) {
    const FileTree machine("sys/class/hwmon/hwmon0/temp1_input=9223372036854775807\n"
                           "sys/class/hwmon/hwmon0/temp1_crit=-9223372036854775808\n"
                           "sys/class/hwmon/hwmon0/temp1_max=1e3\n"
                           "sys/class/hwmon/hwmon0/temp1_min=99999999999999999999\n"
                           "sys/class/hwmon/hwmon0/temp1_label=\n"
                           "sys/class/hwmon/hwmon0/temp1_alarm=yes\n"
                           "sys/class/hwmon/hwmon0/temp2_input=0x10");
    MonitorChips chips(machine.root());
    Readings readings;
    ASSERT_EQ(chips.read(readings), available);
    ASSERT_EQ(readings.size(), 1U);
    EXPECT_EQ(readings[0], (SensorReading{.identifier = "hwmon0@hwmon0/temp1",
                                          .chip = "hwmon0",
                                          .label = "temp1",
                                          .value = 9223372036854775.807,
                                          .critical = -9223372036854775.808}));
}

TEST(MonitorChips, ReadsMoreSensorsThanItKeepsFilesOpenFor) {
    const FileTree machine;
    constexpr int count = 300;
    std::string listing = "sys/class/hwmon/hwmon0/name=server\n";
    for (int i = 1; i <= count; ++i)
        listing += "sys/class/hwmon/hwmon0/temp" + std::to_string(i) + "_input=" + std::to_string(i * 1000) + "\n";
    machine.add(listing);
    MonitorChips chips(machine.root());
    Readings readings;
    for (int sample = 0; sample < 2; ++sample) {
        ASSERT_EQ(chips.read(readings), available);
        ASSERT_EQ(readings.size(), std::size_t{count});
        for (int i = 1; i <= count; ++i)
            EXPECT_EQ(readings[static_cast<std::size_t>(i - 1)].value, i);
    }
}

TEST(MonitorChips, TakeNoMemoryOnceWarm) {
    const FileTree machine(machineListing("desktop"));
    MonitorChips chips(machine.root());
    Readings readings;
    ASSERT_EQ(chips.read(readings), available);
    const std::size_t before = allocations();
    for (int sample = 0; sample < 16; ++sample)
        ASSERT_EQ(chips.read(readings), available);
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

} // namespace
} // namespace sentrel::platform
