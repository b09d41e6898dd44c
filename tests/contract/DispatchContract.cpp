// SPDX-License-Identifier: Apache-2.0
// Clocks, queues, timers.

#include "tests/contract/PlatformContract.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t interval = 3 * millisecond;

// What ran, in its order, on whichever thread. Shared with the closures, like all that ticks change here: one may still
// run when its test is over.
class Course {
public:
    void add(int what) const {
        const std::lock_guard guard(state_->mutex);
        state_->ran.push_back(what);
    }
    [[nodiscard]] std::function<void()> adding(int what) const {
        return [self = *this, what] { self.add(what); };
    }
    [[nodiscard]] std::vector<int> ran() const {
        const std::lock_guard guard(state_->mutex);
        return state_->ran;
    }
    [[nodiscard]] auto isLong(std::size_t length) const {
        return [self = *this, length] { return self.ran().size() >= length; };
    }

private:
    struct State {
        std::mutex mutex;
        std::vector<int> ran;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

// When a timer ticked.
class Ticks {
public:
    explicit Ticks(Clock& clock) : state_(std::make_shared<State>(clock)) {}

    [[nodiscard]] std::function<void()> noting() const {
        return [state = state_] {
            EXPECT_FALSE(state->isTicking.exchange(true)) << "ticks of one timer overlap";
            {
                const std::lock_guard guard(state->mutex);
                state->times.push_back(state->clock.monotonicNanoseconds());
            }
            state->isTicking = false;
        };
    }
    [[nodiscard]] std::vector<std::int64_t> times() const {
        const std::lock_guard guard(state_->mutex);
        return state_->times;
    }
    [[nodiscard]] std::size_t count() const { return times().size(); }
    [[nodiscard]] auto areMany(std::size_t count) const {
        return [self = *this, count] { return self.count() >= count; };
    }

private:
    struct State {
        explicit State(Clock& source) : clock(source) {}
        Clock& clock;
        std::atomic<bool> isTicking{false};
        std::mutex mutex;
        std::vector<std::int64_t> times;
    };
    std::shared_ptr<State> state_;
};

} // namespace

TEST_P(PlatformContract, TheWallClockTellsATimeOfToday) {
    WallClockReading reading;
    ASSERT_TRUE(platform().clock().read(reading));
    EXPECT_GT(reading.seconds, 1'400'000'000);
    EXPECT_GE(reading.microseconds, 0);
    EXPECT_LT(reading.microseconds, 1'000'000);
}

TEST_P(PlatformContract, TheMonotonicClockNeverStepsBackAndGoesOn) {
    const std::int64_t begin = now();
    std::int64_t last = begin;
    for (int turn = 0; turn < 1000; ++turn) {
        const std::int64_t next = now();
        ASSERT_GE(next, last);
        last = next;
    }
    pass(millisecond);
    EXPECT_GE(now(), begin + millisecond);
}

TEST_P(PlatformContract, MainClosuresRunInOrderOnTheThreadThatServesThem) {
    const Course course;
    bool isElsewhere = false;
    for (const int number : {1, 2, 3}) {
        platform().dispatch().mainQueue()->async([&, course, number] {
            isElsewhere = isElsewhere || !machine->isOnMainThread();
            course.add(number);
        });
    }
    EXPECT_TRUE(course.ran().empty()) << "a closure ran before async returned";
    ASSERT_TRUE(await(course.isLong(3)));
    EXPECT_THAT(course.ran(), ElementsAre(1, 2, 3));
    EXPECT_FALSE(isElsewhere);
}

TEST_P(PlatformContract, BackgroundClosuresRunOffTheMainThread) {
    std::atomic<int> ran{0};
    std::atomic<int> ranOnMain{0};
    for (int number = 0; number < 3; ++number) {
        platform().dispatch().backgroundQueue()->async([&] {
            ranOnMain += machine->isOnMainThread() ? 1 : 0;
            ++ran;
        });
    }
    ASSERT_TRUE(await([&] { return ran == 3; }));
    EXPECT_EQ(ranOnMain, 0);
}

TEST_P(PlatformContract, ASerialQueueRunsOneClosureAfterTheOtherOffTheMainThread) {
    const Course course;
    std::atomic<int> depth{0};
    std::atomic<int> mistakes{0};
    const std::shared_ptr<DispatchQueue> queue = platform().dispatch().serialQueue("contract");
    std::vector<int> given;
    for (int number = 0; number < 50; ++number) {
        given.push_back(number);
        queue->async([&, course, number] {
            mistakes += ++depth != 1 || machine->isOnMainThread() ? 1 : 0;
            --depth;
            course.add(number);
        });
    }
    ASSERT_TRUE(await(course.isLong(given.size())));
    EXPECT_EQ(course.ran(), given);
    EXPECT_EQ(mistakes, 0);
}

TEST_P(PlatformContract, AQueueThatNobodyHoldsAnyMoreRunsWhatItWasGiven) {
    const Course course;
    platform().dispatch().serialQueue("contract")->async(course.adding(1));
    platform().dispatch().serialQueue("contract")->after(millisecond, course.adding(2));
    EXPECT_TRUE(await(course.isLong(2)));
}

TEST_P(PlatformContract, AClosureRunsNoEarlierThanItsDelay) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.backgroundQueue(), dispatch.serialQueue("contract")}) {
        const Ticks ran(platform().clock());
        const Course soon;
        queue->after(-5, soon.adding(1)); // as no delay
        EXPECT_TRUE(await(soon.isLong(1)));
        const std::int64_t begin = now();
        queue->after(5 * millisecond, ran.noting());
        ASSERT_TRUE(await(ran.areMany(1)));
        EXPECT_GE(ran.times().front(), begin + 5 * millisecond);
    }
}

