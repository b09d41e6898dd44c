// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Battery.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/BatteryProbes.h>

#include "tests/support/Await.h"
#include "tests/support/Eventually.h"
#include "tests/support/TimeZone.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using Dictionary = PropertyList::Dictionary;

Dictionary service() {
    return {{"BatteryInstalled", true},
            {"ExternalConnected", true},
            {"IsCharging", true},
            {"CurrentCapacity", 2000},
            {"MaxCapacity", 3900},
            {"DesignCapacity", 4000},
            {"CycleCount", 123},
            {"DesignCycleCount9C", 1000},
            {"Voltage", 12000},
            {"Temperature", 3012},
            {"ManufactureDate", (41 << 9) | (3 << 5) | 14}};
}

Dictionary source(int minutes = 125, bool charging = false) {
    return {{"Is Charging", charging},
            {"Is Charged", false},
            {charging ? "Time to Full Charge" : "Time to Empty", minutes},
            {"Current", charging ? 1500 : -1500},
            {"Current Capacity", 2000},
            {"Max Capacity", 3900}};
}

// A laptop with a battery; change its values, then tell.
class BatteryModel : public testing::Test {
protected:
    BatteryModel() {
        power().battery = service();
        power().sources = {source()};
    }

    platform::ScriptedPowerService& power() { return machine_->power(); }
    Dictionary& properties() { return *power().battery; }
    Dictionary& description() { return power().sources.front(); }
    platform::ScriptedClock& clock() { return machine_->clock(); }

private:
    ScriptedMachine machine_;
};

using BatteryUpdate = BatteryModel;
using BatteryEvent = BatteryModel;
using BatteryTime = BatteryModel;
using BatteryHealth = BatteryModel;
using BatteryWatts = BatteryModel;

