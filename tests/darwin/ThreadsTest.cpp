// SPDX-License-Identifier: Apache-2.0
/// What comes on one thread while another one lets go of it.

#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/darwin/doubles/VolumeNotices.h"
#include "tests/darwin/doubles/Workspace.h"
#include "tests/support/Await.h"

#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/network/MacNetworkService.h>
#include <SentrelKit/platform/macos/power/MacPowerService.h>
#include <SentrelKit/platform/macos/processes/MacProcessService.h>
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

#include <atomic>
#include <functional>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Event;
using sentrel::Observation;

namespace {

constexpr int rounds = 50;

/// Does something again and again on a thread of its own, until its end; at least once.
class Repeated {
public:
    explicit Repeated(std::function<void()> action)
        : thread_([this, repeated = std::move(action)] {
              do
                  repeated();
              while (!isOver_);
          }) {}
    ~Repeated() {
        isOver_ = true;
        thread_.join();
    }
    Repeated(const Repeated&) = delete;
    Repeated& operator=(const Repeated&) = delete;

private:
    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

/// An observer that must not be called once its release has returned.
class Watched {
public:
    [[nodiscard]] std::function<void()> observer() {
        return [state = state_] {
            EXPECT_FALSE(state->isReleased);
            EXPECT_FALSE(state->isInside.exchange(true));
            state->isInside = false;
            state->called.happened();
        };
    }
    [[nodiscard]] bool wasCalled() { return state_->called.await(); }
    void release(Observation& observation) {
        observation.reset();
        EXPECT_FALSE(state_->isInside);
        state_->isReleased = true;
        EXPECT_EQ(state_.use_count(), 1); // what it captured is gone
    }

private:
    struct State {
        std::atomic<bool> isReleased{false};
        std::atomic<bool> isInside{false};
        Event called;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

class MacThreads : public DarwinTest {};

TEST_F(MacThreads, RunASerialQueuesClosuresInTheirOrder) {
    std::vector<int> ran; // touched by one at a time
    {
        const queues::Threads threads(4);
        MacDispatch dispatch;
        const auto queue = dispatch.serialQueue("one after the other");
        for (int number = 0; number < 1000; ++number)
            queue->async([&ran, number] { ran.push_back(number); });
    }
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(ran, expected);
}

TEST_F(MacThreads, RunClosuresOfTheBackgroundQueueSideBySide) {
    Event first;
    Event second;
    const queues::Threads threads(2);
    MacDispatch dispatch;
    dispatch.backgroundQueue()->async([&] {
        first.happened();
        EXPECT_TRUE(second.await());
    });
    dispatch.backgroundQueue()->async([&] {
        second.happened();
        EXPECT_TRUE(first.await());
    });
    EXPECT_TRUE(first.await());
    EXPECT_TRUE(second.await());
}

TEST_F(MacThreads, TickNoMoreOnceATimerIsSuspendedAndItsLastTickOver) {
    const queues::Threads threads;
    const Repeated time([] { queues::advance(0.001); });
    MacDispatch dispatch;
    std::atomic<int> ticks{0};
    std::atomic<bool> isInside{false};
    const auto ticking = dispatch.backgroundQueue()->makeTimer(1'000'000, [&] {
        EXPECT_FALSE(isInside.exchange(true)); // ticks do not overlap
        ++ticks;
        isInside = false;
    });
    for (int round = 0; round < rounds; ++round) {
        const int before = ticks;
        ticking->resume();
        while (ticks == before)
            std::this_thread::yield();
        ticking->suspend();
        while (isInside)
            std::this_thread::yield();
        // One may have passed the gate and not begun.
        const int atMost = ticks + 1;
        queues::advance(1);
        EXPECT_LE(ticks, atMost);
    }
}

TEST_F(MacThreads, LetGoOfATimerInEveryStateWhileItTicks) {
    const queues::Threads threads;
    const Repeated time([] { queues::advance(0.001); });
    MacDispatch dispatch;
    const std::vector<std::function<void(sentrel::RepeatingTimer&)>> ends{
        [](auto&) {}, [](auto& timer) { timer.suspend(); }, [](auto& timer) { timer.cancel(); },
        [](auto& timer) {
            timer.suspend();
            timer.cancel();
        },
        [](auto& timer) {
            timer.suspend();
            timer.resume();
        }};
    for (int round = 0; round < rounds; ++round) {
        const auto held = std::make_shared<std::atomic<int>>(0);
        Event ticked;
        auto ticking = dispatch.backgroundQueue()->makeTimer(1'000'000, [held, ticked]() mutable {
            ++*held;
            ticked.happened();
        });
        ticking->resume();
        EXPECT_TRUE(ticked.await());
        ends[static_cast<std::size_t>(round) % ends.size()](*ticking);
        ticking.reset();
        while (held.use_count() > 1) // until the last tick is over
            std::this_thread::yield();
        const int after = *held;
        queues::advance(1);
        EXPECT_EQ(*held, after);
    }
}

TEST_F(MacThreads, LetATimerBeReleasedFromItsOwnTick) {
    const queues::Threads threads;
    const Repeated time([] { queues::advance(0.001); });
    MacDispatch dispatch;
    for (int round = 0; round < rounds; ++round) {
        Event ended;
        std::atomic<int> ticks{0};
        std::unique_ptr<sentrel::RepeatingTimer> ticking;
        ticking = dispatch.backgroundQueue()->makeTimer(1'000'000, [&] {
            ++ticks;
            ticking.reset();
            ended.happened();
        });
        ticking->resume();
        EXPECT_TRUE(ended.await());
        EXPECT_EQ(ticks, 1);
    }
}

TEST_F(MacThreads, TellNobodyOfTheConfigurationWhoWasReleasedMeanwhile) {
    const queues::Threads threads;
    MacNetworkService network;
    MacDispatch dispatch;
    const Repeated changes([] {
        store::change("State:/Network/Global/IPv4");
        queues::settle();
    });
    for (int round = 0; round < rounds; ++round) {
        const auto watch = network.watchConfiguration("test");
        ASSERT_TRUE(watch->setNotificationKeys({"State:/Network/Global/IPv4"}));
        Watched watched;
        Observation observation = watch->schedule(dispatch.backgroundQueue(), watched.observer());
        if (round % 2 == 0) {
            EXPECT_TRUE(watched.wasCalled());
        }
        watched.release(observation);
    }
}

TEST_F(MacThreads, LetAnObserverBeReleasedFromItsOwnCall) {
    const queues::Threads threads;
    MacNetworkService network;
    MacDispatch dispatch;
    const Repeated changes([] {
        store::change("State:/Network/Global/IPv4");
        queues::settle();
    });
    for (int round = 0; round < rounds; ++round) {
        auto watch = network.watchConfiguration("test");
        ASSERT_TRUE(watch->setNotificationKeys({"State:/Network/Global/IPv4"}));
        Event isKept;
        Event released;
        std::atomic<int> calls{0};
        Observation observation;
        observation = watch->schedule(dispatch.backgroundQueue(), [&] {
            ++calls;
            EXPECT_TRUE(isKept.await());
            observation.reset();
            watch.reset();
            released.happened();
        });
        isKept.happened();
        EXPECT_TRUE(released.await());
        queues::settle();
        EXPECT_EQ(calls, 1);
    }
}

TEST_F(MacThreads, TellNobodyOfThePowerSourcesWhoWasReleasedMeanwhile) {
    MacPowerService power;
    const Repeated loop([] { signalSources(); });
    for (int round = 0; round < rounds; ++round) {
        Watched watched;
        Observation observation = power.observe(watched.observer());
        if (round % 2 == 0) {
            EXPECT_TRUE(watched.wasCalled());
        }
        watched.release(observation);
    }
}

TEST_F(MacThreads, TellNobodyOfVolumesWhoWasReleasedMeanwhile) {
    MacVolumeService volumes;
    const Repeated posts([] { workspace::post({VolumeNotification::Kind::didMount, {}, {}, "/Volumes/STICK"}); });
    for (int round = 0; round < rounds; ++round) {
        Watched watched;
        Observation observation = volumes.observe([call = watched.observer()](const VolumeNotification&) { call(); });
        if (round % 2 == 0) {
            EXPECT_TRUE(watched.wasCalled());
        }
        watched.release(observation);
    }
}

TEST_F(MacThreads, TellNobodyOfApplicationsWhoWasReleasedMeanwhile) {
    MacProcessService processes;
    const Repeated changes([] { workspace::changeRunning(); });
    for (int round = 0; round < rounds; ++round) {
        Watched watched;
        Observation observation =
            processes.observeRunningApplications([call = watched.observer()](const RunningApplications&) { call(); });
        if (round % 2 == 0) {
            EXPECT_TRUE(watched.wasCalled());
        }
        watched.release(observation);
    }
}

class MacThreadsAndDisks : public MacThreads {
protected:
    void SetUp() override {
        MacThreads::SetUp();
        machine().registry.add(
            {.name = "disk2", .classes = {"IOMedia"}, .properties = {{"BSD Name", "disk2"}, {"Whole", true}}});
    }

