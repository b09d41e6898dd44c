// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/ProcessService.h>

#include <atomic>
#include <cmath>
#include <ctime>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr std::int32_t nobody = std::numeric_limits<std::int32_t>::max();

std::int32_t self() {
    return static_cast<std::int32_t>(::getpid());
}

double seconds(const TaskInfo& info) {
    return static_cast<double>(info.userNanoseconds + info.systemNanoseconds) * 1e-9;
}

} // namespace

TEST_P(PlatformContract, AProcessTellsItsFigures) {
    ProcessService& processes = platform().processes();
    const auto info = processes.taskInfo(self());
    ASSERT_TRUE(info);
    EXPECT_GE(info->threads, 1);
    constexpr std::uint64_t page = 4096;
    EXPECT_GE(info->residentBytes, page);
    const auto start = processes.startTime(self());
    ASSERT_TRUE(start);
    EXPECT_GT(*start, 0u);
    EXPECT_EQ(processes.startTime(self()), start);
    EXPECT_TRUE(info->startTime == *start || info->startTime == 0);
    EXPECT_EQ(processes.parent(self()), static_cast<std::int32_t>(::getppid()));
}

TEST_P(PlatformContract, AProcessesTimeIsCountedInNanosecondsAndNeverDecreases) {
    ProcessService& processes = platform().processes();
    auto last = processes.taskInfo(self());
    ASSERT_TRUE(last);
    for (int turn = 0; turn < 100; ++turn) {
        const auto next = processes.taskInfo(self());
        ASSERT_TRUE(next);
        EXPECT_GE(next->userNanoseconds + next->systemNanoseconds, last->userNanoseconds + last->systemNanoseconds);
        last = next;
    }
    if (!machine->isReal())
        return;
    const double own = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
    const auto now = processes.taskInfo(self());
    ASSERT_TRUE(now);
    constexpr double tick = 0.05; // seconds: the coarsest accounting, and what ran between the two readings
    EXPECT_NEAR(seconds(*now), own, tick + own * 0.05);
}

TEST_P(PlatformContract, AProcessTellsItsFurtherFactsOrNothing) {
    ProcessService& processes = platform().processes();
    StorageBytes bytes{7, 8};
    if (processes.storageBytes(self(), bytes) != Availability::available) {
        EXPECT_EQ(bytes, (StorageBytes{7, 8}));
    }
    std::uint64_t files = 0;
    if (processes.openFiles(self(), files) == Availability::available)
        EXPECT_GT(files, 0U);
    else
        EXPECT_EQ(files, 0U);
    ProcessIdentity identity{.started = -5, .user = 77};
    if (processes.identity(self(), identity) == Availability::available)
        EXPECT_GT(identity.started, 0);
    else
        EXPECT_EQ(identity, (ProcessIdentity{.started = -5, .user = 77}));
    std::vector<std::string> words{"before"};
    if (processes.commandLine(self(), words) == Availability::available)
        EXPECT_FALSE(words.empty());
    else
        EXPECT_EQ(words, std::vector<std::string>{"before"});
}

TEST_P(PlatformContract, TheNameOfAUserIsToldOrStaysAsItWas) {
    ProcessService& processes = platform().processes();
    for (const std::uint32_t user : {0U, 4'294'967'290U}) {
        std::string name = "before";
        if (processes.userName(user, name) == Availability::available) {
            EXPECT_THAT(name, IsUtf8());
            EXPECT_FALSE(name.empty());
        } else {
            EXPECT_EQ(name, "before");
        }
    }
}

TEST_P(PlatformContract, AProcessThatIsNotThereHasNoFurtherFacts) {
    ProcessService& processes = platform().processes();
    StorageBytes bytes{7, 8};
    std::uint64_t files = 9;
    ProcessIdentity identity{.started = -5, .user = 77};
    std::vector<std::string> words{"before"};
    EXPECT_EQ(processes.storageBytes(nobody, bytes), Availability::unsupported);
    EXPECT_EQ(processes.openFiles(nobody, files), Availability::unsupported);
    EXPECT_EQ(processes.identity(nobody, identity), Availability::unsupported);
    EXPECT_EQ(processes.commandLine(nobody, words), Availability::unsupported);
    EXPECT_EQ(bytes, (StorageBytes{7, 8}));
    EXPECT_EQ(files, 9U);
    EXPECT_EQ(identity, (ProcessIdentity{.started = -5, .user = 77}));
    EXPECT_EQ(words, std::vector<std::string>{"before"});
}

TEST_P(PlatformContract, AProcessThatIsNotThereTellsNothing) {
    ProcessService& processes = platform().processes();
    for (const std::int32_t id : {nobody, -1}) {
        EXPECT_FALSE(processes.taskInfo(id)) << id;
        EXPECT_FALSE(processes.startTime(id)) << id;
        EXPECT_FALSE(processes.parent(id)) << id;
    }
    static_cast<void>(processes.taskInfo(0)); // asked for like any other
    static_cast<void>(processes.parent(0));
}

TEST_P(PlatformContract, AQuestionAboutAProcessThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    ProcessService& processes = platform().processes();
    fail("taskInfo");
    EXPECT_FALSE(processes.taskInfo(self()));
    fail("startTime");
    EXPECT_FALSE(processes.startTime(self()));
    fail("parent");
    EXPECT_FALSE(processes.parent(self()));
}

TEST_P(PlatformContract, RunningApplicationsAreListedOnceAndAfterTheirOwners) {
    ProcessService& processes = platform().processes();
    const RunningApplications applications = processes.runningApplications();
    EXPECT_TRUE(machine->isReal() || !applications.empty());
    std::set<std::pair<std::int32_t, std::uint64_t>> identities;
    std::set<std::int32_t> seen;
    for (const auto& application : applications) {
        ASSERT_TRUE(application);
        EXPECT_TRUE(identities.emplace(application->processIdentifier, application->startTime).second);
        EXPECT_GT(application->processIdentifier, 0);
        EXPECT_THAT(application->localizedName, IsAbsentOrUtf8());
        EXPECT_THAT(application->bundleIdentifier, IsAbsentOrUtf8());
        if (application->icon)
            expectIcon(*application->icon);
        const auto start = processes.startTime(application->processIdentifier);
        EXPECT_TRUE(!start || application->startTime == 0 || *start == application->startTime);
        seen.insert(application->processIdentifier);
        EXPECT_TRUE(seen.contains(application->owner.value_or(application->processIdentifier)));
    }
}

TEST_P(PlatformContract, RunningApplicationsAreObservedUntilTheRelease) {
    ProcessService& processes = platform().processes();
    std::atomic<int> calls{0};
    std::atomic<std::size_t> heard{0};
    const auto held = std::make_shared<int>();
    Observation observation = processes.observeRunningApplications([&, held](const RunningApplications& applications) {
        heard = applications.size();
        ++calls;
    });
    ASSERT_TRUE(observation);
    const std::size_t before = processes.runningApplications().size();
    processes.refreshRunningApplications();
    if (!machine->isReal()) {
        machine->change(ContractChange::applications);
        processes.refreshRunningApplications();
        EXPECT_TRUE(await([&] { return calls > 0; }));
        EXPECT_EQ(heard, processes.runningApplications().size());
        EXPECT_NE(heard, before);
    }
    observation.reset();
    const int atRelease = calls;
    EXPECT_EQ(held.use_count(), 1);
    machine->change(ContractChange::applications);
    processes.refreshRunningApplications();
    EXPECT_EQ(calls, atRelease);
}

} // namespace sentrel::platform
