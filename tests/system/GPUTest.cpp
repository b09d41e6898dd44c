// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/GPU.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/system/GPUAllocations.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>

namespace sentrel {
namespace {

using Bytes = PropertyList::Bytes;

const Bytes intelID{0x66, 0x01, 0, 0};
const Bytes radeonID{0x41, 0x67, 0, 0};

PropertyList::Dictionary device(const std::string& ioName, const Bytes& deviceID, const std::string& model) {
    PropertyList::Dictionary properties;
    properties["IOName"] = ioName;
    properties["device-id"] = deviceID;
    properties["model"] = Bytes(model.begin(), model.end());
    return properties;
}

const PropertyList::Dictionary intel = device("display", intelID, "Intel HD Graphics 4000");
const PropertyList::Dictionary radeon = device("display", radeonID, "Radeon R9");

TEST(GPU, TellsIntegratedAndDiscreteApart) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {device("pci8086,1e44", {1, 2, 3, 4}, "Intel bridge"), intel, radeon};
    const GPU gpu;
    EXPECT_EQ(gpu.type(), SystemResourceType::gpu);
    EXPECT_EQ(gpu.integrated(), (GPU::Processor{"Intel HD Graphics 4000", intelID}));
    EXPECT_EQ(gpu.discrete(), (GPU::Processor{"Radeon R9", radeonID}));
    EXPECT_TRUE(gpu.hasBoth());
}

TEST(GPU, FollowsTheDisplayAtEachUpdate) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel, radeon};
    machine->graphics().activeDeviceIDValue = radeonID;
    GPU gpu;
    EXPECT_EQ(gpu.name(), "Radeon R9");
    EXPECT_FALSE(gpu.isUsingIntegratedGPU());
    EXPECT_TRUE(gpu.isUsingDiscreteGPU());
    machine->graphics().activeDeviceIDValue = intelID;
    EXPECT_EQ(gpu.name(), "Radeon R9"); // until it is updated
    gpu.update();
    EXPECT_EQ(gpu.name(), "Intel HD Graphics 4000");
    EXPECT_TRUE(gpu.isUsingIntegratedGPU());
    EXPECT_FALSE(gpu.isUsingDiscreteGPU());
}

TEST(GPU, FallsBackToTheIntegratedOneWhenTheDisplayIsNotKnown) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel, radeon};
    for (const std::optional<Bytes>& active :
         {std::optional<Bytes>(), std::optional<Bytes>(Bytes{}), std::optional<Bytes>(Bytes{0x41, 0x67}),
          std::optional<Bytes>(Bytes{9, 9, 9, 9})}) {
        machine->graphics().activeDeviceIDValue = active;
        EXPECT_EQ(GPU().current(), (GPU::Processor{"Intel HD Graphics 4000", intelID}));
    }
}

TEST(GPU, WithOnlyADiscreteOneIsCurrentOnlyWhileItIsActive) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {radeon};
    GPU gpu;
    EXPECT_FALSE(gpu.integrated());
    EXPECT_FALSE(gpu.hasBoth());
    EXPECT_FALSE(gpu.current());
    EXPECT_EQ(gpu.name(), "");
    EXPECT_TRUE(gpu.isUsingIntegratedGPU()); // both absent compare as equal: meant so
    EXPECT_FALSE(gpu.isUsingDiscreteGPU());
    machine->graphics().activeDeviceIDValue = radeonID;
    gpu.update();
    EXPECT_EQ(gpu.current(), (GPU::Processor{"Radeon R9", radeonID}));
    EXPECT_FALSE(gpu.isUsingIntegratedGPU());
    EXPECT_TRUE(gpu.isUsingDiscreteGPU());
}

TEST(GPU, WithOnlyAnIntegratedOneHasNoOtherChoice) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel};
    for (const std::optional<Bytes>& active : {std::optional<Bytes>(), std::optional<Bytes>(radeonID)}) {
        machine->graphics().activeDeviceIDValue = active;
        const GPU gpu;
        EXPECT_EQ(gpu.name(), "Intel HD Graphics 4000");
        EXPECT_TRUE(gpu.isUsingIntegratedGPU());
        EXPECT_FALSE(gpu.hasBoth());
    }
}

TEST(GPU, NamesAControllerWithoutAModelUnknownAndTakesItForDiscrete) {
    ScriptedMachine machine;
    PropertyList::Dictionary nameless = intel;
    nameless.erase("model");
    PropertyList::Dictionary mistyped = radeon;
    mistyped["model"] = "text, not bytes";
    machine->graphics().pciDevicesValue = {nameless};
    EXPECT_EQ(GPU().discrete(), (GPU::Processor{"Unknown", intelID}));
    EXPECT_FALSE(GPU().integrated());
    machine->graphics().pciDevicesValue = {mistyped};
    EXPECT_EQ(GPU().discrete(), (GPU::Processor{"Unknown", radeonID}));
}

