// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/HostService.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::Each;

std::string textOf(const PropertyList::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

bool isShare(double percent) {
    return percent >= 0 && percent <= 100;
}

bool isShare(const PressureShare& share) {
    return isShare(share.avg10) && isShare(share.avg60) && isShare(share.avg300);
}

// A counter that wraps at 2^32 went on, or stood still.
bool wentOn(std::uint32_t before, std::uint32_t after) {
    return after - before < (std::uint32_t{1} << 31U);
}

bool isDisplay(const PropertyList::Dictionary& device) {
    return device.at("IOName") == PropertyList("display");
}

} // namespace

TEST_P(PlatformContract, TheHostWasBootedInThePast) {
    const auto boot = platform().host().bootTime();
    const auto awake = platform().host().awakeUptime();
    WallClockReading reading;
    ASSERT_TRUE(boot && awake && platform().clock().read(reading));
    EXPECT_GT(*boot, 0);
    EXPECT_LE(*boot, reading.seconds);
    EXPECT_GT(*awake, 0);
    constexpr double rounding = 2;
    EXPECT_LE(*awake, static_cast<double>(reading.seconds - *boot) + rounding);
}

TEST_P(PlatformContract, TheHostIsDescribedWhole) {
    const auto info = platform().host().hostInfo();
    ASSERT_TRUE(info);
    EXPECT_GE(info->logical_cpu, 1);
    EXPECT_GE(info->physical_cpu, 1);
    EXPECT_LE(info->physical_cpu, info->logical_cpu);
    EXPECT_LE(info->logical_cpu, info->logical_cpu_max);
    EXPECT_LE(info->physical_cpu, info->physical_cpu_max);
    EXPECT_EQ(info->avail_cpus, info->logical_cpu);
    EXPECT_LE(info->avail_cpus, info->max_cpus);
    const auto memory = platform().host().physicalMemory();
    ASSERT_TRUE(memory);
    constexpr std::uint64_t least = std::uint64_t{16} << 20U; // bytes: nothing smaller runs this
    EXPECT_GE(*memory, least);
    EXPECT_GE(info->max_mem, least);
    EXPECT_LE(info->memory_size, info->max_mem);
    EXPECT_GE(info->memory_size, least);
}

TEST_P(PlatformContract, TheHostsTicksNeverDecrease) {
    auto last = platform().host().loadTicks();
    ASSERT_TRUE(last);
    EXPECT_GT(last->user + last->system + last->idle + last->nice, 0u);
    for (int turn = 0; turn < 20; ++turn) {
        pass(1'000'000);
        const auto next = platform().host().loadTicks();
        ASSERT_TRUE(next);
        EXPECT_TRUE(wentOn(last->user, next->user));
        EXPECT_TRUE(wentOn(last->system, next->system));
        EXPECT_TRUE(wentOn(last->idle, next->idle));
        EXPECT_TRUE(wentOn(last->nice, next->nice));
        last = next;
    }
}

TEST_P(PlatformContract, TheDefaultProcessorSetMayBeAskedForAgainAndAgain) {
    for (int turn = 0; turn < 3; ++turn) {
        const auto set = platform().host().defaultProcessorSet();
        ASSERT_TRUE(set);
        const auto load = platform().host().processorSetLoad(*set);
        ASSERT_TRUE(load);
        EXPECT_GE(load->tasks, 1u);
        EXPECT_GE(load->threads, load->tasks);
    }
}

TEST_P(PlatformContract, TheBrandIsWrittenIntoTheBufferAndNoFurther) {
    std::array<char, 256> buffer{};
    buffer.fill('#');
    const auto length = platform().host().brand(std::span(buffer).first(128));
    if (length) {
        ASSERT_LE(*length, 128u);
        std::string brand(buffer.data(), *length);
        brand.erase(std::find(brand.begin(), brand.end(), '\0'), brand.end());
        EXPECT_THAT(brand, IsUtf8());
        EXPECT_FALSE(brand.empty());
    }
    EXPECT_TRUE(length || machine->isReal());
    EXPECT_TRUE(std::all_of(buffer.begin() + 128, buffer.end(), [](char byte) { return byte == '#'; }));
}

