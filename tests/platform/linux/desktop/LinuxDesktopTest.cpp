// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/desktop/LinuxDesktop.h>

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Await.h"
#include "tests/support/EnvironmentValue.h"
#include "tests/support/Fixtures.h"
#include "tests/support/linux/PrivateBus.h"
#include "tests/support/linux/SilentBus.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace sentrel::platform {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* allCapabilities = "body body-markup actions inline-reply sound";

/// The Debian packages of the Python bindings belong to the system's own interpreter.
constexpr const char* python = "/usr/bin/python3";

UserNotification titled(const std::string& title) {
    UserNotification notification;
    notification.title = title;
    return notification;
}

/// The machine's queues, with one serial queue for all who ask: a test that stands in line knows what ran before it.
class OneLineDispatch final : public Dispatch {
public:
    std::shared_ptr<DispatchQueue> mainQueue() override { return dispatch_.mainQueue(); }
    std::shared_ptr<DispatchQueue> backgroundQueue() override { return dispatch_.backgroundQueue(); }
    std::shared_ptr<DispatchQueue> serialQueue(const std::string& /*name*/) override { return line_; }
    void runMain(double seconds) override { dispatch_.runMain(seconds); }

private:
    LinuxDispatch dispatch_;
    std::shared_ptr<DispatchQueue> line_ = dispatch_.serialQueue("line");
};

/// A desktop on a bus of the test's own.
class LinuxDesktopTest : public testing::Test {
protected:
    void SetUp() override {
        if (!bus_.runs())
            GTEST_SKIP() << "needs dbus-daemon";
        if (std::system("/usr/bin/python3 -c 'import dbus, gi' 2>/dev/null") != 0)
            GTEST_SKIP() << "needs Python with dbus and gi";
    }

    std::unique_ptr<ChildProgram> serve(const char* capabilities, const char* behaviour) {
        auto service = std::make_unique<ChildProgram>(
            std::vector<std::string>{python, fixturePath("notifications/service.py"), capabilities, behaviour});
        EXPECT_EQ(service->readLine(), "ready");
        return service;
    }

    /// What the service was called with for one notification.
    std::string delivered(const UserNotification& notification, const char* capabilities = allCapabilities) {
        const auto service = serve(capabilities, "good");
        desktop_.presentWhileFrontmost();
        desktop_.deliver(notification);
        return service->readLine().value_or("nothing");
    }

    PrivateBus bus_;
    OneLineDispatch dispatch_;
    LinuxDesktop desktop_{dispatch_};
};

TEST_F(LinuxDesktopTest, HandsTheServiceATitleAlone) {
    const std::string call = delivered(titled("Network"));
    EXPECT_THAT(call, HasSubstr(R"("summary": "Network")"));
    EXPECT_THAT(call, HasSubstr(R"("body": "")"));
    EXPECT_THAT(call, HasSubstr(R"("actions": [])"));
    EXPECT_THAT(call, HasSubstr(R"("expiry": -1)"));
    EXPECT_THAT(call, HasSubstr(R"("replaces": 0)"));
}

TEST_F(LinuxDesktopTest, EscapesMarkupOnlyWhereTheServiceReadsIt) {
    UserNotification notification = titled("<b>Title</b>");
    notification.text = "a < b & <i>c</i>";
    const std::string escaped = delivered(notification);
    EXPECT_THAT(escaped, HasSubstr(R"("body": "a &lt; b &amp; &lt;i&gt;c&lt;/i&gt;")"));
    EXPECT_THAT(escaped, HasSubstr(R"("summary": "<b>Title</b>")")) << "titles have no markup";
    EXPECT_THAT(delivered(notification, "body"), HasSubstr(R"("body": "a < b & <i>c</i>")"));
}

TEST_F(LinuxDesktopTest, NamesTheSoundOrAsksForSilence) {
    UserNotification notification = titled("Network");
    notification.sound = desktop_.defaultSoundName();
    const std::string loud = delivered(notification);
    EXPECT_THAT(loud, HasSubstr(R"("sound-name": "message-new-instant")"));
    EXPECT_THAT(loud, Not(HasSubstr("suppress-sound")));
    notification.sound.reset();
    const std::string silent = delivered(notification);
    EXPECT_THAT(silent, HasSubstr(R"("suppress-sound": true)"));
    EXPECT_THAT(silent, Not(HasSubstr("sound-name")));
}

