// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/PropertyList.h>

#include <gtest/gtest.h>
#include <limits>
#include <string_view>
#include <vector>

namespace sentrel {
namespace {

TEST(PropertyList, KeepsEveryKindApart) {
    const std::vector<PropertyList> values{PropertyList(),
                                           true,
                                           1,
                                           1.0,
                                           "1",
                                           PropertyList::Bytes{'1'},
                                           PropertyList::Date{1},
                                           PropertyList::Address{"1"},
                                           PropertyList::List{1},
                                           PropertyList::Dictionary{{"1", 1}}};
    for (std::size_t a = 0; a < values.size(); ++a) {
        EXPECT_EQ(values[a].empty(), a == 0);
        for (std::size_t b = 0; b < values.size(); ++b)
            EXPECT_EQ(values[a] == values[b], a == b) << a << ' ' << b;
    }
    EXPECT_EQ(PropertyList(1), PropertyList(std::int64_t{1}));
    EXPECT_EQ(PropertyList("a"), PropertyList(std::string_view("a")));
    const PropertyList unknown = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NE(unknown, unknown);
}

TEST(PropertyList, GivesItsValueAsItsOwnKindOnlyToBeChangedInPlace) {
    PropertyList value = 1;
    EXPECT_FALSE(value.as<double>());
    EXPECT_FALSE(value.as<bool>());
    ASSERT_TRUE(value.as<std::int64_t>());
    *value.as<std::int64_t>() = 2;
    EXPECT_EQ(value, PropertyList(2));
}

TEST(PropertyList, FindsTheEntriesOfADictionary) {
    const PropertyList value = PropertyList::Dictionary{{"a", PropertyList::List{1}}};
    ASSERT_TRUE(value.find("a"));
    EXPECT_EQ(*value.find("a"), PropertyList(PropertyList::List{1}));
    EXPECT_FALSE(value.find("b"));
    EXPECT_FALSE(PropertyList("a").find("a"));
}

TEST(PropertyList, CopiesDeeply) {
    const PropertyList value = PropertyList::List{1};
    PropertyList copy = value;
    copy.as<PropertyList::List>()->push_back(2);
    EXPECT_EQ(value, PropertyList(PropertyList::List{1}));
}

} // namespace
} // namespace sentrel
