// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

// What a listing tells stands, whatever happens to the machine meanwhile.
TEST(ScriptedNetworkService, ListsTheInterfacesAsTheyStoodWhileTimePassesAndTheTableChanges) {
    ScriptedPlatform machine;
    ScriptedNetworkService& network = machine.network();
    network.interfaces = {ScriptedInterface("en0").addAddress("192.0.2.4"), ScriptedInterface("en1")};
    std::vector<std::string> entries;
    network.calls.onEntry([&](const std::string& entry) {
        entries.push_back(entry);
        machine.advance(0.5);
        network.interfaces = {ScriptedInterface("en7")};
    });
    std::vector<std::string> listed;
    EXPECT_TRUE(network.listInterfaces([&](const InterfaceInfo& info) { listed.emplace_back(info.name); }));
    EXPECT_THAT(entries, ElementsAre("listInterfaces en0", "listInterfaces en1"));
    EXPECT_THAT(listed, ElementsAre("en0", "en1"));
    EXPECT_EQ(machine.clock().monotonicNanoseconds(), 1'000'000'000);
    listed.clear();
    EXPECT_TRUE(network.listInterfaces([&](const InterfaceInfo& info) { listed.emplace_back(info.name); }));
    EXPECT_THAT(listed, ElementsAre("en7"));
    EXPECT_THAT(network.calls.list(), ElementsAre("listInterfaces", "listInterfaces"));
}

TEST(ScriptedNetworkService, TellsTheQuestionsAboutAnInterfaceAndItsEntry) {
    ScriptedPlatform machine;
    ScriptedNetworkService& network = machine.network();
    network.interfaces = {ScriptedInterface("en0")};
    EXPECT_TRUE(network.mediaStatus("en0"));
    EXPECT_FALSE(network.mediaStatus("en9"));
    EXPECT_EQ(errno, ENXIO);
    {
        const auto entry = network.matchInterface("en0");
        ASSERT_TRUE(entry && *entry);
        EXPECT_TRUE((*entry)->properties());
        EXPECT_TRUE((*entry)->search("IOLinkSpeed").empty());
        EXPECT_THAT(network.calls.openHandles(), ElementsAre("entry en0"));
    }
    EXPECT_THAT(network.calls.list(), ElementsAre("mediaStatus en0", "mediaStatus en9", "matchInterface en0",
                                                  "properties en0", "search en0 IOLinkSpeed", "release entry en0"));
    network.calls.fail("mediaStatus", {.arguments = "en0", .error = EBUSY});
    EXPECT_FALSE(network.mediaStatus("en0"));
    EXPECT_EQ(errno, EBUSY);
}

} // namespace
} // namespace sentrel::platform
