// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ScriptedCalls, ListsTheCallsInTheirOrderUntilTheyAreForgotten) {
    ScriptedCalls calls;
    EXPECT_FALSE(calls.fails("space", "/data"));
    calls.record("eject", "disk2");
    EXPECT_FALSE(calls.fails("loadTicks"));
    EXPECT_FALSE(calls.fails("space", "/"));
    EXPECT_THAT(calls.list(), ElementsAre("space /data", "eject disk2", "loadTicks", "space /"));
    EXPECT_EQ(calls.count("space"), 2U);
    EXPECT_EQ(calls.count("spa"), 0U);
    EXPECT_EQ(calls.take().size(), 4U);
    EXPECT_THAT(calls.list(), IsEmpty());
}

TEST(ScriptedCalls, FailForAnOperationUntilItSucceedsAgain) {
    ScriptedCalls calls;
    calls.fail("space");
    calls.fail("eject");
    for (int call = 0; call < 3; ++call) {
        errno = 0;
        EXPECT_TRUE(calls.fails("space", "/data"));
        EXPECT_EQ(errno, EIO);
    }
    EXPECT_FALSE(calls.fails("spaces"));
    calls.succeed("space");
    EXPECT_FALSE(calls.fails("space", "/data"));
    EXPECT_TRUE(calls.fails("eject"));
    calls.succeed();
    EXPECT_FALSE(calls.fails("eject"));
}

TEST(ScriptedCalls, FailForTheGivenArgumentsWithTheGivenError) {
    ScriptedCalls calls;
    calls.fail("enableAutosave", {.arguments = "disk1 0", .error = ETIMEDOUT});
    errno = 0;
    EXPECT_FALSE(calls.fails("enableAutosave", "disk1 1"));
    EXPECT_FALSE(calls.fails("enableAutosave", "disk2 0"));
    EXPECT_EQ(errno, 0);
    EXPECT_TRUE(calls.fails("enableAutosave", "disk1 0"));
    EXPECT_EQ(errno, ETIMEDOUT);
}

TEST(ScriptedCalls, AnswerWithACopyOrSayWhyThereIsNone) {
    ScriptedCalls calls;
    std::optional<int> value;
    int result = 1;
    EXPECT_EQ(calls.answer("cores", value, result), Availability::unsupported);
    value = 4;
    calls.fail("cores", {.call = 1, .error = EACCES});
    calls.fail("cores", {.call = 2, .error = EIO});
    EXPECT_EQ(calls.answer("cores", value, result), Availability::denied);
    EXPECT_EQ(calls.answer("cores", value, result), Availability::failed);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(calls.answer("cores", value, result), Availability::available);
    EXPECT_EQ(result, 4);
    EXPECT_THAT(calls.list(), ElementsAre("cores", "cores", "cores", "cores"));
}

TEST(ScriptedCalls, FailForTheNthCallFromThenOn) {
    ScriptedCalls calls;
    EXPECT_FALSE(calls.fails("space", "/data"));
    calls.fail("space", {.arguments = "/data", .call = 2, .error = EACCES});
    EXPECT_FALSE(calls.fails("space", "/data"));
    EXPECT_FALSE(calls.fails("space", "/"));
    EXPECT_TRUE(calls.fails("space", "/data"));
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(calls.fails("space", "/data"));
}

TEST(ScriptedCalls, AddTheirFailuresUp) {
    ScriptedCalls calls;
    calls.fail("space", {.call = 1, .error = EACCES});
    calls.fail("space", {.call = 2, .error = ENOENT});
    calls.fail("space", {.call = 2, .error = ENOMEM});
    EXPECT_TRUE(calls.fails("space"));
    EXPECT_EQ(errno, EACCES);
    EXPECT_TRUE(calls.fails("space"));
    EXPECT_EQ(errno, ENOENT) << "the first that fits";
    EXPECT_FALSE(calls.fails("space"));
}

