// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Workspace.h"

#include <SentrelKit/platform/macos/processes/MacProcessService.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>

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

// As the kernel lays them out: the number of words, the path, zeros, the words, the environment.
std::string layOut(std::int32_t count, const std::string& texts) {
    std::string bytes(sizeof(count), '\0');
    std::memcpy(bytes.data(), &count, sizeof(count));
    return bytes + texts;
}

TEST_F(MacProcesses, TellWhatTheyReadAndOpenedAndTheirWords) {
    Process& process = machine().processes[100];
    process.use.ri_diskio_bytesread = 4096;
    process.use.ri_diskio_byteswritten = 512;
    process.files.resize(1500); // more than a first buffer holds
    process.arguments = layOut(2, std::string("/bin/editor\0\0\0\0editor\0two words\0HOME=/\0", 38));
    StorageBytes bytes;
    EXPECT_EQ(processes.storageBytes(100, bytes), sentrel::Availability::available);
    EXPECT_EQ(bytes, (StorageBytes{.read = 4096, .written = 512}));
    std::uint64_t files = 0;
    EXPECT_EQ(processes.openFiles(100, files), sentrel::Availability::available);
    EXPECT_EQ(files, 1500u);
    process.files.resize(3);
    EXPECT_EQ(processes.openFiles(100, files), sentrel::Availability::available);
    EXPECT_EQ(files, 3u);
    std::vector<std::string> words;
    EXPECT_EQ(processes.commandLine(100, words), sentrel::Availability::available);
    EXPECT_THAT(words, ElementsAre("editor", "two words"));
}

TEST_F(MacProcesses, OfAnotherUserOrEndedKeepTheirFacts) {
    machine().processes[100].isForeign = true;
    for (const auto& [id, answer] :
         {std::pair(100, sentrel::Availability::denied), std::pair(99, sentrel::Availability::unsupported)}) {
        StorageBytes bytes{7, 8};
        std::uint64_t files = 9;
        std::vector<std::string> words{"before"};
        EXPECT_EQ(processes.storageBytes(id, bytes), answer);
        EXPECT_EQ(processes.openFiles(id, files), answer);
        EXPECT_EQ(processes.commandLine(id, words), answer);
        EXPECT_EQ(bytes, (StorageBytes{7, 8}));
        EXPECT_EQ(files, 9u);
        EXPECT_THAT(words, ElementsAre("before"));
    }
}

TEST_F(MacProcesses, WhoseWordsAreNotOfTheFormTellNone) {
    EXPECT_THAT(parseProcessArguments(layOut(0, "/bin/editor")), testing::Optional(testing::IsEmpty()));
    EXPECT_THAT(parseProcessArguments(layOut(1, std::string("/bin/editor\0cut", 15))),
                testing::Optional(ElementsAre("cut")));
    for (const std::string& bytes :
         {std::string(), std::string("\1\0\0", 3), layOut(1, ""), layOut(1, "/bin/editor"),
          layOut(2, std::string("/bin/editor\0one\0", 16)), layOut(-1, "/bin/editor"), layOut(1, std::string(9, '\0'))})
        EXPECT_FALSE(parseProcessArguments(bytes)) << bytes.size();
    machine().processes[100].arguments = "?";
    std::vector<std::string> words{"before"};
    EXPECT_EQ(processes.commandLine(100, words), sentrel::Availability::failed);
    EXPECT_THAT(words, ElementsAre("before"));
}

} // namespace
