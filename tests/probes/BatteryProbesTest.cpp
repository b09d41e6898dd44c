// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/BatteryProbes.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include "tests/support/CommaLocale.h"
#include "tests/support/TimeZone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace sentrel::probes {
namespace {

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

PropertyList::Dictionary chargingSource() {
    return {{"BatteryHealthCondition", "Check Battery"},
            {"Time to Empty", 0},
            {"Time to Full Charge", 59},
            {"Is Charged", false},
            {"Is Charging", true},
            {"Current", 1200},
            {"Current Capacity", 3000},
            {"Max Capacity", 4000}};
}

// The record with its text copied, or nothing if the block was not called.
struct Reading {
    int calls = 0;
    BatteryData data{};
    std::string health;

    PowerSourcesBlock block() {
        return [this](const BatteryData* delivered) {
            ++calls;
            data = *delivered;
            health = delivered->health;
        };
    }
};

Reading read() {
    Reading reading;
    _getBatteryData(reading.block());
    return reading;
}

std::int32_t percentOf(const PropertyList& current, const PropertyList& most) {
    ScriptedMachine machine;
    machine->power().sources = {PropertyList::Dictionary{{"Current Capacity", current}, {"Max Capacity", most}}};
    const Reading reading = read();
    EXPECT_EQ(reading.calls, 1);
    return reading.data.percent;
}

std::pair<std::string, std::string> unpack(std::int32_t packed) {
    std::pair<const char*, const char*> pair;
    EXPECT_EQ(_unpackBatteryDate(packed, &pair), &pair);
    return {pair.first, pair.second};
}

TEST(BatteryData, HoldsEveryKeyOfTheFirstSource) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource(), PropertyList::Dictionary{{"Time to Full Charge", 7}}};
    machine->power().adapter = PropertyList::Dictionary{{"Watts", 60}};
    const Reading reading = read();
    EXPECT_EQ(reading.calls, 1);
    EXPECT_EQ(reading.health, "Check Battery");
    EXPECT_EQ(reading.data.hasHealth, 1);
    EXPECT_EQ(reading.data.timeToEmpty, 0);
    EXPECT_EQ(reading.data.timeToFull, 59);
    EXPECT_EQ(reading.data.isCharged, 0);
    EXPECT_EQ(reading.data.isCharging, 1);
    EXPECT_EQ(reading.data.current, 1200);
    EXPECT_EQ(reading.data.percent, 75);
    EXPECT_EQ(reading.data.watts, 60);
}

TEST(BatteryData, IsNeverDeliveredOnADesktopWithoutABattery) {
    ScriptedMachine machine;
    EXPECT_EQ(read().calls, 0);
}

TEST(BatteryData, IsNotDeliveredWhenAnyRequestForTheSourceFails) {
    for (const char* request : {"powerSources", "count", "description"}) {
        ScriptedMachine machine;
        machine->power().sources = {chargingSource()};
        machine->power().calls.fail(request);
        EXPECT_EQ(read().calls, 0) << request;
    }
}

TEST(BatteryData, SaysNormalWithoutAHealthKey) {
    ScriptedMachine machine;
    machine->power().sources = {PropertyList::Dictionary{{"Current Capacity", 1}, {"Max Capacity", 2}}};
    const Reading reading = read();
    EXPECT_EQ(reading.health, "Normal");
    EXPECT_EQ(reading.data.hasHealth, 0);
}

TEST(BatteryData, IsZeroWhereKeysAreMissingOrOfAnotherKind) {
    for (const PropertyList::Dictionary& source :
         {PropertyList::Dictionary{}, PropertyList::Dictionary{{"BatteryHealthCondition", 5},
                                                               {"Time to Empty", "soon"},
                                                               {"Time to Full Charge", PropertyList()},
                                                               {"Is Charged", 1},
                                                               {"Is Charging", "true"},
                                                               {"Current", PropertyList::List{}}}}) {
        ScriptedMachine machine;
        machine->power().sources = {source};
        const Reading reading = read();
        EXPECT_EQ(reading.calls, 1);
        EXPECT_EQ(reading.health, "Normal");
        EXPECT_EQ(reading.data.hasHealth, 0);
        EXPECT_EQ(reading.data.timeToEmpty, 0);
        EXPECT_EQ(reading.data.timeToFull, 0);
        EXPECT_EQ(reading.data.isCharged, 0);
        EXPECT_EQ(reading.data.isCharging, 0);
        EXPECT_EQ(reading.data.current, 0);
        EXPECT_EQ(reading.data.watts, 0);
    }
}

