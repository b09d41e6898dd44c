// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/ForkGate.h>

#include "tests/support/Await.h"
#include "tests/support/Eventually.h"

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel {
namespace {

// Forks, runs the check in the child and tells what it said. A child that hangs is ended by its alarm.
template <class Check>
bool holdsInAChild(const Check& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(10);
        ::_exit(check() ? 0 : 1);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

// A pair that is equal whenever nobody holds the lock.
struct Guarded {
    Lock lock;
    int first SENTREL_GUARDED_BY(lock) = 0;
    int second SENTREL_GUARDED_BY(lock) = 0;

    void change() SENTREL_EXCLUDES(lock) {
        const LockScope scope(lock);
        ++first;
        std::this_thread::yield();
        ++second;
    }
    bool isWhole() SENTREL_EXCLUDES(lock) {
        const LockScope scope(lock);
        return first == second;
    }
};

class Threads {
public:
    template <class Work>
    Threads(int count, const Work& work) {
        for (int i = 0; i < count; ++i)
            threads_.emplace_back([this, work] {
                while (!ended_)
                    work();
            });
    }
    ~Threads() {
        ended_ = true;
        for (std::thread& thread : threads_)
            thread.join();
    }

private:
    std::atomic<bool> ended_{false};
    std::vector<std::thread> threads_;
};

// A child used to inherit locks that threads of its parent held, and half-changed values under them.
TEST(ForkGate, AChildFindsEveryLockFreeAndWhatItGuardsWhole) {
    Guarded guarded;
    const Threads busy(3, [&] { guarded.change(); });
    for (int round = 0; round < 200; ++round)
        ASSERT_TRUE(holdsInAChild([&] {
            guarded.change();
            return guarded.isWhole();
        })) << "round "
            << round;
}

TEST(ForkGate, AThreadThatHoldsALockItselfMayFork) {
    Guarded guarded;
    Lock outer;
    const Threads busy(2, [&] { guarded.change(); });
    const LockScope scope(outer);
    EXPECT_TRUE(holdsInAChild([&] { return guarded.isWhole(); }));
    EXPECT_TRUE(guarded.isWhole());
}

TEST(ForkGate, TwoThreadsMayForkAtOnce) {
    Guarded guarded;
    std::atomic<int> failures{0};
    {
        std::vector<std::thread> forking;
        for (int i = 0; i < 2; ++i)
            forking.emplace_back([&] {
                for (int round = 0; round < 50; ++round) {
                    guarded.change();
                    if (!holdsInAChild([&] { return guarded.isWhole(); }))
                        ++failures;
                }
            });
        for (std::thread& thread : forking)
            thread.join();
    }
    EXPECT_EQ(failures, 0);
}

// A host may keep a lock while it waits for the thread that forks.
TEST(ForkGate, AForkDoesNotWaitForEverForALockThatIsKept) {
    Lock kept;
    Lock other;
    Event isHeld;
    Event hasForked;
    std::thread keeper([&] {
        const LockScope scope(kept);
        isHeld.happened();
        EXPECT_TRUE(hasForked.await());
    });
    EXPECT_TRUE(isHeld.await());
    EXPECT_TRUE(holdsInAChild([&] {
        const LockScope scope(other);
        return true;
    }));
    hasForked.happened();
    keeper.join();
}

// The end of a condition waits for its sleepers, which a child does not have.
TEST(ForkGate, AConditionBeginsAnewInAChild) {
    Lock lock;
    auto changed = std::make_unique<Condition>();
    bool ended = false;
    int waiting = 0;
    std::vector<std::thread> sleepers;
    for (int i = 0; i < 2; ++i)
        sleepers.emplace_back([&] {
            const LockScope scope(lock);
            ++waiting;
            while (!ended)
                changed->wait(lock);
        });
    const auto sleeperCount = [&] {
        const LockScope scope(lock);
        return waiting;
    };
    EXPECT_TRUE(eventually([&] { return sleeperCount() == 2; }));
    EXPECT_TRUE(holdsInAChild([&] {
        {
            const LockScope scope(lock);
            changed->notify_all();
            const auto past = std::chrono::steady_clock::now();
            if (changed->wait_until(lock, past) != std::cv_status::timeout)
                return false;
        }
        changed.reset();
        return true;
    }));
    EXPECT_TRUE(holdsInAChild([&] {
        changed.reset();
        return true;
    }));
    {
        const LockScope scope(lock);
        ended = true;
        changed->notify_all();
    }
    for (std::thread& thread : sleepers)
        thread.join();
}

TEST(ForkGate, AFlagOfAThreadAtWorkIsClearedInAChild) {
    RunningFlag running;
    EXPECT_FALSE(running);
    running = true;
    EXPECT_TRUE(running);
    EXPECT_TRUE(holdsInAChild([&] {
        if (running)
            return false;
        running = true;
        return bool(running);
    }));
    EXPECT_TRUE(running);
    running = false;
    EXPECT_FALSE(running);
}

} // namespace
} // namespace sentrel
