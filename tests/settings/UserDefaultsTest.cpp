// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/UserDefaults.h>

#include "tests/support/ConfigurationFolder.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/settings/SharedDefaults.h>
#include <SentrelKit/system/Formatting.h>

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {

enum class Side : std::uint8_t { left = 1, right = 4 };
template <>
struct RawValue<Side> : EnumerationCases<Side::left, Side::right> {};

/// An enumeration kept by texts.
enum class Mode { day, night };
template <>
struct RawValue<Mode> {
    static PropertyList rawValue(Mode mode) { return mode == Mode::day ? "day" : "night"; }
    static std::optional<Mode> fromRawValue(const PropertyList& raw) {
        if (raw == "day")
            return Mode::day;
        return raw == "night" ? std::optional(Mode::night) : std::nullopt;
    }
};

/// A host's own type.
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};
template <>
struct PropertyListCoder<Point> {
    static PropertyList encode(const Point& point) { return PropertyList::Dictionary{{"x", point.x}, {"y", point.y}}; }
    static std::optional<Point> decode(const PropertyList& value) {
        const PropertyList* x = value.find("x");
        const PropertyList* y = value.find("y");
        if (!x || !y || !x->as<double>() || !y->as<double>())
            return std::nullopt;
        return Point{*x->as<double>(), *y->as<double>()};
    }
};

namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;
using Address = PropertyList::Address;

constexpr const char* suiteName = "test.suite";

/// The same behaviour on a suite in memory and on a file.
class UserDefaultsTest : public testing::TestWithParam<bool> {
protected:
    UserDefaultsTest() {
        if (GetParam())
            scriptedOverride.emplace(machine);
        defaults.emplace(suiteName);
    }

    ConfigurationFolder folder;
    platform::ScriptedPlatform machine;
    std::optional<platform::Override> scriptedOverride;
    std::optional<UserDefaults> defaults;
};

INSTANTIATE_TEST_SUITE_P(Suites, UserDefaultsTest, testing::Values(true, false),
                         [](const auto& run) { return run.param ? "InMemory" : "InAFile"; });

TEST_P(UserDefaultsTest, MissingKeysReadAsTheFallbacks) {
    const UserDefaults::Proxy proxy = (*defaults)["missing"];
    EXPECT_EQ(proxy.object(), std::nullopt);
    EXPECT_EQ(proxy.string(), std::nullopt);
    EXPECT_EQ(proxy.array(), std::nullopt);
    EXPECT_EQ(proxy.dictionary(), std::nullopt);
    EXPECT_EQ(proxy.data(), std::nullopt);
    EXPECT_EQ(proxy.date(), std::nullopt);
    EXPECT_EQ(proxy.number(), std::nullopt);
    EXPECT_EQ(proxy.int_(), std::nullopt);
    EXPECT_EQ(proxy.double_(), std::nullopt);
    EXPECT_EQ(proxy.bool_(), std::nullopt);
    EXPECT_EQ(proxy.stringValue(), "");
    EXPECT_THAT(proxy.arrayValue(), IsEmpty());
    EXPECT_THAT(proxy.dictionaryValue(), IsEmpty());
    EXPECT_THAT(proxy.dataValue(), IsEmpty());
    EXPECT_EQ(proxy.numberValue(), Number());
    EXPECT_EQ(proxy.numberValue().value(), PropertyList(0));
    EXPECT_EQ(proxy.intValue(), 0);
    EXPECT_EQ(proxy.doubleValue(), 0.0);
    EXPECT_FALSE(proxy.boolValue());
}

