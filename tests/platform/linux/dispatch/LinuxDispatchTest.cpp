// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Await.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/linux/MainLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <glib.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr std::int64_t millisecond = 1'000'000;

// What a closure refers to stands before the dispatch in each test: the dispatch goes first and waits for its workers.

int threadCount() {
    FILE* status = std::fopen("/proc/self/status", "re");
    char line[128];
    int count = 0;
    while (status && std::fgets(line, sizeof line, status))
        if (std::sscanf(line, "Threads: %d", &count) == 1)
            break;
    if (status)
        std::fclose(status);
    return count;
}

// How often the workers have gone to sleep so far.
long workerSwitches() {
    long total = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string line;
        bool worker = false;
        while (std::getline(status, line)) {
            worker = worker || line == "Name:\tsentrel-bg";
            if (worker && line.starts_with("voluntary_ctxt_switches:"))
                total += std::stol(line.substr(line.find('\t')));
        }
    }
    return total;
}

TEST(LinuxDispatch, StartsNoThreadBeforeAQueueIsUsed) {
    const int before = threadCount();
    const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    LinuxDispatch dispatch;
    const auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [] {});
    EXPECT_TRUE(watch);
    EXPECT_EQ(threadCount(), before);
}

TEST(LinuxDispatch, RunsBackgroundClosuresOffTheCallersThreadAtLowPriority) {
    Event done;
    std::thread::id thread;
    int niceness = 0;
    const int own = getpriority(PRIO_PROCESS, 0);
    LinuxDispatch dispatch;
    dispatch.backgroundQueue()->async([&] {
        thread = std::this_thread::get_id();
        niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
        done.happened();
    });
    ASSERT_TRUE(done.await());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(niceness, std::max(own, 10));
}

TEST(LinuxDispatch, RunsBackgroundClosuresAtTheSameTime) {
    Event first;
    Event second;
    Event met;
    // Each waits for the other: this ends only if both run at once.
    LinuxDispatch dispatch;
    dispatch.backgroundQueue()->async([&] {
        first.happened();
        if (second.await())
            met.happened();
    });
    dispatch.backgroundQueue()->async([&] {
        second.happened();
        if (first.await())
            met.happened();
    });
    EXPECT_TRUE(met.await(2));
}

TEST(LinuxDispatch, ASerialQueueRunsOneClosureAtATimeInOrder) {
    LinuxDispatch dispatch;
    const auto queue = dispatch.serialQueue("test");
    std::vector<int> order; // unguarded on purpose: only the queue protects it
    Event done;
    for (int i = 0; i < 200; ++i)
        queue->async([&, i] { order.push_back(i); });
    queue->async([&] { done.happened(); });
    ASSERT_TRUE(done.await());
    ASSERT_EQ(order.size(), 200U);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(LinuxDispatch, AReleasedSerialQueueStillRunsWhatItWasGiven) {
    Event done;
    LinuxDispatch dispatch;
    auto queue = dispatch.serialQueue("test");
    queue->async([&] { done.happened(); });
    queue->after(5 * millisecond, [&] { done.happened(); });
    queue.reset();
    EXPECT_TRUE(done.await(2));
}

TEST(LinuxDispatch, TicksOneWholeIntervalAfterResumeAndThenOnAGrid) {
    using Clock = std::chrono::steady_clock;
    std::vector<Clock::time_point> ticks;
    Event ticked;
    LinuxDispatch dispatch;
    const auto timer = dispatch.backgroundQueue()->makeTimer(20 * millisecond, [&] {
        ticks.push_back(Clock::now());
        ticked.happened();
    });
    const auto start = Clock::now();
    timer->resume();
    ASSERT_TRUE(ticked.await(5));
    timer->suspend();
    EXPECT_GE(ticks[0] - start, std::chrono::milliseconds(20));
    EXPECT_GE(ticks[4] - start, std::chrono::milliseconds(100));
}

TEST(LinuxDispatch, ATimersTicksNeverOverlapThemselves) {
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    Event ticked;
    LinuxDispatch dispatch;
    const auto timer = dispatch.backgroundQueue()->makeTimer(1, [&] {
        if (inside.fetch_add(1) != 0)
            overlapped = true;
        std::this_thread::yield();
        inside.fetch_sub(1);
        ticked.happened();
    });
    timer->resume();
    EXPECT_TRUE(ticked.await(500));
    timer->suspend();
    EXPECT_FALSE(overlapped);
}

TEST(LinuxDispatch, TicksOfTwoTimersRunAtTheSameTime) {
    Event first;
    Event second;
    LinuxDispatch dispatch;
    const auto a = dispatch.backgroundQueue()->makeTimer(millisecond, [&] {
        first.happened();
        EXPECT_TRUE(second.await());
    });
    const auto b = dispatch.backgroundQueue()->makeTimer(millisecond, [&] {
        second.happened();
        EXPECT_TRUE(first.await());
    });
    a->resume();
    b->resume();
    EXPECT_TRUE(first.await());
    EXPECT_TRUE(second.await());
}

TEST(LinuxDispatch, NoTickBeginsAfterATimerIsReleased) {
    for (int round = 0; round < 200; ++round) {
        auto alive = std::make_shared<std::atomic<bool>>(true);
        auto begun = std::make_shared<std::atomic<int>>(0);
        LinuxDispatch dispatch;
        auto timer = dispatch.backgroundQueue()->makeTimer(1, [alive, begun] { ++*begun; });
        timer->resume();
        timer.reset();
        const int atRelease = *begun;
        Event later;
        dispatch.backgroundQueue()->async([&] { later.happened(); });
        ASSERT_TRUE(later.await());
        EXPECT_LE(*begun, atRelease + 1) << "only one that already ran may still count";
    }
}

TEST(LinuxDispatch, ATimerCanBeReleasedFromInsideItsOwnTick) {
    Event released;
    auto slot = std::make_shared<std::unique_ptr<RepeatingTimer>>();
    LinuxDispatch dispatch;
    *slot = dispatch.backgroundQueue()->makeTimer(millisecond, [&released, slot = slot.get()] {
        slot->reset();
        released.happened();
    });
    dispatch.backgroundQueue()->async([&] { (*slot)->resume(); });
    EXPECT_TRUE(released.await());
}

TEST(LinuxDispatch, ServesAWatchFromTheFirstUseOfAQueueOn) {
    const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    Event noticed;
    LinuxDispatch dispatch;
    auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [&] {
        eventfd_t value = 0;
        if (eventfd_read(descriptor.get(), &value) == 0)
            noticed.happened();
    });
    ASSERT_TRUE(watch);
    eventfd_write(descriptor.get(), 1);
    EXPECT_EQ(noticed.count(), 0);
    dispatch.backgroundQueue()->async([] {});
    ASSERT_TRUE(noticed.await());
    eventfd_write(descriptor.get(), 1);
    ASSERT_TRUE(noticed.await(2));
    watch.reset();
    eventfd_write(descriptor.get(), 1);
    Event later;
    dispatch.backgroundQueue()->async([&] { later.happened(); });
    ASSERT_TRUE(later.await());
    EXPECT_EQ(noticed.count(), 2);
}

