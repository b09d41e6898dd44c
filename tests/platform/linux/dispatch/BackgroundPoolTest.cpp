// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/BackgroundPool.h>

#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Await.h"
#include "tests/support/Eventually.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <grp.h>
#include <memory>
#include <numeric>
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

constexpr std::size_t manyClosures = 4 * BackgroundPool::maximumWorkers;

// What a closure refers to stands before the dispatch in each test: the dispatch goes first and waits for its threads.

std::size_t poolThreads() {
    std::size_t count = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream name(task.path() / "comm");
        std::string text;
        count += std::getline(name, text) && text == "sentrel-bg";
    }
    return count;
}

// A gate at which closures block until it opens.
class Gate {
public:
    void open() { opened_.happened(); }
    void pass() { EXPECT_TRUE(opened_.await()); }

private:
    Event opened_;
};

// Opens a gate before the dispatch waits for those who block at it.
struct Opens {
    Gate& gate;
    ~Opens() { gate.open(); }
};

// A closure that posts itself again and again. It stands before the dispatch.
class Endless {
public:
    void start(std::shared_ptr<DispatchQueue> queue, std::size_t times) {
        queue_ = std::move(queue);
        for (std::size_t i = 0; i < times; ++i)
            post();
    }
    void end() { ends_ = true; }

private:
    void post() {
        queue_->async([this] {
            if (!ends_)
                post();
        });
    }

    std::atomic<bool> ends_{false};
    std::shared_ptr<DispatchQueue> queue_;
};

// Pool threads were blocked or kept busy by closures, and with them every sample of the library.
TEST(BackgroundPool, TicksComeHoweverManyClosuresBlock) {
    Event blocked;
    Event ticked;
    Gate gate;
    LinuxDispatch dispatch;
    const Opens opens{gate};
    const auto queue = dispatch.backgroundQueue();
    for (std::size_t i = 0; i < manyClosures; ++i)
        queue->async([&] {
            blocked.happened();
            gate.pass();
        });
    ASSERT_TRUE(blocked.await(static_cast<int>(BackgroundPool::maximumWorkers)));
    const auto timer = queue->makeTimer(millisecond, [&] { ticked.happened(); });
    timer->resume();
    EXPECT_TRUE(ticked.await(3));
    timer->suspend();
}

TEST(BackgroundPool, TicksComeThoughClosuresPostThemselvesForEver) {
    Event ticked;
    Endless endless;
    LinuxDispatch dispatch;
    const auto queue = dispatch.backgroundQueue();
    endless.start(queue, manyClosures);
    const auto timer = queue->makeTimer(millisecond, [&] { ticked.happened(); });
    timer->resume();
    EXPECT_TRUE(ticked.await(3));
    endless.end();
}

// Whoever was ready ran before whatever was due.
TEST(BackgroundPool, AnEndlessClosureHoldsUpNeitherDelayedClosuresNorOtherQueues) {
    Event delayed;
    Event other;
    Event ticked;
    Endless endless;
    Endless endlessInLine;
    LinuxDispatch dispatch;
    const auto queue = dispatch.backgroundQueue();
    const auto serial = dispatch.serialQueue("test");
    const auto neighbour = dispatch.serialQueue("neighbour");
    endless.start(queue, manyClosures);
    endlessInLine.start(serial, 2);
    queue->after(millisecond, [&] { delayed.happened(); });
    serial->after(millisecond, [&] { delayed.happened(); });
    neighbour->async([&] { other.happened(); });
    const auto timer = serial->makeTimer(millisecond, [&] { ticked.happened(); });
    timer->resume();
    EXPECT_TRUE(delayed.await(2));
    EXPECT_TRUE(other.await());
    EXPECT_TRUE(ticked.await(3));
    timer->suspend();
    endless.end();
    endlessInLine.end();
}

