// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

UserNotification titled(const std::string& title) {
    UserNotification notification;
    notification.title = title;
    return notification;
}

TEST(ScriptedDesktop, ServesSeveralThreads) {
    ScriptedPlatform machine;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 100; ++i) {
                machine.desktop().presentWhileFrontmost();
                machine.desktop().deliver(titled(std::to_string(thread)));
                EXPECT_TRUE(machine.desktop().openAddress("https://example.org/"));
                const std::size_t opened = machine.desktop().opened().size(); // before the others make further calls
                EXPECT_LE(opened, machine.desktop().calls.list().size());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(machine.desktop().delivered().size(), 400U);
    EXPECT_EQ(machine.desktop().opened().size(), 400U);
    EXPECT_EQ(machine.desktop().calls.count("presentWhileFrontmost"), 1U);
}

TEST(ScriptedDesktop, KeepsNothingOfWhatFails) {
    ScriptedPlatform machine;
    machine.desktop().calls.fail("deliver", {.call = 1});
    machine.desktop().calls.fail("openAddress", {.arguments = "nowhere:"});
    machine.desktop().deliver(titled("Lost"));
    machine.desktop().deliver(titled("Shown"));
    EXPECT_FALSE(machine.desktop().openAddress("nowhere:"));
    EXPECT_EQ(machine.desktop().delivered().size(), 1U);
    EXPECT_THAT(machine.desktop().opened(), IsEmpty());
    EXPECT_THAT(machine.desktop().calls.list(), ElementsAre("deliver Lost", "deliver Shown", "openAddress nowhere:"));
}

} // namespace
} // namespace sentrel::platform