TEST(GPU, TakesDisplayInAnyCaseAndNothingElse) {
    ScriptedMachine machine;
    for (const char* name : {"Display", "DISPLAY", "display"}) {
        machine->graphics().pciDevicesValue = {device(name, intelID, "Intel")};
        EXPECT_TRUE(GPU().integrated()) << name;
    }
    PropertyList::Dictionary unnamed = intel;
    unnamed.erase("IOName");
    PropertyList::Dictionary mistyped = intel;
    mistyped["IOName"] = Bytes{'d', 'i', 's', 'p', 'l', 'a', 'y'};
    machine->graphics().pciDevicesValue = {device("displays", intelID, "Intel"), device("", intelID, "Intel"), unnamed,
                                           mistyped};
    EXPECT_FALSE(GPU().integrated());
}

TEST(GPU, KeepsTheLastOfEachKind) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel, radeon, device("display", {5}, "Intel Iris"),
                                           device("display", {6}, "Radeon Pro")};
    EXPECT_EQ(GPU().integrated()->name, "Intel Iris");
    EXPECT_EQ(GPU().discrete()->name, "Radeon Pro");
}

TEST(GPU, TakesAMissingDeviceIdForAnEmptyOne) {
    ScriptedMachine machine;
    PropertyList::Dictionary nameless = radeon;
    nameless.erase("device-id");
    machine->graphics().pciDevicesValue = {nameless};
    EXPECT_EQ(GPU().discrete(), (GPU::Processor{"Radeon R9", {}}));
}

TEST(GPU, HasNothingWhereTheDevicesCannotBeListed) {
    ScriptedMachine machine;
    machine->graphics().calls.fail("pciDevices");
    machine->graphics().activeDeviceIDValue = radeonID;
    const GPU gpu;
    EXPECT_FALSE(gpu.integrated());
    EXPECT_FALSE(gpu.discrete());
    EXPECT_FALSE(gpu.current());
    EXPECT_EQ(gpu.name(), "");
}

// 64 samples, once it has taken one.
TEST(GPU, SamplesWithoutAllocating) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel, radeon};
    machine->graphics().activeDeviceIDValue = radeonID;
    GPU gpu;
    expectNoAllocations(gpu);
    EXPECT_TRUE(gpu.isUsingDiscreteGPU());
}