TEST_P(PlatformContract, ABrandLongerThanTheBufferIsCutOrAbsent) {
    std::array<char, 8> buffer{};
    buffer.fill('#');
    const auto length = platform().host().brand(std::span(buffer).first(2));
    EXPECT_LE(length.value_or(0), 2u);
    EXPECT_EQ(buffer[2], '#');
    EXPECT_EQ(platform().host().brand({}).value_or(0), 0u) << "what does not fit";
}

TEST_P(PlatformContract, MemoryIsCountedInPagesOf4096Bytes) {
    const auto memory = platform().host().virtualMemory();
    const auto installed = platform().host().physicalMemory();
    ASSERT_TRUE(memory && installed);
    const std::uint64_t pages = std::uint64_t{memory->free_count} + memory->active_count + memory->inactive_count +
                                memory->wire_count + memory->compressor_page_count;
    EXPECT_GT(pages, 0u);
    EXPECT_LE(pages * 4096, *installed + *installed / 4) << "the parts of one memory, read one after the other";
    EXPECT_LE(memory->purgeable_count, memory->internal_page_count);
    const auto later = platform().host().virtualMemory();
    ASSERT_TRUE(later);
    EXPECT_GE(later->pageins, memory->pageins);
    EXPECT_GE(later->pageouts, memory->pageouts);
    EXPECT_GE(later->faults, memory->faults);
}

TEST_P(PlatformContract, SwapSpaceIsInUseOrFree) {
    const auto swap = platform().host().swapUsage();
    ASSERT_TRUE(swap);
    EXPECT_EQ(swap->total, swap->available + swap->used);
}

TEST_P(PlatformContract, LoadAveragesAreNumbersOfThreads) {
    const auto averages = platform().host().loadAverages();
    ASSERT_TRUE(averages);
    for (const double average : *averages) {
        EXPECT_TRUE(std::isfinite(average));
        EXPECT_GE(average, 0);
    }
}

TEST_P(PlatformContract, TheHeatIsOneOfItsLevels) {
    const auto state = platform().host().thermalState();
    EXPECT_TRUE(state || machine->isReal());
    EXPECT_LE(state.value_or(ThermalState::nominal), ThermalState::critical);
}

TEST_P(PlatformContract, PressureIsAShareOfTheTimeOrNotToBeHad) {
    for (const PressureResource resource : {PressureResource::cpu, PressureResource::memory, PressureResource::io}) {
        const Pressure before{{1, 2, 3, 4}, PressureShare{5, 6, 7, 8}};
        Pressure pressure = before;
        if (platform().host().pressure(resource, pressure) != Availability::available) {
            EXPECT_EQ(pressure, before);
            continue;
        }
        EXPECT_TRUE(isShare(pressure.some));
        EXPECT_TRUE(!pressure.full || isShare(*pressure.full));
        Pressure later;
        ASSERT_EQ(platform().host().pressure(resource, later), Availability::available);
        EXPECT_GE(later.some.total, pressure.some.total);
        EXPECT_GE(later.full.value_or(PressureShare()).total, pressure.full.value_or(PressureShare()).total);
    }
}

TEST_P(PlatformContract, AnObserverOfPressureIsReleasedAtAnyTime) {
    for (const PressureResource resource : {PressureResource::cpu, PressureResource::memory, PressureResource::io}) {
        errno = 0;
        Observation observation = platform().host().observePressure(resource, {}, [] {});
        EXPECT_TRUE(observation || errno != 0) << "why it is refused";
        observation.reset();
        EXPECT_FALSE(observation);
    }
}

