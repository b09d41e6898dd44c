// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/SharedDefaults.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gtest/gtest.h>

namespace sentrel {
namespace {

TEST(SharedDefaults, AreTheSuiteOfHostAndWidgets) {
    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    EXPECT_TRUE(UserDefaults("Q4R7TWXN20.SentrelSharingDefaults").set("key", 5));
    EXPECT_EQ(sharedDefaults()["key"].intValue(), 5);
}

} // namespace
} // namespace sentrel
