// SPDX-License-Identifier: Apache-2.0
// The sensors beside what other programs read on the same machine: on this one, and on made-up ones that are mounted in
// its place for the test.

#include <SentrelKit/platform/linux/sensors/LinuxSensorService.h>

#include "tests/support/ChildProgram.h"
#include "tests/support/linux/FileTree.h"
#include "tests/support/linux/MountNamespace.h"
#include "tests/support/linux/Nobody.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <tuple>
#include <vector>

namespace sentrel::platform {
namespace {

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

// What two programs say of one sensor: chip, label, value.
using Line = std::tuple<std::string, std::string, double>;

std::vector<Line> linesOf(const std::string& program) {
    ChildProgram child({"/usr/bin/python3", "-c", program});
    std::vector<Line> lines;
    while (const std::optional<std::string> text = child.readLine()) {
        const std::size_t first = text->find('\t');
        const std::size_t second = text->find('\t', first + 1);
        lines.emplace_back(text->substr(0, first), text->substr(first + 1, second - first - 1),
                           std::atof(text->c_str() + second + 1));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::vector<Line> linesOf(const std::vector<SensorReading>& readings, SensorKind kind) {
    std::vector<Line> lines;
    for (const SensorReading& reading : readings)
        if (reading.kind == kind)
            lines.emplace_back(reading.chip, reading.label, reading.value);
    std::sort(lines.begin(), lines.end());
    return lines;
}

// Values move between two readings, by a few degrees or some hundred revolutions: what is the same is what there is.
void expectSame(const std::vector<Line>& ours, const std::vector<Line>& theirs, double tolerance) {
    ASSERT_EQ(ours.size(), theirs.size());
    for (std::size_t i = 0; i < ours.size(); ++i) {
        EXPECT_EQ(std::get<0>(ours[i]), std::get<0>(theirs[i]));
        EXPECT_EQ(std::get<1>(ours[i]), std::get<1>(theirs[i]));
        EXPECT_NEAR(std::get<2>(ours[i]), std::get<2>(theirs[i]), tolerance) << std::get<1>(ours[i]);
    }
}

// psutil leaves the label of a channel without one empty.
constexpr const char* psutilTemperatures = R"(
import psutil
for chip, sensors in psutil.sensors_temperatures().items():
    for sensor in sensors:
        print(chip, sensor.label, sensor.current, sep="\t")
)";
constexpr const char* psutilFans = R"(
import psutil
for chip, sensors in psutil.sensors_fans().items():
    for sensor in sensors:
        print(chip, sensor.label, sensor.current, sep="\t")
)";

std::vector<SensorReading> withoutOwnLabels(std::vector<SensorReading> readings) {
    for (SensorReading& reading : readings)
        if (reading.identifier.ends_with("/" + reading.label))
            reading.label.clear();
    return readings;
}

// The machine stands where this one's /sys is. The fixed folders of /sys stay: there is no making of others.
class Mounted {
public:
    explicit Mounted(const FileTree& machine) {
        for (const char* const folder : {"/sys/class", "/sys/devices"}) {
            EXPECT_EQ(::mount((machine.path() + folder).c_str(), folder, nullptr, MS_BIND, nullptr), 0);
            folders_.push_back(folder);
        }
    }
    ~Mounted() {
        for (const std::string& folder : folders_)
            ::umount2(folder.c_str(), MNT_DETACH);
    }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;

private:
    std::vector<std::string> folders_;
};

TEST(LinuxSensorServiceLive, TellsWhatPsutilTellsOfThisMachine) {
    LinuxSensorService service;
    std::vector<SensorReading> readings;
    const Availability answer = service.sensors(readings);
    EXPECT_EQ(answer == Availability::available, !readings.empty());
    readings = withoutOwnLabels(readings);
    expectSame(linesOf(readings, SensorKind::temperature), linesOf(psutilTemperatures), 10);
    expectSame(linesOf(readings, SensorKind::fan), linesOf(psutilFans), 300);
}

TEST(LinuxSensorServiceLive, TellsWhatPsutilTellsOfADesktop) {
    if (!inOwnMountNamespace())
        GTEST_SKIP() << "no right to a mount namespace";
    const FileTree machine(machineListing("desktop"));
    const Mounted mounted(machine);
    LinuxSensorService service; // of "this" machine
    std::vector<SensorReading> readings;
    ASSERT_EQ(service.sensors(readings), Availability::available);
    readings = withoutOwnLabels(readings);
    expectSame(linesOf(readings, SensorKind::temperature), linesOf(psutilTemperatures), 0.0005);
    expectSame(linesOf(readings, SensorKind::fan), linesOf(psutilFans), 0);
}

// The reader of most desktops, which knows every kind. A channel that it has no name for it calls as we do.
TEST(LinuxSensorServiceLive, TellsWhatSensorsTellsOfADesktop) {
    if (!inOwnMountNamespace())
        GTEST_SKIP() << "no right to a mount namespace";
    const FileTree machine(machineListing("desktop"));
    const Mounted mounted(machine);
    LinuxSensorService service;
    std::vector<SensorReading> readings;
    ASSERT_EQ(service.sensors(readings), Availability::available);
    const auto beside = [&](SensorKind kind, const std::string& prefix) {
        const std::vector<Line> theirs = linesOf(R"(
import json, subprocess
none = "/dev/null"
chips = json.loads(subprocess.run(["sensors", "-j", "-c", none], capture_output=True, text=True).stdout)
for chip, sensors in chips.items():
    for label, values in sensors.items():
        for name, value in values.items() if isinstance(values, dict) else ():
            if name.startswith(")" + prefix + R"(") and name.endswith(("_input", "_average")):
                print(chip.split("-")[0], label, value, sep="\t")
)");
        SCOPED_TRACE(prefix);
        expectSame(linesOf(readings, kind), theirs, 0.0015); // it prints three places
    };
    beside(SensorKind::temperature, "temp");
    beside(SensorKind::fan, "fan");
    beside(SensorKind::voltage, "in");
    beside(SensorKind::power, "power");
}

TEST(LinuxSensorServiceLive, IsDeniedTheEnergyCountersThatAreTheSuperusers) {
    const FileTree machine(machineListing("desktop"));
    ASSERT_EQ(::chmod(machine.path().c_str(), 0755), 0);
    const std::string zone = machine.path() + "/sys/devices/virtual/powercap/intel-rapl/intel-rapl:0";
    for (const std::string& counter : {zone + "/energy_uj", zone + "/intel-rapl:0:0/energy_uj"})
        ASSERT_EQ(::chmod(counter.c_str(), 0400), 0);
    asNobody([&] {
        LinuxSensorService service(machine.root());
        std::vector<SensorReading> readings;
        EXPECT_EQ(service.energyCounters(readings), Availability::denied);
        EXPECT_TRUE(readings.empty());
        EXPECT_EQ(service.sensors(readings), Availability::available);
    });
    // One of them is enough.
    ASSERT_EQ(::chmod((zone + "/energy_uj").c_str(), 0444), 0);
    asNobody([&] {
        LinuxSensorService service(machine.root());
        std::vector<SensorReading> readings;
        EXPECT_EQ(service.energyCounters(readings), Availability::available);
        EXPECT_EQ(readings.size(), 1U);
    });
}

} // namespace
} // namespace sentrel::platform
