// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/MainQueue.h>

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/linux/MainLoop.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <glib.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
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
