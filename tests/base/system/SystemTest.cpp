// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/System.h>

#include "tests/support/Stops.h"

#include <cerrno>
#include <string>
#include <thread>

namespace sentrel {
namespace {

TEST(SystemErrors, GiveTheSystemsTexts) {
    EXPECT_STREQ(System_getError(ENOENT), "No such file or directory");
    errno = EACCES;
    EXPECT_STREQ(System_getLastError(), "Permission denied");
    EXPECT_EQ(errno, EACCES);
}

TEST(SystemErrors, HaveATextForANumberThatIsNone) {
    errno = EACCES;
    EXPECT_NE(std::string(System_getError(123456)).find("123456"), std::string::npos);
    EXPECT_EQ(errno, EACCES);
}

TEST(SystemErrors, EachThreadHasItsOwnText) {
    const char* mine = System_getError(111111);
    std::thread([] { EXPECT_STRNE(System_getError(222222), ""); }).join();
    EXPECT_NE(std::string(mine).find("111111"), std::string::npos);
}

TEST(SystemErrors, AreWrittenExactlyAsGivenWithoutALineEnd) {
    testing::internal::CaptureStderr();
    errno = ENOENT;
    System_error("Error: %s -- %d", "one", 1);
    System_error("Error: two\n");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: one -- 1Error: two\n");
}

TEST(SystemDeathTest, AbortWritesItsTextAndEndsTheProcess) {
    EXPECT_EXIT(System_abort("Some Exception: %d\n raised in %s at %s:%d\n", 5, "f", "F.cpp", 7),
                testing::KilledBySignal(SIGABRT), "^Some Exception: 5\n raised in f at F.cpp:7\n$");
}

} // namespace
} // namespace sentrel
