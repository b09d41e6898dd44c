// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/UserDefaults.h>

#include "tests/settings/DefaultsSuite.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;
using Address = PropertyList::Address;

class UserDefaultsTest : public DefaultsSuite {};

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

} // namespace
} // namespace sentrel