TEST_P(UserDefaultsTest, ReadersGiveTheirKindAndNoOther) {
    const Dictionary values{{"text", "5"},       {"list", List{1, "a"}}, {"dictionary", Dictionary{{"a", 1}}},
                            {"bytes", Bytes{5}}, {"date", Date{5}},      {"integer", 5},
                            {"double", 5.0},     {"boolean", true}};
    for (const auto& [key, value] : values)
        ASSERT_TRUE(defaults->set(key, value));
    for (const auto& [key, value] : values) {
        const UserDefaults::Proxy proxy = (*defaults)[key];
        const bool isNumber = key == "integer" || key == "double" || key == "boolean";
        EXPECT_EQ(proxy.object(), value) << key;
        EXPECT_EQ(proxy.string().has_value(), key == "text") << key;
        EXPECT_EQ(proxy.array().has_value(), key == "list") << key;
        EXPECT_EQ(proxy.dictionary().has_value(), key == "dictionary") << key;
        EXPECT_EQ(proxy.data().has_value(), key == "bytes") << key;
        EXPECT_EQ(proxy.date().has_value(), key == "date") << key;
        EXPECT_EQ(proxy.number().has_value(), isNumber) << key;
        EXPECT_EQ(proxy.int_().has_value(), isNumber) << key;
        EXPECT_EQ(proxy.double_().has_value(), isNumber) << key;
        EXPECT_EQ(proxy.bool_().has_value(), isNumber) << key;
    }
    EXPECT_EQ((*defaults)["text"].stringValue(), "5");
    EXPECT_EQ((*defaults)["list"].arrayValue(), (List{1, "a"}));
    EXPECT_EQ((*defaults)["dictionary"].dictionaryValue(), (Dictionary{{"a", 1}}));
    EXPECT_EQ((*defaults)["bytes"].dataValue(), Bytes{5});
    EXPECT_EQ((*defaults)["date"].date(), Date{5});
}

TEST_P(UserDefaultsTest, ATextIsNoNumber) {
    (*defaults)["key"] = "5";
    EXPECT_EQ((*defaults)["key"].intValue(), 0);
    EXPECT_EQ((*defaults)["key"].int_(), std::nullopt);
}

TEST_P(UserDefaultsTest, NumbersReadAsEachOther) {
    (*defaults)["double"] = -2.75;
    EXPECT_EQ((*defaults)["double"].intValue(), -2);
    EXPECT_TRUE((*defaults)["double"].boolValue());
    (*defaults)["integer"] = 3;
    EXPECT_EQ((*defaults)["integer"].doubleValue(), 3.0);
    EXPECT_TRUE((*defaults)["integer"].boolValue());
    (*defaults)["boolean"] = true;
    EXPECT_EQ((*defaults)["boolean"].intValue(), 1);
    EXPECT_EQ((*defaults)["boolean"].doubleValue(), 1.0);
    (*defaults)["fraction"] = 0.25;
    EXPECT_EQ((*defaults)["fraction"].intValue(), 0);
    EXPECT_TRUE((*defaults)["fraction"].boolValue());
}

TEST_P(UserDefaultsTest, ADoubleIsKeptAsADoubleAndReadsThroughAnIntegerKey) {
    const DefaultsKey<std::int64_t> integer("key");
    (*defaults)["key"] = 1.0;
    EXPECT_EQ((*defaults)["key"].object(), PropertyList(1.0));
    EXPECT_EQ(defaults->get(integer), 1);
}

TEST_P(UserDefaultsTest, AnAbsentValueRemovesTheKey) {
    const DefaultsKey<std::optional<std::string>> text("text");
    (*defaults)["text"] = "a";
    (*defaults)["plain"] = 1;
    EXPECT_TRUE(defaults->hasKey(text));
    EXPECT_TRUE(defaults->hasKey("plain"));
    (*defaults)[text] = std::nullopt;
    (*defaults)["plain"] = std::nullopt;
    EXPECT_FALSE(defaults->hasKey(text));
    EXPECT_FALSE(defaults->hasKey("plain"));
}

TEST_P(UserDefaultsTest, RemovesOneKeyAndAllKeys) {
    const DefaultsKey<bool> typed("b");
    for (const char* key : {"a", "b", "c"})
        ASSERT_TRUE(defaults->set(key, 1));
    EXPECT_TRUE(defaults->remove("a"));
    EXPECT_TRUE(defaults->remove(typed));
    EXPECT_FALSE(defaults->hasKey("a"));
    EXPECT_FALSE(defaults->hasKey(typed));
    EXPECT_TRUE(defaults->hasKey("c"));
    ASSERT_TRUE(defaults->set("d", "x"));
    EXPECT_TRUE(defaults->removeAll());
    EXPECT_FALSE(defaults->hasKey("c"));
    EXPECT_FALSE(defaults->hasKey("d"));
}

