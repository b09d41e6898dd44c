// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Assert.h>

#include "tests/support/Stops.h"

#include <csignal>

namespace sentrel {
namespace {

TEST(AssertDeathTest, NamesFunctionFileLineAndCondition) {
    const int value = 0;
    EXPECT_EXIT(SENTREL_ASSERT(value > 1 && value < 5), testing::KilledBySignal(SIGABRT),
                "^Assertion failed: \\(value > 1 && value < 5\\), function TestBody, file .*AssertTest.cpp, line [0-9]+"
                "\\.\n$");
}

TEST(Assert, ADoubtlessConditionIsEvaluatedOnce) {
    int calls = 0;
    SENTREL_ASSERT(++calls);
    EXPECT_EQ(calls, 1);
}

TEST(AssertDeathTest, AFatalErrorNamesTheCallersFileAndLine) {
    EXPECT_EXIT(fatalError("Failed to lock mutex"), testing::KilledBySignal(SIGABRT),
                "^Fatal error: Failed to lock mutex: file .*AssertTest.cpp, line [0-9]+\n$");
}

} // namespace
} // namespace sentrel
