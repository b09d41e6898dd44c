// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Queues.h"

#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/host/MacClock.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace darwin;
using namespace sentrel::platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int64_t second = 1'000'000'000;

class MacQueues : public DarwinTest {};
class MacTimers : public DarwinTest {
protected:
    std::unique_ptr<sentrel::RepeatingTimer> timer(std::int64_t interval = second) {
        return MacDispatch().backgroundQueue()->makeTimer(interval, [this] { ticks.push_back(queues::now()); });
    }
    std::vector<std::int64_t> ticks;
};

TEST_F(MacQueues, RunClosuresOnTheSystemsQueues) {
    MacDispatch dispatch;
    std::vector<std::string> ran;
    const auto note = [&ran] { ran.push_back(queues::running()); };
    dispatch.mainQueue()->async(note);
    dispatch.backgroundQueue()->async(note);
    dispatch.serialQueue("one after the other")->async(note);
    EXPECT_THAT(ran, IsEmpty());
    queues::advance(0);
    EXPECT_THAT(ran, ElementsAre("main", "background", "one after the other"));
}

TEST_F(MacQueues, RunDelayedClosuresNoEarlierThanTheirDelay) {
    MacDispatch dispatch;
    std::vector<std::int64_t> ran;
    const auto note = [&ran] { ran.push_back(queues::now()); };
    dispatch.mainQueue()->after(second / 2, note);
    dispatch.mainQueue()->after(-5, note);
    queues::advance(1);
    EXPECT_THAT(ran, ElementsAre(0, second / 2));
}