/// A typed key gives its fallback, keeps a value, and gives the fallback again for a value of another kind.
template <class T>
void expectTypedKey(const UserDefaults& defaults, const T& fallback, const T& value, const PropertyList& kept,
                    const PropertyList& other) {
    const DefaultsKey<T> key("typed");
    EXPECT_TRUE(defaults.remove(key));
    EXPECT_EQ(defaults.get(key), fallback);
    EXPECT_TRUE(defaults.set(key, value));
    EXPECT_EQ(defaults.get(key), value);
    const T read = defaults[key];
    EXPECT_EQ(read, value);
    EXPECT_EQ(defaults.object("typed"), kept);
    EXPECT_TRUE(defaults.set("typed", other));
    EXPECT_EQ(defaults.get(key), fallback);
}

/// The plain and the optional key of a type.
template <class T>
void expectBothKeys(const UserDefaults& defaults, const T& value, const PropertyList& kept, const PropertyList& other) {
    expectTypedKey<T>(defaults, T(), value, kept, other);
    expectTypedKey<std::optional<T>>(defaults, std::nullopt, value, kept, other);
}

TEST_P(UserDefaultsTest, TypedKeysOfEveryType) {
    expectBothKeys<std::string>(*defaults, "a", "a", 1);
    expectBothKeys<std::int64_t>(*defaults, 7, 7, "7");
    expectBothKeys<double>(*defaults, 7.0, 7.0, "7");
    expectBothKeys<bool>(*defaults, true, true, "true");
    expectBothKeys<Bytes>(*defaults, Bytes{1}, Bytes{1}, "a");
    expectBothKeys<List>(*defaults, List{1, "a"}, List{1, "a"}, 1);
    expectBothKeys<Dictionary>(*defaults, Dictionary{{"a", 1}}, Dictionary{{"a", 1}}, 1);
    expectTypedKey<std::optional<Date>>(*defaults, std::nullopt, Date{1}, Date{1}, 1.0);
    expectBothKeys<std::vector<std::string>>(*defaults, {"a", "b"}, List{"a", "b"}, List{"a", 1});
    expectBothKeys<std::vector<std::int64_t>>(*defaults, {1, 2}, List{1, 2}, List{1, "a"});
    expectBothKeys<std::vector<double>>(*defaults, {1.0, 2.5}, List{1.0, 2.5}, List{1.0, "a"});
    expectBothKeys<std::vector<bool>>(*defaults, {true, false}, List{true, false}, List{true, "a"});
    expectBothKeys<std::vector<Bytes>>(*defaults, {{1}, {}}, List{Bytes{1}, Bytes{}}, List{Bytes{1}, "a"});
    expectBothKeys<std::vector<Date>>(*defaults, {{1}, {2}}, List{Date{1}, Date{2}}, List{Date{1}, 2.0});
}

TEST_P(UserDefaultsTest, AKeyOfAnyKindReadsWhateverIsKept) {
    const DefaultsKey<std::optional<PropertyList>> any("any");
    EXPECT_EQ(defaults->get(any), std::nullopt);
    for (const PropertyList& value : {PropertyList(1), PropertyList("a"), PropertyList(List{true})}) {
        EXPECT_TRUE(defaults->set(any, value));
        EXPECT_EQ(defaults->get(any), value);
    }
}

TEST_P(UserDefaultsTest, AddressesComeBackThroughTheirKey) {
    const DefaultsKey<std::optional<Address>> key("address");
    EXPECT_EQ(defaults->get(key), std::nullopt);
    for (const char* text : {"https://example.com/x?y", "file:///tmp/a%20b"}) {
        EXPECT_TRUE(defaults->set(key, Address{text}));
        EXPECT_EQ(defaults->get(key), Address{text});
    }
    (*defaults)["address"] = 1;
    EXPECT_EQ(defaults->get(key), std::nullopt);
}

