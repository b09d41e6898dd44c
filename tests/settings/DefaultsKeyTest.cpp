// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/DefaultsKey.h>

#include "tests/settings/DefaultsSuite.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;
using Address = PropertyList::Address;

class DefaultsKeys : public DefaultsSuite {};

INSTANTIATE_TEST_SUITE_P(Suites, DefaultsKeys, testing::Values(true, false),
                         [](const auto& run) { return run.param ? "InMemory" : "InAFile"; });

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

TEST_P(DefaultsKeys, TypedKeysOfEveryType) {
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

TEST_P(DefaultsKeys, AKeyOfAnyKindReadsWhateverIsKept) {
    const DefaultsKey<std::optional<PropertyList>> any("any");
    EXPECT_EQ(defaults->get(any), std::nullopt);
    for (const PropertyList& value : {PropertyList(1), PropertyList("a"), PropertyList(List{true})}) {
        EXPECT_TRUE(defaults->set(any, value));
        EXPECT_EQ(defaults->get(any), value);
    }
}

TEST_P(DefaultsKeys, AddressesComeBackThroughTheirKey) {
    const DefaultsKey<std::optional<Address>> key("address");
    EXPECT_EQ(defaults->get(key), std::nullopt);
    for (const char* text : {"https://example.com/x?y", "file:///tmp/a%20b"}) {
        EXPECT_TRUE(defaults->set(key, Address{text}));
        EXPECT_EQ(defaults->get(key), Address{text});
    }
    (*defaults)["address"] = 1;
    EXPECT_EQ(defaults->get(key), std::nullopt);
}

TEST_P(DefaultsKeys, AnIntegerKeyOfAnotherWidthTakesOnlyWhatFits) {
    const DefaultsKey<int> key("key");
    EXPECT_TRUE(defaults->set(key, -3));
    EXPECT_EQ(defaults->get(key), -3);
    (*defaults)["key"] = std::int64_t{1} << 40;
    EXPECT_EQ(defaults->get(key), 0);
}

} // namespace
} // namespace sentrel