TEST_F(BatteryModel, ReadsFixedFactsAndFirstFiguresWhenItIsMade) {
    const TimeZone utc("UTC");
    clock().setWallMicroseconds(1'710'331'200'000'000); // 13 March 2024, 12:00
    description()["BatteryHealthCondition"] = "Check Battery";
    power().adapter = Dictionary{{"Watts", 60}};
    const Battery battery;
    EXPECT_EQ(battery.type(), SystemResourceType::battery);
    EXPECT_TRUE(battery.hasBattery());
    EXPECT_TRUE(battery.installed());
    EXPECT_TRUE(battery.isACPowered());
    EXPECT_FALSE(battery.isFullyCharged());
    EXPECT_EQ(battery.acWatts(), 60);
    EXPECT_EQ(battery.currentCapacity(), 2000);
    EXPECT_EQ(battery.maxCapacity(), 3900);
    EXPECT_EQ(battery.designCapacity(), 4000);
    EXPECT_EQ(battery.cycleCount(), 123);
    EXPECT_EQ(battery.designCycleCount(), 1000);
    EXPECT_DOUBLE_EQ(battery.temperature(), 30.12);
    EXPECT_EQ(battery.timeRemaining(), "2:05 remaining");
    EXPECT_EQ(battery.remainingDuration(), std::chrono::minutes(125));
    EXPECT_EQ(battery.voltage(), 12000);
    EXPECT_EQ(battery.current(), -1500);
    EXPECT_EQ(battery.percent(), 51);
    EXPECT_EQ(battery.condition(), "Check Battery");
    EXPECT_TRUE(battery.hasACondition());
    EXPECT_EQ(battery.age(), "3.0 years");
    EXPECT_EQ(battery.manufactured(), "14 Mar 2021");
}

TEST_F(BatteryModel, TakesTheChargingFlagFromTheRecordLast) {
    const Battery battery; // the registry says that it charges, the record that it does not
    EXPECT_FALSE(battery.isCharging());
}

TEST_F(BatteryModel, IsOnTheMainsAndSilentWithoutABattery) {
    power().battery.reset();
    Battery battery;
    int events = 0;
    const auto owner = std::make_shared<int>();
    battery.onBatteryChanged().listen(owner, [&] { ++events; });
    EXPECT_EQ(power().calls.count("observe"), 0u);
    EXPECT_FALSE(battery.hasBattery());
    EXPECT_TRUE(battery.isACPowered());
    EXPECT_FALSE(battery.installed());
    EXPECT_EQ(battery.timeRemaining(), "Calculating..");
    EXPECT_EQ(battery.remainingDuration(), std::nullopt);
    EXPECT_EQ(battery.condition(), "");
    EXPECT_EQ(battery.age(), "");
    EXPECT_EQ(battery.manufactured(), "");
    EXPECT_EQ(battery.percent(), 0);
    EXPECT_EQ(battery.health(), 0);
    EXPECT_EQ(battery.watts(), 0);

    power().battery = service(); // it looks for a battery only once
    power().change();
    EXPECT_EQ(events, 0);
    EXPECT_FALSE(battery.hasBattery());
}

TEST_F(BatteryModel, KeepsTheTwoDottedTextUntilTheFirstRecord) {
    // Meant: two dots before any record, three while a record's time cannot be known.
    power().sources.clear();
    const Battery battery;
    EXPECT_TRUE(battery.hasBattery());
    EXPECT_EQ(battery.timeRemaining(), "Calculating..");

    power().sources = {source(-1)};
    power().change();
    EXPECT_EQ(battery.timeRemaining(), "Calculating...");
    EXPECT_EQ(battery.remainingDuration(), std::nullopt);
}

TEST_F(BatteryModel, SaysNormalWithoutAReportedCondition) {
    const Battery battery;
    EXPECT_EQ(battery.condition(), "Normal");
    EXPECT_FALSE(battery.hasACondition());
}

TEST_F(BatteryModel, KeepsAFixedFactThatIsMissingOrOfAnotherKind) {
    properties()["DesignCapacity"] = "4000";
    properties()["DesignCycleCount9C"] = 1000.0;
    properties()["ManufactureDate"] = true;
    properties().erase("BatteryInstalled");
    const Battery battery;
    EXPECT_TRUE(battery.hasBattery());
    EXPECT_FALSE(battery.installed());
    EXPECT_EQ(battery.designCapacity(), 0);
    EXPECT_EQ(battery.designCycleCount(), 0);
    EXPECT_EQ(battery.age(), "");
    EXPECT_EQ(battery.manufactured(), "");
}

TEST_F(BatteryModel, SurvivesChangesThatComeAfterItWentAway) {
    std::make_unique<Battery>().reset();
    EXPECT_EQ(power().calls.count("observe"), 1u);
    power().change();
}

TEST_F(BatteryModel, IsReadFromOtherThreadsWhileItChanges) {
    Battery battery;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        const Battery& model = battery;
        while (!done) {
            const std::string text = model.timeRemaining() + model.condition() + model.age() + model.manufactured();
            EXPECT_FALSE(text.empty());
            EXPECT_GE(model.health(), 97);
            EXPECT_EQ(model.watts(), -18);
            EXPECT_TRUE(model.hasBattery() && model.installed() && model.isACPowered() && !model.hasACondition());
            EXPECT_GE(model.currentCapacity() + model.maxCapacity() + model.designCapacity(), 1);
            EXPECT_GE(model.cycleCount() + model.designCycleCount() + model.acWatts() + model.percent(), 1);
            EXPECT_GE(model.temperature(), 30);
            EXPECT_FALSE(model.isCharging() && model.isFullyCharged());
        }
    });
    for (int i = 0; i < 200; ++i) {
        power().sources = {source(i)};
        power().change();
    }
    done = true;
    reader.join();
}

TEST_F(BatteryUpdate, RefreshesTheLiveFiguresWithoutAnEvent) {
    Battery battery;
    const auto fires = battery.onBatteryChanged().fireCount();
    properties()["ExternalConnected"] = false;
    properties()["IsCharging"] = true;
    properties()["CurrentCapacity"] = 1999.5;
    properties()["MaxCapacity"] = 3899;
    properties()["CycleCount"] = 124;
    properties()["Voltage"] = 11000;
    properties()["Temperature"] = -150;
    properties()["DesignCapacity"] = 1; // read once only
    battery.update();
    EXPECT_FALSE(battery.isACPowered());
    EXPECT_TRUE(battery.isCharging());
    EXPECT_EQ(battery.currentCapacity(), 1999.5);
    EXPECT_EQ(battery.maxCapacity(), 3899);
    EXPECT_EQ(battery.cycleCount(), 124);
    EXPECT_EQ(battery.voltage(), 11000);
    EXPECT_DOUBLE_EQ(battery.temperature(), -1.5);
    EXPECT_EQ(battery.designCapacity(), 4000);
    EXPECT_EQ(battery.onBatteryChanged().fireCount(), fires);
}

