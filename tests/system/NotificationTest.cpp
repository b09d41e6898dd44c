// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Notification.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

namespace sentrel {
namespace {

TEST(Notification, OfATitleAloneHasTheDefaultSoundAndNothingElse) {
    ScriptedMachine machine;
    Notification::notify("Network");
    ASSERT_EQ(machine->desktop().delivered().size(), 1U);
    const platform::UserNotification delivered = machine->desktop().delivered()[0];
    EXPECT_EQ(delivered.title, "Network");
    EXPECT_EQ(delivered.text, std::nullopt);
    EXPECT_EQ(delivered.sound, machine->desktop().defaultSoundName());
    EXPECT_EQ(delivered.actionButtonTitle, std::nullopt);
    EXPECT_FALSE(delivered.hasReplyButton);
}

TEST(Notification, WithAnAbsentSoundIsSilent) {
    ScriptedMachine machine;
    Notification::notify("Network", "Connected", std::nullopt);
    ASSERT_EQ(machine->desktop().delivered().size(), 1U);
    EXPECT_EQ(machine->desktop().delivered()[0].sound, std::nullopt);
}

TEST(Notification, HandsOverAllThatItIsGiven) {
    ScriptedMachine machine;
    Notification::notify("Network", "Connected", "chime", "Open", true);
    ASSERT_EQ(machine->desktop().delivered().size(), 1U);
    const platform::UserNotification delivered = machine->desktop().delivered()[0];
    EXPECT_EQ(delivered.text, "Connected");
    EXPECT_EQ(delivered.sound, "chime");
    EXPECT_EQ(delivered.actionButtonTitle, "Open");
    EXPECT_TRUE(delivered.hasReplyButton);
}

TEST(Notification, ShowsWhileTheHostIsInFrontFromTheFirstOneOn) {
    ScriptedMachine machine;
    EXPECT_EQ(machine->desktop().calls.count("presentWhileFrontmost"), 0U);
    Notification::notify("First");
    Notification::notify("Second");
    std::vector<std::string> calls = machine->desktop().calls.list();
    std::erase(calls, "defaultSoundName");
    EXPECT_EQ(calls, (std::vector<std::string>{"presentWhileFrontmost", "deliver First", "deliver Second"}));
}

} // namespace
} // namespace sentrel