TEST(GPU, IsReadFromOneThreadWhileAnotherSamples) {
    ScriptedMachine machine;
    machine->graphics().pciDevicesValue = {intel, radeon};
    machine->graphics().activeDeviceIDValue = radeonID;
    GPU gpu;
    std::thread sampler([&] {
        for (int i = 0; i < 1000; ++i)
            gpu.update();
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(gpu.name(), "Radeon R9");
        EXPECT_TRUE(gpu.isUsingDiscreteGPU());
    }
    sampler.join();
}

using Measure = GPU::Measure;

TEST(GPU, AsksWhatTheProcessorsDoOnlyWhileThatIsWanted) {
    ScriptedMachine machine;
    machine->graphics().processorsValue = {{.identifier = "0", .name = "Radeon", .use = 7, .memoryTotal = 100}};
    GPU gpu;
    gpu.update();
    EXPECT_EQ(machine->graphics().calls.count("processors"), 0U);
    EXPECT_TRUE(gpu.processors().empty());
    EXPECT_FALSE(gpu.availability(Measure::use));
    gpu.setMeasures({Measure::use});
    EXPECT_EQ(gpu.measures(), MeasureSet{Measure::use});
    EXPECT_TRUE(gpu.processors().empty());
    gpu.update();
    EXPECT_EQ(gpu.availability(Measure::use), Availability::available);
    EXPECT_EQ(gpu.processors(), *machine->graphics().processorsValue);
    machine->graphics().calls.fail("processors");
    gpu.update();
    EXPECT_EQ(gpu.availability(Measure::use), Availability::failed);
    EXPECT_TRUE(gpu.processors().empty());
    machine->graphics().calls.succeed();
    gpu.update();
    EXPECT_EQ(gpu.processors().size(), 1U);
    gpu.setMeasures({});
    EXPECT_TRUE(gpu.processors().empty());
    gpu.update();
    EXPECT_EQ(machine->graphics().calls.count("processors"), 3U);
}

TEST(GPU, MakesUseOfTheTimeThatAProcessorWasIdle) {
    ScriptedMachine machine;
    const auto idle = [&](std::optional<double> seconds) {
        machine->graphics().processorsValue = {{.identifier = "0", .name = "Intel", .idleSeconds = seconds}};
    };
    GPU gpu;
    gpu.setMeasures({Measure::use});
    const auto sample = [&](double seconds, std::optional<double> idleSeconds) {
        machine->advance(seconds);
        idle(idleSeconds);
        gpu.update();
        return gpu.processors()[0].use;
    };
    EXPECT_FALSE(sample(1, 500.0)) << "the first sample";
    EXPECT_EQ(sample(4, 503.0), 25);
    EXPECT_EQ(sample(1, 503.0), 100);
    EXPECT_EQ(sample(1, 504.5), 0) << "the two clocks are not read at the same moment";
    EXPECT_FALSE(sample(1, 1.0)) << "the counter began anew";
    EXPECT_EQ(sample(2, 2.0), 50);
    EXPECT_FALSE(sample(1, std::nullopt)) << "asleep, say";
    EXPECT_FALSE(sample(1, 2.5)) << "the first sample after it";
    EXPECT_EQ(sample(1, 3.0), 50);
    gpu.setMeasures({});
    gpu.setMeasures({Measure::use});
    EXPECT_FALSE(sample(1, 3.5)) << "wanted anew";
}

TEST(GPU, TakesNoMemoryForWhatTheProcessorsDoOnceWarm) {
    ScriptedMachine machine;
    machine->graphics().processorsValue = {{.identifier = "0000:0a:00.0 which is long", .name = "n", .use = 7},
                                           {.identifier = "0000:00:02.0 which is long", .idleSeconds = 5}};
    GPU gpu;
    gpu.setMeasures({Measure::use});
    std::vector<GPU::Activity> list;
    const auto sample = [&] {
        machine->advance(1.1);
        gpu.update();
        gpu.processors(list);
    };
    for (int i = 0; i < 3; ++i)
        sample();
    std::size_t taken = 0;
    for (int i = 0; i < 16; ++i) {
        machine->advance(1.1);
        const std::size_t before = allocations();
        gpu.update();
        gpu.processors(list);
        taken += allocations() - before;
    }
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
}

platform::GraphicsClient rendering(std::uint64_t identifier, std::uint64_t nanoseconds) {
    return {.processor = "0000:00:02.0",
            .identifier = identifier,
            .engines = {{.name = "render", .busy = nanoseconds}},
            .memory = 4096};
}

TEST(GPU, AsksWhatProgramsHaveItDoOnlyWhileThatIsWanted) {
    ScriptedMachine machine;
    auto& graphics = machine->graphics();
    graphics.clientsValue = {rendering(1, 0)};
    GPU gpu;
    gpu.setMeasures({Measure::use});
    gpu.update();
    EXPECT_EQ(graphics.calls.count("clients"), 0U);
    gpu.setMeasures({Measure::engines});
    EXPECT_TRUE(gpu.work().empty());
    gpu.update();
    EXPECT_EQ(graphics.calls.count("processors"), 1U);
    EXPECT_EQ(gpu.availability(Measure::engines), Availability::available);
    EXPECT_FALSE(gpu.work().at(0).engines.at(0).use);
    machine->advance(1);
    graphics.clientsValue = {rendering(1, 250'000'000)};
    gpu.update();
    EXPECT_EQ(gpu.work(), (std::vector<GPU::Work>{{.processor = "0000:00:02.0",
                                                   .clients = 1,
                                                   .memory = 4096,
                                                   .engines = {{.name = "render", .count = 1, .use = 25}}}}));
    graphics.calls.fail("clients", {.error = EACCES});
    gpu.update();
    EXPECT_EQ(gpu.availability(Measure::engines), Availability::denied);
    EXPECT_TRUE(gpu.work().empty());
    graphics.calls.succeed();
    gpu.setMeasures({});
    gpu.setMeasures({Measure::engines});
    machine->advance(1);
    gpu.update();
    EXPECT_FALSE(gpu.work().at(0).engines.at(0).use) << "wanted anew";
    graphics.clientsValue.reset();
    gpu.update();
    EXPECT_EQ(gpu.availability(Measure::engines), Availability::unsupported);
}

TEST(GPU, TakesNoMemoryForWhatProgramsHaveItDoOnceWarm) {
    ScriptedMachine machine;
    machine->graphics().clientsValue = {rendering(9, 5), rendering(1, 7), rendering(4, 0)};
    GPU gpu;
    gpu.setMeasures({Measure::engines});
    std::vector<GPU::Work> work;
    std::size_t taken = 0;
    for (int i = 0; i < 16; ++i) {
        machine->advance(1.1);
        const std::size_t before = allocations();
        gpu.update();
        gpu.work(work);
        taken += i < 4 ? 0 : allocations() - before;
    }
    EXPECT_EQ(work.at(0).clients, 3U);
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
}

} // namespace
} // namespace sentrel