TEST_F(BatteryUpdate, LeavesEveryOtherFigureWhileNoBatteryIsInstalled) {
    Battery battery;
    for (const PropertyList& installed : {PropertyList(false), PropertyList(1), PropertyList()}) {
        properties() = {{"BatteryInstalled", installed},
                        {"CurrentCapacity", 1},
                        {"ExternalConnected", false},
                        {"IsCharging", true},
                        {"MaxCapacity", 1},
                        {"CycleCount", 1},
                        {"Voltage", 1},
                        {"Temperature", 1}};
        battery.update();
        EXPECT_FALSE(battery.installed());
        EXPECT_TRUE(battery.isACPowered());
        EXPECT_FALSE(battery.isCharging());
        EXPECT_EQ(battery.currentCapacity(), 2000);
        EXPECT_EQ(battery.maxCapacity(), 3900);
        EXPECT_EQ(battery.cycleCount(), 123);
        EXPECT_EQ(battery.voltage(), 12000);
        EXPECT_DOUBLE_EQ(battery.temperature(), 30.12);
    }
}

TEST_F(BatteryUpdate, LeavesInstalledAloneWhenThePropertyIsNoBoolean) {
    Battery battery;
    properties()["BatteryInstalled"] = 0;
    properties()["Voltage"] = 1;
    battery.update();
    EXPECT_TRUE(battery.installed());
    EXPECT_EQ(battery.voltage(), 12000);
}

TEST_F(BatteryUpdate, LeavesEveryFigureWhenTheServiceIsGone) {
    Battery battery;
    power().battery.reset();
    battery.update();
    EXPECT_TRUE(battery.hasBattery());
    EXPECT_TRUE(battery.installed());
    EXPECT_EQ(battery.voltage(), 12000);
}

TEST_F(BatteryUpdate, LeavesEachFigureWhosePropertyIsMissingOrOfAnotherKind) {
    for (const char* key :
         {"ExternalConnected", "IsCharging", "CurrentCapacity", "MaxCapacity", "CycleCount", "Voltage", "Temperature"})
        for (const bool missing : {true, false}) {
            properties() = service();
            Battery battery;
            properties() = {{"BatteryInstalled", true},
                            {"ExternalConnected", false},
                            {"IsCharging", true},
                            {"CurrentCapacity", 7},
                            {"MaxCapacity", 7},
                            {"CycleCount", 7},
                            {"Voltage", 7},
                            {"Temperature", 700}};
            if (missing)
                properties().erase(key);
            else
                properties()[key] = "seven";
            battery.update();
            const std::string broken = key;
            EXPECT_EQ(battery.isACPowered(), broken == "ExternalConnected") << key;
            EXPECT_EQ(battery.isCharging(), broken != "IsCharging") << key;
            EXPECT_EQ(battery.currentCapacity(), broken == "CurrentCapacity" ? 2000 : 7) << key;
            EXPECT_EQ(battery.maxCapacity(), broken == "MaxCapacity" ? 3900 : 7) << key;
            EXPECT_EQ(battery.cycleCount(), broken == "CycleCount" ? 123 : 7) << key;
            EXPECT_EQ(battery.voltage(), broken == "Voltage" ? 12000 : 7) << key;
            EXPECT_DOUBLE_EQ(battery.temperature(), broken == "Temperature" ? 30.12 : 7) << key;
        }
}

TEST_F(BatteryEvent, FiresOnceForEachRecordWithTheFiguresAlreadyRefreshed) {
    Battery battery;
    std::vector<std::string> seen;
    const auto owner = std::make_shared<int>();
    battery.onBatteryChanged().listen(
        owner, [&] { seen.push_back(battery.timeRemaining() + ", " + std::to_string(battery.voltage()) + " mV"); });
    properties()["Voltage"] = 11800;
    power().sources = {source(61, true)};
    power().change();
    power().sources = {source(60)};
    power().change();
    EXPECT_EQ(seen, (std::vector<std::string>{"1:01 until charged, 11800 mV", "1:00 remaining, 11800 mV"}));
}

