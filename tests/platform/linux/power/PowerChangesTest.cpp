// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerChanges.h>

#include <SentrelKit/platform/linux/power/LinuxPowerService.h>

#include "tests/support/linux/MainLoop.h"
#include "tests/support/linux/PowerMachine.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <glib.h>
#include <gtest/gtest.h>
#include <thread>

namespace sentrel::platform {
namespace {

using namespace std::chrono_literals;

constexpr PowerChangeTimes quick{.settling = 1ms, .polling = 5ms};

// An observer that counts its calls.
std::function<void()> count(std::atomic<int>& counter) {
    return [&counter] { ++counter; };
}

// Serves the default context so long that a quick change source looks many times.
void serveForManyLooks() {
    serveFor(100ms);
}

TEST(PowerChanges, AreFoundByTheCoarseTimerWithoutANotice) {
    const PowerSupplyTree tree("charge-laptop");
    LinuxPowerService service(tree.root(), quick);
    std::atomic<int> changes{0};
    const Observation observation = service.observe(count(changes));
    EXPECT_TRUE(observation);
    tree.set("BAT0", "charge_now", "2700000\n");
    EXPECT_TRUE(serveUntil([&] { return changes == 1; }));
    tree.set("BAT0", "cycle_count", "313\n");
    EXPECT_TRUE(serveUntil([&] { return changes == 2; }));
    tree.remove("BAT0");
    EXPECT_TRUE(serveUntil([&] { return changes == 3; }));
    tree.set("BAT0", "type", "Battery\n");
    EXPECT_TRUE(serveUntil([&] { return changes == 4; }));
}

TEST(PowerChanges, AreOnlyThoseOfAFigure) {
    const PowerSupplyTree tree("charge-laptop");
    LinuxPowerService service(tree.root(), quick);
    std::atomic<int> changes{0};
    const Observation observation = service.observe(count(changes));
    tree.set("BAT0", "serial_number", "42\n");
    tree.set("BAT0", "charge_now", " 2730000 \n");
    tree.set("hidpp_battery_0", "type", "Battery\n");
    tree.set("hidpp_battery_0", "scope", "Device\n");
    serveForManyLooks();
    EXPECT_EQ(changes, 0);
}

TEST(PowerChanges, AreNotPolledForWithoutABattery) {
    const PowerSupplyTree tree("mouse-desktop");
    LinuxPowerService service(tree.root(), quick);
    std::atomic<int> changes{0};
    const Observation observation = service.observe(count(changes));
    tree.set("BAT0", "type", "Battery\n");
    serveForManyLooks();
    EXPECT_EQ(changes, 0);
}

TEST(PowerChanges, ReachEverySourceThatWasAdded) {
    const PowerSupplyTree tree("charge-laptop");
    LinuxPowerService service(tree.root(), quick);
    std::atomic<int> first{0};
    std::atomic<int> second{0};
    const Observation one = service.observe(count(first));
    const Observation other = service.observe(count(second));
    tree.set("AC", "online", "1\n");
    EXPECT_TRUE(serveUntil([&] { return first == 1 && second == 1; }));
}

TEST(PowerChanges, EndWithTheirObservation) {
    const PowerSupplyTree tree("charge-laptop");
    std::atomic<int> changes{0};
    {
        LinuxPowerService service(tree.root(), quick);
        const Observation observation = service.observe(count(changes));
    }
    tree.set("AC", "online", "1\n");
    serveForManyLooks();
    EXPECT_EQ(changes, 0);
}

TEST(PowerChanges, OutliveTheContextTheyWereAddedTo) {
    const PowerSupplyTree tree("charge-laptop");
    LinuxPowerService service(tree.root(), quick);
    std::atomic<int> changes{0};
    GMainContext* own = g_main_context_new();
    g_main_context_push_thread_default(own);
    const Observation observation = service.observe(count(changes));
    g_main_context_pop_thread_default(own);
    tree.set("AC", "online", "1\n");
    EXPECT_TRUE(serveUntil([&] { return changes == 1; }, own));
    g_main_context_unref(own);
}

TEST(PowerChanges, CrossFromTheRegisteringThreadToTheOneThatRunsTheLoop) {
    const PowerSupplyTree tree("charge-laptop");
    std::atomic<int> changes{0};
    for (int round = 0; round < 20; ++round) {
        tree.set("AC", "online", "0\n");
        LinuxPowerService service(tree.root(), quick);
        changes = 0;
        Observation observation;
        std::thread registering([&] {
            observation = service.observe(count(changes));
            tree.set("AC", "online", "1\n");
        });
        EXPECT_TRUE(serveUntil([&] { return changes == 1; }));
        registering.join();
    }
}

TEST(PowerChanges, EndSafelyWhileTheLoopRunsOnAnotherThread) {
    const PowerSupplyTree tree("charge-laptop");
    std::atomic<int> changes{0};
    std::atomic<bool> done{false};
    std::thread loop([&] { EXPECT_TRUE(serveUntil([&] { return done.load(); })); });
    for (int round = 0; round < 50; ++round) {
        LinuxPowerService service(tree.root(), {.settling = 1ms, .polling = 1ms});
        const Observation observation = service.observe(count(changes));
        tree.set("AC", "online", round % 2 == 0 ? "1\n" : "0\n");
        std::this_thread::sleep_for(2ms);
    }
    done = true;
    loop.join();
}

} // namespace
} // namespace sentrel::platform
