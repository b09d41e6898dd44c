// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/OwnThread.h>

#include "tests/support/Await.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(OwnThread, RunsOffTheCallersThreadAndTakesNoSignals) {
    std::thread::id thread;
    sigset_t blocked;
    Event ran;
    ASSERT_TRUE(runOnOwnThread([&] {
        thread = std::this_thread::get_id();
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        ran.happened();
    }));
    ASSERT_TRUE(ran.await());
    EXPECT_NE(thread, std::this_thread::get_id());
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1, SIGCHLD}) {
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
        EXPECT_EQ(sigismember(&own, signal), 0) << signal << ": the caller's mask stays";
    }
}

TEST(OwnThreadQueue, RunsOneClosureAfterTheOtherAlsoOnceItIsGone) {
    std::vector<int> order;
    Event begun;
    Event released;
    Event ran;
    {
        OwnThreadQueue queue;
        ASSERT_TRUE(queue.async([&] {
            begun.happened();
            EXPECT_TRUE(released.await());
            order.push_back(1);
        }));
        ASSERT_TRUE(begun.await());
        ASSERT_TRUE(queue.async([&] {
            order.push_back(2);
            ran.happened();
        }));
    }
    released.happened();
    ASSERT_TRUE(ran.await());
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

} // namespace
} // namespace sentrel::platform
