// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(ScriptedProcessService, FailsForOneProcessAndTellsWhichWereAskedFor) {
    ScriptedPlatform machine;
    ScriptedProcessService& processes = machine.processes();
    processes.setTaskInfo(100, TaskInfo{});
    processes.setTaskInfo(101, TaskInfo{});
    processes.calls.fail("taskInfo", {.arguments = "101", .error = EPERM});
    EXPECT_TRUE(processes.taskInfo(100));
    EXPECT_FALSE(processes.taskInfo(101));
    EXPECT_EQ(errno, EPERM);
    EXPECT_THAT(processes.calls.list(), ElementsAre("taskInfo 100", "taskInfo 101"));
}

TEST(ScriptedProcessService, HasTheFurtherFactsThatItIsGiven) {
    ScriptedPlatform machine;
    ScriptedProcessService& processes = machine.processes();
    StorageBytes bytes;
    EXPECT_EQ(processes.storageBytes(100, bytes), Availability::unsupported);
    processes.setFacts(100, {.storageBytes = StorageBytes{1, 2}});
    EXPECT_EQ(processes.storageBytes(100, bytes), Availability::available);
    EXPECT_EQ(bytes, (StorageBytes{1, 2}));
    std::uint64_t files = 5;
    EXPECT_EQ(processes.openFiles(100, files), Availability::unsupported);
    EXPECT_EQ(files, 5U);
    processes.calls.fail("storageBytes", {.arguments = "100", .error = EACCES});
    EXPECT_EQ(processes.storageBytes(100, bytes), Availability::denied);
}

} // namespace
} // namespace sentrel::platform