TEST(BatteryData, TakesIntegersBeyond32BitsByTheirLowBitsAndDoublesTowardZero) {
    ScriptedMachine machine;
    machine->power().sources = {PropertyList::Dictionary{
        {"Time to Empty", std::int64_t{0x1'0000'0005}}, {"Time to Full Charge", 2.9}, {"Current", -2.9}}};
    machine->power().adapter = PropertyList::Dictionary{{"Watts", std::nan("")}};
    const Reading reading = read();
    EXPECT_EQ(reading.data.timeToEmpty, 5);
    EXPECT_EQ(reading.data.timeToFull, 2);
    EXPECT_EQ(reading.data.current, -2);
    EXPECT_EQ(reading.data.watts, smallest);
}

TEST(BatteryData, HasNoWattsWhereTheAdapterDoesNotTellThem) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource()};
    machine->power().adapter = PropertyList::Dictionary{};
    EXPECT_EQ(read().data.watts, 0);
}

TEST(BatteryPercent, IsTruncatedTowardZero) {
    EXPECT_EQ(percentOf(999, 1000), 99);
    EXPECT_EQ(percentOf(4000.0, 4000), 100);
    EXPECT_EQ(percentOf(-15, 1000), -1);
    EXPECT_EQ(percentOf(5000, 4000), 125);
}

TEST(BatteryPercent, MayReadOneLessWhereTheQuotientIsNotExact) {
    // Meant: 29 / 100 × 100 is 28.999999999999996 in this order.
    EXPECT_EQ(percentOf(29, 100), 28);
    EXPECT_EQ(percentOf(58, 100), 57);
    EXPECT_EQ(percentOf(70, 100), 70);
}

TEST(BatteryPercent, IsTheSmallestIntegerWhereThereIsNoQuotientInRange) {
    // Meant: this value is part of the record's contract.
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(percentOf(3000, 0), smallest);
    EXPECT_EQ(percentOf(-3000, 0), smallest);
    EXPECT_EQ(percentOf(0, 0), smallest);
    EXPECT_EQ(percentOf(3000, PropertyList()), smallest);
    EXPECT_EQ(percentOf(3000, "4000"), smallest);
    EXPECT_EQ(percentOf(std::nan(""), 100), smallest);
    EXPECT_EQ(percentOf(100, std::nan("")), smallest);
    EXPECT_EQ(percentOf(infinity, 100), smallest);
    EXPECT_EQ(percentOf(100, infinity), 0);
    EXPECT_EQ(percentOf(1e300, 1e-300), smallest);
    EXPECT_EQ(percentOf(std::int64_t{2'147'483'648}, 100), smallest);
    EXPECT_EQ(percentOf(std::int64_t{2'147'483'647}, 100), 2'147'483'647);
}

TEST(BatteryNotification, DeliversAtOnceAndAtEveryChange) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource()};
    Reading reading;
    _batteryNotification(reading.block());
    EXPECT_EQ(reading.calls, 1);
    EXPECT_EQ(machine->power().calls.count("observe"), 1u);

    machine->power().sources.front().insert_or_assign("Time to Full Charge", 58);
    machine->power().change();
    EXPECT_EQ(reading.calls, 2);
    EXPECT_EQ(reading.data.timeToFull, 58);
}

TEST(BatteryNotification, DeliversOnlyToTheNewestBlockOnceForEverySource) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource()};
    Reading first;
    Reading second;
    _batteryNotification(first.block());
    _batteryNotification(second.block());
    EXPECT_EQ(machine->power().calls.count("observe"), 2u);
    machine->power().change();
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 3);
}

