// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/BlockingCalls.h>

#include "tests/support/Await.h"
#include "tests/support/Sanitizers.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

// Begins, and returns when it is let go.
class HeldCall final : public BlockingCall {
public:
    void run() noexcept override {
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        takesSignals = sigismember(&mask, SIGTERM) == 0;
        begun.happened();
        static_cast<void>(release.await());
        ended.happened();
    }

    Event begun;
    Event release;
    Event ended;
    std::atomic<bool> takesSignals{true};
};

TEST(BlockingCalls, RunOnAsManyThreadsAsThereAreCallsThatDoNotReturn) {
    BlockingCalls calls(4);
    const std::vector held = {std::make_shared<HeldCall>(), std::make_shared<HeldCall>(), std::make_shared<HeldCall>()};
    for (const auto& call : held)
        EXPECT_TRUE(calls.start(call));
    for (const auto& call : held)
        EXPECT_TRUE(call->begun.await());
    EXPECT_FALSE(held[0]->takesSignals);
    for (const auto& call : held) {
        call->release.happened();
        EXPECT_TRUE(call->ended.await());
    }
}

TEST(BlockingCalls, WaitForAThreadOnceTheBoundIsReached) {
    BlockingCalls calls(1);
    const auto first = std::make_shared<HeldCall>();
    const auto second = std::make_shared<HeldCall>();
    EXPECT_TRUE(calls.start(first));
    EXPECT_TRUE(first->begun.await());
    EXPECT_TRUE(calls.start(second));
    EXPECT_EQ(second->begun.count(), 0);
    first->release.happened();
    EXPECT_TRUE(second->begun.await());
    second->release.happened();
    EXPECT_TRUE(second->ended.await());
}

TEST(BlockingCalls, LetGoOfWhatWaitsAndLeaveWhatRuns) {
    const auto first = std::make_shared<HeldCall>();
    const auto second = std::make_shared<HeldCall>();
    {
        BlockingCalls calls(1);
        EXPECT_TRUE(calls.start(first));
        EXPECT_TRUE(first->begun.await());
        EXPECT_TRUE(calls.start(second));
    }
    EXPECT_EQ(second.use_count(), 1);
    first->release.happened();
    EXPECT_TRUE(first->ended.await());
    EXPECT_EQ(second->begun.count(), 0);
}

TEST(BlockingCalls, RunInAForkedChildWhoseParentHasNoThreadLeft) {
    if (underThreadSanitizer || underAddressSanitizer)
        GTEST_SKIP() << "the sanitizers' own locks may be held by another thread at the fork";
    BlockingCalls calls(1);
    const auto inParent = std::make_shared<HeldCall>();
    EXPECT_TRUE(calls.start(inParent));
    EXPECT_TRUE(inParent->begun.await());
    const pid_t child = ::fork();
    if (child == 0) {
        const auto inChild = std::make_shared<HeldCall>();
        ::_exit(calls.start(inChild) && inChild->begun.await() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    inParent->release.happened();
    EXPECT_TRUE(inParent->ended.await());
}

} // namespace
} // namespace sentrel::platform
