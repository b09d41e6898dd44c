// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/ForkGuard.h>

#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace sentrel::platform {
namespace {

TEST(ForkGuard, HearsOfAForkInItsChildOnlyAndNotOnceItIsReleased) {
    int heard = 0;
    int heardByReleased = 0;
    const ForkGuard guard([&] { ++heard; });
    std::make_unique<ForkGuard>([&] { ++heardByReleased; }).reset();
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(heard == 1 && heardByReleased == 0 ? 0 : 1);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(heard, 0);
}

} // namespace
} // namespace sentrel::platform
