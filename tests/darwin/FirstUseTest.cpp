// SPDX-License-Identifier: Apache-2.0
/// What runs by itself, and from when on: nothing of the library wakes a Mac that nobody asked for figures.

#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/darwin/doubles/VolumeNotices.h"
#include "tests/darwin/doubles/Workspace.h"
#include "tests/support/EchoHostGuard.h"

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/macos/MacPlatform.h>
#include <SentrelKit/system/System.h>

#include <optional>

using namespace darwin;
using sentrel::System;
using sentrel::platform::MacPlatform;
using testing::IsEmpty;

namespace {

constexpr double day = 24 * 60 * 60;

class MacFirstUse : public DarwinTest {
protected:
    const sentrel::EchoHostGuard guard{{}}; // contact nobody
};

TEST_F(MacFirstUse, IsBeforeAnythingIsRegisteredOrRuns) {
    {
        const MacPlatform platform;
        EXPECT_EQ(queues::sources(), 0);
        EXPECT_EQ(queues::waiting(), 0);
        EXPECT_THAT(store::names(), IsEmpty());
        EXPECT_EQ(loopSources(), 0);
        EXPECT_EQ(workspace::registrations(), 0);
        EXPECT_EQ(workspace::runningObservers(), 0);
        queues::advance(day);
    }
    EXPECT_EQ(queues::runs(), 0);
}

TEST_F(MacFirstUse, OfTheModelsSetsNoTimerBeforeOneIsStarted) {
    MacPlatform platform;
    std::optional<System> system(platform);
    queues::advance(60); // what making them left to the background is over
    EXPECT_EQ(queues::ticking(), 0);
    EXPECT_EQ(queues::waiting(), 0);
    const int before = queues::runs();
    queues::advance(day);
    EXPECT_EQ(queues::runs(), before);
    system->start(System::Group::system);
    EXPECT_GT(queues::ticking(), 0);
    queues::advance(60);
    EXPECT_GT(queues::runs(), before);
    system.reset();
    queues::advance(60);
}

TEST_F(MacFirstUse, LeavesNothingBehindThatRunsOnceAllIsReleased) {
    {
        MacPlatform platform;
        System system(platform);
        system.start(System::Group::system);
        queues::advance(10);
    }
    queues::advance(60); // what was under way ends
    EXPECT_EQ(queues::sources(), 0);
    EXPECT_EQ(queues::waiting(), 0);
    EXPECT_THAT(store::names(), IsEmpty());
    EXPECT_EQ(loopSources(), 0);
    EXPECT_EQ(workspace::registrations(), 0);
    const int before = queues::runs();
    queues::advance(day);
    EXPECT_EQ(queues::runs(), before);
}

} // namespace