TEST_P(UserDefaultsTest, AnIntegerKeyOfAnotherWidthTakesOnlyWhatFits) {
    const DefaultsKey<int> key("key");
    EXPECT_TRUE(defaults->set(key, -3));
    EXPECT_EQ(defaults->get(key), -3);
    (*defaults)["key"] = std::int64_t{1} << 40;
    EXPECT_EQ(defaults->get(key), 0);
}

TEST_P(UserDefaultsTest, GetArrayConvertsAListAsAWhole) {
    (*defaults)["mixed"] = List{1, "a"};
    EXPECT_THAT(defaults->getArray<std::int64_t>("mixed"), IsEmpty());
    EXPECT_EQ(defaults->getOptionalArray<std::int64_t>("mixed"), std::nullopt);
    (*defaults)["whole"] = List{1, 2};
    EXPECT_EQ(defaults->getArray<std::int64_t>("whole"), (std::vector<std::int64_t>{1, 2}));
    (*defaults)["empty"] = List{};
    EXPECT_EQ(defaults->getOptionalArray<std::int64_t>("empty"), std::vector<std::int64_t>());
    EXPECT_EQ(defaults->getOptionalArray<std::int64_t>("missing"), std::nullopt);
    (*defaults)["scalar"] = 1;
    EXPECT_EQ(defaults->getOptionalArray<std::int64_t>("scalar"), std::nullopt);
}

TEST_P(UserDefaultsTest, ArchivesEnumerationsByTheirRawValues) {
    const DefaultsKey<Side> side("side");
    const DefaultsKey<Mode> mode("mode");
    EXPECT_EQ(defaults->unarchive(side), std::nullopt);
    EXPECT_TRUE(defaults->archive(side, Side::right));
    EXPECT_TRUE(defaults->archive(mode, Mode::night));
    EXPECT_EQ(defaults->object("side"), PropertyList(4));
    EXPECT_EQ(defaults->object("mode"), PropertyList("night"));
    EXPECT_EQ(defaults->unarchive(side), Side::right);
    EXPECT_EQ(defaults->unarchive(mode), Mode::night);
    (*defaults)["side"] = 2;
    EXPECT_EQ(defaults->unarchive(side), std::nullopt) << "no case has this raw value";
    (*defaults)["side"] = "right";
    EXPECT_EQ(defaults->unarchive(side), std::nullopt);
    EXPECT_TRUE(defaults->archive(side, std::nullopt));
    EXPECT_FALSE(defaults->hasKey(side));
}

TEST_P(UserDefaultsTest, ArchivesOtherValuesAsKeyedArchives) {
    const DefaultsKey<std::map<std::string, std::vector<int>>> numbers("numbers");
    const DefaultsKey<Point> point("point");
    const std::map<std::string, std::vector<int>> values{{"a", {1, 2}}, {"b", {}}};
    EXPECT_EQ(defaults->unarchive(numbers), std::nullopt);
    EXPECT_TRUE(defaults->archive(numbers, values));
    EXPECT_TRUE(defaults->archive(point, Point{1.5, -2}));
    EXPECT_TRUE(defaults->object("point")->as<Bytes>());
    EXPECT_EQ(defaults->unarchive(numbers), values);
    EXPECT_EQ(defaults->unarchive(point), (Point{1.5, -2}));
    EXPECT_EQ(defaults->unarchive(DefaultsKey<std::string>("point")), std::nullopt) << "another type";
    (*defaults)["point"] = Bytes{1, 2, 3};
    EXPECT_EQ(defaults->unarchive(point), std::nullopt) << "damaged";
    (*defaults)["point"] = "text";
    EXPECT_EQ(defaults->unarchive(point), std::nullopt) << "not an archive at all";
    EXPECT_TRUE(defaults->archive(point, std::nullopt));
    EXPECT_FALSE(defaults->hasKey(point));
}

