// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/BusConnection.h>

#include "tests/support/linux/PrivateBus.h"
#include "tests/support/linux/SilentBus.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace sentrel::platform {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

constexpr BusObject busItself{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};

// The limit was once kept by a worker of the background queue, which had none to spare while all of them waited.
TEST(BusConnection, GivesUpConnectingToABusThatNeverAnswers) {
    const SilentBus bus;
    BusConnection connection(G_BUS_TYPE_SYSTEM);
    const SteadyClock::time_point start = SteadyClock::now();
    const BusAnswer answer =
        connection.ask(busItself, "GetId", g_variant_new("()"), nullptr, G_DBUS_CALL_FLAGS_NONE, 1000);
    const SteadyClock::duration took = SteadyClock::now() - start;
    EXPECT_FALSE(answer.value);
    EXPECT_FALSE(answer.error) << "nobody was asked";
    EXPECT_GE(took, 2900ms);
    EXPECT_LT(took, 10s);
}

TEST(BusConnection, BreaksOffConnectingWhenItIsEnded) {
    const SilentBus bus;
    BusConnection connection(G_BUS_TYPE_SYSTEM);
    const SteadyClock::time_point start = SteadyClock::now();
    std::thread ender([&] { connection.end(); });
    EXPECT_FALSE(connection.call(busItself, "GetId", g_variant_new("()"), nullptr, G_DBUS_CALL_FLAGS_NONE));
    EXPECT_LT(SteadyClock::now() - start, 2900ms);
    ender.join();
    EXPECT_FALSE(connection.call(busItself, "GetId", g_variant_new("()"), nullptr, G_DBUS_CALL_FLAGS_NONE));
}

TEST(BusConnection, TellsTheErrorOfAService) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.runs());
    BusConnection connection(G_BUS_TYPE_SYSTEM);
    EXPECT_TRUE(connection.call(busItself, "GetId", g_variant_new("()"), nullptr, G_DBUS_CALL_FLAGS_NONE));
    const BusAnswer answer = connection.ask({"org.example.Nobody", "/", "org.example.Nobody"}, "Call",
                                            g_variant_new("()"), nullptr, G_DBUS_CALL_FLAGS_NONE, 30000);
    EXPECT_FALSE(answer.value);
    ASSERT_TRUE(answer.error);
    EXPECT_TRUE(g_error_matches(answer.error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN));
}

} // namespace
} // namespace sentrel::platform