TEST(LinuxDispatch, AnEventDuringACallMakesOneMoreCallAndNoneOverlaps) {
    const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    Event noticed;
    LinuxDispatch dispatch;
    const auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [&] {
        if (inside.fetch_add(1) != 0)
            overlapped = true;
        eventfd_t value = 0;
        if (eventfd_read(descriptor.get(), &value) == 0) {
            if (noticed.count() == 0)
                eventfd_write(descriptor.get(), 1); // the second event, while the first one's call runs
            noticed.happened();
        }
        inside.fetch_sub(1);
    });
    ASSERT_TRUE(watch);
    dispatch.backgroundQueue()->async([] {});
    eventfd_write(descriptor.get(), 1);
    EXPECT_TRUE(noticed.await(2));
    EXPECT_FALSE(overlapped);
}

TEST(LinuxDispatch, ADescriptorThatCannotBeWatchedIsRefused) {
    LinuxDispatch dispatch;
    EXPECT_FALSE(dispatch.watch(-1, EPOLLIN, [] {}));
    EXPECT_EQ(errno, EBADF);
}

TEST(LinuxDispatch, AnIdlePoolDoesNotWakeUp) {
    Event done;
    LinuxDispatch dispatch;
    const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, [&] { done.happened(); });
    timer->resume();
    ASSERT_TRUE(done.await(3));
    timer->suspend();
    // A stale wait may end once; then nothing.
    timespec pause{0, 50 * millisecond};
    nanosleep(&pause, nullptr); // not for timing: lets the stale wait end
    const long before = workerSwitches();
    pause.tv_nsec = 300 * millisecond;
    nanosleep(&pause, nullptr); // the very time in which nothing may happen
    EXPECT_EQ(workerSwitches(), before);
}

TEST(LinuxDispatch, AForkedChildHasWorkingQueues) {
    if (underThreadSanitizer || underAddressSanitizer)
        GTEST_SKIP() << "the sanitizers' own locks may be held by another thread at the fork";
    Event warm;
    LinuxDispatch dispatch;
    dispatch.backgroundQueue()->async([&] { warm.happened(); });
    ASSERT_TRUE(warm.await());
    const pid_t child = fork();
    if (child == 0) {
        Event done;
        dispatch.backgroundQueue()->async([&] { done.happened(); });
        dispatch.backgroundQueue()->after(millisecond, [&] { done.happened(); });
        bool ranMain = false;
        dispatch.mainQueue()->async([&] { ranMain = true; });
        dispatch.runMain(0.01);
        _exit(done.await(2) && ranMain ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    Event still;
    dispatch.backgroundQueue()->async([&] { still.happened(); });
    EXPECT_TRUE(still.await()) << "the parent's queue goes on";
}

} // namespace
} // namespace sentrel::platform
