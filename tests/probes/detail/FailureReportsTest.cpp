// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/FailureReports.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include "tests/support/Allocations.h"

#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr Operation space{"statfs", true};
constexpr Operation list{"list", false};

TEST(StandingFailures, BeginOnceForEachThingAndEndAMinuteAfterTheLastOne) {
    StandingFailures failures;
    EXPECT_EQ(failures.size(), 0U);
    EXPECT_TRUE(failures.begins(space, "/a", 0));
    EXPECT_EQ(failures.size(), 1U);
    EXPECT_FALSE(failures.begins(space, "/a", second));
    EXPECT_TRUE(failures.begins(space, "/b", second));
    EXPECT_TRUE(failures.begins(list, "/a", second)) << "another operation";
    EXPECT_FALSE(failures.ends(space, "/a", 60 * second));
    EXPECT_FALSE(failures.begins(space, "/a", 60 * second)) << "it came back";
    EXPECT_FALSE(failures.ends(space, "/a", 119 * second));
    EXPECT_TRUE(failures.ends(space, "/a", 120 * second));
    EXPECT_FALSE(failures.ends(space, "/a", 120 * second));
    EXPECT_FALSE(failures.ends(space, "/never", 200 * second));
    EXPECT_TRUE(failures.begins(space, "/a", 121 * second));
}

TEST(StandingFailures, AreNewAgainWhereNobodyAskedForAMinute) {
    StandingFailures failures;
    EXPECT_TRUE(failures.begins(space, "/a", 0));
    EXPECT_TRUE(failures.begins(space, "/a", 60 * second));
}

TEST(StandingFailures, AreForgottenWithWhatFailed) {
    StandingFailures failures;
    for (int i = 0; i < 100'000; ++i)
        EXPECT_TRUE(failures.begins(space, "/mnt/" + std::to_string(i), i * second));
    EXPECT_TRUE(failures.begins(space, "/last", 200'000 * second));
    EXPECT_TRUE(failures.ends(space, "/last", 200'060 * second));
    EXPECT_EQ(failures.size(), 0U) << "nothing of what is there no longer";
}

TEST(StandingFailures, AllocateNothingWhileTheyLast) {
    StandingFailures failures;
    EXPECT_TRUE(failures.begins(space, "/a/path/that/no/string/has/room/for", 0));
    const std::size_t before = allocations();
    for (int i = 0; i < 50; ++i) {
        EXPECT_FALSE(failures.begins(space, "/a/path/that/no/string/has/room/for", i * second));
        EXPECT_FALSE(failures.ends(space, "/another/path/that/no/string/has/room/for", i * second));
    }
    EXPECT_TRUE(!countsAllocations || allocations() == before);
}

TEST(SamplingReports, AreOfTheThreadThatSamplesAndOfItsSession) {
    ScriptedMachine machine;
    ScriptedMachine other;
    SystemManager one(*machine);
    SystemManager two(*other);
    EXPECT_TRUE(isToBeTold(space, "/a") && isToBeTold(space, "/a")) << "who asks by himself is told each time";
    EXPECT_FALSE(SamplingReports::areUnderWay());
    {
        const SamplingReports outer(one);
        errno = ENOTCONN;
        EXPECT_TRUE(isToBeTold(space, "/a"));
        EXPECT_EQ(errno, ENOTCONN);
        EXPECT_FALSE(isToBeTold(space, "/a"));
        {
            const SamplingReports inner(two);
            EXPECT_TRUE(isToBeTold(space, "/a"));
        }
        EXPECT_FALSE(isToBeTold(space, "/a"));
        EXPECT_TRUE(SamplingReports::areUnderWay());
    }
    EXPECT_TRUE(isToBeTold(space, "/a"));
}

} // namespace
} // namespace sentrel::probes
