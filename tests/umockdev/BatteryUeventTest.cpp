// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Battery.h>

#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TimeZone.h"
#include "tests/support/linux/MainLoop.h"
#include "tests/support/linux/PowerMachine.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <umockdev.h>
#include <vector>

// The test bed's own thread hands memory over under GLib's locks, which the thread sanitizer cannot see. What these two
// libraries do themselves is not looked at; all instrumented code still is.
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libumockdev.so.0\ncalled_from_lib:libglib-2.0.so.0\n";
}

namespace sentrel {
namespace {

// A notice is looked at 100 ms after it came.
constexpr std::chrono::milliseconds pastSettling{150};

constexpr std::int64_t noonOf13March2024 = 1'710'331'200;

// A mocked machine of fixtures/battery, with the default GLib main context as its loop.
class MockedMachine : public testing::Test {
protected:
    void SetUp() override {
        const char* preloaded = std::getenv("LD_PRELOAD");
        if (!preloaded || !std::strstr(preloaded, "umockdev"))
            GTEST_SKIP() << "not run under umockdev-wrapper";
        testbed_.reset(umockdev_testbed_new());
    }

    void load(const std::string& machine) {
        std::ifstream file(fixturePath("battery/") + machine + ".umockdev");
        add(std::string(std::istreambuf_iterator<char>(file), {}));
        power_.emplace(platform::SystemRoot());
        machine_.emplace(platform::ReplacedServices{.power = &*power_});
        (*machine_)->clock().setWallMicroseconds(noonOf13March2024 * 1'000'000);
    }

    // Adds devices described as in the fixtures.
    void add(const std::string& description) {
        GError* error = nullptr;
        umockdev_testbed_add_from_string(testbed_.get(), description.c_str(), &error);
        if (error)
            throw std::runtime_error(error->message);
        std::istringstream lines(description);
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("P: "))
                paths_[line.substr(line.rfind('/') + 1)] = "/sys" + line.substr(3);
    }

    void set(const std::string& device, const char* attribute, const char* value) {
        umockdev_testbed_set_attribute(testbed_.get(), paths_.at(device).c_str(), attribute,
                                       (std::string(value) + "\n").c_str());
    }

    void notify(const std::string& device, const char* action) {
        umockdev_testbed_uevent(testbed_.get(), paths_.at(device).c_str(), action);
    }

    void pull(const std::string& device) {
        notify(device, "remove");
        umockdev_testbed_remove_device(testbed_.get(), paths_.at(device).c_str());
    }

private:
    struct Release {
        void operator()(UMockdevTestbed* testbed) const { g_object_unref(testbed); }
    };

    std::unique_ptr<UMockdevTestbed, Release> testbed_;
    std::map<std::string, std::string> paths_; ///< by device name
    std::optional<platform::LinuxPowerService> power_;
    std::optional<ScriptedMachine> machine_;
};

// What a listener finds in the model at each event.
class Events {
public:
    explicit Events(Battery& battery) {
        battery.onBatteryChanged().listen(owner_, [this, &battery] {
            seen.push_back(std::to_string(battery.percent()) + " %, " + std::to_string(battery.current()) + " mA, " +
                           std::to_string(battery.acWatts()) + " W, " + (battery.isACPowered() ? "mains" : "battery") +
                           (battery.installed() ? "" : ", not installed"));
        });
    }

    std::vector<std::string> seen;

private:
    std::shared_ptr<int> owner_ = std::make_shared<int>();
};

class MockedFigures : public MockedMachine, public testing::WithParamInterface<const char*> {};

TEST_P(MockedFigures, AreTheOnesWorkedOutByHand) {
    const TimeZone utc("UTC");
    load(GetParam());
    EXPECT_EQ(batteryFigures(), expectedBatteryFigures(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Mocked, MockedFigures, testing::ValuesIn(powerMachines), [](const auto& machine) {
    std::string name = machine.param;
    std::erase(name, '-');
    return name;
});

using BatteryUevents = MockedMachine;

TEST_F(BatteryUevents, OfAPlugAndAnUnplugGiveOneEventEachWithTheFiguresAlreadyUpdated) {
    load("charge-laptop");
    Battery battery;
    Events events(battery);

    set("AC", "online", "1");
    set("BAT0", "status", "Charging");
    set("BAT0", "current_now", "2000000");
    notify("AC", "change");
    notify("BAT0", "change");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 1; }));
    EXPECT_EQ(battery.timeRemaining(), "0:35 until charged"); // (3900 - 2730) / 2000 h

    set("AC", "online", "0");
    set("BAT0", "status", "Discharging");
    set("BAT0", "current_now", "1500000");
    notify("AC", "change");
    notify("BAT0", "change");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 2; }));
    EXPECT_EQ(events.seen, (std::vector<std::string>{"70 %, 2000 mA, 0 W, mains", "70 %, -1500 mA, 0 W, battery"}));
}

