// SPDX-License-Identifier: Apache-2.0
// Whole machines as trees of the kernel's files (tests/fixtures/machines): every model on each, with what it has and
// without what it has not. The network's figures come over sockets, which no tree holds: they are left out here.

#include <SentrelKit/platform/linux/LinuxPlatform.h>
#include <SentrelKit/system/System.h>

#include "tests/support/ChildProgram.h"
#include "tests/support/Fixtures.h"
#include "tests/support/linux/CapturedMachine.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint64_t kibibyte = 1024;

std::string clientOf(const std::string& driver) {
    return platform::SystemRoot().read(fixturePath("graphics/" + driver)).value();
}

// A registry on a machine, with everything wanted.
class Machine : public CapturedMachine {
public:
    explicit Machine(const std::string& name) : CapturedMachine(name) {}

    // Samples everything; to be called once the tree is whole.
    System& sample() {
        if (!system_) {
            platform_.emplace(root());
            system_.emplace(*platform_);
            system_->cpu().setMeasures(
                {CPU::Measure::pressure, CPU::Measure::cores, CPU::Measure::frequencies, CPU::Measure::activity});
            system_->mem().setMeasures({Memory::Measure::pressure, Memory::Measure::details, Memory::Measure::swapRates,
                                        Memory::Measure::compression, Memory::Measure::nodes});
            system_->gpu().setMeasures({GPU::Measure::use, GPU::Measure::engines});
            system_->disk().setMeasures({Disk::Measure::activity, Disk::Measure::devices, Disk::Measure::pressure});
        }
        system_->cpu().update();
        system_->mem().update();
        system_->gpu().update();
        system_->disk().update();
        system_->sensors().update();
        return *system_;
    }

    // Two samples, between which one processor works three quarters of the time.
    System& sampleWhile(std::uint32_t processor) {
        sample();
        work(processor);
        return sample();
    }

private:
    std::optional<platform::LinuxPlatform> platform_;
    std::optional<System> system_;
};

std::optional<double> valueOf(const System& system, const std::string& identifier) {
    const std::vector<Sensors::Sensor> all = system.sensors().all();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& sensor) { return sensor.identifier == identifier; });
    return found == all.end() ? std::nullopt : std::optional(found->value);
}

void expectWork(const System& system, std::uint32_t processor, std::size_t count) {
    const std::vector<CoreShares> cores = system.cpu().cores();
    ASSERT_EQ(cores.size(), count);
    for (const CoreShares& core : cores) {
        EXPECT_EQ(core.shares.user, core.number == processor ? 75 : 0) << core.number;
        EXPECT_EQ(core.shares.idle, core.number == processor ? 25 : 100) << core.number;
    }
    EXPECT_DOUBLE_EQ(system.cpu().user(), 75.0 / static_cast<double>(count));
    EXPECT_EQ(system.cpu().activeLogicalCores(), static_cast<std::int64_t>(count));
}

void expectNoSensors(const System& system) {
    EXPECT_THAT(system.sensors().all(), IsEmpty());
    EXPECT_EQ(system.sensors().availability(Sensors::Kind::temperature), Availability::unsupported);
    EXPECT_EQ(system.sensors().availability(Sensors::Kind::fan), Availability::unsupported);
}

void expectNoGraphics(const System& system) {
    EXPECT_EQ(system.gpu().availability(GPU::Measure::use), Availability::unsupported);
    EXPECT_EQ(system.gpu().availability(GPU::Measure::engines), Availability::unsupported);
    EXPECT_THAT(system.gpu().processors(), IsEmpty());
    EXPECT_THAT(system.gpu().work(), IsEmpty());
    EXPECT_EQ(system.gpu().name(), "");
}

