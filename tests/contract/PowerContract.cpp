// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/PowerService.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>

namespace sentrel::platform {
namespace {

bool isNumber(const PropertyList& value) {
    return value.as<std::int64_t>() || value.as<double>();
}

// The integer under a key of the battery, between two bounds; a made-up machine has all of them.
void expectInteger(const BatteryService& battery, const char* key, std::int64_t least, std::int64_t most,
                   bool isRequired) {
    SCOPED_TRACE(key);
    const auto value = battery.property(key);
    ASSERT_TRUE(value || !isRequired);
    if (!value)
        return;
    ASSERT_TRUE(value->as<std::int64_t>());
    EXPECT_GE(*value->as<std::int64_t>(), least);
    EXPECT_LE(*value->as<std::int64_t>(), most);
}

} // namespace

TEST_P(PlatformContract, PowerSourcesAreDescribedInTheirKinds) {
    const auto sources = platform().power().powerSources();
    ASSERT_TRUE(sources);
    const auto count = sources->count();
    ASSERT_TRUE(count);
    EXPECT_TRUE(machine->isReal() || *count > 0);
    for (std::size_t index = 0; index < *count; ++index) {
        const auto description = sources->description(index);
        ASSERT_TRUE(description);
        const PropertyList source(*description);
        if (const PropertyList* const health = source.find("BatteryHealthCondition")) {
            ASSERT_TRUE(health->as<std::string>());
            EXPECT_THAT(*health->as<std::string>(), IsUtf8());
        }
        for (const char* key : {"Time to Empty", "Time to Full Charge"}) {
            const PropertyList* const minutes = source.find(key);
            ASSERT_TRUE(!minutes || minutes->as<std::int64_t>()) << key;
            EXPECT_GE(minutes ? *minutes->as<std::int64_t>() : 0, -1) << key;
        }
        for (const char* key : {"Is Charged", "Is Charging"})
            EXPECT_TRUE(!source.find(key) || source.find(key)->as<bool>()) << key;
        EXPECT_TRUE(!source.find("Current") || source.find("Current")->as<std::int64_t>());
        for (const char* key : {"Current Capacity", "Max Capacity"})
            EXPECT_TRUE(!source.find(key) || isNumber(*source.find(key))) << key;
    }
}

TEST_P(PlatformContract, ASnapshotOfThePowerSourcesStaysAsItWas) {
    const auto sources = platform().power().powerSources();
    ASSERT_TRUE(sources && sources->count());
    std::vector<PropertyList::Dictionary> before;
    for (std::size_t index = 0; index < *sources->count(); ++index)
        before.push_back(*sources->description(index));
    machine->change(ContractChange::power);
    ASSERT_EQ(sources->count(), before.size());
    for (std::size_t index = 0; index < before.size(); ++index)
        EXPECT_EQ(sources->description(index), before[index]);
}

TEST_P(PlatformContract, TheAdapterTellsItsWatts) {
    const auto adapter = platform().power().externalAdapterDetails();
    EXPECT_TRUE(machine->isReal() || adapter);
    const PropertyList details(adapter.value_or(PropertyList::Dictionary()));
    if (const PropertyList* const watts = details.find("Watts")) {
        ASSERT_TRUE(watts->as<std::int64_t>());
        EXPECT_GT(*watts->as<std::int64_t>(), 0);
        constexpr std::int64_t most = 10'000;
        EXPECT_LT(*watts->as<std::int64_t>(), most);
    }
}

TEST_P(PlatformContract, TheBatteryTellsEachPropertyInItsUnit) {
    const auto battery = platform().power().batteryService();
    ASSERT_TRUE(battery || machine->isReal());
    if (!battery)
        return;
    const bool isRequired = !machine->isReal();
    for (const char* key : {"BatteryInstalled", "ExternalConnected", "IsCharging"}) {
        const auto value = battery->property(key);
        EXPECT_TRUE(value ? value->as<bool>() != nullptr : !isRequired) << key;
    }
    constexpr std::int64_t mostCharge = 1'000'000;
    for (const char* key : {"CurrentCapacity", "MaxCapacity", "DesignCapacity"})
        expectInteger(*battery, key, 0, mostCharge, isRequired);
    for (const char* key : {"CycleCount", "DesignCycleCount9C"})
        expectInteger(*battery, key, 0, 100'000, isRequired);
    expectInteger(*battery, "Voltage", 1'000, 1'000'000, isRequired);
    expectInteger(*battery, "Temperature", -5'000, 15'000, isRequired);
    expectInteger(*battery, "ManufactureDate", 1 | 1 << 5, 31 | 12 << 5 | 200 << 9, isRequired);
    EXPECT_FALSE(battery->property("No Such Property"));
}

TEST_P(PlatformContract, AQuestionAboutThePowerThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    PowerService& power = platform().power();
    const auto sources = power.powerSources();
    const auto battery = power.batteryService();
    ASSERT_TRUE(sources && battery);
    fail("description");
    fail("property");
    fail("count");
    EXPECT_FALSE(sources->description(0));
    EXPECT_FALSE(power.powerSources()->count());
    EXPECT_FALSE(battery->property("CycleCount"));
    fail("powerSources");
    fail("externalAdapterDetails");
    fail("batteryService");
    fail("observe");
    EXPECT_FALSE(power.powerSources());
    EXPECT_FALSE(power.externalAdapterDetails());
    EXPECT_FALSE(power.batteryService());
    errno = 0;
    EXPECT_FALSE(power.observe([] {}));
    EXPECT_NE(errno, 0);
}

TEST_P(PlatformContract, AChangeOfThePowerIsHeardOnTheThreadOfTheLoopUntilTheRelease) {
    std::atomic<int> calls{0};
    std::atomic<int> mistakes{0};
    const auto held = std::make_shared<int>();
    Observation observation = platform().power().observe([&, held] {
        mistakes += machine->isOnMainThread() ? 0 : 1;
        ++calls;
    });
    ASSERT_TRUE(observation || machine->isReal());
    if (!machine->isReal()) {
        machine->change(ContractChange::power);
        EXPECT_TRUE(await([&] { return calls > 0; }));
    }
    observation.reset();
    const int atRelease = calls;
    EXPECT_EQ(held.use_count(), 1);
    machine->change(ContractChange::power);
    pass(5'000'000);
    EXPECT_EQ(calls, atRelease);
    EXPECT_EQ(mistakes, 0);
}

} // namespace sentrel::platform
