// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(ScriptedPreferenceStore, TellsWhatIsAskedOfASuite) {
    ScriptedPlatform machine;
    const auto suite = machine.preferences().suite("test");
    ASSERT_EQ(suite, machine.preferences().scripted("test"));
    EXPECT_THAT(machine.preferences().calls.list(), ElementsAre("suite test"));
    ScriptedCalls& calls = machine.preferences().scripted("test")->calls;
    calls.fail("object", {.arguments = "a"});
    calls.fail("remove");
    const std::vector<std::string> both{"a", "b"};
    EXPECT_TRUE(suite->set("b", 5));
    EXPECT_FALSE(suite->object("a"));
    EXPECT_EQ(suite->object("b"), PropertyList(5));
    EXPECT_FALSE(suite->remove(both));
    EXPECT_THAT(suite->keys(), ElementsAre("b"));
    EXPECT_THAT(calls.list(), ElementsAre("set b", "object a", "object b", "remove a b", "keys"));
}

} // namespace
} // namespace sentrel::platform