TEST(Machines, ALaptopWithTwoBatteriesAndAGraphicsProcessorInItsChip) {
    Machine machine("laptop");
    machine.link("proc/2000/fd/7", "/dev/dri/renderD128");
    machine.write("proc/2000/fdinfo/7", clientOf("i915"));
    const System& system = machine.sampleWhile(5);

    expectWork(system, 5, 8);
    EXPECT_EQ(system.cpu().coreKinds(), (CoreKinds{.performance = 4, .efficiency = 4}));
    const std::vector<CoreFrequency> frequencies = system.cpu().frequencies();
    ASSERT_THAT(frequencies, SizeIs(8));
    EXPECT_EQ(frequencies[0].most, 4'700'000'000U);
    EXPECT_EQ(frequencies[7].most, 3'500'000'000U);
    EXPECT_EQ(frequencies[7].kind, CoreKind::efficiency);
    EXPECT_EQ(frequencies[7].governor, "powersave");
    ASSERT_TRUE(system.cpu().pressure());
    EXPECT_EQ(system.cpu().pressure()->some.avg10, 1.2);
    EXPECT_EQ(system.cpu().contextSwitches(), 0);

    EXPECT_EQ(system.mem().physical(), 16096228 * kibibyte);
    EXPECT_EQ(system.mem().details()->available, 9280056 * kibibyte);
    EXPECT_EQ(system.mem().swap().used, (8048112 - 7900000) * kibibyte);
    EXPECT_EQ(system.mem().compression(), (MemoryCompression{.stored = 151552000, .occupied = 45088768}));
    EXPECT_THAT(system.mem().nodes(), SizeIs(1));
    EXPECT_EQ(system.mem().availability(Memory::Measure::pressure), Availability::unsupported);

    const std::vector<GPU::Activity> processors = system.gpu().processors();
    ASSERT_THAT(processors, SizeIs(2));
    EXPECT_EQ(processors[0].driver, "i915");
    EXPECT_EQ(processors[0].clock, 450e6);
    EXPECT_FALSE(processors[0].memoryTotal);
    EXPECT_TRUE(processors[1].isAsleep);
    ASSERT_THAT(system.gpu().work(), SizeIs(1));
    EXPECT_EQ(system.gpu().work()[0].engines[1].name, "render");
    EXPECT_EQ(system.gpu().work()[0].engines[1].use, 0);

    EXPECT_TRUE(system.battery().hasBattery());
    EXPECT_FALSE(system.battery().isACPowered());
    EXPECT_EQ(system.battery().percent(), 95) << "the first one's: 21.66 of 22.8 Wh";
    EXPECT_EQ(system.battery().cycleCount(), 54);
    EXPECT_EQ(system.battery().voltage(), 12640);

    EXPECT_EQ(valueOf(system, "coretemp@coretemp.0/temp1"), 47);
    EXPECT_EQ(valueOf(system, "BAT1@BAT1/curr1"), 0.531);
    EXPECT_EQ(system.sensors().availability(Sensors::Kind::energy), Availability::unsupported);

    EXPECT_EQ(system.host().operatingSystem()->prettyName, "Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(system.host().virtualization(), Virtualization{});
    EXPECT_EQ(system.host().controlGroup(), (ControlGroup{2, std::nullopt, std::nullopt, 3221225472}));
    EXPECT_EQ(system.host().users()->at(0).name, "anna");
}

TEST(Machines, ADesktopWithItsGraphicsProcessorFansAndDisks) {
    Machine machine("desktop");
    machine.link("proc/1500/fd/40", "/dev/dri/renderD128");
    machine.write("proc/1500/fdinfo/40", clientOf("amdgpu"));
    const System& system = machine.sampleWhile(15);

    expectWork(system, 15, 16);
    EXPECT_EQ(system.cpu().availability(CPU::Measure::frequencies), Availability::unsupported);
    EXPECT_FALSE(system.cpu().coreKinds());
    EXPECT_EQ(system.cpu().availability(CPU::Measure::pressure), Availability::unsupported);

    EXPECT_EQ(system.mem().physical(), 32797480 * kibibyte);
    EXPECT_EQ(system.mem().details()->available, 27391184 * kibibyte);
    EXPECT_EQ(system.mem().swap().used, 0U);
    EXPECT_EQ(system.mem().availability(Memory::Measure::compression), Availability::unsupported);
    EXPECT_THAT(system.mem().nodes(), IsEmpty());

    const std::vector<GPU::Activity> processors = system.gpu().processors();
    ASSERT_THAT(processors, SizeIs(1));
    EXPECT_EQ(processors[0].use, 7);
    EXPECT_EQ(processors[0].memoryUsed, 1288331264U);
    EXPECT_EQ(processors[0].power, 29);
    ASSERT_THAT(system.gpu().work(), SizeIs(1));
    EXPECT_EQ(system.gpu().work()[0].memory, (412312 + 20480) * kibibyte);

    const std::vector<DiskDevice> devices = system.disk().devices();
    ASSERT_THAT(devices, SizeIs(3));
    EXPECT_EQ(devices[0].size, 1'000'204'886'016);
    EXPECT_EQ(devices[0].rotational, false);
    EXPECT_EQ(devices[1].whole, "nvme0n1");
    EXPECT_EQ(devices[2].rotational, true);
    const std::vector<probes::DiskActivity> activity = system.disk().activity();
    ASSERT_THAT(activity, SizeIs(3));
    EXPECT_EQ(activity[0].counters.reads, 100000);
    EXPECT_EQ(activity[0].readsRate, 0);
    EXPECT_FALSE(activity[0].readLatency) << "none ended";
    EXPECT_EQ(system.disk().availability(Disk::Measure::pressure), Availability::unsupported);

    EXPECT_FALSE(system.battery().hasBattery());

    EXPECT_EQ(valueOf(system, "k10temp@0000:00:18.3/temp1"), 52.25);
    EXPECT_EQ(valueOf(system, "nct6798@nct6775.656/fan2"), 823);
    EXPECT_EQ(system.sensors().of(Sensors::Kind::energy).size(), 2U);

    EXPECT_EQ(system.host().operatingSystem()->name, "Example Linux");
    EXPECT_EQ(system.host().virtualization(), Virtualization{});
    EXPECT_FALSE(system.host().controlGroup());
}

TEST(Machines, AServerOfManyCoresAndTwoNodes) {
    Machine machine("server");
    for (int package = 0; package < 2; ++package) {
        const std::string folder = "sys/devices/platform/coretemp." + std::to_string(package);
        const std::string chip = folder + "/hwmon/hwmon" + std::to_string(package);
        std::string files = "sys/class/hwmon/hwmon" + std::to_string(package) + "->../../devices/platform/coretemp." +
                            std::to_string(package) + "/hwmon/hwmon" + std::to_string(package) + "\n" + chip +
                            "/name=coretemp\n" + chip + "/device->../../../coretemp." + std::to_string(package) + "\n";
        for (int core = 0; core < 64; ++core)
            files += chip + "/temp" + std::to_string(core + 2) + "_input=" + std::to_string(30000 + core * 500) + "\n" +
                     chip + "/temp" + std::to_string(core + 2) + "_label=Core " + std::to_string(core) + "\n";
        machine.add(files);
    }
    const System& system = machine.sampleWhile(127);

    expectWork(system, 127, 128);
    const std::vector<CoreFrequency> frequencies = system.cpu().frequencies();
    ASSERT_FALSE(frequencies.empty());
    EXPECT_EQ(frequencies.back().number, 127U);
    EXPECT_EQ(frequencies.back().now, 2'250'000'000U);
    EXPECT_EQ(frequencies.back().governor, "performance");
    EXPECT_FALSE(system.cpu().coreKinds());

    EXPECT_EQ(system.mem().physical(), 528149896 * kibibyte);
    EXPECT_EQ(system.mem().details()->hugePagesTotal, 1024U);
    EXPECT_EQ(system.mem().details()->hugePageSize, std::uint64_t{1} << 30);
    EXPECT_THAT(system.mem().nodes(), ElementsAre(MemoryNode{0, 263942344 * kibibyte, 180000000 * kibibyte},
                                                  MemoryNode{1, 264207552 * kibibyte, 90000000 * kibibyte}));
    EXPECT_EQ(system.mem().swap().total, 0U);

    EXPECT_EQ(system.sensors().of(Sensors::Kind::temperature).size(), 128U);
    EXPECT_EQ(valueOf(system, "coretemp@coretemp.1/temp65"), 61.5);
    expectNoGraphics(system);
    EXPECT_FALSE(system.battery().hasBattery());

    EXPECT_EQ(system.host().operatingSystem()->id, "example");
    EXPECT_EQ(system.host().controlGroup(), (ControlGroup{1, 8, 17179869184, 1073741824})) << "the parents' limits";
}

TEST(Machines, AContainerWithLimits) {
    Machine machine("container");
    const System& system = machine.sampleWhile(0);

    const std::vector<CoreShares> cores = system.cpu().cores();
    ASSERT_THAT(cores, SizeIs(4)) << "the host's";
    EXPECT_EQ(cores[0].shares.user, 75);
    EXPECT_EQ(system.mem().details()->available, 5000000 * kibibyte);
    EXPECT_EQ(system.host().virtualization(), (Virtualization{"", "docker"}));
    EXPECT_EQ(system.host().controlGroup(), (ControlGroup{2, 1.5, 536870912, 104857600}));
    EXPECT_EQ(system.host().operatingSystem()->id, "alpine");
    EXPECT_FALSE(system.battery().hasBattery());
    EXPECT_THAT(system.disk().devices(), IsEmpty());
    expectNoSensors(system);
    expectNoGraphics(system);
}

TEST(Machines, ASingleBoardComputer) {
    Machine machine("board");
    machine.link("proc/700/fd/9", "/dev/dri/renderD128");
    machine.write("proc/700/fdinfo/9", clientOf("v3d"));
    const System& system = machine.sampleWhile(4);

    expectWork(system, 4, 6);
    EXPECT_EQ(system.cpu().coreKinds(), (CoreKinds{.performance = 2, .efficiency = 4}));
    EXPECT_EQ(system.cpu().frequencies().at(5).now, 600'000'000U);
    EXPECT_EQ(system.mem().physical(), 3900000 * kibibyte);
    EXPECT_EQ(system.mem().compression(),
              (MemoryCompression{.stored = 30720 * kibibyte, .occupied = 10240 * kibibyte}));
    EXPECT_EQ(valueOf(system, "cpu_thermal@thermal_zone0/temp1"), 51.605);
    EXPECT_EQ(system.sensors().availability(Sensors::Kind::fan), Availability::unsupported);

    EXPECT_EQ(system.gpu().availability(GPU::Measure::use), Availability::unsupported) << "it is on no PCI bus";
    ASSERT_THAT(system.gpu().work(), SizeIs(1));
    EXPECT_EQ(system.gpu().work()[0].processor, "v3d");
    EXPECT_FALSE(system.gpu().work()[0].memory);
    EXPECT_FALSE(system.battery().hasBattery());
    EXPECT_EQ(system.host().virtualization(), Virtualization{});
}

TEST(Machines, AVirtualMachineWithoutSensors) {
    Machine machine("guest");
    const System& system = machine.sampleWhile(1);

    expectWork(system, 1, 2);
    EXPECT_EQ(system.cpu().shares()->steal, 0);
    EXPECT_EQ(system.cpu().availability(CPU::Measure::frequencies), Availability::unsupported);
    EXPECT_FALSE(system.cpu().coreKinds()) << "all alike";
    EXPECT_EQ(system.host().virtualization(), (Virtualization{"qemu", ""}));
    EXPECT_EQ(system.host().controlGroup(), (ControlGroup{2, std::nullopt, std::nullopt, std::nullopt}));
    EXPECT_FALSE(system.battery().hasBattery());
    EXPECT_EQ(system.mem().availability(Memory::Measure::details), Availability::unsupported);
    expectNoSensors(system);
    expectNoGraphics(system);
}

// The one that was recorded, beside a reader that shares no line with ours and reads the same files.
TEST(Machines, ARecordedOneIsReadAsPsutilReadsIt) {
    Machine machine("recorded");
    const System& system = machine.sample();
    ChildProgram reader({"/usr/bin/python3", "-W", "ignore", "-c",
                         "import psutil, sys\n"
                         "psutil.PROCFS_PATH = sys.argv[1] + '/proc'\n"
                         "memory, disks = psutil.virtual_memory(), psutil.disk_io_counters(True)\n"
                         "for each in (memory.total, memory.available, memory.buffers, memory.cached,\n"
                         "             psutil.boot_time(), len(psutil.cpu_times(True)), psutil.cpu_stats()[0],\n"
                         "             disks['vda'].read_count, disks['vda'].busy_time): print(int(each))",
                         machine.path()});
    std::vector<std::string> theirs;
    while (const std::optional<std::string> line = reader.readLine())
        theirs.push_back(*line);
    const MemoryDetails memory = system.mem().details().value();
    std::vector<std::string> ours;
    const auto add = [&ours](auto figure) { ours.push_back(std::to_string(figure)); };
    add(system.mem().physical());
    add(memory.available.value());
    add(memory.buffers.value());
    add(memory.cached.value() + memory.slabReclaimable.value()); // it counts both as the cache
    add(system.cpu().bootTime());
    platform::LinuxPlatform platform(machine.root());
    platform::ProcessorLoad load;
    ASSERT_EQ(platform.host().processorLoad(load), Availability::available);
    add(load.each.size());
    add(load.contextSwitches.value());
    const std::vector<probes::DiskActivity> disks = system.disk().activity();
    const auto disk =
        std::find_if(disks.begin(), disks.end(), [](const auto& each) { return each.counters.name == "vda"; });
    ASSERT_NE(disk, disks.end());
    add(disk->counters.reads);
    add(disk->counters.busyTime.value());
    EXPECT_EQ(ours, theirs);
    EXPECT_TRUE(system.cpu().pressure());
    EXPECT_TRUE(system.mem().pressure());
    expectNoSensors(system);
    expectNoGraphics(system);
}

} // namespace
} // namespace sentrel