// All ticks and closures had the same few threads: eight that blocked stopped everything.
TEST(BackgroundPool, TicksThatBlockHoldUpNoOther) {
    Event blocked;
    Event ticked;
    Event noticed;
    const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    Gate gate;
    LinuxDispatch dispatch;
    const Opens opens{gate};
    std::vector<std::unique_ptr<RepeatingTimer>> timers;
    constexpr std::size_t blocking = BackgroundPool::maximumKeepers - 1;
    const auto queue = dispatch.backgroundQueue();
    for (std::size_t i = 0; i < blocking; ++i) {
        timers.push_back(queue->makeTimer(millisecond, [&] {
            blocked.happened();
            gate.pass();
        }));
        timers.back()->resume();
    }
    timers.push_back(queue->makeTimer(millisecond, [&] { ticked.happened(); }));
    timers.back()->resume();
    const auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [&] {
        eventfd_t value = 0;
        if (eventfd_read(descriptor.get(), &value) == 0)
            noticed.happened();
    });
    ASSERT_TRUE(blocked.await(static_cast<int>(blocking)));
    const int before = ticked.count();
    EXPECT_TRUE(ticked.await(before + 3));
    eventfd_write(descriptor.get(), 1);
    EXPECT_TRUE(noticed.await());
    timers.clear();
    gate.open();
    // One keeps the time, one stands in.
    EXPECT_TRUE(eventually([] { return poolThreads() <= 2; }));
}

TEST(BackgroundPool, TicksGoOnOnceThoseThatBlockedReturn) {
    Event blocked;
    Event ticked;
    Gate gate;
    LinuxDispatch dispatch;
    const Opens opens{gate};
    std::vector<std::unique_ptr<RepeatingTimer>> timers;
    constexpr std::size_t blocking = BackgroundPool::maximumKeepers;
    const auto queue = dispatch.backgroundQueue();
    for (std::size_t i = 0; i < blocking; ++i) {
        timers.push_back(queue->makeTimer(millisecond, [&] {
            blocked.happened();
            gate.pass();
        }));
        timers.back()->resume();
    }
    ASSERT_TRUE(blocked.await(static_cast<int>(blocking)));
    timers.push_back(queue->makeTimer(millisecond, [&] { ticked.happened(); }));
    timers.back()->resume();
    gate.open();
    EXPECT_TRUE(ticked.await(3));
}

// How often each thread of the pool has gone to sleep.
std::vector<long> poolSwitches() {
    std::vector<long> all;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string line;
        bool ours = false;
        while (std::getline(status, line)) {
            ours = ours || line == "Name:\tsentrel-bg";
            if (ours && line.starts_with("voluntary_ctxt_switches:"))
                all.push_back(std::stol(line.substr(line.find('\t'))));
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

// Samples were run by as many threads as happened to be free, each of which woke another one up first.
TEST(BackgroundPool, QuickTicksNeedOneThreadThatWakesUpAndOneThatSleeps) {
    Event ticked;
    LinuxDispatch dispatch;
    std::vector<std::unique_ptr<RepeatingTimer>> timers;
    for (const int interval : {11, 20, 11, 11, 13}) {
        timers.push_back(dispatch.backgroundQueue()->makeTimer(interval * millisecond, [&] { ticked.happened(); }));
        timers.back()->resume();
    }
    ASSERT_TRUE(ticked.await(20));
    ASSERT_TRUE(eventually([] { return poolSwitches().size() == 2; }));
    const std::vector<long> before = poolSwitches();
    const int ticksBefore = ticked.count();
    ASSERT_TRUE(ticked.await(ticksBefore + 200));
    const std::vector<long> after = poolSwitches();
    const int ticks = ticked.count() - ticksBefore;
    ASSERT_EQ(after.size(), 2U) << "no other thread was needed";
    // A loaded machine may make a tick late, so that the second thread looks after it.
    EXPECT_LE(after.front() - before.front(), ticks / 10);
    // One wake-up a tick at most, those of the ticks themselves aside: the test's event takes a lock.
    EXPECT_LE(after.back() - before.back(), ticks + ticks / 2);
}

TEST(BackgroundPool, AWorkerWithoutWorkEndsAfterAWhile) {
    Event done;
    LinuxDispatch dispatch;
    dispatch.backgroundQueue()->async([&] { done.happened(); });
    ASSERT_TRUE(done.await());
    EXPECT_TRUE(eventually([] { return poolThreads() == 1; })) << "the one that keeps the time stays";
    dispatch.backgroundQueue()->async([&] { done.happened(); });
    EXPECT_TRUE(done.await(2));
}

TEST(BackgroundPool, RunsNoMoreClosuresAtOnceThanThereAreWorkers) {
    std::atomic<std::size_t> inside{0};
    std::atomic<std::size_t> most{0};
    Event begun;
    Event done;
    Gate gate;
    LinuxDispatch dispatch;
    const Opens opens{gate};
    for (std::size_t i = 0; i < manyClosures; ++i)
        dispatch.backgroundQueue()->async([&] {
            const std::size_t now = ++inside;
            std::size_t before = most;
            while (before < now && !most.compare_exchange_weak(before, now)) {
            }
            begun.happened();
            gate.pass();
            --inside;
            done.happened();
        });
    ASSERT_TRUE(begun.await(static_cast<int>(BackgroundPool::maximumWorkers)));
    gate.open();
    EXPECT_TRUE(done.await(static_cast<int>(manyClosures)));
    EXPECT_LE(most, BackgroundPool::maximumWorkers);
}

// Threads had a niceness of 10 also where the host's own was higher: the library raised itself above its host.
TEST(BackgroundPool, ItsThreadsAreNeverAheadOfTheHost) {
    const int host = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    for (const int niceness : {host, std::max(host, 12), 19}) {
        // A thread of a nice host's stands for the host: to become less nice again takes a privilege.
        std::thread([niceness] {
            setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
            const auto own = [] { return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())); };
            std::atomic<int> closure{0};
            std::atomic<int> tick{0};
            Event ran;
            Event ticked;
            LinuxDispatch dispatch;
            dispatch.backgroundQueue()->async([&] {
                closure = own();
                ran.happened();
            });
            const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, [&] {
                tick = own();
                ticked.happened();
            });
            timer->resume();
            EXPECT_TRUE(ran.await());
            EXPECT_TRUE(ticked.await());
            EXPECT_EQ(closure, std::max(niceness, 10));
            EXPECT_EQ(tick, std::max(niceness, 10));
        }).join();
    }
}

