// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Timer.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace sentrel {
namespace {

TEST(Timer, NeverTicksBeforeItIsStartedAndFirstTicksOneIntervalLater) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.0, [&] { ++ticks; });
    machine->advance(10);
    EXPECT_EQ(ticks, 0);
    EXPECT_EQ(timer.status(), Timer::Status::initial);
    timer.start();
    machine->advance(0.999);
    EXPECT_EQ(ticks, 0);
    machine->advance(0.001);
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(timer.status(), Timer::Status::started);
}

TEST(Timer, StartingTwiceStartsOnce) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.0, [&] { ++ticks; });
    timer.start();
    machine->advance(0.5);
    timer.start();
    machine->advance(0.5);
    EXPECT_EQ(ticks, 1);
    timer.suspend();
    machine->advance(5);
    EXPECT_EQ(ticks, 1);
}

TEST(Timer, FirstTicksOneWholeIntervalAfterEveryResumeAlsoWhenTheOldDeadlinePassed) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.0, [&] { ++ticks; });
    timer.start();
    machine->advance(0.9);
    timer.suspend();
    EXPECT_EQ(timer.status(), Timer::Status::suspended);
    machine->advance(7.35);
    timer.start();
    machine->advance(0.99);
    EXPECT_EQ(ticks, 0);
    machine->advance(0.01);
    EXPECT_EQ(ticks, 1);
}

TEST(Timer, DoesNotDriftOverTenThousandTicks) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.1, true, [&] { ++ticks; });
    timer.start();
    const std::int64_t start = machine->clock().monotonicNanoseconds();
    machine->advance(11000);
    EXPECT_EQ(ticks, 10'000);
    EXPECT_EQ(machine->clock().monotonicNanoseconds() - start, 11'000'000'000'000);
}

TEST(Timer, CancelsOnlyAStartedTimer) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.0, [&] { ++ticks; });
    timer.cancel();
    EXPECT_EQ(timer.status(), Timer::Status::initial);
    timer.start();
    timer.suspend();
    timer.cancel(); // deliberate: a suspended timer stays suspended
    EXPECT_EQ(timer.status(), Timer::Status::suspended);
    timer.start();
    machine->advance(1);
    EXPECT_EQ(ticks, 1);
    timer.cancel();
    EXPECT_EQ(timer.status(), Timer::Status::canceled);
    timer.start();
    timer.suspend();
    machine->advance(10);
    EXPECT_EQ(timer.status(), Timer::Status::canceled);
    EXPECT_EQ(ticks, 1);
}

TEST(Timer, CanBeReleasedInEveryState) {
    ScriptedMachine machine;
    int ticks = 0;
    {
        Timer timer(1.0, [&] { ++ticks; });
    }
    {
        Timer timer(1.0, [&] { ++ticks; });
        timer.start();
    }
    {
        Timer timer(1.0, [&] { ++ticks; });
        timer.start();
        timer.suspend();
    }
    machine->advance(10);
    EXPECT_EQ(ticks, 0);
}

TEST(Timer, CanBeReleasedFromInsideItsOwnTick) {
    ScriptedMachine machine;
    int ticks = 0;
    std::unique_ptr<Timer> timer;
    timer = std::make_unique<Timer>(1.0, [&] {
        ++ticks;
        timer.reset();
    });
    timer->start();
    machine->advance(10);
    EXPECT_EQ(ticks, 1);
}

// Closures that were ready went before ticks that had been due for longer.
TEST(Timer, ATickThatWasDueRunsBeforeAClosureThatCameLater) {
    ScriptedMachine machine;
    std::string order;
    Timer busy(1.0, [&] {
        order += "b";
        Timer::onMain([&] { order += "c"; });
    });
    Timer other(1.0, [&] { order += "o"; });
    busy.start();
    other.start();
    machine->advance(1);
    EXPECT_EQ(order, "boc");
}

TEST(Timer, ATickThatThrowsIsHeardOfAndTheTimerTicksOn) {
    ScriptedMachine machine;
    int ticks = 0;
    Timer timer(1.0, [&] {
        if (++ticks == 1)
            throw std::runtime_error("first tick");
    });
    timer.start();
    EXPECT_THROW(machine->advance(10), std::runtime_error);
    EXPECT_EQ(machine->dispatch().currentQueue(), nullptr);
    machine->advance(1);
    EXPECT_EQ(ticks, 2);
}

TEST(Timer, TicksOnTheMainQueueUnlessAskedOtherwise) {
    ScriptedMachine machine;
    const DispatchQueue* plain = nullptr;
    const DispatchQueue* background = nullptr;
    Timer a(1, [&] { plain = machine->dispatch().currentQueue(); });
    Timer b(1, true, [&] { background = machine->dispatch().currentQueue(); });
    a.start();
    b.start();
    machine->advance(1);
    EXPECT_EQ(plain, machine->dispatch().mainQueue().get());
    EXPECT_EQ(background, machine->dispatch().backgroundQueue().get());
}

TEST(Timer, DelaysOnTheBackgroundQueueUnlessAskedOtherwise) {
    ScriptedMachine machine;
    const DispatchQueue* byDefault = nullptr;
    const DispatchQueue* onMain = nullptr;
    Timer::delay(0.5, [&] { byDefault = machine->dispatch().currentQueue(); });
    Timer::delay(0.5, false, [&] { onMain = machine->dispatch().currentQueue(); });
    machine->advance(0.49);
    EXPECT_EQ(byDefault, nullptr);
    EXPECT_EQ(onMain, nullptr);
    machine->advance(0.01);
    EXPECT_EQ(byDefault, machine->dispatch().backgroundQueue().get());
    EXPECT_EQ(onMain, machine->dispatch().mainQueue().get());
}

TEST(Timer, TakesItsIntervalsAsDurationsToo) {
    using namespace std::chrono_literals;
    ScriptedMachine machine;
    std::vector<std::string> ran;
    Timer onMain(1500ms, [&] { ran.push_back("main"); });
    Timer onBackground(2s, true, [&] { ran.push_back("background"); });
    Timer onQueue(2500ms, *dispatch::serialQueue("own"), [&] { ran.push_back("queue"); });
    Timer::delay(1s, [&] { ran.push_back("once"); });
    Timer::delay(1250ms, false, [&] { ran.push_back("once on main"); });
    onMain.start();
    onBackground.start();
    onQueue.start();
    dispatch::runMain(2600ms);
    EXPECT_EQ(ran, (std::vector<std::string>{"once", "once on main", "main", "background", "queue"}));
}

// It held the queue that held it.
TEST(Timer, AClosureThatNeverRanIsReleasedWithItsMachine) {
    const auto held = std::make_shared<int>();
    {
        ScriptedMachine machine;
        const auto queue = dispatch::serialQueue("own");
        queue->async([held, queue] {});
        dispatch::mainQueue()->async([held, queue] {});
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Timer, RunsClosuresOnTheNamedQueue) {
    ScriptedMachine machine;
    const DispatchQueue* background = nullptr;
    const DispatchQueue* main = nullptr;
    Timer::onBackground([&] { background = machine->dispatch().currentQueue(); });
    Timer::onMain([&] { main = machine->dispatch().currentQueue(); });
    EXPECT_EQ(background, nullptr) << "never before the call returns";
    machine->dispatch().runPending();
    EXPECT_EQ(background, machine->dispatch().backgroundQueue().get());
    EXPECT_EQ(main, machine->dispatch().mainQueue().get());
}

} // namespace
} // namespace sentrel