    MacVolumeService volumes;
};

TEST_F(MacThreadsAndDisks, CloseASessionWhileACompletionIsUnderWay) {
    const queues::Threads threads;
    MacDispatch dispatch;
    for (int round = 0; round < rounds; ++round) {
        Event inside;
        Event closed;
        Event over;
        std::unique_ptr<DiskSession> session = volumes.openSession();
        session->setQueue(dispatch.backgroundQueue());
        session->disk("disk2")->unmount({.whole = true}, [&](const auto& disk, const Dissenter* dissenter) {
            EXPECT_FALSE(dissenter);
            inside.happened();
            EXPECT_TRUE(closed.await());
            disk->eject();
            over.happened();
        });
        EXPECT_TRUE(inside.await());
        if (round % 2 == 0)
            session->setQueue(nullptr);
        session.reset();
        closed.happened();
        EXPECT_TRUE(over.await());
    }
    queues::settle();
}

TEST_F(MacThreadsAndDisks, CloseASessionWhetherOrNotACompletionBegan) {
    const queues::Threads threads;
    MacDispatch dispatch;
    std::atomic<int> calls{0};
    for (int round = 0; round < rounds; ++round) {
        const auto held = std::make_shared<int>(0);
        std::unique_ptr<DiskSession> session = volumes.openSession();
        session->setQueue(dispatch.backgroundQueue());
        session->disk("disk2")->unmount({.whole = true}, [&calls, held](const auto&, const Dissenter*) { ++calls; });
        if (round % 2 == 0)
            queues::settle();
        session->setQueue(nullptr);
        session.reset();
        queues::settle();
        EXPECT_EQ(held.use_count(), 1); // it was called, or dropped
    }
    EXPECT_GE(calls, rounds / 2);
}

TEST_F(MacThreadsAndDisks, LetTheLastOfASessionGoInsideItsCompletion) {
    const queues::Threads threads;
    MacDispatch dispatch;
    for (int round = 0; round < rounds; ++round) {
        Event isKept;
        Event over;
        std::shared_ptr<DiskSession> session = volumes.openSession();
        session->setQueue(dispatch.backgroundQueue());
        session->disk("disk2")->unmount({.whole = true}, [&](const auto&, const Dissenter*) {
            EXPECT_TRUE(isKept.await());
            session.reset();
            over.happened();
        });
        isKept.happened();
        EXPECT_TRUE(over.await());
    }
    queues::settle();
}

TEST_F(MacThreads, ServeTheMainLoopForItsTimeWithWhatOthersGiveIt) {
    const queues::Threads threads;
    const Repeated time([] { queues::advance(0.001); });
    MacDispatch dispatch;
    const std::thread::id here = std::this_thread::get_id();
    int ran = 0;
    int ticks = 0;
    {
        const auto ticking = dispatch.mainQueue()->makeTimer(10'000'000, [&ticks] { ++ticks; });
        ticking->resume();
        const Repeated others([&dispatch, &ran, here] {
            dispatch.mainQueue()->async([&ran, here] {
                EXPECT_EQ(std::this_thread::get_id(), here);
                ++ran;
            });
        });
        const std::int64_t before = queues::now();
        while (ran == 0 || ticks == 0)
            dispatch.runMain(0.1);
        EXPECT_GE(queues::now(), before + 100'000'000);
    }
    dispatch.runMain(0); // what was given since
}

} // namespace