// The end of a child that ran as a part of a test, with what it wrote to its standard error stream.
struct ChildEnd {
    int status = -1;
    std::string errors;
};

// Runs a function in a forked child, which ends with its result.
ChildEnd inChild(const std::function<bool()>& run) {
    std::array<int, 2> pipe{};
    EXPECT_EQ(::pipe(pipe.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipe[1], STDERR_FILENO);
        ::close(pipe[0]);
        ::close(pipe[1]);
        _exit(run() ? 0 : 1);
    }
    ::close(pipe[1]);
    ChildEnd end;
    std::array<char, 512> bytes{};
    for (ssize_t size = 0; (size = ::read(pipe[0], bytes.data(), bytes.size())) > 0;)
        end.errors.append(bytes.data(), static_cast<std::size_t>(size));
    ::close(pipe[0]);
    waitpid(child, &end.status, 0);
    return end;
}

std::ptrdiff_t lines(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

long processorMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1000 + time.tv_nsec / millisecond;
}

long wakeUpsOfProcess() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

class BackgroundPoolShortage : public testing::Test {
protected:
    void SetUp() override {
        if (underThreadSanitizer || underAddressSanitizer)
            GTEST_SKIP() << "the sanitizers' own locks may be held by another thread at the fork";
    }

    // No thread more for this process, whose user has no other one. The system's limit does not bind root.
    static bool takeThreads() {
        constexpr uid_t nobodyElse = 54'321;
        if (getuid() == 0 && (setgroups(0, nullptr) != 0 || setresuid(nobodyElse, nobodyElse, nobodyElse) != 0))
            return false;
        return setThreads(1);
    }
    static bool giveThreads() {
        rlimit limit{};
        getrlimit(RLIMIT_NPROC, &limit);
        return setThreads(limit.rlim_max);
    }

    // All descriptors up to the limit are taken except the number given.
    static bool takeDescriptors(rlim_t left) {
        const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (first < 0 || !setDescriptors(static_cast<rlim_t>(first) + left))
            return false;
        ::close(first);
        return true;
    }
    static bool giveDescriptors() {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        return setDescriptors(limit.rlim_max);
    }