TEST_P(PlatformContract, TheProcessorsAreInTheirOrderOrNotToBeHad) {
    ProcessorLoad load;
    load.forks = 7;
    if (platform().host().processorLoad(load) != Availability::available) {
        EXPECT_EQ(load.forks, 7U);
        EXPECT_TRUE(load.each.empty());
        return;
    }
    EXPECT_FALSE(load.each.empty());
    for (std::size_t i = 1; i < load.each.size(); ++i)
        EXPECT_LT(load.each[i - 1].number, load.each[i].number);
    EXPECT_GT(load.all.user + load.all.system + load.all.idle, 0U);
    ProcessorLoad later;
    ASSERT_EQ(platform().host().processorLoad(later), Availability::available);
    EXPECT_GE(later.contextSwitches.value_or(0), load.contextSwitches.value_or(0));
    EXPECT_GE(later.forks.value_or(0), load.forks.value_or(0));
}

TEST_P(PlatformContract, AFrequencyLiesInTheRangeOfProcessorsOrIsAbsent) {
    ProcessorFrequencies frequencies;
    frequencies.kinds = CoreKinds{77, 77};
    const ProcessorFrequencies before = frequencies;
    if (platform().host().processorFrequencies(frequencies) != Availability::available) {
        EXPECT_EQ(frequencies, before);
        return;
    }
    for (const CoreFrequency& core : frequencies.each) {
        for (const auto& frequency : {core.now, core.least, core.most})
            EXPECT_TRUE(!frequency || (*frequency >= 1'000'000 && *frequency <= 20'000'000'000));
        EXPECT_LE(core.least.value_or(0), core.most.value_or(20'000'000'000));
        EXPECT_THAT(core.governor, IsUtf8());
    }
    EXPECT_NE(frequencies.kinds, before.kinds);
}

TEST_P(PlatformContract, TheMemoryInDetailIsNoMoreThanThereIsOrNotToBeHad) {
    HostService& host = platform().host();
    const std::uint64_t installed = host.physicalMemory().value_or(0);
    MemoryDetails details;
    if (host.memoryDetails(details) == Availability::available) {
        for (const auto& part : {details.available, details.buffers, details.cached, details.slabReclaimable,
                                 details.slabUnreclaimable, details.dirty, details.writeback})
            EXPECT_LE(part.value_or(0), installed);
        EXPECT_LE(details.hugePagesFree.value_or(0), details.hugePagesTotal.value_or(0));
    } else {
        EXPECT_EQ(details, MemoryDetails{});
    }
    SwapCounters swap{1, 2};
    if (host.swapCounters(swap) == Availability::available) {
        SwapCounters later;
        ASSERT_EQ(host.swapCounters(later), Availability::available);
        EXPECT_TRUE(later.in >= swap.in && later.out >= swap.out);
    } else {
        EXPECT_EQ(swap, (SwapCounters{1, 2}));
    }
    MemoryCompression compression{3, 4};
    if (host.memoryCompression(compression) == Availability::available)
        EXPECT_LE(compression.occupied, installed);
    else
        EXPECT_EQ(compression, (MemoryCompression{3, 4}));
    std::vector<MemoryNode> nodes = {{99, 1, 1}};
    if (host.memoryNodes(nodes) == Availability::available) {
        EXPECT_FALSE(nodes.empty());
        for (const MemoryNode& node : nodes)
            EXPECT_LE(node.free, node.total);
    } else {
        EXPECT_EQ(nodes, (std::vector<MemoryNode>{{99, 1, 1}}));
    }
}

TEST_P(PlatformContract, TheHostTellsOfItselfInTexts) {
    HostService& host = platform().host();
    OperatingSystem system;
    system.name = "before";
    if (host.operatingSystem(system) == Availability::available) {
        EXPECT_FALSE(system.kernelRelease.empty());
        for (const std::string& text : {system.name, system.prettyName, system.id, system.version, system.kernel,
                                        system.kernelRelease, system.architecture, system.hostName})
            EXPECT_THAT(text, IsUtf8());
    } else {
        EXPECT_EQ(system.name, "before");
    }
    Virtualization virtualization{"before", ""};
    if (host.virtualization(virtualization) == Availability::available)
        EXPECT_NE(virtualization.machine, "before");
    else
        EXPECT_EQ(virtualization.machine, "before");
    ControlGroup group{9, {}, {}, {}};
    if (host.controlGroup(group) == Availability::available) {
        EXPECT_TRUE(group.version == 1 || group.version == 2);
        EXPECT_GT(group.processors.value_or(1), 0);
    } else {
        EXPECT_EQ(group.version, 9);
    }
    std::vector<LoggedInUser> users(1);
    if (host.users(users) == Availability::available) {
        for (const LoggedInUser& user : users)
            EXPECT_FALSE(user.name.empty());
    } else {
        EXPECT_EQ(users.size(), 1U);
    }
}

TEST_P(PlatformContract, AFurtherFactOfTheHostThatFailsIsNotAvailable) {
    if (machine->isReal())
        return;
    HostService& host = platform().host();
    const auto expectNone = [this](const char* operation, auto record, auto ask) {
        const auto before = record;
        fail(operation);
        EXPECT_NE(ask(record), Availability::available) << operation;
        EXPECT_EQ(record, before) << operation;
    };
    expectNone("pressure", Pressure(), [&](auto& to) { return host.pressure(PressureResource::memory, to); });
    expectNone("processorLoad", ProcessorLoad(), [&](auto& to) { return host.processorLoad(to); });
    expectNone("processorFrequencies", ProcessorFrequencies(), [&](auto& to) { return host.processorFrequencies(to); });
    expectNone("memoryDetails", MemoryDetails(), [&](auto& to) { return host.memoryDetails(to); });
    expectNone("swapCounters", SwapCounters(), [&](auto& to) { return host.swapCounters(to); });
    expectNone("memoryCompression", MemoryCompression(), [&](auto& to) { return host.memoryCompression(to); });
    expectNone("memoryNodes", std::vector<MemoryNode>(), [&](auto& to) { return host.memoryNodes(to); });
    expectNone("operatingSystem", OperatingSystem(), [&](auto& to) { return host.operatingSystem(to); });
    expectNone("virtualization", Virtualization(), [&](auto& to) { return host.virtualization(to); });
    expectNone("controlGroup", ControlGroup(), [&](auto& to) { return host.controlGroup(to); });
    expectNone("users", std::vector<LoggedInUser>(), [&](auto& to) { return host.users(to); });
}

TEST_P(PlatformContract, AQuestionAboutTheHostThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    HostService& host = platform().host();
    const auto set = host.defaultProcessorSet();
    ASSERT_TRUE(set);
    fail("bootTime");
    EXPECT_FALSE(host.bootTime());
    fail("hostInfo");
    EXPECT_FALSE(host.hostInfo());
    fail("loadTicks");
    EXPECT_FALSE(host.loadTicks());
    fail("processorSetLoad");
    EXPECT_FALSE(host.processorSetLoad(*set));
    fail("defaultProcessorSet");
    EXPECT_FALSE(host.defaultProcessorSet());
    std::array<char, 8> buffer{};
    fail("brand");
    EXPECT_FALSE(host.brand(buffer));
    fail("virtualMemory");
    EXPECT_FALSE(host.virtualMemory());
    fail("swapUsage");
    EXPECT_FALSE(host.swapUsage());
    fail("loadAverages");
    EXPECT_FALSE(host.loadAverages());
    fail("thermalState");
    EXPECT_FALSE(host.thermalState());
}

TEST_P(PlatformContract, PciDevicesHaveTheirNamesAndIds) {
    const auto devices = platform().graphics().pciDevices();
    if (!machine->isReal()) {
        ASSERT_TRUE(devices);
        EXPECT_TRUE(std::any_of(devices->begin(), devices->end(), &isDisplay));
    }
    for (const PropertyList::Dictionary& device : devices.value_or(std::vector<PropertyList::Dictionary>())) {
        const PropertyList whole(device);
        const PropertyList* const name = whole.find("IOName");
        ASSERT_TRUE(name && name->as<std::string>());
        EXPECT_THAT(*name->as<std::string>(), IsUtf8());
        const PropertyList* const id = whole.find("device-id");
        ASSERT_TRUE(id && id->as<PropertyList::Bytes>());
        EXPECT_FALSE(id->as<PropertyList::Bytes>()->empty());
        if (const PropertyList* const model = whole.find("model")) {
            ASSERT_TRUE(model->as<PropertyList::Bytes>());
            EXPECT_THAT(textOf(*model->as<PropertyList::Bytes>()), IsUtf8());
        }
    }
}

TEST_P(PlatformContract, TheDeviceOfTheMainDisplayIsOneOfTheDisplays) {
    const PropertyList::Bytes before{1, 2, 3, 4, 5};
    PropertyList::Bytes id = before;
    if (!platform().graphics().activeDeviceID(id)) {
        EXPECT_TRUE(machine->isReal());
        EXPECT_EQ(id, before);
        return;
    }
    const auto devices = platform().graphics().pciDevices();
    ASSERT_TRUE(devices);
    EXPECT_TRUE(std::any_of(devices->begin(), devices->end(), [&](const PropertyList::Dictionary& device) {
        return isDisplay(device) && device.at("device-id") == PropertyList(id);
    }));
}

TEST_P(PlatformContract, GraphicsProcessorsAreToldFromOneAnotherAndStayInTheirRanges) {
    const std::vector<GraphicsProcessor> before{GraphicsProcessor{.name = "before"}};
    std::vector<GraphicsProcessor> processors = before;
    if (platform().graphics().processors(processors) != Availability::available) {
        EXPECT_EQ(processors, before);
        return;
    }
    std::set<std::string> identifiers;
    for (const GraphicsProcessor& processor : processors) {
        EXPECT_TRUE(identifiers.insert(processor.identifier).second);
        EXPECT_THAT(processor.name, IsUtf8());
        EXPECT_FALSE(processor.name.empty());
        EXPECT_GE(processor.use.value_or(0), 0);
        EXPECT_LE(processor.use.value_or(0), 100);
        EXPECT_GE(processor.idleSeconds.value_or(0), 0);
        if (processor.memoryUsed && processor.memoryTotal) {
            EXPECT_LE(*processor.memoryUsed, *processor.memoryTotal);
        }
        for (const auto& figure : {processor.clock, processor.power, processor.fan, processor.fanShare})
            EXPECT_GE(figure.value_or(0), 0);
    }
}

TEST_P(PlatformContract, ClientsOfGraphicsProcessorsAreToldFromOneAnother) {
    const std::vector<GraphicsClient> before{GraphicsClient{.processor = "before"}};
    std::vector<GraphicsClient> clients = before;
    if (platform().graphics().clients(clients) != Availability::available) {
        EXPECT_EQ(clients, before);
        return;
    }
    std::set<std::pair<std::string, std::uint64_t>> known;
    for (const GraphicsClient& client : clients) {
        EXPECT_FALSE(client.processor.empty());
        EXPECT_TRUE(known.emplace(client.processor, client.identifier).second);
        std::set<std::string> engines;
        for (const GraphicsEngine& engine : client.engines) {
            EXPECT_TRUE(engines.insert(engine.name).second);
            EXPECT_GE(engine.count, 1U);
        }
    }
}

TEST_P(PlatformContract, AQuestionAboutTheGraphicsThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    PropertyList::Bytes id{1, 2};
    fail("activeDeviceID");
    EXPECT_FALSE(platform().graphics().activeDeviceID(id));
    EXPECT_EQ(id, (PropertyList::Bytes{1, 2}));
    fail("pciDevices");
    EXPECT_FALSE(platform().graphics().pciDevices());
}

} // namespace sentrel::platform