TEST_F(MacQueues, ReleaseWhatAClosureHoldsAfterItRan) {
    MacDispatch dispatch;
    const auto held = std::make_shared<int>(1);
    dispatch.mainQueue()->async([held] {});
    queues::advance(0);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(MacQueues, AreServedForAsLongAsTheHostAsks) {
    MacDispatch dispatch;
    std::vector<std::int64_t> ran;
    for (const std::int64_t delay : {1 * second, 2 * second, 4 * second})
        dispatch.mainQueue()->after(delay, [&ran] { ran.push_back(queues::now()); });
    dispatch.runMain(3);
    EXPECT_THAT(ran, ElementsAre(second, 2 * second));
    EXPECT_EQ(queues::now(), 3 * second);
    EXPECT_EQ(MacClock().monotonicNanoseconds(), 3 * second);
    queues::advance(1);
    EXPECT_EQ(ran.size(), 3u);
}

TEST_F(MacQueues, ServedForNoTimeRunWhatIsReady) {
    MacDispatch dispatch;
    int ran = 0;
    dispatch.mainQueue()->async([&ran] { ++ran; });
    dispatch.runMain(0);
    EXPECT_EQ(ran, 1);
}

TEST_F(MacQueues, HandAnExceptionToWhoeverServesThem) {
    MacDispatch dispatch;
    int ran = 0;
    dispatch.mainQueue()->async([] { throw std::runtime_error("of a closure"); });
    dispatch.mainQueue()->async([&ran] { ++ran; });
    EXPECT_THROW(dispatch.runMain(1), std::runtime_error);
    EXPECT_EQ(ran, 0);
    dispatch.runMain(1);
    EXPECT_EQ(ran, 1);
}

// Dispatch runs all that stands in its main queue in one turn of the loop: the second exception took the place of the
// first, and the closure after it ran though the run was over.
TEST_F(MacQueues, HandOneExceptionAtATimeToWhoeverServesThem) {
    MacDispatch dispatch;
    std::vector<std::string> ran;
    dispatch.mainQueue()->async([] { throw std::runtime_error("first"); });
    dispatch.mainQueue()->async([] { throw std::runtime_error("second"); });
    dispatch.mainQueue()->async([&ran] { ran.push_back("third"); });
    EXPECT_THAT([&dispatch] { dispatch.runMain(1); }, testing::ThrowsMessage<std::runtime_error>("first"));
    EXPECT_THAT([&dispatch] { dispatch.runMain(1); }, testing::ThrowsMessage<std::runtime_error>("second"));
    EXPECT_THAT(ran, IsEmpty());
    dispatch.runMain(1);
    EXPECT_THAT(ran, ElementsAre("third"));
}

TEST_F(MacQueues, ServedFromInsideAClosureHandTheExceptionToTheInnerServer) {
    MacDispatch dispatch;
    bool caught = false;
    dispatch.mainQueue()->async([&] {
        dispatch.mainQueue()->async([] { throw std::runtime_error("of a closure"); });
        try {
            dispatch.runMain(1);
        } catch (const std::runtime_error&) {
            caught = true;
        }
    });
    dispatch.runMain(1);
    EXPECT_TRUE(caught);
}

TEST_F(MacQueues, AreServedOnTheFirstThreadAlone) {
    MacDispatch dispatch;
    queues::setMainThread(false);
    int ran = 0;
    dispatch.mainQueue()->async([&ran] { ++ran; });
    testing::internal::CaptureStderr();
    dispatch.runMain(1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: the main queue runs on the first thread of a process\n");
    EXPECT_EQ(ran, 0);
    queues::advance(0);
}

TEST_F(MacQueues, EndTheProcessWithAnExceptionThatNobodyTakes) {
    MacDispatch dispatch;
    EXPECT_DEATH(
        {
            dispatch.backgroundQueue()->async([] { throw std::runtime_error("of a closure"); });
            queues::advance(0);
        },
        "");
    EXPECT_DEATH(
        {
            dispatch.mainQueue()->async([] { throw std::runtime_error("of a closure"); });
            queues::advance(0);
        },
        "");
}

TEST_F(MacTimers, TickOnAGridFromOneIntervalAfterEveryResume) {
    const auto ticking = timer();
    queues::advance(5);
    EXPECT_THAT(ticks, IsEmpty());
    ticking->resume();
    queues::advance(2.5);
    EXPECT_THAT(ticks, ElementsAre(6 * second, 7 * second));
    ticking->suspend();
    queues::advance(2.5);
    ticking->resume();
    queues::advance(1);
    EXPECT_THAT(ticks, ElementsAre(6 * second, 7 * second, 11 * second));
}

TEST_F(MacTimers, SurviveEveryOrderOfCalls) {
    const auto resumedTwice = timer();
    resumedTwice->resume();
    resumedTwice->resume();
    resumedTwice->suspend();
    resumedTwice->suspend();
    const auto cancelledWhileSuspended = timer();
    cancelledWhileSuspended->cancel();
    cancelledWhileSuspended->cancel();
    cancelledWhileSuspended->resume();
    cancelledWhileSuspended->suspend();
    const auto releasedWhileResumed = timer();
    releasedWhileResumed->resume();
    const auto cancelledWhileResumed = timer();
    cancelledWhileResumed->resume();
    cancelledWhileResumed->cancel();
    cancelledWhileResumed->resume();
    timer();
    queues::advance(0.5);
    EXPECT_THAT(ticks, IsEmpty());
}

TEST_F(MacTimers, StoppedWithATickOnItsWayDoNotTick) {
    const auto ticking = timer();
    ticking->resume();
    ticking->suspend();
    queues::fireNewest();
    ticking->resume();
    ticking->cancel();
    queues::fireNewest();
    EXPECT_THAT(ticks, IsEmpty());
}

// The tick that was on its way found the gate open again.
TEST_F(MacTimers, ResumedWithATickOnItsWayTickOneIntervalLater) {
    const auto ticking = timer();
    ticking->resume();
    queues::advance(0.9);
    ticking->suspend();
    ticking->resume();
    queues::fireNewest();
    EXPECT_THAT(ticks, IsEmpty());
    queues::advance(1);
    EXPECT_THAT(ticks, ElementsAre(19 * second / 10));
}

TEST_F(MacTimers, MayBeReleasedFromTheirOwnTick) {
    MacDispatch dispatch;
    std::unique_ptr<sentrel::RepeatingTimer> ticking;
    const auto held = std::make_shared<int>(0);
    ticking = dispatch.backgroundQueue()->makeTimer(second, [&ticking, held] {
        ticking.reset();
        ++*held; // what the closure holds is still there
    });
    ticking->resume();
    queues::advance(3);
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(queues::sources(), 0);
}

TEST_F(MacTimers, DueWhileAnExceptionLeavesTheLoopTickInItsNextRun) {
    MacDispatch dispatch;
    int ticked = 0;
    const auto ticking = dispatch.mainQueue()->makeTimer(second, [&ticked] { ++ticked; });
    ticking->resume();
    dispatch.mainQueue()->after(second, [] { throw std::runtime_error("of a closure"); });
    EXPECT_THROW(dispatch.runMain(1.5), std::runtime_error);
    EXPECT_EQ(ticked, 0);
    dispatch.runMain(0);
    EXPECT_EQ(ticked, 1);
}

TEST_F(MacTimers, OfNoIntervalTickEveryNanosecond) {
    const auto ticking = timer(0);
    ticking->resume();
    queues::advance(3e-9);
    EXPECT_THAT(ticks, ElementsAre(1, 2, 3));
}

} // namespace
