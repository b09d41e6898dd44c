// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(ScriptedDispatch, HasNothingForALoopToWaitFor) {
    ScriptedPlatform machine;
    const Override override(machine);
    dispatch::mainQueue()->async([] { FAIL() << "only its test moves its time"; });
    EXPECT_EQ(dispatch::mainDescriptor(), -1);
    dispatch::serveMain();
}

TEST(ScriptedDispatch, TellsItsQueuesClosuresAndTimers) {
    ScriptedPlatform machine;
    ScriptedDispatch& dispatch = machine.dispatch();
    dispatch.mainQueue()->async([] {});
    dispatch.serialQueue("own")->after(1'000, [] {});
    {
        const auto timer = dispatch.backgroundQueue()->makeTimer(1'000'000'000, [] {});
        timer->resume();
        EXPECT_THAT(dispatch.calls.openHandles(), ElementsAre("timer background"));
    }
    EXPECT_THAT(dispatch.calls.list(),
                ElementsAre("async main", "serialQueue own", "after own 1000", "makeTimer background 1000000000",
                            "resume timer background", "release timer background"));
}

} // namespace
} // namespace sentrel::platform