    // While nothing can be had: a few wake-ups for each tick, not one after the other.
    static bool isQuietBetweenTicks(Event& ticked) {
        constexpr int ticks = 12;
        const long wakeUpsBefore = wakeUpsOfProcess();
        const long timeBefore = processorMilliseconds();
        return ticked.await(ticked.count() + ticks) && wakeUpsOfProcess() - wakeUpsBefore <= ticks * 10 &&
               processorMilliseconds() - timeBefore < 200;
    }

    // The same without any tick: the pool's thread wakes up to ask again, and sleeps between.
    static bool asksAgainAndSleeps() {
        const auto wakeUps = [] {
            const std::vector<long> all = poolSwitches();
            return std::accumulate(all.begin(), all.end(), 0L);
        };
        const auto start = std::chrono::steady_clock::now();
        const long before = wakeUps();
        return eventually([&] { return wakeUps() >= before + 3; }) &&
               std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(200);
    }

private:
    static bool setThreads(rlim_t count) {
        rlimit limit{};
        getrlimit(RLIMIT_NPROC, &limit);
        limit.rlim_cur = std::min(count, limit.rlim_max);
        return setrlimit(RLIMIT_NPROC, &limit) == 0;
    }
    static bool setDescriptors(rlim_t count) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min(count, limit.rlim_max);
        return setrlimit(RLIMIT_NOFILE, &limit) == 0;
    }
};

// With the poller but not what wakes it up, a worker waited in it for ever; with neither it spun.
TEST_F(BackgroundPoolShortage, TimersTickThroughAShortageOfDescriptorsAndWatchesBeginAfterIt) {
    for (const rlim_t left : {0U, 1U, 2U}) {
        const ChildEnd end = inChild([left] {
            Event ticked;
            Event noticed;
            const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
            if (!takeDescriptors(left))
                return false;
            LinuxDispatch dispatch;
            const auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [&] {
                eventfd_t value = 0;
                if (eventfd_read(descriptor.get(), &value) == 0)
                    noticed.happened();
            });
            if (!watch || dispatch.watch(-1, EPOLLIN, [] {}) || errno != EBADF)
                return false;
            const auto timer = dispatch.backgroundQueue()->makeTimer(100 * millisecond, [&] { ticked.happened(); });
            timer->resume();
            dispatch.backgroundQueue()->after(50 * millisecond, [&] { ticked.happened(); });
            if (!ticked.await(4) || !isQuietBetweenTicks(ticked) || !giveDescriptors())
                return false;
            const auto recovery = std::chrono::steady_clock::now();
            eventfd_write(descriptor.get(), 1);
            return noticed.await() && std::chrono::steady_clock::now() - recovery < std::chrono::seconds(1);
        });
        EXPECT_EQ(end.status, 0) << left << " left";
        EXPECT_EQ(end.errors, "Error: no descriptor for the background queue -- Too many open files\n");
    }
}

// Nobody asked again for the first thread.
TEST_F(BackgroundPoolShortage, QueuesBeginToWorkOnceThereIsAThread) {
    const ChildEnd end = inChild([] {
        Event ticked;
        Event ran;
        LinuxDispatch dispatch;
        if (!takeThreads())
            return false;
        const auto timer = dispatch.backgroundQueue()->makeTimer(10 * millisecond, [&] { ticked.happened(); });
        timer->resume();
        dispatch.backgroundQueue()->async([&] { ran.happened(); });
        dispatch.serialQueue("test")->async([&] { ran.happened(); });
        dispatch.runMain(0.6);
        if (ticked.count() != 0 || !giveThreads())
            return false;
        dispatch.runMain(0.9); // the host's loop goes on; nobody calls the queues
        return ticked.count() > 0 && ran.count() == 2;
    });
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_EQ(lines(end.errors), 1) << end.errors;
    EXPECT_EQ(end.errors, "Error: no thread for the background queue -- Resource temporarily unavailable\n");
}

