// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <array>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ScriptedVolumeService, ListsTheMountsAsTheyStoodWhileTheTableChanges) {
    ScriptedPlatform machine;
    ScriptedVolumeService& volumes = machine.volumes();
    volumes.mount("disk1", "/");
    volumes.mount("disk2", "/b");
    volumes.calls.onEntry([&](const std::string& entry) {
        if (entry == "listMountedFileSystems /")
            volumes.unmount("/b");
    });
    std::array<MountedFileSystem, 2> entries;
    EXPECT_EQ(volumes.listMountedFileSystems(entries), 2);
    EXPECT_EQ(entries[1].on, "/b");
    EXPECT_EQ(volumes.countMountedFileSystems(), 1);
}

TEST(ScriptedVolumeService, FailsForOnePathOnly) {
    ScriptedPlatform machine;
    machine.volumes().mount("disk1", "/");
    machine.volumes().mount("disk2", "/b");
    machine.volumes().calls.fail("space", {.arguments = "/b", .error = ESTALE});
    EXPECT_TRUE(machine.volumes().space("/"));
    EXPECT_FALSE(machine.volumes().space("/b"));
    EXPECT_EQ(errno, ESTALE);
}

TEST(ScriptedVolumeService, RefusesAnUnmountForTheReasonThatItsErrorNames) {
    ScriptedPlatform machine;
    machine.volumes().disks["disk2"];
    machine.volumes().calls.fail("unmount", {.arguments = "disk2 whole", .call = 1, .error = EBUSY});
    const auto session = machine.volumes().openSession();
    session->setQueue(machine.dispatch().backgroundQueue());
    const auto disk = session->disk("disk2");
    std::vector<std::string> answers;
    for (int attempt = 0; attempt < 2; ++attempt)
        disk->unmount({.whole = true}, [&](const auto&, const Dissenter* dissenter) {
            answers.push_back(dissenter ? dissenter->reason : "done");
        });
    EXPECT_THAT(answers, IsEmpty());
    machine.advance(0);
    EXPECT_THAT(answers, ElementsAre("Device or resource busy", "done"));
}

} // namespace
} // namespace sentrel::platform