TEST_P(PlatformContract, WhatIsDueFirstRunsFirst) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.serialQueue("contract")}) {
        const Course course;
        queue->after(40 * millisecond, course.adding(3));
        queue->after(20 * millisecond, course.adding(2));
        queue->async(course.adding(1));
        ASSERT_TRUE(await(course.isLong(3)));
        EXPECT_THAT(course.ran(), ElementsAre(1, 2, 3));
    }
}

TEST_P(PlatformContract, WhatAClosureHoldsIsLetGoAfterItRan) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.backgroundQueue(), dispatch.serialQueue("contract")}) {
        std::weak_ptr<int> held;
        {
            const auto content = std::make_shared<int>();
            held = content;
            queue->async([content] {});
            queue->after(millisecond, [content] {});
        }
        EXPECT_TRUE(await([&] { return held.expired(); }));
    }
}

TEST_P(PlatformContract, AnExceptionOnTheMainQueueLeavesTheServerAndWhatElseIsDueStays) {
    const std::shared_ptr<DispatchQueue> queue = platform().dispatch().mainQueue();
    const Course course;
    bool isThrown = false;
    const auto timer = queue->makeTimer(interval, [&] {
        course.add(2);
        if (!std::exchange(isThrown, true))
            throw std::runtime_error("of a tick");
    });
    queue->async([] { throw std::runtime_error("of a closure"); });
    queue->async(course.adding(1));
    EXPECT_THROW(platform().dispatch().runMain(1), std::runtime_error);
    EXPECT_TRUE(course.ran().empty());
    ASSERT_TRUE(await(course.isLong(1)));
    timer->resume();
    EXPECT_THROW(platform().dispatch().runMain(1), std::runtime_error);
    EXPECT_TRUE(await(course.isLong(4))) << "the timer ticks on";
    EXPECT_THAT(course.ran(), ElementsAre(1, 2, 2, 2));
}

TEST_P(PlatformContract, ATimerTicksOneWholeIntervalAfterEachResumeAndThenOnAGrid) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.backgroundQueue(), dispatch.serialQueue("contract")}) {
        const Ticks ticks(platform().clock());
        const auto timer = queue->makeTimer(interval, ticks.noting());
        pass(2 * interval);
        EXPECT_EQ(ticks.count(), 0u) << "a timer is created suspended";
        for (int resume = 0; resume < 2; ++resume) {
            const std::size_t before = ticks.count();
            const std::int64_t begin = now();
            timer->resume();
            timer->resume(); // a timer that ticks stays as it is
            ASSERT_TRUE(await(ticks.areMany(before + 3)));
            timer->suspend();
            const std::vector<std::int64_t> times = ticks.times();
            for (std::size_t tick = before; tick < times.size(); ++tick)
                EXPECT_GE(times[tick], begin + static_cast<std::int64_t>(tick - before + 1) * interval);
            pass(2 * interval);
        }
    }
}