// A second model's registration took the place of the first one's, which never heard of a change again.
TEST_F(BatteryEvent, ReachesEveryModelOnceForEachChange) {
    Battery first;
    auto second = std::make_unique<Battery>();
    EXPECT_EQ(first.onBatteryChanged().fireCount(), 1) << "its own first figures, not those of the second";
    EXPECT_EQ(second->onBatteryChanged().fireCount(), 1);
    EXPECT_EQ(power().calls.count("observe"), 1u) << "or each change would come twice";
    power().sources = {source(60)};
    power().change();
    EXPECT_EQ(first.onBatteryChanged().fireCount(), 2);
    EXPECT_EQ(second->onBatteryChanged().fireCount(), 2);
    EXPECT_EQ(first.timeRemaining(), "1:00 remaining");
    EXPECT_EQ(second->timeRemaining(), "1:00 remaining");
    second.reset();
    power().sources = {source(59)};
    power().change();
    EXPECT_EQ(first.timeRemaining(), "0:59 remaining");
}

TEST_F(BatteryEvent, ReachesAModelThatIsMadeAfterAHostsOwnBlockTookThePlaceOfTheModels) {
    const Battery first;
    int records = 0;
    probes::_batteryNotification([&records](const probes::BatteryData*) { ++records; });
    power().change();
    EXPECT_EQ(records, 3) << "at once, and once for each source of changes";
    const Battery second;
    power().sources = {source(60)};
    power().change();
    EXPECT_EQ(records, 3);
    EXPECT_EQ(first.timeRemaining(), "1:00 remaining");
    EXPECT_EQ(second.timeRemaining(), "1:00 remaining");
}

TEST_F(BatteryEvent, LetsACallbackReleaseItsOwnAndAnotherModel) {
    auto first = std::make_unique<Battery>();
    auto second = std::make_unique<Battery>();
    const auto owner = std::make_shared<int>();
    int delivered = 0;
    for (Battery* battery : {first.get(), second.get()})
        battery->onBatteryChanged().listen(owner, [&] {
            ++delivered;
            first.reset();
            second.reset();
        });
    power().change();
    power().change();
    EXPECT_EQ(delivered, 1);
}

// The change that was being delivered went on with a model that another thread had released.
TEST_F(BatteryEvent, BeginsAndRunsNoMoreOnceAModelIsReleasedWhileAnotherThreadTellsOfChanges) {
    const auto owner = std::make_shared<int>();
    for (int round = 0; round < 50; ++round) {
        auto battery = std::make_unique<Battery>();
        std::atomic<bool> isReleased{false};
        battery->onBatteryChanged().listen(owner, [&isReleased] {
            std::this_thread::yield();
            EXPECT_FALSE(isReleased);
        });
        std::atomic<bool> done{false};
        std::thread teller([&] {
            while (!done)
                power().change();
        });
        EXPECT_TRUE(eventually([&] { return battery->onBatteryChanged().fireCount() > 1; }));
        battery.reset();
        isReleased = true;
        done = true;
        teller.join();
    }
}

// A new model that another thread was telling of a change already was made without the figures it had been told.
TEST_F(BatteryEvent, DoesNotKeepANewModelFromItsFirstFiguresWhileAnotherThreadDeliversThem) {
    const Battery first;
    Event isDelivering; // to the new model, or has done so to all that it calls
    Event isMade;
    std::thread teller;
    int deliveries = 0;
    const std::thread::id maker = std::this_thread::get_id();
    power().calls.onCall([&](const std::string& call) {
        if (std::this_thread::get_id() != maker) {
            if (call == "batteryService" && ++deliveries == 2) {
                isDelivering.happened();
                EXPECT_TRUE(isMade.await());
            }
        } else if (call == "externalAdapterDetails") { // the last that a model asks before its first figures
            teller = std::thread([&] {
                power().change();
                isDelivering.happened();
            });
            EXPECT_TRUE(isDelivering.await());
        }
    });
    const Battery second;
    EXPECT_EQ(second.percent(), 51);
    EXPECT_EQ(second.timeRemaining(), "2:05 remaining");
    isMade.happened();
    teller.join();
    power().calls.onCall({});
}

TEST_F(BatteryEvent, IsNotFiredWhileThereIsNoPowerSource) {
    Battery battery;
    const auto fires = battery.onBatteryChanged().fireCount();
    power().sources.clear();
    power().change();
    EXPECT_EQ(battery.onBatteryChanged().fireCount(), fires);
    EXPECT_EQ(battery.timeRemaining(), "2:05 remaining");
}