TEST_F(BackgroundPoolShortage, TicksNeedNoFurtherThreadAndClosuresRunOnceThereIsOne) {
    const ChildEnd end = inChild([] {
        Event ticked;
        Event ran;
        LinuxDispatch dispatch;
        const auto queue = dispatch.backgroundQueue();
        const auto timer = queue->makeTimer(20 * millisecond, [&] { ticked.happened(); });
        timer->resume();
        if (!takeThreads() || !ticked.await(3))
            return false;
        queue->async([&] { ran.happened(); });
        timer->suspend();
        if (!asksAgainAndSleeps() || ran.count() != 0 || !giveThreads())
            return false;
        const auto recovery = std::chrono::steady_clock::now();
        return ran.await() && std::chrono::steady_clock::now() - recovery < std::chrono::seconds(1);
    });
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_EQ(end.errors, "Error: no thread for the background queue -- Resource temporarily unavailable\n");
}

class BackgroundPoolFork : public BackgroundPoolShortage {};

// The child's timer went on waiting for a tick whose thread exists in the parent only.
TEST_F(BackgroundPoolFork, ATimerWhoseTickRunsAtTheForkTicksInTheChild) {
    for (const bool serial : {false, true}) {
        Event inside;
        Event ticked;
        Gate gate;
        LinuxDispatch dispatch;
        const Opens opens{gate};
        const auto queue = serial ? dispatch.serialQueue("test") : dispatch.backgroundQueue();
        const pid_t parent = getpid();
        const auto timer = queue->makeTimer(millisecond, [&] {
            if (getpid() != parent)
                ticked.happened();
            else {
                inside.happened();
                gate.pass();
            }
        });
        timer->resume();
        ASSERT_TRUE(inside.await());
        const ChildEnd end = inChild([&] {
            Event closure;
            queue->async([&] { closure.happened(); });
            return closure.await() && ticked.await(3);
        });
        EXPECT_EQ(end.status, 0) << end.errors;
        gate.open();
        EXPECT_TRUE(inside.await(3)) << "the parent's timer ticks on";
    }
}

TEST_F(BackgroundPoolFork, AChildWhoseForkWasMadeInATickMayEndThere) {
    std::atomic<int> status{-1};
    std::atomic<bool> forked{false};
    Event waited;
    LinuxDispatch dispatch;
    const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, [&] {
        if (forked.exchange(true))
            return;
        const pid_t child = fork();
        if (child == 0)
            return; // the child's only thread leaves the tick, and with it the process ends
        int result = -1;
        waitpid(child, &result, 0);
        status = result;
        waited.happened();
    });
    timer->resume();
    EXPECT_TRUE(waited.await());
    EXPECT_EQ(status, 0);
}

// The child heard its parent's descriptors, and took what arrived there away.
TEST_F(BackgroundPoolFork, AChildDoesNotServeItsParentsWatches) {
    Event inside;
    const UniqueFd descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    Gate gate;
    LinuxDispatch dispatch;
    const Opens opens{gate};
    const auto watch = dispatch.watch(descriptor.get(), EPOLLIN, [&] {
        inside.happened();
        eventfd_t value = 0;
        eventfd_read(descriptor.get(), &value);
    });
    const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, [] {});
    timer->resume();
    const ChildEnd end = inChild([&] {
        eventfd_write(descriptor.get(), 1);
        Event closure;
        dispatch.backgroundQueue()->after(20 * millisecond, [&] { closure.happened(); });
        return closure.await() && inside.count() == 0;
    });
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_TRUE(inside.await());
}

using BackgroundPoolDeathTest = BackgroundPoolFork;

TEST_F(BackgroundPoolDeathTest, AClosureOrTickThatThrowsEndsTheProcessAndSaysWhat) {
    for (const bool tick : {false, true}) {
        const ChildEnd end = inChild([tick] {
            LinuxDispatch dispatch;
            const auto fail = [] { throw std::runtime_error("thrown by a test"); };
            const auto timer = dispatch.backgroundQueue()->makeTimer(millisecond, fail);
            if (tick)
                timer->resume();
            else
                dispatch.backgroundQueue()->async(fail);
            Event never;
            return never.await();
        });
        EXPECT_TRUE(WIFSIGNALED(end.status) && WTERMSIG(end.status) == SIGABRT);
        EXPECT_NE(end.errors.find("thrown by a test"), std::string::npos) << end.errors;
    }
}

} // namespace
} // namespace sentrel::platform