TEST_F(BatteryUevents, ThatChangeNoFigureGiveNoEvent) {
    load("charge-laptop");
    Battery battery;
    Events events(battery);
    for (int i = 0; i < 3; ++i) {
        notify("BAT0", "change");
        // The settling time of each notice passes before the next.
        serveFor(pastSettling);
    }
    set("BAT0", "charge_now", "1950000");
    notify("BAT0", "change");
    ASSERT_TRUE(serveUntil([&] { return !events.seen.empty(); }));
    EXPECT_EQ(events.seen, (std::vector<std::string>{"50 %, -1365 mA, 0 W, battery"}));
}

TEST_F(BatteryUevents, OfAUsbCAdapterTellItsWatts) {
    load("usb-c-tablet");
    Battery battery;
    Events events(battery);
    EXPECT_EQ(battery.acWatts(), 27);

    set("tcpm-source-psy-5-004e", "online", "0");
    set("gauge-battery", "status", "Discharging");
    notify("tcpm-source-psy-5-004e", "change");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 1; }));
    set("tcpm-source-psy-5-004e", "online", "1");
    set("tcpm-source-psy-5-004e", "voltage_max", "15000000");
    set("gauge-battery", "status", "Charging");
    notify("tcpm-source-psy-5-004e", "change");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 2; }));
    EXPECT_EQ(events.seen, (std::vector<std::string>{"62 %, -850 mA, 0 W, battery", "62 %, 850 mA, 45 W, mains"}));
}

TEST_F(BatteryUevents, OfABatteryThatIsPulledAndPutBackTellOfTheEmptyBay) {
    load("charge-laptop");
    Battery battery;
    Events events(battery);

    pull("BAT0");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 1; }));
    EXPECT_TRUE(battery.hasBattery());

    add("P: /devices/virtual/power_supply/BAT0\nE: SUBSYSTEM=power_supply\nA: type=Battery\nA: status=Discharging\n"
        "A: present=1\nA: charge_full=3900000\nA: charge_now=3120000\nA: current_now=780000\n");
    notify("BAT0", "add");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 2; }));
    // Meant: an empty bay has no full charge to compare with, so its percent is the smallest integer.
    EXPECT_EQ(events.seen, (std::vector<std::string>{"-2147483648 %, 0 mA, 0 W, battery, not installed",
                                                     "80 %, -780 mA, 0 W, battery"}));
    EXPECT_EQ(battery.timeRemaining(), "4:00 remaining");
}

TEST_F(BatteryUevents, OfABayThatReportsItselfEmptyTellTheSame) {
    load("charge-laptop");
    Battery battery;
    Events events(battery);
    set("BAT0", "present", "0");
    notify("BAT0", "change");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 1; }));
    EXPECT_FALSE(battery.installed());
    EXPECT_EQ(battery.currentCapacity(), 2730); // the last figures stay
}

TEST_F(BatteryUevents, LetTheSecondBatteryTakeOverWhenTheFirstIsPulled) {
    load("two-batteries");
    Battery battery;
    Events events(battery);
    pull("BAT0");
    ASSERT_TRUE(serveUntil([&] { return events.seen.size() == 1; }));
    EXPECT_EQ(events.seen, (std::vector<std::string>{"50 %, -500 mA, 0 W, battery"})); // 5.9 W / 11.8 V
    EXPECT_EQ(battery.cycleCount(), 187);
    EXPECT_EQ(battery.timeRemaining(), "1:50 remaining"); // 10.8 Wh / 5.9 W = 1.83 h
}

TEST_F(BatteryUevents, OfAMouseGiveNoEvent) {
    load("charge-laptop");
    add("P: /devices/virtual/power_supply/hidpp_battery_0\nE: SUBSYSTEM=power_supply\nA: type=Battery\n"
        "A: scope=Device\nA: capacity=55\n");
    Battery battery;
    Events events(battery);
    set("hidpp_battery_0", "capacity", "50");
    notify("hidpp_battery_0", "change");
    serveFor(pastSettling);
    EXPECT_TRUE(events.seen.empty());
}

TEST_F(BatteryUevents, ReachNoListenerWhoseOwnerDiesDuringTheDelivery) {
    load("charge-laptop");
    Battery battery;
    const auto first = std::make_shared<int>();
    auto second = std::make_shared<int>();
    std::vector<int> delivered;
    battery.onBatteryChanged().listen(first, [&] {
        delivered.push_back(1);
        second.reset();
    });
    battery.onBatteryChanged().listen(second, [&] { delivered.push_back(2); });
    set("AC", "online", "1");
    notify("AC", "change");
    ASSERT_TRUE(serveUntil([&] { return !delivered.empty(); }));
    EXPECT_EQ(delivered, std::vector<int>{1});
}

TEST_F(BatteryUevents, AreDeliveredOnTheContextThatTheRegisteringThreadPushed) {
    load("charge-laptop");
    GMainContext* own = g_main_context_new();
    g_main_context_push_thread_default(own);
    Battery battery;
    g_main_context_pop_thread_default(own);
    Events events(battery);

    set("AC", "online", "1");
    notify("AC", "change");
    serveFor(pastSettling);
    EXPECT_TRUE(events.seen.empty()) << "the global default context was served";
    EXPECT_TRUE(serveUntil([&] { return events.seen.size() == 1; }, own));
    g_main_context_unref(own);
}

} // namespace
} // namespace sentrel