TEST_F(BatteryEvent, ReachesNoListenerWhoseOwnerDiesDuringTheDelivery) {
    Battery battery;
    const auto first = std::make_shared<int>();
    auto second = std::make_shared<int>();
    const auto third = std::make_shared<int>();
    std::vector<int> delivered;
    battery.onBatteryChanged().listen(first, [&] {
        delivered.push_back(1);
        second.reset();
    });
    battery.onBatteryChanged().listen(second, [&] { delivered.push_back(2); });
    battery.onBatteryChanged().listen(third, [&] { delivered.push_back(3); });
    power().change();
    power().change();
    EXPECT_EQ(delivered, (std::vector<int>{1, 3, 1, 3}));
}

TEST_F(BatteryEvent, LetsAListenersOwnCallbackReleaseItsOwner) {
    Battery battery;
    auto owner = std::make_shared<int>();
    int delivered = 0;
    battery.onBatteryChanged().listen(owner, [&] {
        ++delivered;
        owner.reset();
    });
    power().change();
    power().change();
    EXPECT_EQ(delivered, 1);
}

TEST_F(BatteryTime, IsWrittenInHoursAndMinutes) {
    struct Case {
        int minutes;
        bool charging;
        const char* text;
    };
    const Case cases[] = {{-1, false, "Calculating..."},
                          {-1, true, "Calculating..."},
                          {-2147483647 - 1, false, "Calculating..."},
                          {0, false, ""},
                          {0, true, ""},
                          {1, false, "0:01 remaining"},
                          {59, true, "0:59 until charged"},
                          {60, true, "1:00 until charged"},
                          {125, false, "2:05 remaining"},
                          {6000, false, "100:00 remaining"},
                          {2147483647, false, "35791394:07 remaining"}};
    for (const Case& example : cases) {
        power().sources = {source(example.minutes, example.charging)};
        const Battery battery;
        EXPECT_EQ(battery.timeRemaining(), example.text) << example.minutes << (example.charging ? " charging" : "");
    }
}

TEST_F(BatteryTime, LooksOnlyAtTheTimeOfItsDirection) {
    description() = source(30, true);
    description()["Time to Empty"] = -1;
    const Battery charging;
    EXPECT_EQ(charging.timeRemaining(), "0:30 until charged");

    description() = source(45);
    description()["Time to Full Charge"] = -1;
    power().change();
    const Battery discharging;
    EXPECT_EQ(discharging.timeRemaining(), "0:45 remaining");
}

TEST_F(BatteryHealth, IsFullChargeInPercentOfTheDesignCappedByItsLowBits) {
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    struct Case {
        double most, design;
        int health;
    };
    // Meant: only the low 8 bits count before the cap, so 300 % reads 44 and 256 % reads 0.
    const Case cases[] = {{5000, 4000, 100}, {3900, 4000, 98}, {4000, 4000, 100},  {0, 4000, 0},      {1, 4000, 0},
                          {300, 100, 44},    {256, 100, 0},    {101, 100, 100},    {356, 100, 100},   {357, 100, 100},
                          {355, 100, 99},    {3900, 0, 0},     {-50, 100, 100},    {-200, 100, 56},   {nan, 100, 0},
                          {100, nan, 0},     {infinity, 1, 0}, {1e300, 1e-300, 0}, {100, infinity, 0}};
    for (const Case& example : cases) {
        properties()["MaxCapacity"] = example.most;
        properties()["DesignCapacity"] = example.design;
        const Battery battery;
        EXPECT_EQ(battery.health(), example.health) << example.most << " of " << example.design;
    }
}

TEST_F(BatteryWatts, AreRoundedHalfAwayFromZeroAndNegativeWhileDischarging) {
    struct Case {
        int voltage, current;
        double watts;
    };
    const Case cases[] = {{12000, -1500, -18}, {5000, 500, 3}, {5000, -500, -3}, {12000, 0, 0}, {0, 500, 0}};
    for (const Case& example : cases) {
        properties()["Voltage"] = example.voltage;
        description()["Current"] = example.current;
        const Battery battery;
        EXPECT_EQ(battery.watts(), example.watts) << example.voltage << " mV, " << example.current << " mA";
    }
}

} // namespace
} // namespace sentrel
