// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/ProcessProbes.h>

#include "tests/support/Eventually.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/linux/Actor.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>
#include <unistd.h>

namespace sentrel::probes {
namespace {

// The thread sanitizer adds a thread of its own to each process that it watches.
constexpr int sanitizerThreads = underThreadSanitizer ? 1 : 0;

std::uint64_t residentBytes(const std::string& statm) {
    std::ifstream file(statm);
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

TEST(ProcessProbesLive, RefuseTheKernelAndTheFirstProcess) {
    ApplicationAttributes attributes;
    EXPECT_EQ(_getApplicationAttributes(0, &attributes), 0);
    EXPECT_EQ(_getApplicationAttributes(1, &attributes), 0);
    EXPECT_EQ(_getParentPid(1), -1);
}

TEST(ProcessProbesLive, MeasureTheCallerItself) {
    ApplicationAttributes before;
    ASSERT_EQ(_getApplicationAttributes(::getpid(), &before), 1);
    timespec own{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
    EXPECT_NEAR(before.cpuTime, static_cast<double>(own.tv_sec) * 1e3 + static_cast<double>(own.tv_nsec) / 1e6, 50);
    EXPECT_GE(before.threads, 1);
    ApplicationAttributes after = before;
    for (int reading = 0; reading < 1000; ++reading) {
        ApplicationAttributes next;
        ASSERT_EQ(_getApplicationAttributes(::getpid(), &next), 1);
        EXPECT_GE(next.cpuTime, after.cpuTime);
        after = next;
    }
    EXPECT_GT(after.cpuTime, before.cpuTime);
    EXPECT_EQ(_getParentPid(::getpid()), ::getppid());
}

TEST(ProcessProbesLive, CountTheTimeOfThreadsThatEnded) {
    ApplicationAttributes before;
    ASSERT_EQ(_getApplicationAttributes(::getpid(), &before), 1);
    timespec used{};
    std::thread([&] {
        do
            ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        while (used.tv_nsec < 100'000'000);
    }).join();
    ApplicationAttributes after;
    ASSERT_EQ(_getApplicationAttributes(::getpid(), &after), 1);
    EXPECT_GE(after.cpuTime - before.cpuTime, 100);
}

TEST(ProcessProbesLive, GiveTheKernelsResidentFigureAndTheThreads) {
    const Actor actor({.threads = 5});
    ApplicationAttributes attributes;
    EXPECT_TRUE(eventually([&] { // its threads may still be on their way to their wait
        return _getApplicationAttributes(actor.id(), &attributes) == 1 && attributes.threads == 5 + sanitizerThreads &&
               attributes.residentSize == residentBytes("/proc/" + std::to_string(actor.id()) + "/statm");
    })) << attributes.residentSize;
    EXPECT_GT(attributes.residentSize, 0U);
    EXPECT_EQ(_getParentPid(actor.id()), ::getpid());
}

TEST(ProcessProbesLive, MeasureAProcessWhoseFirstThreadEnded) {
    const Actor actor({.threads = 3, .losesFirstThread = true});
    ApplicationAttributes attributes;
    EXPECT_TRUE(eventually([&] {
        return _getApplicationAttributes(actor.id(), &attributes) == 1 && attributes.threads == 3 + sanitizerThreads &&
               residentBytes("/proc/" + std::to_string(actor.id()) + "/statm") == 0;
    })) << "the kernel shows nothing for the first thread";
    ASSERT_EQ(_getApplicationAttributes(actor.id(), &attributes), 1);
    EXPECT_GT(attributes.residentSize, 0U);
}

TEST(ProcessProbesLive, FailForAZombieAndForAProcessThatEnded) {
    Actor actor({});
    ApplicationAttributes attributes;
    ASSERT_EQ(_getApplicationAttributes(actor.id(), &attributes), 1);
    actor.end();
    EXPECT_TRUE(eventually([&] { return _getApplicationAttributes(actor.id(), &attributes) == 0; }));
    EXPECT_EQ(_getParentPid(actor.id()), -1);
    actor.collect();
    EXPECT_EQ(_getApplicationAttributes(actor.id(), &attributes), 0);
    EXPECT_EQ(_getParentPid(actor.id()), -1);
}

} // namespace
} // namespace sentrel::probes
