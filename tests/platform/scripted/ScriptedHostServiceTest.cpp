// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <array>
#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
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

} // namespace
} // namespace sentrel::platform
