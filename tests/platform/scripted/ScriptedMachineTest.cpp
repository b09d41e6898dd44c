// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(ScriptedMachine, IsInForceForItsScope) {
    Platform& before = current();
    {
        ScriptedMachine machine;
        EXPECT_EQ(&current().host(), &machine->host());
        ScriptedPlatform other;
        const ScriptedMachine inner({.host = &other.host()});
        EXPECT_EQ(&current().host(), &other.host());
    }
    EXPECT_EQ(&current(), &before);
}

} // namespace
} // namespace sentrel::platform
