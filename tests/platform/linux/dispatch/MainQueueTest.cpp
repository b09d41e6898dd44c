// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/MainQueue.h>

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/linux/MainLoop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <glib.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr std::int64_t millisecond = 1'000'000;

TEST(MainQueue, RunsMainClosuresOnTheThreadThatRunsTheLoop) {
    std::thread::id thread;
    int order = 0;
    int asyncAt = 0;
    int afterAt = 0;
    LinuxDispatch dispatch;
    std::thread([&] {
        dispatch.mainQueue()->async([&] {
            thread = std::this_thread::get_id();
            asyncAt = ++order;
        });
    }).join();
    dispatch.mainQueue()->after(5 * millisecond, [&] { afterAt = ++order; });
    dispatch.runMain(0.05);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(asyncAt, 1);
    EXPECT_EQ(afterAt, 2);
}

TEST(MainQueue, RunsNoClosureBeforeTheCallThatGivesItReturns) {
    std::vector<int> order;
    LinuxDispatch dispatch;
    dispatch.mainQueue()->async([&] {
        dispatch.mainQueue()->async([&] { order.push_back(2); });
        dispatch.mainQueue()->after(0, [&] { order.push_back(3); });
        order.push_back(1);
    });
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(serveUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainQueue, TheMainQueueMayBeFirstUsedOnAnotherThread) {
    int ran = 0;
    LinuxDispatch dispatch;
    std::thread([&] { dispatch.mainQueue()->async([&] { ++ran; }); }).join();
    while (ran == 0)
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(ran, 1);
}

TEST(MainQueue, ServesTheMainQueueInsideAHostsOwnGLibLoop) {
    int ticks = 0;
    LinuxDispatch dispatch;
    const auto timer = dispatch.mainQueue()->makeTimer(millisecond, [&] { ++ticks; });
    timer->resume();
    while (ticks < 3)
        g_main_context_iteration(nullptr, TRUE);
    timer->suspend();
    EXPECT_EQ(ticks, 3);
}

// Whether a descriptor becomes readable within so many milliseconds.
bool isReadable(int descriptor, int milliseconds) {
    pollfd wait{descriptor, POLLIN, 0};
    return ::poll(&wait, 1, milliseconds) == 1 && wait.revents == POLLIN;
}

constexpr int patience = 30'000; // milliseconds

TEST(MainQueue, ALoopThatKnowsNothingOfGLibServesTheMainQueue) {
    int ticks = 0;
    std::thread::id thread;
    LinuxDispatch dispatch;
    const int descriptor = dispatch.mainDescriptor();
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(dispatch.mainDescriptor(), descriptor);
    EXPECT_FALSE(isReadable(descriptor, 0));

    std::thread([&] { dispatch.mainQueue()->async([&] { thread = std::this_thread::get_id(); }); }).join();
    ASSERT_TRUE(isReadable(descriptor, patience));
    EXPECT_TRUE(isReadable(descriptor, 0)) << "until it was served";
    dispatch.serveMain();
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(isReadable(descriptor, 0));

    const auto timer = dispatch.mainQueue()->makeTimer(millisecond, [&] { ++ticks; });
    timer->resume();
    while (ticks < 3 && isReadable(descriptor, patience))
        dispatch.serveMain();
    EXPECT_EQ(ticks, 3);
    timer->suspend();
    EXPECT_FALSE(isReadable(descriptor, 20)) << "20 times as long as the timer would need";
}

TEST(MainQueue, AHostsDescriptorStandsForWhatCameBeforeIt) {
    bool ran = false;
    LinuxDispatch dispatch;
    dispatch.mainQueue()->after(millisecond, [&] { ran = true; });
    ASSERT_TRUE(isReadable(dispatch.mainDescriptor(), patience));
    dispatch.serveMain();
    EXPECT_TRUE(ran);
}

TEST(MainQueue, AHostsOwnLoopHasItsTurnBesideAClosureThatPostsItselfForEver) {
    LinuxDispatch dispatch;
    const auto queue = dispatch.mainQueue();
    std::atomic<bool> isEnough = false;
    std::function<void()> again = [&] {
        if (!isEnough)
            queue->async(again);
    };
    queue->async(again);
    const int descriptor = dispatch.mainDescriptor();
    for (int turn = 0; turn < 10; ++turn) {
        ASSERT_TRUE(isReadable(descriptor, patience));
        dispatch.serveMain(); // comes back
    }
    isEnough = true;
    while (isReadable(descriptor, 0))
        dispatch.serveMain();
}

// A dialogue, say: its loop must neither spin nor miss what comes.
TEST(MainQueue, ALoopInsideAClosureWaitsForTheOtherClosures) {
    LinuxDispatch dispatch;
    const int descriptor = dispatch.mainDescriptor();
    bool isReadableBefore = true;
    bool ranInside = false;
    dispatch.mainQueue()->async([&] {
        isReadableBefore = isReadable(descriptor, 0);
        dispatch.mainQueue()->async([&] { ranInside = true; });
        if (isReadable(descriptor, patience))
            dispatch.serveMain();
    });
    ASSERT_TRUE(isReadable(descriptor, patience));
    dispatch.serveMain();
    EXPECT_FALSE(isReadableBefore);
    EXPECT_TRUE(ranInside);
    EXPECT_FALSE(isReadable(descriptor, 0));
}

TEST(MainQueue, AForkedChildSetsItsOwnAlarm) {
    int ran = 0;
    LinuxDispatch dispatch;
    const int descriptor = dispatch.mainDescriptor();
    dispatch.mainQueue()->async([&] { ++ran; });
    const pid_t child = fork();
    if (child == 0) {
        const int own = dispatch.mainDescriptor();
        dispatch.mainQueue()->async([&] { ++ran; });
        while (ran < 2 && isReadable(own, patience))
            dispatch.serveMain();
        _exit(ran);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 2);
    ASSERT_TRUE(isReadable(descriptor, 0)) << "what the child ran is still the parent's to run";
    dispatch.serveMain();
    EXPECT_EQ(ran, 1);
}

// Ticks that took longer than their interval ran 64 times before anybody else had a turn.
TEST(MainQueue, TheHostsSourcesHaveTheirTurnsBesideATimerThatIsAlwaysLate) {
    LinuxDispatch dispatch;
    int ticks = 0;
    const auto timer = dispatch.mainQueue()->makeTimer(16 * millisecond, [&] {
        ++ticks;
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the work of a tick
    });
    timer->resume();
    struct Turns {
        int count = 0;
        int* ticks = nullptr;
        int most = 0; ///< ticks between two turns
        int last = 0;
        static gboolean turn(gpointer data) {
            auto& turns = *static_cast<Turns*>(data);
            ++turns.count;
            turns.most = std::max(turns.most, *turns.ticks - std::exchange(turns.last, *turns.ticks));
            return G_SOURCE_CONTINUE;
        }
    } turns;
    turns.ticks = &ticks;
    // Drawing and other work that gives way to everything else.
    const guint source = g_idle_add_full(G_PRIORITY_LOW, &Turns::turn, &turns, nullptr);
    EXPECT_TRUE(serveUntil([&] { return ticks >= 6; }));
    g_source_remove(source);
    EXPECT_GE(turns.count, ticks - 1);
    EXPECT_LE(turns.most, 1);
}

TEST(MainQueue, RunMainEndsInTimeBesideATimerThatIsAlwaysLate) {
    using Clock = std::chrono::steady_clock;
    LinuxDispatch dispatch;
    Clock::time_point end;
    int late = 0;
    const auto timer = dispatch.mainQueue()->makeTimer(16 * millisecond, [&] {
        late += Clock::now() > end;
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the work of a tick
    });
    timer->resume();
    end = Clock::now() + std::chrono::milliseconds(100);
    dispatch.runMain(0.1);
    // One was due before the end, and its turn came after it.
    EXPECT_LE(late, 1);
}

TEST(MainQueue, AClosureThatPostsItselfForEverHoldsUpNeitherTimersNorTheHost) {
    LinuxDispatch dispatch;
    bool ends = false;
    std::function<void()> again = [&] {
        if (!ends)
            dispatch.mainQueue()->async(again);
    };
    for (int i = 0; i < 8; ++i)
        dispatch.mainQueue()->async(again);
    int ticks = 0;
    bool delayed = false;
    int turns = 0;
    const auto timer = dispatch.mainQueue()->makeTimer(millisecond, [&] { ++ticks; });
    timer->resume();
    dispatch.mainQueue()->after(millisecond, [&] { delayed = true; });
    const guint source = g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer data) -> gboolean {
            ++*static_cast<int*>(data);
            return G_SOURCE_CONTINUE;
        },
        &turns, nullptr);
    EXPECT_TRUE(serveUntil([&] { return ticks >= 3 && delayed && turns >= 3; }));
    g_source_remove(source);
    ends = true;
    dispatch.runMain(0);
}

