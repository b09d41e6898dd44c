// SPDX-License-Identifier: Apache-2.0
// The desktop and the preferences.

#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/PreferenceStore.h>

#include <limits>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::Contains;
using testing::Not;

const std::vector<std::string> keysInUse{"key", "other", "\xc3\xa4"};

// A suite of nobody else's, in which nothing is left.
class Suite {
public:
    explicit Suite(PreferenceStore& store, const std::string& suffix = "")
        : suite_(store.suite("org.example.contract" + std::to_string(::getpid()) + suffix)) {}
    ~Suite() {
        if (suite_)
            static_cast<void>(suite_->remove(keysInUse));
    }
    Suite(const Suite&) = delete;
    Suite& operator=(const Suite&) = delete;

    PreferenceSuite* operator->() const { return suite_.get(); }
    explicit operator bool() const { return suite_ != nullptr; }

private:
    const std::shared_ptr<PreferenceSuite> suite_;
};

std::vector<PropertyList> valuesOfEachKind() {
    const PropertyList::List list{1, "two", 3.5, PropertyList::List{true}};
    return {true,
            false,
            0,
            std::numeric_limits<std::int64_t>::max(),
            std::numeric_limits<std::int64_t>::min(),
            0.1,
            -1e300,
            "",
            "text \xc3\xa4\xe2\x82\xac & <tag>",
            PropertyList::Bytes{},
            PropertyList::Bytes{0, 1, 0xff},
            PropertyList::Date{1'500'000'000},
            PropertyList::List{},
            list,
            PropertyList::Dictionary{},
            PropertyList::Dictionary{{"a", 1}, {"\xc3\xa4", list}}};
}

} // namespace

TEST_P(PlatformContract, TheDesktopNamesItsSound) {
    const std::string sound = platform().desktop().defaultSoundName();
    EXPECT_FALSE(sound.empty());
    EXPECT_THAT(sound, IsUtf8());
}

TEST_P(PlatformContract, ANotificationIsHandedOverAtOnce) {
    platform().desktop().presentWhileFrontmost();
    platform().desktop().presentWhileFrontmost();
    const std::int64_t begin = now();
    platform().desktop().deliver({.title = "Contract", .text = {}, .sound = {}, .actionButtonTitle = {}});
    platform().desktop().deliver({.title = "Contract",
                                  .text = "of all",
                                  .sound = platform().desktop().defaultSoundName(),
                                  .actionButtonTitle = "Agree",
                                  .hasReplyButton = true});
    constexpr std::int64_t second = 1'000'000'000;
    EXPECT_LT(now() - begin, second);
}

TEST_P(PlatformContract, AnAddressThatNobodyOpensIsNotOpened) {
    if (!machine->isReal())
        machine->fail("openAddress");
    EXPECT_FALSE(platform().desktop().openAddress("sentrel-contract-scheme-of-nobody:contract"));
}

TEST_P(PlatformContract, ASuiteIsTheSameForTheSameName) {
    PreferenceStore& store = platform().preferences();
    const auto suite = store.suite("org.example.contract");
    ASSERT_TRUE(suite);
    EXPECT_EQ(store.suite("org.example.contract"), suite);
    EXPECT_NE(store.suite("org.example.contract.other"), suite);
    EXPECT_FALSE(store.suite(""));
}

TEST_P(PlatformContract, ValuesOfEachKindComeBackAsTheyWere) {
    const Suite suite(platform().preferences());
    ASSERT_TRUE(suite);
    EXPECT_FALSE(suite->object("key"));
    for (const PropertyList& value : valuesOfEachKind()) {
        ASSERT_TRUE(suite->set("key", value));
        EXPECT_EQ(suite->object("key"), value);
        EXPECT_THAT(suite->keys(), Contains("key"));
    }
    ASSERT_TRUE(suite->set("\xc3\xa4", 1));
    EXPECT_EQ(suite->object("\xc3\xa4"), PropertyList(1));
    const std::vector<std::string> keys = suite->keys();
    EXPECT_EQ(std::set<std::string>(keys.begin(), keys.end()).size(), keys.size());
}

TEST_P(PlatformContract, RemovedKeysAreGoneAndOthersStay) {
    const Suite suite(platform().preferences());
    ASSERT_TRUE(suite);
    ASSERT_TRUE(suite->set("key", 1) && suite->set("other", 2));
    EXPECT_TRUE(suite->remove(std::vector<std::string>{"key"}));
    EXPECT_FALSE(suite->object("key"));
    EXPECT_THAT(suite->keys(), Not(Contains("key")));
    EXPECT_EQ(suite->object("other"), PropertyList(2));
    EXPECT_TRUE(suite->remove(std::vector<std::string>{"key"})) << "a key that is not there";
}

TEST_P(PlatformContract, SuitesAreApart) {
    const Suite one(platform().preferences());
    const Suite other(platform().preferences(), "b");
    ASSERT_TRUE(one && other);
    ASSERT_TRUE(one->set("key", 1));
    EXPECT_FALSE(other->object("key"));
}

TEST_P(PlatformContract, AddressesComeBackAndAreKeptAsPathOrBytes) {
    const Suite suite(platform().preferences());
    ASSERT_TRUE(suite);
    const PropertyList::Address web{"https://example.com/a?b=c"};
    ASSERT_TRUE(suite->set("key", web));
    EXPECT_EQ(suite->address("key"), web);
    ASSERT_TRUE(suite->object("key"));
    EXPECT_TRUE(suite->object("key")->as<PropertyList::Bytes>());
    const PropertyList::Address file{"file:///usr/share/a%20b"};
    ASSERT_TRUE(suite->set("key", file));
    EXPECT_EQ(suite->address("key"), file);
    EXPECT_EQ(suite->object("key"), PropertyList("/usr/share/a b"));
    ASSERT_TRUE(suite->set("key", 1));
    EXPECT_FALSE(suite->address("key"));
    EXPECT_FALSE(suite->address("other"));
}

TEST_P(PlatformContract, WhatNoPropertyListHoldsIsNotKept) {
    const Suite suite(platform().preferences());
    ASSERT_TRUE(suite);
    ASSERT_TRUE(suite->set("key", "as it was"));
    const PropertyList::Address address{"https://example.com/"};
    const std::vector<PropertyList> impossible{PropertyList(),
                                               "\xff",
                                               PropertyList::List{PropertyList()},
                                               PropertyList::List{address},
                                               PropertyList::List{"\xff"},
                                               PropertyList::Dictionary{{"a", PropertyList::List{address}}},
                                               PropertyList::Dictionary{{"a", PropertyList()}}};
    for (const PropertyList& value : impossible) {
        EXPECT_FALSE(suite->set("key", value));
        EXPECT_EQ(suite->object("key"), PropertyList("as it was"));
    }
}

} // namespace sentrel::platform