TEST_P(UserDefaultsTest, ASuiteThatCannotBeReadsAsEmptyAndKeepsNothing) {
    const UserDefaults nameless("");
    EXPECT_FALSE(nameless.set("key", 1));
    EXPECT_FALSE(nameless.set("key", std::nullopt));
    EXPECT_FALSE(nameless.hasKey("key"));
    EXPECT_FALSE(nameless.removeAll());
    EXPECT_EQ(nameless["key"].intValue(), 0);
    EXPECT_EQ(nameless.get(DefaultsKey<std::optional<Address>>("key")), std::nullopt);
}

TEST(UserDefaults, ReportsARefusedChangeAndReadsTheFallbacksWhenTheSuiteFails) {
    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    const UserDefaults defaults(suiteName);
    const auto suite = machine.preferences().scripted(suiteName);
    EXPECT_TRUE(defaults.set("key", 1));
    for (const char* change : {"set", "remove"})
        suite->calls.fail(change);
    EXPECT_FALSE(defaults.set("key", 2));
    EXPECT_FALSE(defaults.remove("key"));
    EXPECT_FALSE(defaults.removeAll());
    EXPECT_EQ(defaults["key"].intValue(), 1);
    for (const char* question : {"object", "address", "keys"})
        suite->calls.fail(question);
    EXPECT_EQ(defaults["key"].intValue(), 0);
    EXPECT_FALSE(defaults.hasKey("key"));
    EXPECT_EQ(defaults.get(DefaultsKey<std::vector<std::string>>("key")), std::vector<std::string>());
}

TEST(UserDefaults, FourThreadsReadAndWriteTheSamePreferences) {
    const ConfigurationFolder folder;
    const DefaultsKey<std::string> text("text");
    const DefaultsKey<std::int64_t> number("number");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const UserDefaults defaults(suiteName);
            for (int i = 0; i < 10; ++i) {
                EXPECT_TRUE(defaults.set(number, i));
                EXPECT_TRUE(defaults.set(text, std::string(static_cast<std::size_t>(thread) + 1, 'x')));
                for (int reads = 0; reads < 20; ++reads) {
                    EXPECT_THAT(defaults.get(text).size(), testing::AllOf(testing::Ge(1U), testing::Le(4U)));
                    EXPECT_LT(defaults.get(number), 10);
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Number, BecomesTheNearestIntegerBeyondTheRange) {
    const auto integer = [](double value) { return Number::from(value)->integerValue(); };
    EXPECT_EQ(integer(1e300), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(integer(9223372036854775808.0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer(std::nan("")), 0);
    EXPECT_EQ(integer(-0.9), 0);
    EXPECT_EQ(Number::from("1"), std::nullopt);
    EXPECT_EQ(Number::from(PropertyList()), std::nullopt);
}

TEST(SharedDefaults, AreTheSuiteOfHostAndWidgets) {
    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    EXPECT_TRUE(UserDefaults("Q4R7TWXN20.SentrelSharingDefaults").set("key", 5));
    EXPECT_EQ(sharedDefaults()["key"].intValue(), 5);
}

TEST(Degrees, FollowTheSharedPreference) {
    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    EXPECT_EQ(degrees(21.5), "22°");
    const auto temperature = sharedDefaults()["temperature"];
    const std::vector<std::pair<PropertyList, std::string>> cases{
        {1, "71°"},     {0, "22°"},   {std::int64_t{-1}, "71°"},
        {2.5, "71°"},   {0.5, "22°"}, {true, "71°"},
        {false, "22°"}, {"1", "22°"}, {List{}, "22°"}};
    for (const auto& [kept, expected] : cases) {
        temperature = kept;
        EXPECT_EQ(degrees(21.5), expected);
    }
    machine.preferences().scripted("Q4R7TWXN20.SentrelSharingDefaults")->calls.fail("object");
    EXPECT_EQ(degrees(21.5), "22°");
}

} // namespace
} // namespace sentrel
