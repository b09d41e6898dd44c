// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/ProcessProbes.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

namespace sentrel::probes {
namespace {

constexpr platform::TaskInfo some{
    .userNanoseconds = 1'500'000, .systemNanoseconds = 250'000, .residentBytes = 4096, .threads = 3, .startTime = 77};

TEST(ProcessProbes, GiveTheWholeTimeInMilliseconds) {
    ScriptedMachine machine;
    machine->processes().setTaskInfo(100, some);
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(100, &attributes), 1);
    EXPECT_EQ(attributes.cpuTime, 1.75);
    EXPECT_EQ(attributes.residentSize, 4096U);
    EXPECT_EQ(attributes.threads, 3);
}

TEST(ProcessProbes, AddTheTwoTimesAsUnsigned) {
    ScriptedMachine machine;
    machine->processes().setTaskInfo(
        100, platform::TaskInfo{.userNanoseconds = 0x8000'0000'0000'0000, .systemNanoseconds = 0x4000'0000'0000'0000});
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(100, &attributes), 1);
    EXPECT_EQ(attributes.cpuTime, 13835058055282163712.0 / 1'000'000);
}

TEST(ProcessProbes, RefuseTheIdsBelowTwo) {
    ScriptedMachine machine;
    for (const std::int32_t id : {1, 0, -1, INT32_MIN}) {
        machine->processes().setTaskInfo(id, some);
        machine->processes().setParent(id, 5);
        ApplicationAttributes attributes{.cpuTime = -1};
        EXPECT_EQ(_getApplicationAttributes(id, &attributes), 0) << id;
        EXPECT_EQ(attributes.cpuTime, -1) << id;
        EXPECT_EQ(_getParentPid(id), -1) << id;
    }
    machine->processes().setTaskInfo(2, some);
    machine->processes().setParent(2, 0);
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(2, &attributes), 1);
    EXPECT_EQ(_getParentPid(2), 0);
}

TEST(ProcessProbes, LeaveTheRecordUntouchedAndPrintNothingOnFailure) {
    ScriptedMachine machine;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ApplicationAttributes attributes{.cpuTime = 1, .residentSize = 2, .threads = 3};
    EXPECT_EQ(_getApplicationAttributes(100, &attributes), 0);
    EXPECT_EQ(_getParentPid(100), -1);
    EXPECT_EQ(attributes.cpuTime, 1);
    EXPECT_EQ(attributes.residentSize, 2U);
    EXPECT_EQ(attributes.threads, 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProcessProbes, RefuseAnIdThatBelongsToAnotherProcessByNow) {
    ScriptedMachine machine;
    machine->processes().setTaskInfo(100, some);
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(100, 77, &attributes), 1);
    EXPECT_EQ(_getApplicationAttributes(100, 0, &attributes), 1) << "a start that is not known";
    EXPECT_EQ(_getApplicationAttributes(100, 78, &attributes), 0);
}

TEST(ProcessProbes, AskForTheStartWhereItDoesNotComeWithTheFigures) {
    ScriptedMachine machine;
    platform::TaskInfo figures = some;
    figures.startTime = 0;
    machine->processes().setTaskInfo(100, figures);
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(100, 77, &attributes), 0); // nobody knows
    machine->processes().setStartTime(100, 78);
    EXPECT_EQ(_getApplicationAttributes(100, 77, &attributes), 0);
    machine->processes().setStartTime(100, 77);
    EXPECT_EQ(_getApplicationAttributes(100, 77, &attributes), 1);
    machine->processes().calls.clear();
    machine->processes().setTaskInfo(100, some);
    EXPECT_EQ(_getApplicationAttributes(100, 77, &attributes), 1);
    EXPECT_EQ(machine->processes().calls.count("startTime"), 0U);
}

TEST(ProcessProbes, GiveTheParent) {
    ScriptedMachine machine;
    machine->processes().setParent(100, 42);
    EXPECT_EQ(_getParentPid(100), 42);
}

} // namespace
} // namespace sentrel::probes