TEST_P(PlatformContract, AfterAStopReturnedNoTickBeginsOnTheQueueOfTheCaller) {
    const auto stops = {+[](std::unique_ptr<RepeatingTimer>& timer) { timer->suspend(); },
                        +[](std::unique_ptr<RepeatingTimer>& timer) { timer->cancel(); },
                        +[](std::unique_ptr<RepeatingTimer>& timer) { timer.reset(); }};
    for (const auto stop : stops) {
        const Ticks ticks(platform().clock());
        auto timer = platform().dispatch().mainQueue()->makeTimer(1000, ticks.noting());
        timer->resume();
        ASSERT_TRUE(await(ticks.areMany(1)));
        stop(timer);
        const std::size_t atStop = ticks.count();
        pass(2 * interval);
        EXPECT_EQ(ticks.count(), atStop);
    }
}

TEST_P(PlatformContract, AfterAStopReturnedOnlyATickThatRanAlreadyMayFinish) {
    for (int round = 0; round < 20; ++round) {
        const Ticks ticks(platform().clock());
        auto timer = platform().dispatch().backgroundQueue()->makeTimer(1, ticks.noting());
        timer->resume();
        if (round % 2 == 0)
            timer->suspend();
        else
            timer.reset();
        const std::size_t atStop = ticks.count();
        pass(millisecond);
        EXPECT_LE(ticks.count(), atStop + 1);
    }
}

TEST_P(PlatformContract, ATimerSurvivesEveryOrderOfCalls) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.backgroundQueue(), dispatch.serialQueue("contract")}) {
        const Ticks ticks(platform().clock());
        const auto make = [&] { return queue->makeTimer(interval, ticks.noting()); };
        static_cast<void>(make()); // released as it was made
        make()->cancel();
        make()->resume();
        const auto suspendedTwice = make();
        suspendedTwice->resume();
        suspendedTwice->suspend();
        suspendedTwice->suspend();
        const auto cancelled = make();
        cancelled->resume();
        cancelled->cancel();
        cancelled->cancel();
        cancelled->suspend();
        cancelled->resume();
        const auto cancelledWhileSuspended = make();
        cancelledWhileSuspended->cancel();
        cancelledWhileSuspended->resume();
        pass(4 * interval);
        EXPECT_EQ(ticks.count(), 0u) << "a timer that was cancelled stays as it is";
    }
}

TEST_P(PlatformContract, ATimerMayBeReleasedInsideItsOwnTick) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.mainQueue(), dispatch.backgroundQueue(), dispatch.serialQueue("contract")}) {
        struct Held {
            std::unique_ptr<RepeatingTimer> timer;
            std::atomic<int> ticks{0};
            std::atomic<bool> isResumed{false};
        };
        std::weak_ptr<Held> content;
        const Course course;
        {
            const auto held = std::make_shared<Held>();
            content = held;
            held->timer = queue->makeTimer(interval, [held, course] {
                if (!held->isResumed)
                    return; // its owner is not done with it
                held->timer.reset();
                ++held->ticks; // what the closure holds is still there
                course.add(held->ticks);
            });
            held->timer->resume();
            held->isResumed = true;
        }
        ASSERT_TRUE(await(course.isLong(1)));
        pass(2 * interval);
        EXPECT_THAT(course.ran(), ElementsAre(1));
        EXPECT_TRUE(await([&] { return content.expired(); }));
    }
}

TEST_P(PlatformContract, AnIntervalBelowOneNanosecondCountsAsOne) {
    for (const std::int64_t nanoseconds : {std::int64_t{0}, std::int64_t{-7}}) {
        const Ticks ticks(platform().clock());
        const auto timer = platform().dispatch().backgroundQueue()->makeTimer(nanoseconds, ticks.noting());
        timer->resume();
        platform().dispatch().runMain(1e-8);
        EXPECT_TRUE(await(ticks.areMany(1)));
        timer->cancel();
    }
}

} // namespace sentrel::platform