// The exception went through GLib's own frames, and the timer never ticked again.
TEST(MainQueue, RunMainPassesAnExceptionOnAndTheTimerTicksOn) {
    LinuxDispatch dispatch;
    int ticks = 0;
    const auto timer = dispatch.mainQueue()->makeTimer(millisecond, [&] {
        if (++ticks == 1)
            throw std::runtime_error("first tick");
    });
    timer->resume();
    bool ran = false;
    dispatch.mainQueue()->after(2 * millisecond, [&] { ran = true; });
    EXPECT_THROW(dispatch.runMain(30), std::runtime_error);
    EXPECT_EQ(ticks, 1);
    dispatch.runMain(0.1);
    EXPECT_GE(ticks, 2);
    EXPECT_TRUE(ran);
    dispatch.mainQueue()->async([&] {
        dispatch.mainQueue()->async([] { throw std::logic_error("nested"); });
        EXPECT_THROW(dispatch.runMain(30), std::logic_error);
        throw std::runtime_error("outer");
    });
    EXPECT_THROW(dispatch.runMain(30), std::runtime_error);
}

TEST(MainQueueDeathTest, AnExceptionInAHostsOwnLoopEndsTheProcess) {
    EXPECT_DEATH(
        {
            LinuxDispatch dispatch;
            dispatch.mainQueue()->async([] { throw std::runtime_error("thrown by a test"); });
            try {
                while (true)
                    g_main_context_iteration(nullptr, TRUE);
            } catch (...) {
            }
        },
        "thrown by a test");
}

TEST(MainQueue, RunMainEndsAtOnceForNoTime) {
    LinuxDispatch dispatch;
    dispatch.runMain(0);
    dispatch.runMain(-1);
}

} // namespace
} // namespace sentrel::platform
