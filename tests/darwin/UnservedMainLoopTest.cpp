// SPDX-License-Identifier: Apache-2.0
/// A program whose main run loop never runs, such as a command-line tool: the main queue is served by nobody.

#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/support/Await.h"

#include <SentrelKit/platform/macos/MacPlatform.h>
#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/network/MacNetworkService.h>
#include <SentrelKit/platform/macos/power/MacPowerService.h>
#include <SentrelKit/system/System.h>

#include <memory>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Event;
using sentrel::Observation;

namespace {

class MacUnservedMainLoop : public DarwinTest {
protected:
    // What is left in the main queue at the end, which the process would take with it.
    void TearDown() override {
        MacDispatch().runMain(0);
        DarwinTest::TearDown();
    }
};

TEST_F(MacUnservedMainLoop, LeavesTheOtherQueuesAsTheyAre) {
    Event ran;
    int ranOnMain = 0;
    {
        const queues::Threads threads;
        MacDispatch dispatch;
        dispatch.mainQueue()->async([&ranOnMain] { ++ranOnMain; });
        dispatch.backgroundQueue()->async([&ran] { ran.happened(); });
        dispatch.serialQueue("one after the other")->async([&ran] { ran.happened(); });
        const auto ticking = dispatch.backgroundQueue()->makeTimer(1000, [&ran] { ran.happened(); });
        ticking->resume();
        queues::advance(1);
        EXPECT_TRUE(ran.await(3));
    }
    EXPECT_EQ(ranOnMain, 0);
    queues::advance(0);
    EXPECT_EQ(ranOnMain, 1); // it waited
}

// What the tick held stayed with the source, whose end comes on its queue.
TEST_F(MacUnservedMainLoop, LeavesATimerOfTheMainQueueNothingWhenItIsReleased) {
    const queues::Threads threads;
    const auto held = std::make_shared<int>(0);
    auto ticking = MacDispatch().mainQueue()->makeTimer(1000, [held] { ++*held; });
    ticking->resume();
    queues::advance(1);
    ticking->suspend();
    ticking->resume();
    ticking.reset();
    EXPECT_EQ(held.use_count(), 1);
    auto cancelled = MacDispatch().mainQueue()->makeTimer(1000, [held] { ++*held; });
    cancelled->cancel();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 0);
}

TEST_F(MacUnservedMainLoop, TellsNobodyOfThePowerSources) {
    const auto held = std::make_shared<int>(0);
    Observation observation = MacPowerService().observe([held] { ++*held; });
    EXPECT_EQ(loopSources(), 1);
    observation.reset();
    EXPECT_EQ(loopSources(), 0);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 0);
}

// A watch that is told on the main queue is let go of while a callout stands in that queue for good.
TEST_F(MacUnservedMainLoop, HoldsNoReleaseUp) {
    const queues::Threads threads;
    MacDispatch dispatch;
    const auto held = std::make_shared<int>(0);
    const auto watch = MacNetworkService().watchConfiguration("test");
    ASSERT_TRUE(watch->setNotificationKeys({"State:/Network/Global/IPv4"}));
    Observation observation = watch->schedule(dispatch.mainQueue(), [held] { ++*held; });
    store::change("State:/Network/Global/IPv4");
    observation.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 0);
}

TEST_F(MacUnservedMainLoop, LetsTheModelsSampleAndGo) {
    const queues::Threads threads;
    MacPlatform platform;
    {
        sentrel::System system(platform);
        system.start(sentrel::System::Group::system);
        queues::advance(5);
        queues::settle();
        EXPECT_GT(failures::calls("host_statistics64"), 0);
    }
    queues::settle();
    EXPECT_EQ(queues::sources(), 0);
}

} // namespace
