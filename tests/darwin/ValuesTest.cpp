// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Objects.h"

#include <SentrelKit/platform/macos/common/Values.h>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::PropertyList;

namespace {

class MacValues : public DarwinTest {
protected:
    static PropertyList converted(const PropertyList& value) { return propertyListOf(CFOwner(created(value)).get()); }
};

TEST_F(MacValues, KeepTheirKindAndContent) {
    for (const PropertyList& value :
         {PropertyList(true), PropertyList(false), PropertyList(-5), PropertyList(1.5), PropertyList("text"),
          PropertyList(""), PropertyList(PropertyList::Bytes{1, 0, 255}), PropertyList(PropertyList::Bytes{}),
          PropertyList(PropertyList::Date{-1.5}), PropertyList(PropertyList::Address{"https://example.com/"}),
          PropertyList(PropertyList::List{1, "two"}),
          PropertyList(PropertyList::Dictionary{{"key", PropertyList::List{PropertyList::Dictionary{{"deep", 1}}}}})})
        EXPECT_EQ(converted(value), value);
}

TEST_F(MacValues, GoThereAndBack) {
    for (const PropertyList& value :
         {PropertyList(true), PropertyList(false), PropertyList(-5), PropertyList(1.5), PropertyList("text"),
          PropertyList(PropertyList::Bytes{1, 0, 255}), PropertyList(PropertyList::Date{-1.5}),
          PropertyList(PropertyList::Address{"https://example.com/"}), PropertyList(PropertyList::List{}),
          PropertyList(PropertyList::List{1, "two"}),
          PropertyList(PropertyList::Dictionary{{"key", PropertyList::List{PropertyList::Dictionary{{"deep", 1}}}}})})
        EXPECT_EQ(propertyListOf(cfValue(value).get()), value);
}

TEST_F(MacValues, ThatCannotBeWrittenAreNull) {
    for (const PropertyList& value :
         {PropertyList(), PropertyList("\xff"), PropertyList(PropertyList::Address{"\xff"}),
          PropertyList(PropertyList::List{1, PropertyList()}), PropertyList(PropertyList::List{"\xff", 1}),
          PropertyList(PropertyList::Dictionary{{"\xff", 1}}),
          PropertyList(PropertyList::Dictionary{{"a", 1}, {"key", PropertyList::List{PropertyList()}}})})
        EXPECT_FALSE(cfValue(value));
}

TEST_F(MacValues, AreNullWithTheFirstOfTheirPartsThatCannotBeMade) {
    const PropertyList value(PropertyList::Dictionary{
        {"address", PropertyList::Address{"https://example.com/"}},
        {"bytes", PropertyList::Bytes{1}},
        {"date", PropertyList::Date{1}},
        {"list", PropertyList::List{1, 1.5, PropertyList::Dictionary{{"deep", PropertyList::List{"text"}}}}}});
    ASSERT_TRUE(cfValue(value));
    for (const auto& [function, calls] : failures::called()) {
        for (int call = 1; call <= calls; ++call) {
            failures::plan(function, 1, call);
            EXPECT_FALSE(cfValue(value)) << function << " fails at call " << call;
        }
    }
}

TEST_F(MacValues, OfNothingAndOfUnknownKindsAreEmpty) {
    EXPECT_TRUE(propertyListOf(nullptr).empty());
    EXPECT_TRUE(propertyListOf(CFOwner(createdOther()).get()).empty());
    EXPECT_EQ(converted(PropertyList::List{1, PropertyList(), 2}), PropertyList(PropertyList::List{1, 2}));
    EXPECT_EQ(dictionaryOf(CFOwner(created("no dictionary")).get()), PropertyList::Dictionary());
}

TEST_F(MacValues, OfAnAddressThatCannotBeResolvedAreEmpty) {
    failures::plan("CFURLCopyAbsoluteURL", 1);
    EXPECT_TRUE(converted(PropertyList::Address{"https://example.com/"}).empty());
}

TEST_F(MacValues, WithOtherKeysThanTextsAreLeftOut) {
    EXPECT_EQ(dictionaryOf(CFOwner(createdWithOddKey("key", 1)).get()), (PropertyList::Dictionary{{"key", 1}}));
}

TEST_F(MacValues, AreTextsOnlyWhereTheyAreTexts) {
    EXPECT_EQ(textOf(cfString("text").get()), "text");
    EXPECT_EQ(textOf(nullptr), std::nullopt);
    EXPECT_EQ(textOf(CFOwner(created(5)).get()), std::nullopt);
}

TEST_F(MacValues, MovedAndRetainedHoldEachReferenceOnce) {
    CFOwner first(created("text"));
    CFOwner second = CFOwner<CFTypeRef>::retained(first.get());
    first = std::move(second);
    EXPECT_EQ(textOf(first.get()), "text");
    EXPECT_FALSE(CFOwner<CFTypeRef>::retained(nullptr));
}

} // namespace
