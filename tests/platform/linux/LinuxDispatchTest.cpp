#include <SentrelKit/platform/linux/LinuxDispatch.h>

#include "tests/support/Await.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <glib.h>
#include <memory>
#include <set>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr std::int64_t millisecond = 1'000'000;

int threadCount() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
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

TEST(LinuxDispatch, StartsNoThreadBeforeAQueueIsUsed) {
    const int before = threadCount();
    LinuxDispatch dispatch;
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const auto watch = dispatch.watch(descriptor, EPOLLIN, [] {});
    EXPECT_TRUE(watch);
    EXPECT_EQ(threadCount(), before);
    close(descriptor);
}

TEST(LinuxDispatch, RunsBackgroundClosuresOffTheCallersThreadAtLowPriority) {
    LinuxDispatch dispatch;
    Event done;
    std::thread::id thread;
    int niceness = 0;
    const int own = getpriority(PRIO_PROCESS, 0);
    dispatch.backgroundQueue()->async([&] {
        thread = std::this_thread::get_id();
        niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
        done.happened();
    });
    ASSERT_TRUE(done.await());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_GT(niceness, own);
}

TEST(LinuxDispatch, RunsBackgroundClosuresAtTheSameTime) {
    LinuxDispatch dispatch;
    Event first;
    Event second;
    Event met;
    // Each waits for the other: this ends only if both run at once.
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
    LinuxDispatch dispatch;
    Event done;
    auto queue = dispatch.serialQueue("test");
    queue->async([&] { done.happened(); });
    queue->after(5 * millisecond, [&] { done.happened(); });
    queue.reset();
    EXPECT_TRUE(done.await(2));
}

TEST(LinuxDispatch, TicksOneWholeIntervalAfterResumeAndThenOnAGrid) {
    LinuxDispatch dispatch;
    using Clock = std::chrono::steady_clock;
    std::vector<Clock::time_point> ticks;
    Event ticked;
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
    LinuxDispatch dispatch;
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    Event ticked;
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
    LinuxDispatch dispatch;
    Event first;
    Event second;
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
    LinuxDispatch dispatch;
    for (int round = 0; round < 200; ++round) {
        auto alive = std::make_shared<std::atomic<bool>>(true);
        auto begun = std::make_shared<std::atomic<int>>(0);
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
    LinuxDispatch dispatch;
    Event released;
    auto slot = std::make_shared<std::unique_ptr<RepeatingTimer>>();
    *slot = dispatch.backgroundQueue()->makeTimer(millisecond, [&released, slot = slot.get()] {
        slot->reset();
        released.happened();
    });
    dispatch.backgroundQueue()->async([&] { (*slot)->resume(); });
    EXPECT_TRUE(released.await());
}

TEST(LinuxDispatch, ServesAWatchFromTheFirstUseOfAQueueOn) {
    LinuxDispatch dispatch;
    const int descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    Event noticed;
    auto watch = dispatch.watch(descriptor, EPOLLIN, [&] {
        eventfd_t value = 0;
        eventfd_read(descriptor, &value);
        noticed.happened();
    });
    ASSERT_TRUE(watch);
    eventfd_write(descriptor, 1);
    EXPECT_EQ(noticed.count(), 0);
    dispatch.backgroundQueue()->async([] {});
    ASSERT_TRUE(noticed.await());
    eventfd_write(descriptor, 1);
    ASSERT_TRUE(noticed.await(2));
    watch.reset();
    eventfd_write(descriptor, 1);
    Event later;
    dispatch.backgroundQueue()->async([&] { later.happened(); });
    ASSERT_TRUE(later.await());
    EXPECT_EQ(noticed.count(), 2);
    close(descriptor);
}

TEST(LinuxDispatch, ADescriptorThatCannotBeWatchedIsRefused) {
    LinuxDispatch dispatch;
    EXPECT_FALSE(dispatch.watch(-1, EPOLLIN, [] {}));
    EXPECT_EQ(errno, EBADF);
}

TEST(LinuxDispatch, RunsMainClosuresOnTheThreadThatRunsTheLoop) {
    LinuxDispatch dispatch;
    std::thread::id thread;
    int order = 0;
    int asyncAt = 0;
    int afterAt = 0;
    dispatch.mainQueue()->after(5 * millisecond, [&] { afterAt = ++order; });
    std::thread([&] {
        dispatch.mainQueue()->async([&] {
            thread = std::this_thread::get_id();
            asyncAt = ++order;
        });
    }).join();
    dispatch.runMain(0.05);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(asyncAt, 1);
    EXPECT_EQ(afterAt, 2);
}

TEST(LinuxDispatch, ServesTheMainQueueInsideAHostsOwnGLibLoop) {
    LinuxDispatch dispatch;
    int ticks = 0;
    const auto timer = dispatch.mainQueue()->makeTimer(millisecond, [&] { ++ticks; });
    timer->resume();
    while (ticks < 3)
        g_main_context_iteration(nullptr, TRUE);
    timer->suspend();
    EXPECT_EQ(ticks, 3);
}

TEST(LinuxDispatch, RunMainEndsAtOnceForNoTime) {
    LinuxDispatch dispatch;
    dispatch.runMain(0);
    dispatch.runMain(-1);
}

TEST(LinuxDispatch, AnIdlePoolDoesNotWakeUp) {
    LinuxDispatch dispatch;
    Event done;
    const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, [&] { done.happened(); });
    timer->resume();
    ASSERT_TRUE(done.await(3));
    timer->suspend();
    // A stale wait may end once; then nothing. Context switches of the whole process count the wake-ups.
    const auto switches = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_nvcsw;
    };
    timespec pause{0, 50 * millisecond};
    nanosleep(&pause, nullptr); // not for timing: lets the stale wait end
    const long before = switches();
    pause.tv_nsec = 300 * millisecond;
    nanosleep(&pause, nullptr); // the very time in which nothing may happen
    EXPECT_LE(switches() - before, 2) << "this thread's own sleep, and no worker";
}

TEST(LinuxDispatch, AForkedChildHasWorkingQueues) {
    if (underThreadSanitizer)
        GTEST_SKIP() << "the thread sanitizer cannot follow a process with threads through fork";
    LinuxDispatch dispatch;
    Event warm;
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