TEST(BatteryNotification, GoesOnWithOneLineWhenChangesCannotBeHad) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource()};
    machine->power().calls.fail("observe");
    Reading reading;
    testing::internal::CaptureStderr();
    _batteryNotification(reading.block());
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_EQ(line, "Error: power source notification -- Input/output error\n");
    EXPECT_EQ(reading.calls, 1);
}

TEST(BatteryNotification, LetsTheBlockRegisterAnotherOneWhileItRuns) {
    ScriptedMachine machine;
    machine->power().sources = {chargingSource()};
    Reading inner;
    int outer = 0;
    _batteryNotification([&](const BatteryData*) {
        if (++outer == 1)
            _batteryNotification(inner.block());
    });
    machine->power().change();
    EXPECT_EQ(outer, 1);
    EXPECT_EQ(inner.calls, 3);
}

// The sources lasted for ever, and a change found the session of another machine.
TEST(BatteryNotification, EndsWithTheSession) {
    platform::ScriptedPlatform machine;
    machine.power().sources = {chargingSource()};
    Reading reading;
    {
        const platform::Override override(machine);
        _batteryNotification(reading.block());
        EXPECT_EQ(machine.power().changeSources(), 1u);
    }
    EXPECT_EQ(machine.power().changeSources(), 0u);
    machine.power().change();
    EXPECT_EQ(reading.calls, 1);
}

TEST(BatteryNotificationDeathTest, StopsTheProcessOnAChangeWithoutABlock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ScriptedMachine machine;
    EXPECT_DEATH(_powerSourceChangedAdapter(nullptr),
                 "\\(System->swiftPowerSources\\), function _powerSourceChangedAdapter, file SentrelKit, line");
}

TEST(BatteryDate, UnpacksDayMonthAndYear) {
    const TimeZone utc("UTC");
    ScriptedMachine machine;
    machine->clock().setWallMicroseconds(1'710'331'200'000'000); // 13 March 2024, 12:00
    EXPECT_EQ(unpack((41 << 9) | (3 << 5) | 14), (std::pair<std::string, std::string>("3.0 years", "14 Mar 2021")));
    EXPECT_EQ(unpack((32 << 9) | (12 << 5) | 31).second, "31 Dec 2012");
}

TEST(BatteryDate, OfZeroIsTheStartOf1980) {
    const TimeZone utc("UTC");
    ScriptedMachine machine;
    machine->clock().setWallMicroseconds(1'710'331'200'000'000);
    // 16143.5 days from 1 January 1980, rounded up, / 365.
    EXPECT_EQ(unpack(0), (std::pair<std::string, std::string>("44.2 years", "0 Jan 1980")));
}

TEST(BatteryDate, HasAnEmptyMonthBeyondDecember) {
    const TimeZone utc("UTC");
    ScriptedMachine machine;
    for (const int month : {13, 14, 15}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(unpack((40 << 9) | (month << 5) | 7).second, "7  2020") << "month " << month;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "#v is outside the range (1..12)");
    }
}

TEST(BatteryDate, TakesThePackedYearAsUnsigned) {
    ScriptedMachine machine;
    testing::internal::CaptureStdout();
    EXPECT_EQ(unpack(-1).second, "31  8390587"); // all bits set: (2^23 - 1) + 1980
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "#v is outside the range (1970..2037)");
}

TEST(BatteryDate, KeepsItsDecimalPointInEveryLocale) {
    const TimeZone utc("UTC");
    ScriptedMachine machine;
    machine->clock().setWallMicroseconds(1'710'331'200'000'000);
    const CommaLocale comma;
    if (!comma.isInForce())
        GTEST_SKIP() << "localedef cannot make a locale with a decimal comma here";
    ASSERT_EQ(std::to_string(1.5).substr(0, 3), "1,5");
    EXPECT_EQ(unpack(0).first, "44.2 years");
}

} // namespace
} // namespace sentrel::probes