TEST(ScriptedCalls, RunTheHookBeforeTheyAreAnswered) {
    ScriptedCalls calls;
    std::vector<std::string> heard;
    calls.onCall([&](const std::string& call) {
        heard.push_back(call);
        if (call == "space /")
            calls.fail("space");
        calls.onCall(nullptr); // also from inside, as it may do everything
    });
    EXPECT_TRUE(calls.fails("space", "/"));
    EXPECT_TRUE(calls.fails("space", "/"));
    EXPECT_THAT(heard, ElementsAre("space /"));
}

TEST(ScriptedCalls, RunTheHookOfEntriesAndDoNotRecordThem) {
    ScriptedCalls calls;
    std::vector<std::string> heard;
    calls.entry("listInterfaces", "en0");
    calls.onEntry([&](const std::string& entry) { heard.push_back(entry); });
    calls.entry("listInterfaces", "en1");
    EXPECT_THAT(heard, ElementsAre("listInterfaces en1"));
    EXPECT_THAT(calls.list(), IsEmpty());
}

TEST(ScriptedCalls, TellTheHandlesThatAreOut) {
    ScriptedCalls calls;
    std::optional<ScriptedHandle> session(std::in_place, calls, "session");
    {
        const ScriptedHandle disk(calls, "disk disk1");
        EXPECT_THAT(calls.openHandles(), ElementsAre("session", "disk disk1"));
    }
    EXPECT_THAT(calls.handles(), ElementsAre("session", "disk disk1"));
    EXPECT_THAT(calls.openHandles(), ElementsAre("session"));
    EXPECT_THAT(calls.take(), ElementsAre("release disk disk1"));
    EXPECT_THAT(calls.handles(), ElementsAre("session")) << "still out";
    session->record("setQueue");
    session.reset();
    EXPECT_THAT(calls.list(), ElementsAre("setQueue session", "release session"));
    EXPECT_THAT(calls.openHandles(), IsEmpty());
}

TEST(ScriptedCalls, MayEndBeforeTheirHandles) {
    std::optional<ScriptedCalls> calls(std::in_place);
    const ScriptedHandle session(*calls, "session");
    calls.reset();
    session.record("setQueue");
}

TEST(ScriptedCalls, HoldCompletionsBackUntilTheyAreResumed) {
    ScriptedCalls calls;
    std::vector<int> completed;
    calls.complete("unmount", [&] { completed.push_back(0); });
    calls.hold("unmount");
    for (int completion = 1; completion < 4; ++completion)
        calls.complete("unmount", [&, completion] { completed.push_back(completion); });
    calls.complete("eject", [&] { completed.push_back(100); });
    EXPECT_THAT(completed, ElementsAre(0, 100));
    EXPECT_EQ(calls.held("unmount"), 3U);
    calls.resume("unmount");
    EXPECT_THAT(completed, ElementsAre(0, 100, 1, 2, 3));
    EXPECT_EQ(calls.held("unmount"), 0U);
    calls.complete("unmount", [&] { completed.push_back(4); });
    EXPECT_EQ(completed.back(), 4);
}

TEST(ScriptedCalls, DropWhatIsHeldBackWithTheirEnd) {
    std::optional<ScriptedCalls> calls(std::in_place);
    calls->hold("unmount");
    const auto token = std::make_shared<int>();
    const auto handle = std::make_shared<ScriptedHandle>(*calls, "session");
    calls->complete("unmount", [token, handle] {});
    calls.reset();
    EXPECT_EQ(token.use_count(), 1);
}

TEST(ScriptedCalls, AreMadeByAnyThread) {
    ScriptedCalls calls;
    calls.fail("space", {.call = 50});
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            for (int call = 0; call < 100; ++call) {
                static_cast<void>(calls.fails("space", "/"));
                const ScriptedHandle handle(calls, "session");
                calls.complete("unmount", [] {});
                static_cast<void>(calls.list().size() + calls.openHandles().size());
            }
        });
    calls.onCall([](const std::string&) {});
    calls.hold("unmount");
    for (std::thread& thread : threads)
        thread.join();
    calls.resume("unmount");
    EXPECT_EQ(calls.count("space"), 400U);
    EXPECT_EQ(calls.count("release"), 400U);
    EXPECT_THAT(calls.openHandles(), IsEmpty());
}

} // namespace
} // namespace sentrel::platform
