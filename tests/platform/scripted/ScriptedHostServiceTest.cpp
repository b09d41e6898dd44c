// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <array>
#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(ScriptedHostService, FailsEachOperationWithTheErrorThatWasScripted) {
    ScriptedPlatform machine;
    ScriptedHostService& host = machine.host();
    std::array<char, 8> buffer{};
    const std::vector<std::pair<std::string, std::function<bool()>>> questions = {
        {"bootTime", [&] { return host.bootTime().has_value(); }},
        {"hostInfo", [&] { return host.hostInfo().has_value(); }},
        {"loadTicks", [&] { return host.loadTicks().has_value(); }},
        {"defaultProcessorSet", [&] { return host.defaultProcessorSet().has_value(); }},
        {"processorSetLoad", [&] { return host.processorSetLoad({1}).has_value(); }},
        {"brand", [&] { return host.brand(buffer).has_value(); }},
        {"virtualMemory", [&] { return host.virtualMemory().has_value(); }},
        {"swapUsage", [&] { return host.swapUsage().has_value(); }},
        {"loadAverages", [&] { return host.loadAverages().has_value(); }},
        {"physicalMemory", [&] { return host.physicalMemory().has_value(); }},
        {"awakeUptime", [&] { return host.awakeUptime().has_value(); }},
        {"thermalState", [&] { return host.thermalState().has_value(); }}};
    for (const auto& [operation, ask] : questions) {
        EXPECT_TRUE(ask()) << operation;
        host.calls.fail(operation, {.call = 1, .error = EPERM});
        errno = 0;
        EXPECT_FALSE(ask()) << operation;
        EXPECT_EQ(errno, EPERM) << operation;
        EXPECT_TRUE(ask()) << operation;
        EXPECT_EQ(host.calls.count(operation), 3U) << operation;
    }
    EXPECT_EQ(host.calls.count("brand"), 3U);
    EXPECT_THAT(host.calls.list(), testing::Contains("brand 8"));
}

TEST(ScriptedHostService, KnowsNoOtherProcessorSetThanItsOwn) {
    ScriptedPlatform machine;
    EXPECT_FALSE(machine.host().processorSetLoad({2}));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_THAT(machine.host().calls.list(), ElementsAre("processorSetLoad 2"));
}

TEST(ScriptedHostService, AnswersOfPressureWhatItHasOrWhyNot) {
    ScriptedPlatform machine;
    ScriptedHostService& host = machine.host();
    Pressure pressure;
    EXPECT_EQ(host.pressure(PressureResource::io, pressure), Availability::unsupported);
    host.pressureValues[2] = Pressure{{1, 2, 3, 4}, std::nullopt};
    host.calls.fail("pressure", {.call = 1, .error = EACCES});
    EXPECT_EQ(host.pressure(PressureResource::io, pressure), Availability::denied);
    EXPECT_EQ(pressure, Pressure{});
    EXPECT_EQ(host.pressure(PressureResource::io, pressure), Availability::available);
    EXPECT_EQ(pressure, (Pressure{{1, 2, 3, 4}, std::nullopt}));
    EXPECT_THAT(host.calls.list(), ElementsAre("pressure 2", "pressure 2", "pressure 2"));
}

TEST(ScriptedHostService, TellsTheObserversOfAResourceThatItIsPressed) {
    ScriptedPlatform machine;
    ScriptedHostService& host = machine.host();
    EXPECT_FALSE(host.observePressure(PressureResource::memory, {}, [] {}));
    EXPECT_EQ(errno, ENOENT);
    host.pressureValues[1] = Pressure{};
    host.calls.fail("observePressure", {.call = 1, .error = EPERM});
    EXPECT_FALSE(host.observePressure(PressureResource::memory, {}, [] {}));
    EXPECT_EQ(errno, EPERM);
    int crossings = 0;
    Observation observation =
        host.observePressure(PressureResource::memory, {PressureThreshold::Kind::full}, [&] { ++crossings; });
    ASSERT_TRUE(observation);
    EXPECT_EQ(host.pressureObservers(PressureResource::memory), 1U);
    EXPECT_THAT(host.calls.list(), testing::Contains("observePressure 1 full 150000 2000000"));
    host.press(PressureResource::memory);
    host.press(PressureResource::cpu);
    EXPECT_EQ(crossings, 1);
    observation.reset();
    host.press(PressureResource::memory);
    EXPECT_EQ(crossings, 1);
    EXPECT_EQ(host.pressureObservers(PressureResource::memory), 0U);
}

TEST(ScriptedHostService, AnswersEachFurtherQuestionWithItsValueOrWhyNot) {
    ScriptedPlatform machine;
    ScriptedHostService& host = machine.host();
    const auto expectAnswers = [&host](const std::string& operation, auto& value, auto ask, const auto& given) {
        auto record = std::decay_t<decltype(given)>();
        EXPECT_EQ(ask(record), Availability::unsupported) << operation;
        value = given;
        host.calls.fail(operation, {.call = 1, .error = EACCES});
        EXPECT_EQ(ask(record), Availability::denied) << operation;
        EXPECT_EQ(record, std::decay_t<decltype(given)>()) << operation;
        EXPECT_EQ(ask(record), Availability::available) << operation;
        EXPECT_EQ(record, given) << operation;
        EXPECT_EQ(host.calls.count(operation), 3U) << operation;
    };
    expectAnswers(
        "processorLoad", host.processorLoadValue, [&](auto& record) { return host.processorLoad(record); },
        ProcessorLoad{{}, {}, 1, 2, 3});
    expectAnswers(
        "processorFrequencies", host.processorFrequenciesValue,
        [&](auto& record) { return host.processorFrequencies(record); }, ProcessorFrequencies{{}, CoreKinds{1, 2}});
    MemoryDetails details;
    details.available = 1;
    OperatingSystem system;
    system.name = "Example";
    expectAnswers(
        "memoryDetails", host.memoryDetailsValue, [&](auto& record) { return host.memoryDetails(record); }, details);
    expectAnswers(
        "swapCounters", host.swapCountersValue, [&](auto& record) { return host.swapCounters(record); },
        SwapCounters{1, 2});
    expectAnswers(
        "memoryCompression", host.memoryCompressionValue, [&](auto& record) { return host.memoryCompression(record); },
        MemoryCompression{2, 1});
    expectAnswers(
        "memoryNodes", host.memoryNodesValue, [&](auto& record) { return host.memoryNodes(record); },
        std::vector<MemoryNode>{{1, 2, 3}});
    expectAnswers(
        "operatingSystem", host.operatingSystemValue, [&](auto& record) { return host.operatingSystem(record); },
        system);
    expectAnswers(
        "virtualization", host.virtualizationValue, [&](auto& record) { return host.virtualization(record); },
        Virtualization{"kvm", ""});
    expectAnswers(
        "controlGroup", host.controlGroupValue, [&](auto& record) { return host.controlGroup(record); },
        ControlGroup{1, 2, 3, 4});
    expectAnswers(
        "users", host.usersValue, [&](auto& record) { return host.users(record); },
        std::vector<LoggedInUser>{{"anna", "", "", 1, 2}});
}

} // namespace
} // namespace sentrel::platform
