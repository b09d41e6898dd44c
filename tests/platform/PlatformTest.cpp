// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Platform.h>

#include <SentrelKit/base/system/detail/WallClock.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(Platform, IsTheRealMachineUnlessAnOverrideStands) {
    Platform& real = current();
    WallClock& realClock = WallClock::current();
    ScriptedPlatform outer;
    ScriptedPlatform inner;
    {
        const Override first(outer);
        EXPECT_EQ(&current(), &outer);
        EXPECT_EQ(&WallClock::current(), &outer.clock());
        {
            const Override second(inner);
            EXPECT_EQ(&current(), &inner);
            EXPECT_EQ(&WallClock::current(), &inner.clock());
        }
        EXPECT_EQ(&current(), &outer);
        EXPECT_EQ(&WallClock::current(), &outer.clock());
    }
    EXPECT_EQ(&current(), &real);
    EXPECT_EQ(&WallClock::current(), &realClock);
}

} // namespace
} // namespace sentrel::platform