TEST_F(LinuxDesktopTest, ShowsTheButtonAndTheReplyThatTheServiceCanShow) {
    UserNotification notification = titled("Network");
    notification.actionButtonTitle = "Open";
    notification.hasReplyButton = true;
    EXPECT_THAT(delivered(notification), HasSubstr(R"("actions": ["action", "Open", "inline-reply", "Reply"])"));
    EXPECT_THAT(delivered(notification, "actions"), HasSubstr(R"("actions": ["action", "Open"])"));
    EXPECT_THAT(delivered(notification, "body"), HasSubstr(R"("actions": [])"));
}

TEST_F(LinuxDesktopTest, ShowsNotificationsWhileTheHostIsInFrontOnceToldTo) {
    {
        const auto service = serve(allCapabilities, "good");
        desktop_.deliver(titled("Before"));
        EXPECT_THAT(service->readLine().value(), HasSubstr(R"("resident": true)"));
    }
    const std::string call = delivered(titled("After"));
    EXPECT_THAT(call, HasSubstr(R"("resident": false)"));
    EXPECT_THAT(call, HasSubstr(R"("urgency": 1)"));
}

TEST_F(LinuxDesktopTest, RepairsTextsThatTheBusWouldRefuse) {
    UserNotification notification = titled("bad \xff title");
    notification.text = "bad \xfe text";
    const std::string call = delivered(notification);
    EXPECT_THAT(call, HasSubstr(R"("summary": "bad \ufffd title")"));
    EXPECT_THAT(call, HasSubstr(R"("body": "bad \ufffd text")"));
}

TEST_F(LinuxDesktopTest, GoesOnAfterAServiceThatRefuses) {
    {
        const auto refusing = serve(allCapabilities, "error");
        desktop_.deliver(titled("First"));
        EXPECT_THAT(refusing->readLine().value(), HasSubstr("First"));
    }
    EXPECT_THAT(delivered(titled("Second")), HasSubstr("Second"));
}

TEST_F(LinuxDesktopTest, GoesOnAfterAServiceThatVanishes) {
    {
        const auto vanishing = serve(allCapabilities, "vanish");
        desktop_.deliver(titled("First"));
        EXPECT_THAT(vanishing->readLine().value(), HasSubstr("First"));
        EXPECT_EQ(vanishing->readLine(), std::nullopt);
    }
    EXPECT_THAT(delivered(titled("Second")), HasSubstr("Second"));
}

TEST_F(LinuxDesktopTest, DropsANotificationWhereThereIsNoService) {
    desktop_.deliver(titled("Nobody hears this"));
    Event delivery;
    dispatch_.serialQueue("test")->async([&] { delivery.happened(); });
    ASSERT_TRUE(delivery.await());
    EXPECT_THAT(delivered(titled("Later")), HasSubstr("Later"));
}

TEST_F(LinuxDesktopTest, ReturnsAtOnceWhileAServiceKeepsSilent) {
    const auto silent = serve(allCapabilities, "silent");
    const auto start = std::chrono::steady_clock::now();
    desktop_.deliver(titled("First"));
    desktop_.deliver(titled("Second"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_THAT(silent->readLine().value(), HasSubstr("First"));
    EXPECT_THAT(silent->readLine().value(), HasSubstr("Second")) << "the first one's answer is given up";
}

TEST(LinuxDesktop, ReturnsAtOnceWithoutABus) {
    const EnvironmentValue nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    LinuxDispatch dispatch;
    LinuxDesktop desktop(dispatch);
    desktop.deliver(titled("Nobody hears this"));
}

TEST(LinuxDesktop, GivesUpConnectingToABusThatDoesNotAnswer) {
    const SilentBus bus;
    LinuxDispatch dispatch;
    LinuxDesktop desktop(dispatch);
    desktop.deliver(titled("First"));
    desktop.deliver(titled("Second"));
    // The second connection comes only once the first was given up.
    const int first = bus.accept();
    EXPECT_GE(first, 0);
    const int second = bus.accept();
    EXPECT_GE(second, 0);
    ::close(second);
    ::close(first);
}

} // namespace
} // namespace sentrel::platform
