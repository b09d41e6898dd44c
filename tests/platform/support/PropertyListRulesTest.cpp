// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/PropertyListRules.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(PropertyListRules, TellUtf8FromOtherBytes) {
    for (const char* text : {"", "plain", "a\xc3\xa4z", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "\xed\x9f\xbf",
                             "\xee\x80\x80", "\xf4\x8f\xbf\xbf"})
        EXPECT_TRUE(isUtf8(text)) << text;
    for (const char* text : {"\xff", "\x80", "\xc3", "\xc3z", "\xc0\xaf", "\xe0\x80\xaf", "\xf0\x80\x80\xaf",
                             "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "a\xe2\x82"})
        EXPECT_FALSE(isUtf8(text)) << text;
}

TEST(PropertyListRules, TellWhatCanBeKept) {
    const PropertyList::Address address{"https://example.com/"};
    for (const PropertyList& value :
         {PropertyList(true), PropertyList(1), PropertyList(0.5), PropertyList("text"), PropertyList(address),
          PropertyList(PropertyList::Bytes{0xff}), PropertyList(PropertyList::Date{1}),
          PropertyList(PropertyList::List{1, PropertyList::Dictionary{{"a", "b"}}})})
        EXPECT_TRUE(canBeKept(value));
    for (const PropertyList& value :
         {PropertyList(), PropertyList("\xff"), PropertyList(PropertyList::Address{"\xff"}),
          PropertyList(PropertyList::List{PropertyList()}), PropertyList(PropertyList::List{address}),
          PropertyList(PropertyList::Dictionary{{"\xff", 1}}),
          PropertyList(PropertyList::Dictionary{{"a", PropertyList::List{address}}})})
        EXPECT_FALSE(canBeKept(value));
}

} // namespace
} // namespace sentrel::platform
