// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Workspace.h"

#include <SentrelKit/platform/macos/processes/MacProcessService.h>

#include <memory>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Observation;
using testing::ElementsAre;

namespace {

class MacProcesses : public DarwinTest {
protected:
    void SetUp() override {
        DarwinTest::SetUp();
        Process& process = machine().processes[100];
        process.task.pti_total_user = 7;
        process.task.pti_total_system = 5;
        process.task.pti_resident_size = 4096;
        process.task.pti_threadnum = 3;
        process.facts.pbi_ppid = 1;
        process.facts.pbi_start_tvsec = 1'600'000'000;
        process.facts.pbi_start_tvusec = 123;
    }

    static RunningApplication application(int id, const std::string& name) {
        RunningApplication running;
        running.processIdentifier = id;
        running.localizedName = name;
        return running;
    }

    MacProcessService processes;
};

TEST_F(MacProcesses, TellTheirFiguresFieldByField) {
    const auto info = processes.taskInfo(100);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->userNanoseconds, 7u);
    EXPECT_EQ(info->systemNanoseconds, 5u);
    EXPECT_EQ(info->residentBytes, 4096u);
    EXPECT_EQ(info->threads, 3);
    EXPECT_EQ(info->startTime, 0u); // comes with another question
    EXPECT_EQ(processes.parent(100), 1);
    EXPECT_EQ(processes.startTime(100), 1'600'000'000'000'123u);
}

TEST_F(MacProcesses, ThatEndedOrBelongToAnotherTellNothing) {
    EXPECT_FALSE(processes.taskInfo(99));
    EXPECT_FALSE(processes.parent(99));
    EXPECT_FALSE(processes.startTime(99));
    machine().processes[100].isForeign = true;
    EXPECT_FALSE(processes.taskInfo(100));
    EXPECT_EQ(processes.parent(100), 1);
}

TEST_F(MacProcesses, OfWhichFewerBytesComeTellNothing) {
    failures::plan("proc_pidinfo", sizeof(proc_taskinfo) - 1);
    EXPECT_FALSE(processes.taskInfo(100));
    failures::plan("proc_pidinfo", sizeof(proc_bsdinfo) - 1);
    EXPECT_FALSE(processes.parent(100));
    failures::plan("proc_pidinfo", sizeof(proc_bsdinfo) - 1);
    EXPECT_FALSE(processes.startTime(100));
}

TEST_F(MacProcesses, OfTheWorkspaceAreListedWithTheirStart) {
    machine().running = {application(100, "Editor"), application(101, "Gone")};
    const RunningApplications listed = processes.runningApplications();
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0]->localizedName, "Editor");
    EXPECT_EQ(listed[0]->startTime, 1'600'000'000'000'123u);
    EXPECT_EQ(listed[1]->startTime, 0u);
}

TEST_F(MacProcesses, AreObservedThroughOneRegistrationForAll) {
    EXPECT_EQ(workspace::runningObservers(), 0); // nothing before the first use
    std::vector<std::size_t> first;
    int second = 0;
    Observation one =
        processes.observeRunningApplications([&first](const RunningApplications& all) { first.push_back(all.size()); });
    const Observation other = processes.observeRunningApplications([&second](const RunningApplications&) { ++second; });
    EXPECT_EQ(workspace::runningObservers(), 1);
    machine().running = {application(100, "Editor")};
    workspace::changeRunning();
    EXPECT_THAT(first, ElementsAre(1u));
    EXPECT_EQ(second, 1);
    one.reset();
    machine().running.clear();
    workspace::changeRunning();
    EXPECT_THAT(first, ElementsAre(1u));
    EXPECT_EQ(second, 2);
    processes.refreshRunningApplications();
    EXPECT_EQ(second, 2);
}

// The workspace keeps its registration for good; it called a service that was gone.
TEST_F(MacProcesses, OfAServiceThatIsGoneAreNotHeardOf) {
    auto service = std::make_unique<MacProcessService>();
    int heard = 0;
    Observation observation = service->observeRunningApplications([&heard](const RunningApplications&) { ++heard; });
    observation.reset();
    service.reset();
    machine().running = {application(100, "Editor")};
    workspace::changeRunning();
    EXPECT_EQ(heard, 0);
}

} // namespace
