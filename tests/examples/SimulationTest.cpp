// SPDX-License-Identifier: Apache-2.0
#include "examples/simulation/Simulation.h"
#include "examples/simulation/Plan.h"
#include "tests/support/Eventually.h"

#include <SentrelKit/SentrelKit.h>
#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace simulation {
namespace {

using namespace sentrel;

constexpr std::array kinds = {Kind::laptop, Kind::hot, Kind::fullDisks, Kind::server};
constexpr std::array<const char*, 4> names = {"laptop", "hot", "full-disks", "server"};

// A simulated machine on virtual clocks and queues, and everything that measures it.
class Simulated {
public:
    explicit Simulated(Kind kind, std::uint32_t seed = 1)
        : machine_(kind, *process_, seed), system_(machine_.platform()) {
        system_.start();
        system_.start(system_.disk());
        system_.start(system_.apps());
        system_.start(system_.gpu());
        system_.start(system_.sensors());
        system_.cpu().setMeasures({CPU::Measure::pressure});
        system_.mem().setMeasures({Memory::Measure::pressure});
        system_.net().setMeasures({Network::Measure::traffic, Network::Measure::links, Network::Measure::wireless});
    }

    System& operator*() { return system_; }
    System* operator->() { return &system_; }

    void pass(double seconds) { process_->advance(seconds); }

private:
    ScriptedMachine process_;
    Machine machine_;
    System system_;
};

class EachKind : public testing::TestWithParam<Kind> {};

INSTANTIATE_TEST_SUITE_P(Simulation, EachKind, testing::ValuesIn(kinds), [](const auto& each) {
    const std::string name = names[static_cast<std::size_t>(each.param)];
    return name.substr(0, name.find('-'));
});

TEST(Simulation, KnowsItsKindsByNameAndNoOthers) {
    for (std::size_t i = 0; i < kinds.size(); ++i)
        EXPECT_EQ(kindNamed(names[i]), kinds[i]) << names[i];
    for (const char* other : {"", "Laptop", "laptop ", "full", "full_disks", "desktop", "laptop|hot"})
        EXPECT_EQ(kindNamed(other), std::nullopt) << other;
}

void expectProcessor(const CPU& cpu) {
    EXPECT_FALSE(cpu.brand().empty());
    EXPECT_GT(cpu.physicalCores(), 0);
    EXPECT_GE(cpu.logicalCores(), cpu.physicalCores());
    EXPECT_EQ(cpu.activeLogicalCores(), cpu.logicalCores());
    EXPECT_GT(cpu.uptime(), 86400);
    EXPECT_GE(cpu.sleepTime(), 0);
    EXPECT_GT(cpu.awakeTime(), 86400);
    EXPECT_GT(cpu.user(), 0);
    EXPECT_GT(cpu.sys(), 0);
    EXPECT_GE(cpu.idle(), 0);
    EXPECT_NEAR(cpu.usage() + cpu.idle(), 100, 1e-9);
    EXPECT_GT(cpu.processes(), 100U);
    EXPECT_GT(cpu.threads(), cpu.processes());
    for (const double average : cpu.loadavg()) {
        EXPECT_GT(average, 0);
        EXPECT_LE(average, static_cast<double>(cpu.logicalCores()));
    }
}

void expectMemory(const Memory& memory) {
    EXPECT_EQ(memory.wired() + memory.active() + memory.compressed() + memory.free(), memory.physical());
    EXPECT_GT(memory.wired(), 0U);
    EXPECT_GT(memory.appMemory(), 0U);
    EXPECT_GT(memory.cachedFiles(), 0U);
    EXPECT_LT(memory.appMemory() + memory.cachedFiles(), memory.physical());
    EXPECT_GT(memory.pagesIn(), 0U);
    EXPECT_GT(memory.pagesOut(), 0U);
    EXPECT_GT(memory.pagesFault(), 0U);
    EXPECT_GT(memory.swap().total, 0U);
    EXPECT_LE(memory.swap().used, memory.swap().total);
}

void expectVolumes(const Disk& disk) {
    ASSERT_TRUE(disk.HD());
    EXPECT_EQ(disk.HD()->path(), "/");
    for (const auto& [device, volume] : disk.volumes()) {
        EXPECT_FALSE(volume->name().empty());
        EXPECT_NE(volume->name(), device);
        EXPECT_NE(volume->model(), "unknown");
        EXPECT_FALSE(volume->fstype().empty());
        EXPECT_TRUE(volume->icon()) << device;
        EXPECT_GT(volume->used(), 0);
        EXPECT_GT(volume->free(), 0);
        EXPECT_EQ(volume->used() + volume->free(), volume->total());
        EXPECT_GE(volume->rbytesps(), 0);
        EXPECT_GE(volume->wbytesps(), 0);
        if (const auto smart = volume->smartStatus()) {
            EXPECT_GT(smart->temp, 20) << device;
            EXPECT_LT(smart->temp, 80) << device;
        }
    }
}

void expectNetwork(const Network& network) {
    EXPECT_TRUE(network.localhostName());
    EXPECT_TRUE(network.router());
    EXPECT_TRUE(network.dns());
    EXPECT_EQ(network.connection(), Network::ConnectionType::internet);
    EXPECT_FALSE(network.interfaces().empty());
    for (const auto& [device, interface] : network.interfaces()) {
        EXPECT_FALSE(interface->name().empty());
        EXPECT_FALSE(interface->ipaddr().empty());
        EXPECT_EQ(interface->mac().size(), 17U);
        EXPECT_GT(interface->linkSpeed(), 0);
        EXPECT_GT(interface->ibytesps(), 0);
        EXPECT_GT(interface->obytesps(), 0);
        EXPECT_GE(interface->peakibytesps(), interface->ibytesps());
        EXPECT_LT(interface->peakibytesps() * 8, static_cast<double>(interface->linkSpeed())) << device;
        EXPECT_LT(interface->peakobytesps() * 8, static_cast<double>(interface->linkSpeed())) << device;
    }
}

void expectLinks(const Network& network) {
    ASSERT_TRUE(network.primaryTraffic());
    EXPECT_EQ(network.traffic().size(), network.interfaces().size());
    bool isWireless = false;
    for (const InterfaceLink& link : network.links()) {
        ASSERT_TRUE(network.interfaces().contains(link.name)) << link.name;
        const auto interface = network.interfaces().at(link.name);
        EXPECT_EQ(link.mac(), interface->mac());
        ASSERT_EQ(link.addresses.size(), 1U);
        EXPECT_EQ(link.addresses.front().text(), interface->ipaddr());
        EXPECT_EQ(link.kind == InterfaceKind::wifi, interface->isWifi());
        isWireless |= interface->isWifi();
    }
    EXPECT_EQ(network.wireless().size(), isWireless ? 1U : 0U);
    for (const WirelessLink& link : network.wireless()) {
        EXPECT_GE(link.signal, -63);
        EXPECT_LE(link.signal, -46);
        EXPECT_GT(link.bitRateIn, 0);
        EXPECT_EQ(link.channel(), 36);
    }
}

void expectBattery(const Battery& battery) {
    if (!battery.hasBattery())
        return;
    EXPECT_TRUE(battery.installed());
    EXPECT_EQ(battery.isACPowered(), battery.isCharging());
    EXPECT_EQ(battery.acWatts() > 0, battery.isACPowered());
    EXPECT_GT(battery.percent(), 0);
    EXPECT_LE(battery.percent(), 100);
    EXPECT_GT(battery.health(), 0);
    EXPECT_GT(battery.cycleCount(), 0);
    EXPECT_GT(battery.designCycleCount(), 0);
    EXPECT_GT(battery.voltage(), 9000);
    EXPECT_LT(battery.voltage(), 13500);
    EXPECT_GT(battery.temperature(), 20);
    EXPECT_LT(battery.temperature(), 60);
    EXPECT_FALSE(battery.timeRemaining().empty());
    EXPECT_TRUE(battery.hasACondition());
    EXPECT_EQ(battery.manufactured(), "17 May 2023");
}

void expectPressure(const std::optional<Pressure>& pressure) {
    ASSERT_TRUE(pressure && pressure->full);
    for (const PressureShare& share : {pressure->some, *pressure->full}) {
        for (const double average : {share.avg10, share.avg60, share.avg300}) {
            EXPECT_GE(average, 0);
            EXPECT_LE(average, 100);
        }
    }
    EXPECT_LE(pressure->full->total, pressure->some.total);
}

void expectSensors(const Sensors& sensors) {
    for (const auto kind : {Sensors::Kind::temperature, Sensors::Kind::fan, Sensors::Kind::voltage,
                            Sensors::Kind::power, Sensors::Kind::energy})
        EXPECT_EQ(sensors.availability(kind), Availability::available) << static_cast<int>(kind);
    std::set<std::string> identifiers;
    for (const Sensors::Sensor& sensor : sensors.all()) {
        EXPECT_TRUE(identifiers.insert(sensor.identifier).second) << sensor.identifier;
        EXPECT_FALSE(sensor.chip.empty());
        EXPECT_FALSE(sensor.label.empty());
        EXPECT_GT(sensor.value, 0) << sensor.identifier;
        EXPECT_GE(sensor.value, sensor.minimum.value_or(0)) << sensor.identifier;
        EXPECT_LT(sensor.value, sensor.critical.value_or(1e9)) << sensor.identifier;
        EXPECT_EQ(sensor.watts.has_value(), sensor.kind == Sensors::Kind::energy) << sensor.identifier;
        EXPECT_GT(sensor.watts.value_or(1), 0);
    }
}

void expectProcesses(const Applications& apps, double processors) {
    EXPECT_EQ(apps.cpu().size(), 3U);
    EXPECT_EQ(apps.mem().size(), 3U);
    for (const auto& process : apps.cpu()) {
        EXPECT_FALSE(process->name().empty());
        EXPECT_GE(process->cpu(), 0);
        EXPECT_LE(process->cpu(), 100 * processors);
    }
    for (const auto& process : apps.mem())
        EXPECT_GT(process->mem(), 0U);
}

void expectEveryFigure(System& system) {
    expectProcessor(system.cpu());
    expectMemory(system.mem());
    expectVolumes(system.disk());
    expectNetwork(system.net());
    expectLinks(system.net());
    expectBattery(system.battery());
    expectPressure(system.cpu().pressure());
    expectPressure(system.mem().pressure());
    expectSensors(system.sensors());
    expectProcesses(system.apps(), static_cast<double>(system.cpu().logicalCores()));
}

TEST_P(EachKind, AnswersEveryFigureWithinItsRangeForAnHour) {
    Simulated simulated(GetParam());
    for (int i = 0; i < 360 && !HasFailure(); ++i) {
        simulated.pass(10);
        expectEveryFigure(*simulated);
    }
}

TEST_P(EachKind, NeverCountsBackwards) {
    Simulated simulated(GetParam());
    std::vector<std::int64_t> before;
    for (int i = 0; i < 600; ++i) {
        simulated.pass(1.3);
        std::vector<std::int64_t> counters;
        for (const auto& [device, volume] : simulated->disk().volumes()) {
            counters.push_back(volume->rbytes());
            counters.push_back(volume->wbytes());
        }
        for (const auto& [device, interface] : simulated->net().interfaces()) {
            counters.push_back(interface->ibytes());
            counters.push_back(interface->obytes());
        }
        for (const std::uint64_t count :
             {simulated->mem().pagesIn(), simulated->mem().pagesOut(), simulated->mem().pagesFault()})
            counters.push_back(static_cast<std::int64_t>(count));
        counters.push_back(simulated->cpu().uptime());
        counters.push_back(simulated->cpu().awakeTime());
        before.resize(counters.size());
        for (std::size_t each = 0; each < counters.size(); ++each)
            ASSERT_GE(counters[each], before[each]) << each << " at " << i;
        before = counters;
    }
}

// What tells one run from another.
std::string figuresOf(System& system) {
    std::string text = std::to_string(system.cpu().user()) + ' ' + std::to_string(system.mem().active());
    for (const auto& [device, volume] : system.disk().volumes())
        text += ' ' + std::to_string(volume->rbytes()) + ' ' + std::to_string(volume->used());
    for (const auto& [device, interface] : system.net().interfaces())
        text += ' ' + std::to_string(interface->ibytes());
    for (const auto& process : system.apps().cpu())
        text += ' ' + process->name() + ' ' + std::to_string(process->cpu());
    return text + ' ' + std::to_string(system.battery().current()) + '\n';
}

std::string runOf(Kind kind, std::uint32_t seed) {
    Simulated simulated(kind, seed);
    std::string text;
    for (int i = 0; i < 60; ++i) {
        simulated.pass(1.1);
        text += figuresOf(*simulated);
    }
    return text;
}

TEST_P(EachKind, RunsAlikeFromOneSeedAndOtherwiseFromAnother) {
    const std::string run = runOf(GetParam(), 1);
    EXPECT_EQ(runOf(GetParam(), 1), run);
    EXPECT_NE(runOf(GetParam(), 2), run);
}

// The figures follow from the time alone, not from who asked meanwhile.
TEST_P(EachKind, IsTheSameWhetherItWasLookedAtOrNot) {
    ScriptedMachine process;
    Machine seen(GetParam(), *process);
    Machine unseen(GetParam(), *process);
    for (int i = 0; i < 100; ++i) {
        process->advance(0.73);
        EXPECT_TRUE(seen.platform().host().loadTicks());
    }
    EXPECT_EQ(seen.platform().host().loadTicks(), unseen.platform().host().loadTicks());
    EXPECT_EQ(seen.platform().host().virtualMemory(), unseen.platform().host().virtualMemory());
}

TEST_P(EachKind, MovesSmoothly) {
    Simulated simulated(GetParam());
    simulated.pass(5);
    double lowest = 100;
    double highest = 0;
    double before = simulated->cpu().usage();
    for (int i = 0; i < 300; ++i) {
        simulated.pass(1.1);
        const double usage = simulated->cpu().usage();
        EXPECT_LT(std::abs(usage - before), 60);
        lowest = std::min(lowest, usage);
        highest = std::max(highest, usage);
        before = usage;
    }
    EXPECT_GT(highest - lowest, 5);
}

TEST(Simulation, LetsApplicationsTradePlaces) {
    Simulated simulated(Kind::laptop);
    std::set<std::string> first;
    for (int i = 0; i < 200; ++i) {
        simulated.pass(1.3);
        first.insert(simulated->apps().cpu().front()->name());
        for (const auto& process : simulated->apps().cpu()) {
            EXPECT_TRUE(process->icon()) << process->name(); // what works for another one is folded into it
        }
    }
    EXPECT_GE(first.size(), 4U);
}

TEST(Simulation, OfALaptopHasWhatALaptopHas) {
    Simulated simulated(Kind::laptop);
    simulated.pass(20);
    EXPECT_EQ(simulated->cpu().thermalState(), ThermalState::nominal);
    EXPECT_TRUE(simulated->battery().hasBattery());
    EXPECT_EQ(simulated->disk().volumes().size(), 2U);
    ASSERT_EQ(simulated->net().interfaces().size(), 1U);
    EXPECT_TRUE(simulated->net().interfaces().begin()->second->isWifi());
    EXPECT_TRUE(simulated->gpu().isUsingIntegratedGPU());
    EXPECT_FALSE(simulated->gpu().hasBoth());
    EXPECT_FALSE(simulated->gpu().name().empty());
}

TEST(Simulation, OfAHotMachineIsNearItsLimits) {
    Simulated simulated(Kind::hot);
    for (int i = 0; i < 60; ++i) {
        simulated.pass(10);
        EXPECT_GE(simulated->cpu().thermalState(), ThermalState::fair);
        EXPECT_GT(simulated->cpu().usage(), 50);
        EXPECT_GT(simulated->mem().usage(), 80);
        EXPECT_GT(simulated->disk().usage(), 90);
        EXPECT_LT(simulated->battery().percent(), 15);
    }
    EXPECT_TRUE(simulated->gpu().hasBoth());
    EXPECT_TRUE(simulated->gpu().isUsingDiscreteGPU());
}

TEST(Simulation, OfFullDisksHasOneOnADriveThatFails) {
    Simulated simulated(Kind::fullDisks);
    simulated.pass(20);
    const auto volumes = simulated->disk().volumes();
    EXPECT_EQ(volumes.size(), 5U);
    std::vector<std::string> failing;
    for (const auto& [device, volume] : volumes) {
        EXPECT_GE(volume->usagePercent(), 80) << device;
        EXPECT_LE(volume->usagePercent(), 99) << device;
        const auto smart = volume->smartStatus();
        ASSERT_TRUE(smart) << device;
        if (!smart->status)
            failing.push_back(volume->name());
    }
    EXPECT_EQ(failing, std::vector<std::string>{"Archive"});
    EXPECT_FALSE(simulated->battery().hasBattery());
}

TEST(Simulation, FollowsAPlanOfItsOwn) {
    Plan plan = planOf(Kind::laptop);
    plan.battery->maxCapacity = plan.battery->designCapacity * 0.4;
    plan.disks[0].filled = 0.02;
    ScriptedMachine process;
    Machine machine(plan, *process);
    System system(machine.platform());
    const auto disk = system.disk().HD();
    EXPECT_EQ(disk->usagePercent(), 61);
    process->advance(10);
    system.disk().update();
    system.battery().update();
    EXPECT_NEAR(disk->usagePercent(), 81, 1);
    EXPECT_EQ(system.battery().health(), 40);
    process->advance(20);
    system.disk().update();
    EXPECT_EQ(disk->usagePercent(), 100);
}

TEST_P(EachKind, CountsWhatItsProcessorsAndDisksDo) {
    Simulated simulated(GetParam());
    simulated->cpu().setMeasures({CPU::Measure::cores, CPU::Measure::activity});
    simulated->mem().setMeasures({Memory::Measure::swapRates});
    simulated->disk().setMeasures({Disk::Measure::activity});
    simulated.pass(10);
    EXPECT_EQ(simulated->cpu().availability(CPU::Measure::cores), Availability::available);
    EXPECT_EQ(simulated->cpu().cores().size(), static_cast<std::size_t>(simulated->cpu().logicalCores()));
    EXPECT_EQ(simulated->mem().availability(Memory::Measure::swapRates), Availability::available);
    const auto disks = simulated->disk().activity();
    EXPECT_FALSE(disks.empty());
    for (const auto& disk : disks) {
        EXPECT_GE(disk.busy.value(), 0.0) << disk.counters.name;
        EXPECT_LE(disk.busy.value(), 100.0) << disk.counters.name;
    }
}

TEST(Simulation, OfAServerHasCablesAndServicesAlone) {
    Simulated simulated(Kind::server);
    simulated.pass(20);
    EXPECT_EQ(simulated->cpu().logicalCores(), 64);
    EXPECT_FALSE(simulated->battery().hasBattery());
    EXPECT_TRUE(simulated->battery().isACPowered());
    EXPECT_EQ(simulated->net().interfaces().size(), 2U);
    for (const auto& [device, interface] : simulated->net().interfaces())
        EXPECT_FALSE(interface->isWifi()) << device;
    EXPECT_GE(simulated->disk().volumes().size(), 3U);
    for (const auto& process : simulated->apps().cpu())
        EXPECT_FALSE(process->icon()) << process->name();
}

TEST(Simulation, LosesTheStickWhenItIsEjected) {
    Simulated simulated(Kind::laptop);
    simulated.pass(5);
    ASSERT_TRUE(simulated->disk().volumes().contains("sda1"));
    EXPECT_TRUE(simulated->disk().volumes().at("sda1")->eject());
    simulated.pass(1);
    EXPECT_FALSE(simulated->disk().volumes().contains("sda1"));
    EXPECT_EQ(simulated->disk().volumes().size(), 1U);
    simulated.pass(60);
    EXPECT_EQ(simulated->disk().volumes().size(), 1U);
}

TEST(Simulation, DischargesItsBatteryAndChargesItAgain) {
    Simulated simulated(Kind::laptop);
    simulated.pass(60);
    const std::int64_t first = simulated->battery().percent();
    EXPECT_LT(simulated->battery().current(), 0);
    EXPECT_FALSE(simulated->battery().isCharging());
    simulated.pass(3600);
    EXPECT_LT(simulated->battery().percent(), first);
    int hours = 0;
    while (!simulated->battery().isCharging() && ++hours < 12)
        simulated.pass(3600);
    simulated.pass(60);
    EXPECT_TRUE(simulated->battery().isCharging());
    EXPECT_GT(simulated->battery().current(), 0);
    EXPECT_NE(simulated->battery().timeRemaining().find(" until charged"), std::string::npos);
}

// How often a threshold of waiting for memory is crossed in ten minutes.
int crossings(Kind kind, std::int64_t stall) {
    Simulated simulated(kind);
    int count = 0;
    const auto listener = std::make_shared<int>();
    simulated->mem().onPressure().listen(listener, [&count] { ++count; });
    EXPECT_EQ(simulated->mem().setPressureThreshold(PressureThreshold{.stall = stall, .window = 2'000'000}),
              Availability::available);
    simulated.pass(600);
    return count;
}

TEST(Simulation, TellsWhoWaitsForMemoryAsLongAsTheThresholdSays) {
    EXPECT_GT(crossings(Kind::hot, 150'000), 100);
    EXPECT_EQ(crossings(Kind::hot, 1'900'000), 0);
    EXPECT_EQ(crossings(Kind::server, 150'000), 0);
}

TEST(Simulation, ConnectsToNobody) {
    ScriptedMachine process;
    Machine machine(Kind::laptop, *process);
    EXPECT_FALSE(machine.platform().network().connect("localhost", 80));
}

// A clock that goes on by a step or two with each look at it.
class HurriedClock final : public platform::Clock {
public:
    bool read(WallClockReading& reading) noexcept override { return readSystem(reading); }
    std::int64_t monotonicNanoseconds() noexcept override { return now_ += 70'000'000; }

private:
    std::atomic<std::int64_t> now_{0};
};

// Samples, the host's own thread and an eject ask at once, and each finds figures to bring up to the present.
TEST(Simulation, MayBeAskedOnAnyThread) {
    HurriedClock clock;
    platform::CompositePlatform process(platform::current(), {.clock = &clock});
    Machine machine(Kind::laptop, process);
    System system(machine.platform());
    system.cpu().setMeasures({CPU::Measure::pressure});
    std::vector<std::thread> threads;
    for (SystemResource* resource : std::initializer_list<SystemResource*>{
             &system.cpu(), &system.mem(), &system.disk(), &system.net(), &system.gpu(), &system.apps()})
        threads.emplace_back([resource] {
            for (int i = 0; i < 100; ++i)
                resource->update();
        });
    for (int thread = 0; thread < 2; ++thread)
        threads.emplace_back([&system] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_GT(system.cpu().loadavg()[0], 0);
                EXPECT_LT(system.cpu().thermalState(), ThermalState::critical);
                EXPECT_GT(system.mem().swap().total, 0U);
                EXPECT_GT(system.disk().usage(), 0);
            }
        });
    threads.emplace_back([&system] {
        for (int i = 0; i < 100; ++i) {
            system.battery().update();
            system.sensors().update();
        }
    });
    threads.emplace_back([&system] {
        for (const auto& [device, volume] : system.disk().volumes()) {
            if (volume->isRootFS())
                EXPECT_TRUE(volume->smartStatus());
            else
                EXPECT_TRUE(volume->eject());
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GT(system.net().aggregated()->ibytes(), 0);
    EXPECT_TRUE(eventually([&] { return system.disk().volumes().size() == 1; }));
}

} // namespace
} // namespace simulation
